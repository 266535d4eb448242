#include "enc_flatness.h"

#include <cmath>

namespace ddpi::enc {

double SpectralFlatness(const float* const* coef, int blocks, int begin, int end,
                        double floor) {
  // The logarithm of the geometric mean from products of up to 8 powers, one logarithm per
  // product: each power lies within [1e-30, 4], so a product stays far from the double's
  // limits.
  constexpr int kPerProduct = 8;
  double log_sum = 0, sum = 0, product = 1;
  int count = 0;
  for (int b = 0; b < blocks; ++b)
    for (int k = begin; k < end; ++k) {
      const double power = static_cast<double>(coef[b][k]) * coef[b][k] + floor;
      sum += power;
      product *= power;
      if (++count % kPerProduct == 0) {
        log_sum += std::log(product);
        product = 1;
      }
    }
  log_sum += std::log(product);
  return count ? std::exp(log_sum / count) / (sum / count) : 1.0;
}

}  // namespace ddpi::enc
