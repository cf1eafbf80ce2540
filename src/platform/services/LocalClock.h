/// \file LocalClock.h
/// The date and the time of day where the user is.
#pragma once

namespace ZtFoundation {

struct LocalTime {
  int year = 1970;
  int month = 1;        ///< 1 to 12
  int day = 1;          ///< 1 to 31
  int hour = 0;         ///< 0 to 23
  int minute = 0;       ///< 0 to 59
  int second = 0;       ///< 0 to 59, or 60 where the system counts leap seconds
  int millisecond = 0;  ///< 0 to 999
};

class LocalClock {
 public:
  virtual ~LocalClock() = default;
  static LocalClock& production();

  virtual LocalTime now() = 0;
};

}  // namespace ZtFoundation
