// What a message costs that finds its method in the cache, beside a virtual call of the same method.

#include <vector>

#include <ZtFoundation/platform/Runtime.h>

#include "support/Report.h"

namespace messagebench {

using namespace ZtFoundation;

class Counter : public NSObject {
  ZT_OBJECT(Counter, NSObject)
 public:
  virtual NSInteger add(NSInteger amount) { return total_ += amount; }

 protected:
  NSInteger total_ = 0;
};
ZT_IMPLEMENT_CLASS(Counter, ZT_METHOD("add:", &Counter::add));

class DoubleCounter : public Counter {
  ZT_OBJECT(DoubleCounter, Counter)
 public:
  NSInteger add(NSInteger amount) override { return total_ += 2 * amount; }
};
ZT_IMPLEMENT_CLASS(DoubleCounter, ZT_METHOD("add:", &DoubleCounter::add));

const unsigned kCalls = bench::fullOrQuick(10'000'000U, 2'000'000U);

// Two classes in turn, so that neither call is always the same one.
std::vector<Ref<Counter>> counters() {
  std::vector<Ref<Counter>> made;
  for (int i = 0; i < 8; ++i) made.push_back(i % 2 == 0 ? make<Counter>() : Ref<Counter>(make<DoubleCounter>()));
  return made;
}

template <class Call>
double nanosecondsPerCall(const Call& call) {
  const std::vector<Ref<Counter>> objects = counters();
  const double taken = bench::processorMilliseconds([&] {
    for (unsigned i = 0; i < kCalls; ++i) call(objects[i % 8]);
  });
  return taken * 1e6 / kCalls;
}

double timeOfMessage() {
  return nanosecondsPerCall(
      [](const Ref<Counter>& counter) { send<NSInteger>(counter, ZT_SELECTOR("add:"), NSInteger{1}); });
}

double timeOfVirtualCall() {
  return nanosecondsPerCall([](const Ref<Counter>& counter) { counter->add(1); });
}

}  // namespace messagebench

int main() {
  const auto times = bench::inTurns(15, {messagebench::timeOfMessage, messagebench::timeOfVirtualCall});
  const bench::Report report("Messages");
  report.add({"message that hits the cache", "ns", times[0], "virtual call", times[1], 4});
}
