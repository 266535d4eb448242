// Which model output variables make PEAQ grade one coding of an item differently from
// another, and whether the grade follows them the way they point.
//
//   peaq_explain basic|advanced "OURS" "OTHER"
// OURS and OTHER are lines of movs.sh (Name=value ... ODG=grade) for the same reference. For
// each MOV it prints both values and how much our grade would move if ours took the other's
// value, all else equal. A move against the MOV's meaning (the other coding is worse on it, yet
// taking its value raises our grade) is marked "against": the network rewards more distortion
// there, so the gap it makes is the model's, not something a better coding can close.
// A last line, "summary MODEL gap G against A", gives the grade gap and the sum of the moves
// marked "against". The networks are recomputed from the MOVs; the tool fails when that does
// not reproduce the grades the PEAQ tool printed.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "peaq_network.h"

namespace {

std::map<std::string, double> ParseMovs(const std::string& line) {
  std::map<std::string, double> values;
  std::istringstream in(line);
  std::string token;
  while (in >> token) {
    const size_t eq = token.find('=');
    if (eq == std::string::npos) continue;
    values[token.substr(0, eq)] = std::strtod(token.c_str() + eq + 1, nullptr);
  }
  return values;
}

struct Model {
  const peaq::MovInfo* movs;
  int count;
  double (*grade)(const double*);
};

bool Gather(const Model& model, const std::map<std::string, double>& line, const char* who,
            std::vector<double>* out) {
  out->clear();
  for (int i = 0; i < model.count; ++i) {
    const auto it = line.find(model.movs[i].name);
    if (it == line.end()) {
      std::fprintf(stderr, "%s: no %s\n", who, model.movs[i].name);
      return false;
    }
    out->push_back(it->second);
  }
  const auto odg = line.find("ODG");
  const double grade = model.grade(out->data());
  if (odg != line.end() && std::fabs(odg->second - grade) > 0.005) {
    std::fprintf(stderr, "%s: the network gives %.3f, the PEAQ tool printed %.3f\n", who, grade,
                 odg->second);
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 || (std::strcmp(argv[1], "basic") != 0 && std::strcmp(argv[1], "advanced") != 0)) {
    std::fprintf(stderr, "usage: peaq_explain basic|advanced \"OURS MOVS\" \"OTHER MOVS\"\n");
    return 2;
  }
  const Model model = std::strcmp(argv[1], "basic") == 0
                          ? Model{peaq::kBasic, peaq::kBasicMovs, peaq::BasicGrade}
                          : Model{peaq::kAdvanced, peaq::kAdvancedMovs, peaq::AdvancedGrade};
  std::vector<double> ours, other;
  if (!Gather(model, ParseMovs(argv[2]), "ours", &ours) ||
      !Gather(model, ParseMovs(argv[3]), "other", &other))
    return 1;
  const double our_grade = model.grade(ours.data());
  const double other_grade = model.grade(other.data());
  std::printf("%s grade: ours %.3f, other %.3f (%+.3f)\n", argv[1], our_grade, other_grade,
              our_grade - other_grade);
  std::printf("  %-18s %12s %12s %9s\n", "MOV", "ours", "other", "if other's");
  double against_sum = 0;
  for (int i = 0; i < model.count; ++i) {
    std::vector<double> swapped = ours;
    swapped[i] = other[i];
    const double move = model.grade(swapped.data()) - our_grade;
    // Where the other coding's value is worse by the MOV's meaning, a grade that rises with it
    // runs against that meaning (and the other way round).
    const int better = model.movs[i].better;
    const double towards_better = better * (other[i] - ours[i]);
    const bool against = better != 0 && std::fabs(move) > 0.02 &&
                         ((towards_better < 0 && move > 0) || (towards_better > 0 && move < 0));
    std::printf("  %-18s %12.4g %12.4g %+9.3f%s\n", model.movs[i].name, ours[i], other[i], move,
                against ? "  against" : "");
    if (against) against_sum += move;
  }
  // One line to gather over many items: how much of the gap the moves marked "against" make
  // (their sum, each taken alone, so only a guide where several interact).
  std::printf("summary %s gap %+.3f against %+.3f\n", argv[1], our_grade - other_grade,
              against_sum);
  return 0;
}
