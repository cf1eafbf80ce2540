// What a message costs that finds its method in the cache, beside a virtual call of the same method.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include <ZtFoundation/platform/Runtime.h>

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

constexpr int kCalls = 20'000'000;

// Two classes in turn, so that neither call is always the same one.
std::vector<Ref<Counter>> counters() {
  std::vector<Ref<Counter>> made;
  for (int i = 0; i < 8; ++i) made.push_back(i % 2 == 0 ? make<Counter>() : Ref<Counter>(make<DoubleCounter>()));
  return made;
}

template <class Call>
double nanosecondsPerCall(const Call& call) {
  const std::vector<Ref<Counter>> objects = counters();
  double best = 1e9;
  for (int round = 0; round < 5; ++round) {
    const auto start = std::chrono::steady_clock::now();
    for (unsigned i = 0; i < kCalls; ++i) call(objects[i % 8]);
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    best = std::min(best, taken.count() / kCalls);
  }
  return best;
}

}  // namespace messagebench

int main() {
  using namespace messagebench;
  const double direct = nanosecondsPerCall([](const Ref<Counter>& counter) { counter->add(1); });
  const double message = nanosecondsPerCall(
      [](const Ref<Counter>& counter) { send<NSInteger>(counter, ZT_SELECTOR("add:"), NSInteger{1}); });
  std::printf("virtual call  %6.2f ns\nmessage       %6.2f ns\nratio         %6.2f (at most 4)\n", direct, message,
              message / direct);
  return message <= 4 * direct ? 0 : 1;
}
