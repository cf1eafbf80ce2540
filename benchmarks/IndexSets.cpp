// A million single indexes added to an index set: side by side from either end, and scattered so that none touches another.

#include <ZtFoundation/platform/IndexSet.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "support/Timing.h"

namespace {

using namespace ZtFoundation;

constexpr NSUInteger kCount = 1'000'000;
constexpr int kRounds = 5;

NSUInteger ascending(NSUInteger step) { return step; }
NSUInteger descending(NSUInteger step) { return kCount - 1 - step; }
NSUInteger scattered(NSUInteger step) { return step * 777'777 % kCount * 2; }  // without a common divisor, each once

struct Order {
  const char* name;
  NSUInteger (*indexAt)(NSUInteger step);
  NSUInteger ranges;
  double bound;  // milliseconds; a set that moves its ranges to make room takes minutes
};

double timeOf(const Order& order) {
  Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  const double taken = bench::processorMilliseconds([&] {
    for (NSUInteger step = 0; step < kCount; ++step) indexes->addIndex(order.indexAt(step));
  });
  bench::require(indexes->count() == kCount && indexes->numberOfRanges() == order.ranges, order.name);
  return taken;
}

bool isInTime(const Order& order) {
  std::vector<double> times;
  for (int round = 0; round < kRounds; ++round) times.push_back(timeOf(order));
  const double median = bench::median(times);
  std::printf("%-12s %8.1f ms for a million indexes (at most %.0f)\n", order.name, median, order.bound);
  return median <= order.bound;
}

}  // namespace

int main() {
  const Order orders[] = {
      {"ascending", ascending, 1, 500}, {"descending", descending, 1, 500}, {"scattered", scattered, kCount, 4000}};
  bool good = true;
  for (const Order& order : orders) good &= isInTime(order);
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
