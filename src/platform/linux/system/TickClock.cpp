#include "platform/services/TickClock.h"

#include <time.h>

namespace ZtFoundation {

namespace {

class MonotonicClock final : public TickClock {
 public:
  std::uint64_t mach_absolute_time() const override {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000U + static_cast<std::uint64_t>(now.tv_nsec);
  }
  mach_timebase_info_data_t mach_timebase_info() const override { return {1, 1}; }
};

}  // namespace

TickClock& TickClock::production() {
  static TickClock& clock = *new MonotonicClock;
  return clock;
}

}  // namespace ZtFoundation
