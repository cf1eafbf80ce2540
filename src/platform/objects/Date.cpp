#include <ZtFoundation/platform/Date.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <ctime>
#include <limits>
#include <string>

#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

#include "platform/objects/NumberText.h"
#include "platform/objects/StringHash.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSDate);

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kDaysPerCycle = 146097;  // of 400 years, after which the calendar repeats
// Cycles are counted from 1 March 2000, so that the leap day ends its year.
constexpr std::int64_t kDaysFromCycleStartTo2001 = 306;

struct Division {
  std::int64_t quotient;
  std::int64_t rest;
};

constexpr Division floorDivide(std::int64_t value, std::int64_t divisor) {
  const std::int64_t rest = ((value % divisor) + divisor) % divisor;
  return {value / divisor - (value % divisor < 0 ? 1 : 0), rest};
}

constexpr bool isLeapYear(std::int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

// Days from 1 March to the first of a month, months counted from March as 0.
constexpr std::int64_t daysBeforeMonth(std::int64_t month) { return (153 * month + 2) / 5; }

std::int64_t saturated(bool negative) {
  using Limits = std::numeric_limits<std::int64_t>;
  return negative ? Limits::min() : Limits::max();
}

void appendPadded(std::string& text, std::uint64_t value, std::size_t width) {
  std::array<char, 20> digits;
  const char* end = std::to_chars(digits.begin(), digits.end(), value).ptr;
  const auto length = static_cast<std::size_t>(end - digits.data());
  text.append(width > length ? width - length : 0, '0').append(digits.data(), length);
}

void appendYear(std::string& text, std::int64_t year) {
  if (year < 0) text += '-';
  if (year > 9999) text += '+';
  appendPadded(text, year < 0 ? 0 - static_cast<std::uint64_t>(year) : static_cast<std::uint64_t>(year), 4);
}

std::string calendarText(const CalendarDate& date) {
  std::string text;
  appendYear(text, date.year);
  const std::pair<char, unsigned> fields[] = {
      {'-', date.month}, {'-', date.day}, {' ', date.hour}, {':', date.minute}, {':', date.second}};
  for (const auto& [separator, value] : fields) {
    text += separator;
    appendPadded(text, value, 2);
  }
  return text + " +0000";
}

// NaN below every other date.
NSComparisonResult compareSeconds(double a, double b) {
  if (a < b || (std::isnan(a) && !std::isnan(b))) return NSOrderedAscending;
  if (a > b || (std::isnan(b) && !std::isnan(a))) return NSOrderedDescending;
  return NSOrderedSame;
}

}  // namespace

std::int64_t secondsFromCalendar(const CalendarDate& date) noexcept {
  const bool beforeMarch = date.month < 3;
  const auto [cycle, calendarYear] = floorDivide(date.year, 400);
  const std::int64_t year = calendarYear - (beforeMarch ? 1 : 0);  // -1 to 399, counted from the cycle's start
  const std::int64_t month = static_cast<std::int64_t>(date.month) + (beforeMarch ? 9 : -3);
  const std::int64_t leapDays = year < 0 ? -1 : year / 4 - year / 100;
  const std::int64_t days = year * 365 + leapDays + daysBeforeMonth(month) + date.day - 1 - kDaysFromCycleStartTo2001;
  const std::int64_t time = date.hour * 3600 + date.minute * 60 + date.second;

  // Whole cycles are counted towards 2001, so that the parts overflow only if the sum does.
  std::int64_t cycles = cycle - 5;
  std::int64_t rest = days * kSecondsPerDay + time;
  if (cycles < 0) {
    ++cycles;
    rest -= kDaysPerCycle * kSecondsPerDay;
  }
  std::int64_t seconds;
  if (__builtin_mul_overflow(cycles, kDaysPerCycle * kSecondsPerDay, &seconds) ||
      __builtin_add_overflow(seconds, rest, &seconds)) {
    return saturated(date.year < 0);
  }
  return seconds;
}

CalendarDate calendarFromSeconds(std::int64_t secondsSince2001) noexcept {
  const auto [days, time] = floorDivide(secondsSince2001, kSecondsPerDay);
  const auto [cycle, dayOfCycle] = floorDivide(days + kDaysFromCycleStartTo2001, kDaysPerCycle);
  const std::int64_t year = (dayOfCycle - dayOfCycle / 1460 + dayOfCycle / 36524 - dayOfCycle / 146096) / 365;
  const std::int64_t dayOfYear = dayOfCycle - (365 * year + year / 4 - year / 100);
  const std::int64_t month = (5 * dayOfYear + 2) / 153;

  CalendarDate date;
  date.year = 2000 + cycle * 400 + year + (month >= 10 ? 1 : 0);
  date.month = static_cast<unsigned>(month < 10 ? month + 3 : month - 9);
  date.day = static_cast<unsigned>(dayOfYear - daysBeforeMonth(month) + 1);
  date.hour = static_cast<unsigned>(time / 3600);
  date.minute = static_cast<unsigned>(time / 60 % 60);
  date.second = static_cast<unsigned>(time % 60);
  return date;
}

unsigned daysInMonth(std::int64_t year, unsigned month) noexcept {
  if (month == 2) return isLeapYear(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// Not by std::chrono, whose clock is compiled into the runtime library and ends in 2038 on 32-bit systems.
Ref<NSDate> NSDate::date() {
  std::timespec now{};
  std::timespec_get(&now, TIME_UTC);
  return dateWithTimeIntervalSince1970(static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9);
}

Ref<NSDate> NSDate::dateWithTimeIntervalSinceReferenceDate(NSTimeInterval seconds) {
  return Ref<NSDate>::adopt(new NSDate(seconds));
}

Ref<NSDate> NSDate::dateWithTimeIntervalSince1970(NSTimeInterval seconds) {
  return dateWithTimeIntervalSinceReferenceDate(seconds - NSTimeIntervalSince1970);
}

bool NSDate::isEqual(const NSObject* other) const {
  const NSDate* date = as<NSDate>(other);
  return date != nullptr && compareSeconds(seconds_, date->seconds_) == NSOrderedSame;
}

NSUInteger NSDate::hash() const {
  if (std::isnan(seconds_)) return 0;
  return detail::hashWord(std::bit_cast<std::uint64_t>(seconds_ + 0.0));  // + 0.0 makes -0.0 be 0.0
}

Ref<NSString> NSDate::description() const {
  // Beyond this there is no calendar; the number still tells which date it is.
  if (!(std::fabs(seconds_) < 9.2e18)) return detail::realText(seconds_) + " seconds since 2001";
  return calendarText(calendarFromSeconds(static_cast<std::int64_t>(std::floor(seconds_))));
}

NSComparisonResult NSDate::compare(const Ref<NSDate>& other) const {
  return other ? compareSeconds(seconds_, other->seconds_) : NSOrderedDescending;
}

}  // namespace ZtFoundation
