// What every benchmark reports: how long something takes beside the same work of a peer, as a line for people and, for
// the program that makes table and chart, as a line of JSON in the file that ZT_BENCH_RESULTS names.
#pragma once

#include <errno.h>
#include <stdlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "support/Timing.h"

namespace bench {

// A figure for each round.
using Samples = std::vector<double>;

// Small inputs and few rounds: enough to see that everything works, and a first idea of the ratios.
inline bool isQuick() {
  const char* const value = ::getenv("ZT_BENCH_QUICK");
  return value != nullptr && *value != '\0';
}

template <class Value>
Value fullOrQuick(Value full, Value quick) {
  return isQuick() ? quick : full;
}

// What a program ends with that cannot measure on this machine: tests are skipped then, and no page is made, which would
// look complete without it.
constexpr int kSkipped = 77;

struct Comparison {
  std::string name;
  std::string unit;
  Samples ours;
  std::string peer;
  Samples theirs;    // of the same rounds; none if the peer is not installed
  double bound = 0;  // the most that ours may be of theirs; 0 if nothing was promised
};

struct Quartiles {
  double lower, middle, upper;
};

inline Quartiles quartiles(Samples values) {
  if (values.empty()) return {0, 0, 0};
  std::sort(values.begin(), values.end());
  const auto at = [&](double part) {
    return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1) + 0.5)];
  };
  return {at(0.25), median(values), at(0.75)};
}

// Round by round, so that a busy moment, which meets both, counts little.
inline Samples ratios(const Samples& ours, const Samples& theirs) {
  require(ours.size() == theirs.size(), "pairing the rounds");
  Samples result;
  for (std::size_t round = 0; round < ours.size(); ++round) result.push_back(ours[round] / theirs[round]);
  return result;
}

class Report {
 public:
  // `group` is the heading that the comparisons stand under.
  explicit Report(std::string group) : group_(std::move(group)) { std::printf("%s\n", group_.c_str()); }

  void add(const Comparison& comparison) const {
    require(!comparison.ours.empty(), comparison.name.c_str());
    const Quartiles ratio =
        comparison.theirs.empty() ? Quartiles{0, 0, 0} : quartiles(ratios(comparison.ours, comparison.theirs));
    print(comparison, ratio);
    writeJSON(comparison, ratio);
  }

  // Beside a figure that was promised instead of a peer.
  void addLimit(std::string name, std::string unit, Samples ours, double limit) const {
    Samples same(ours.size(), limit);
    add({.name = std::move(name),
         .unit = std::move(unit),
         .ours = std::move(ours),
         .peer = "limit",
         .theirs = std::move(same),
         .bound = 1});
  }

 private:
  static void print(const Comparison& comparison, const Quartiles& ratio) {
    std::printf("  %-52s %10.4g %-9s", comparison.name.c_str(), median(comparison.ours), comparison.unit.c_str());
    if (comparison.theirs.empty()) {
      std::printf(" %s is not installed\n", comparison.peer.c_str());
      return;
    }
    std::printf(" %-26s %10.4g  ratio %.2f (%.2f to %.2f)", comparison.peer.c_str(), median(comparison.theirs),
                ratio.middle, ratio.lower, ratio.upper);
    if (comparison.bound > 0) {
      std::printf(", at most %.2f%s", comparison.bound, ratio.middle <= comparison.bound ? "" : ": MISSED");
    }
    std::printf("\n");
    std::fflush(stdout);
  }

  void writeJSON(const Comparison& comparison, const Quartiles& ratio) const {
    const char* const path = ::getenv("ZT_BENCH_RESULTS");
    if (path == nullptr) return;
    std::FILE* const file = std::fopen(path, "a");
    require(file != nullptr, "opening the file of results");
    std::fprintf(file, R"({"program": "%s", "group": "%s", "name": "%s", "unit": "%s", "rounds": %zu, "ours": %.6g)",
                 program_invocation_short_name, quoted(group_).c_str(), quoted(comparison.name).c_str(),
                 quoted(comparison.unit).c_str(), comparison.ours.size(), median(comparison.ours));
    std::fprintf(file, R"(, "peer": "%s")", quoted(comparison.peer).c_str());
    if (!comparison.theirs.empty()) {
      std::fprintf(file, R"(, "theirs": %.6g, "ratio": %.6g, "lower": %.6g, "upper": %.6g)", median(comparison.theirs),
                   ratio.middle, ratio.lower, ratio.upper);
    }
    if (comparison.bound > 0) std::fprintf(file, R"(, "bound": %.6g)", comparison.bound);
    std::fprintf(file, "}\n");
    require(std::fclose(file) == 0, "writing a result");
  }

  static std::string quoted(std::string_view text) {
    std::string result;
    for (const char character : text) {
      if (character == '"' || character == '\\') result += '\\';
      result += character;
    }
    return result;
  }

  std::string group_;
};

}  // namespace bench
