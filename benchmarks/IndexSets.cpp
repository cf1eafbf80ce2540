// A million single indexes added to an index set, side by side from either end and scattered so that none touches
// another, beside a std::set of the indexes.

#include <ZtFoundation/platform/IndexSet.h>

#include <set>
#include <string>

#include "support/Report.h"

namespace {

using namespace ZtFoundation;

const NSUInteger kCount = bench::fullOrQuick(1'000'000U, 100'000U);

struct Order {
  const char* name;
  NSUInteger (*indexAt)(NSUInteger step);
  NSUInteger ranges;
  double limit;  // milliseconds for a million; a set that moves its ranges to make room takes minutes
};

const Order kOrders[] = {
    {"ascending", [](NSUInteger step) { return step; }, 1, 500},
    {"descending", [](NSUInteger step) { return kCount - 1 - step; }, 1, 500},
    // Without a common divisor, so each comes once.
    {"scattered", [](NSUInteger step) { return step * 777'777 % kCount * 2; }, kCount, 4000},
};

double timeOf(const Order& order) {
  const Ref<NSMutableIndexSet> indexes = NSMutableIndexSet::indexSet();
  const double taken = bench::undisturbedMilliseconds([&] {
    for (NSUInteger step = 0; step < kCount; ++step) indexes->addIndex(order.indexAt(step));
  });
  bench::require(indexes->count() == kCount && indexes->numberOfRanges() == order.ranges, order.name);
  return taken;
}

double timeOfStandardSet(const Order& order) {
  std::set<NSUInteger> indexes;
  const double taken = bench::undisturbedMilliseconds([&] {
    for (NSUInteger step = 0; step < kCount; ++step) indexes.insert(order.indexAt(step));
  });
  bench::require(indexes.size() == kCount, order.name);
  return taken;
}

}  // namespace

int main() {
  const bench::Report report("Index sets");
  for (const Order& order : kOrders) {
    const auto times = bench::inTurns(9, {[&] { return timeOf(order); }, [&] { return timeOfStandardSet(order); }});
    const std::string name = std::to_string(kCount) + " indexes, " + order.name;
    report.addLimit(name, "ms", times[0], order.limit * static_cast<double>(kCount) / 1e6);
    report.add({name, "ms", times[0], "std::set", times[1]});
  }
}
