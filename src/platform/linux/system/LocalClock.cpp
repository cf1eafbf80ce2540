#include "platform/services/LocalClock.h"

#include <time.h>

#include "platform/linux/process/LocalFields.h"

namespace ZtFoundation {

namespace {

class SystemClock final : public LocalClock {
 public:
  LocalTime now() override {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const tm fields = detail::localFields(now.tv_sec);
    return {fields.tm_year + 1900,
            fields.tm_mon + 1,
            fields.tm_mday,
            fields.tm_hour,
            fields.tm_min,
            fields.tm_sec,
            static_cast<int>(now.tv_nsec / 1'000'000)};
  }
};

}  // namespace

LocalClock& LocalClock::production() {
  static LocalClock& clock = *new SystemClock;
  return clock;
}

}  // namespace ZtFoundation
