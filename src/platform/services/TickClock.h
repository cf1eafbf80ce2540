/// \file TickClock.h
/// The monotonic tick counter of the machine.
#pragma once

#include <cstdint>

#include "platform/services/Service.h"

namespace ZtFoundation {

/// What turns ticks into nanoseconds: ticks times `numer`, divided by `denom`.
struct mach_timebase_info_data_t {
  std::uint32_t numer;
  std::uint32_t denom;
};

class TickClock {
 public:
  virtual ~TickClock() = default;

  /// Ticks since some moment in the past; never less than before, whatever happens to the time of day.
  virtual std::uint64_t mach_absolute_time() const = 0;
  /// The same as long as the process lives; `denom` is not 0.
  virtual mach_timebase_info_data_t mach_timebase_info() const = 0;

  /// The system's monotonic clock; a tick is a nanosecond.
  static TickClock& production();
};

}  // namespace ZtFoundation
