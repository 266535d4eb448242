#include "peaq_network.h"

#include <cmath>

namespace peaq {
namespace {

// Scalings (each MOV is mapped by (x - min) / (max - min), not clipped, as the PEAQ tool the
// benchmark grades with does) and weights of the two networks, as BS.1387 gives them.
constexpr double kBasicMin[kBasicMovs] = {393.916656, 361.965332, -24.045116, 1.110661,
                                          -0.206623,  0.074318,   1.113683,   0.950345,
                                          0.029985,   0.000101,   0.0};
constexpr double kBasicMax[kBasicMovs] = {921.0,     881.131226, 16.212030, 107.137772,
                                          2.886017,  13.933351,  63.257874, 1145.018555,
                                          14.819740, 1.0,        1.0};
constexpr double kBasicInput[kBasicMovs][3] = {
    {-0.502657, 0.436333, 1.219602},  {4.307481, 3.246017, 1.123743},
    {4.984241, -2.211189, -0.192096}, {0.051056, -1.762424, 4.331315},
    {2.321580, 1.789971, -0.754560},  {-5.303901, -3.452257, -10.814982},
    {2.730991, -6.111805, 1.519223},  {0.624950, -1.331523, -5.955151},
    {3.102889, 0.871260, -5.922878},  {-1.051468, -0.939882, -0.142913},
    {-1.804679, -0.503610, -0.620456}};
constexpr double kBasicInputBias[3] = {-2.518254, 0.654841, -2.207228};
constexpr double kBasicOutput[3] = {-3.817048, 4.107138, 4.629582};
constexpr double kBasicOutputBias = -0.307594;

constexpr double kAdvancedMin[kAdvancedMovs] = {13.298751, 0.041073, -25.018791, 0.061560, 0.02452};
constexpr double kAdvancedMax[kAdvancedMovs] = {2166.5, 13.24326, 13.46708, 10.226771, 14.224874};
constexpr double kAdvancedInput[kAdvancedMovs][5] = {
    {21.211773, -39.013052, -1.382553, -14.545348, -0.320899},
    {-8.981803, 19.956049, 0.935389, -1.686586, -3.238586},
    {1.633830, -2.877505, -7.442935, 5.606502, -1.783120},
    {6.103821, 19.587435, -0.240284, 1.088213, -0.511314},
    {11.556344, 3.892028, 9.720441, -3.287205, -11.031250}};
constexpr double kAdvancedInputBias[5] = {1.330890, 2.686103, 2.096598, -1.327851, 3.087055};
constexpr double kAdvancedOutput[5] = {-4.696996, -3.289959, 7.004782, 6.651897, 4.009144};
constexpr double kAdvancedOutputBias = -1.360308;

double Sigmoid(double x) { return 1.0 / (1.0 + std::exp(-x)); }

// One hidden layer of sigmoids, then the distortion index mapped onto the grade scale.
template <int kMovs, int kHidden>
double Grade(const double* movs, const double (&min)[kMovs], const double (&max)[kMovs],
             const double (&input)[kMovs][kHidden], const double (&input_bias)[kHidden],
             const double (&output)[kHidden], double output_bias) {
  double hidden[kHidden];
  for (int j = 0; j < kHidden; ++j) hidden[j] = input_bias[j];
  for (int i = 0; i < kMovs; ++i) {
    const double scaled = (movs[i] - min[i]) / (max[i] - min[i]);
    for (int j = 0; j < kHidden; ++j) hidden[j] += input[i][j] * scaled;
  }
  double distortion_index = output_bias;
  for (int j = 0; j < kHidden; ++j) distortion_index += output[j] * Sigmoid(hidden[j]);
  return -3.98 + 4.2 * Sigmoid(distortion_index);
}

}  // namespace

const MovInfo kBasic[kBasicMovs] = {
    {"BandwidthRefB", 0},  {"BandwidthTestB", +1}, {"TotalNMRB", -1},     {"WinModDiff1B", -1},
    {"ADBB", -1},          {"EHSB", -1},           {"AvgModDiff1B", -1},  {"AvgModDiff2B", -1},
    {"RmsNoiseLoudB", -1}, {"MFPDB", -1},          {"RelDistFramesB", -1}};
const MovInfo kAdvanced[kAdvancedMovs] = {{"RmsModDiffA", -1},
                                          {"RmsNoiseLoudAsymA", -1},
                                          {"SegmentalNMRB", -1},
                                          {"EHSB", -1},
                                          {"AvgLinDistA", -1}};

double BasicGrade(const double movs[kBasicMovs]) {
  return Grade(movs, kBasicMin, kBasicMax, kBasicInput, kBasicInputBias, kBasicOutput,
               kBasicOutputBias);
}

double AdvancedGrade(const double movs[kAdvancedMovs]) {
  return Grade(movs, kAdvancedMin, kAdvancedMax, kAdvancedInput, kAdvancedInputBias,
               kAdvancedOutput, kAdvancedOutputBias);
}

}  // namespace peaq
