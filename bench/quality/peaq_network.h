// The last stage of PEAQ (ITU-R BS.1387): the neural networks that turn the model output
// variables (MOVs) into an objective difference grade, basic model (11 MOVs, 3 hidden nodes)
// and advanced model (5 MOVs, 5 hidden nodes), with the standard's weights and scalings.
//
// The networks are not monotonic in their inputs: near some operating points a MOV that says
// "more distortion" raises the grade. peaq_explain uses these to tell such effects apart from
// real differences between two codings of the same item.
#ifndef DDPI_BENCH_QUALITY_PEAQ_NETWORK_H
#define DDPI_BENCH_QUALITY_PEAQ_NETWORK_H

#include <string>

namespace peaq {

constexpr int kBasicMovs = 11;
constexpr int kAdvancedMovs = 5;

struct MovInfo {
  const char* name;  // as the PEAQ tool prints it
  // +1 where a larger value means a better coding, -1 where it means a worse one, 0 where the
  // MOV describes the reference (its bandwidth) and says nothing by itself.
  int better;
};

// In network input order.
extern const MovInfo kBasic[kBasicMovs];
extern const MovInfo kAdvanced[kAdvancedMovs];

// The objective difference grade the basic or advanced network gives for these MOVs.
double BasicGrade(const double movs[kBasicMovs]);
double AdvancedGrade(const double movs[kAdvancedMovs]);

}  // namespace peaq

#endif  // DDPI_BENCH_QUALITY_PEAQ_NETWORK_H
