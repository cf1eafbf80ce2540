// What the benchmarks measure with.
#pragma once

#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <utility>
#include <vector>

namespace bench {

template <class Work>
double milliseconds(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  std::forward<Work>(work)();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// The same in time of the processor, for work of one thread that waits for nothing: what else the machine does shows
// less.
template <class Work>
double processorMilliseconds(Work&& work) {
  const auto taken = [] {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
  };
  const double start = taken();
  std::forward<Work>(work)();
  return taken() - start;
}

// That, after what was freed before has been put in order, which the work would pay for otherwise.
template <class Work>
double undisturbedMilliseconds(Work&& work) {
  malloc_trim(0);
  return processorMilliseconds(std::forward<Work>(work));
}

// 0 for no values.
inline double median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

inline void require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "%s failed\n", what);
  std::exit(1);
}

// Each contender once in every round and the first as often as the others. The other ones follow forwards and backwards
// by turns, so that none always comes after the same one, which leaves it its heap and caches.
inline void takeTurns(std::size_t rounds, const std::vector<std::function<void()>>& contenders) {
  const std::size_t count = contenders.size();
  for (std::size_t round = 0; round < rounds; ++round) {
    for (std::size_t turn = 0; turn < count; ++turn) {
      contenders[(round + (round % 2 == 0 ? turn : count - turn)) % count]();
    }
  }
}

// The same for those that have one figure each: what they took in each round, in the order that they were given in.
inline std::vector<std::vector<double>> inTurns(std::size_t rounds,
                                                const std::vector<std::function<double()>>& measurements) {
  std::vector<std::vector<double>> taken(measurements.size());
  std::vector<std::function<void()>> contenders;
  for (std::size_t which = 0; which < measurements.size(); ++which) {
    contenders.emplace_back([&, which] { taken[which].push_back(measurements[which]()); });
  }
  takeTurns(rounds, contenders);
  return taken;
}

}  // namespace bench
