#include "enc_mantissas.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "ac3_tables.h"

namespace ddpi::enc {
namespace {

TEST(Mantissas, QuantisationErrorWithinHalfAStep) {
  std::mt19937 rng(3);
  std::uniform_real_distribution<float> d(-0.999f, 0.999f);
  constexpr int kLevels[6] = {0, 3, 5, 7, 11, 15};
  for (int bap = 1; bap < 16; ++bap) {
    const double step =
        bap <= 5 ? 2.0 / kLevels[bap] : std::ldexp(1.0, 1 - ac3::kMantissaBits[bap]);
    for (int i = 0; i < 2000; ++i) {
      const float m = d(rng);
      const int code = QuantizeMantissa(m, 0, bap);
      const double error = std::fabs(DequantizeMantissa(code, bap) - m);
      // The top code of a two's complement quantiser is one step short of +1.
      ASSERT_LE(error, bap <= 5 ? step / 2 + 1e-6 : step + 1e-6) << "bap " << bap << " m " << m;
    }
  }
}

TEST(Mantissas, ExponentScalesTheCoefficient) {
  // coef 0.1 with exponent 3 is mantissa 0.8; 15 levels: code round-down of (0.8+1)*7.5 = 13.
  EXPECT_EQ(QuantizeMantissa(0.1f, 3, 5), 13);
  EXPECT_EQ(QuantizeMantissa(0.0f, 3, 1), 1);   // the middle of three levels is zero
  EXPECT_EQ(QuantizeMantissa(-0.999f, 0, 15), -32735);
}

TEST(Mantissas, GroupedPackingMatchesTheCount) {
  std::mt19937 rng(5);
  std::uniform_int_distribution<int> bap_dist(0, 15);
  for (int trial = 0; trial < 50; ++trial) {
    uint8_t bap[300];
    int code[300];
    const int n = 1 + trial * 5;
    MantissaCounter counter;
    MantissaPacker packer;
    packer.Begin();
    for (int i = 0; i < n; ++i) {
      bap[i] = static_cast<uint8_t>(bap_dist(rng));
      code[i] = QuantizeMantissa(0.3f, 0, bap[i]);
    }
    counter.Add(bap, 0, n);
    uint8_t buf[2048];
    BitWriter bw(buf, sizeof buf);
    for (int i = 0; i < n; ++i) packer.Add(bap[i], code[i]);
    packer.Finish(&bw);
    EXPECT_EQ(static_cast<int>(bw.position()), counter.Bits());
  }
}

TEST(Mantissas, GroupCodesCombineLevels) {
  // Three bap-1 levels (2, 0, 1) make 9*2 + 3*0 + 1 = 19 in five bits at the first one's place.
  MantissaPacker packer;
  packer.Begin();
  uint8_t buf[4] = {0xff, 0xff, 0xff, 0xff};  // the writer must not depend on a cleared buffer
  BitWriter bw(buf, sizeof buf);
  packer.Add(1, 2);
  packer.Add(6, 5);  // an ungrouped 5-bit mantissa in between
  packer.Add(1, 0);
  packer.Add(1, 1);
  packer.Finish(&bw);
  EXPECT_EQ(bw.position(), 10u);
  EXPECT_EQ(buf[0] >> 3, 19);
  EXPECT_EQ(((buf[0] & 7) << 2) | (buf[1] >> 6), 5);

  // A bap-4 group left open at the end of the block is completed with the zero level (5 of
  // 11): 11*3 + 5 = 38 in seven bits, straddling bytes 1 and 2.
  packer.Begin();
  packer.Add(4, 3);
  packer.Finish(&bw);
  EXPECT_EQ(bw.position(), 17u);
  EXPECT_EQ(((buf[1] & 0x3f) << 1) | (buf[2] >> 7), 38);
}

}  // namespace
}  // namespace ddpi::enc
