#include "platform/codec/DateText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include <ZtFoundation/platform/Date.h>

namespace ZtFoundation::codec {

namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;

// Beyond this the seconds of a calendar date do not fit 64 bits. Written and read are the same dates.
bool hasCalendar(double seconds) { return std::abs(seconds) < kTwoTo63; }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Walks over the fields of a date; once one of them fails, all later ones do.
class FieldReader {
 public:
  explicit FieldReader(std::string_view text) : text_(text) {}

  void literal(char wanted) {
    good_ = good_ && !text_.empty() && text_.front() == wanted;
    if (good_) text_.remove_prefix(1);
  }

  unsigned twoDigits(unsigned lowest, unsigned highest) {
    good_ = good_ && text_.size() >= 2 && isDigit(text_[0]) && isDigit(text_[1]);
    if (!good_) return lowest;
    const auto value = static_cast<unsigned>((text_[0] - '0') * 10 + (text_[1] - '0'));
    text_.remove_prefix(2);
    good_ = value >= lowest && value <= highest;
    return value;
  }

  std::int64_t year() {
    const bool isNegative = text_.starts_with('-');
    if (isNegative || text_.starts_with('+')) text_.remove_prefix(1);
    const auto digits = static_cast<std::size_t>(std::ranges::find_if_not(text_, isDigit) - text_.begin());
    std::int64_t value = 0;
    const auto parsed = std::from_chars(text_.data(), text_.data() + digits, value);
    good_ = digits >= 4 && parsed.ec == std::errc();
    text_.remove_prefix(digits);
    return isNegative ? -value : value;
  }

  bool isAtEnd() const { return good_ && text_.empty(); }

 private:
  std::string_view text_;
  bool good_ = true;
};

char* writeTwoDigits(char* at, unsigned value) {
  *at++ = static_cast<char>('0' + value / 10);
  *at++ = static_cast<char>('0' + value % 10);
  return at;
}

char* writeYear(char* at, std::int64_t year) {
  if (year < 0 || year > 9999) *at++ = year < 0 ? '-' : '+';
  char digits[20];
  const char* const end = std::to_chars(digits, digits + sizeof digits, year < 0 ? -year : year).ptr;
  at = std::fill_n(at, std::max<std::ptrdiff_t>(0, 4 - (end - digits)), '0');
  return std::copy(static_cast<const char*>(digits), end, at);
}

}  // namespace

std::optional<NSTimeInterval> dateFromText(std::string_view text) {
  FieldReader reader(text);
  CalendarDate date;
  date.year = reader.year();
  reader.literal('-');
  date.month = reader.twoDigits(1, 12);
  reader.literal('-');
  date.day = reader.twoDigits(1, 31);
  reader.literal('T');
  date.hour = reader.twoDigits(0, 23);
  reader.literal(':');
  date.minute = reader.twoDigits(0, 59);
  reader.literal(':');
  date.second = reader.twoDigits(0, 59);
  reader.literal('Z');
  if (!reader.isAtEnd() || date.day > daysInMonth(date.year, date.month)) return std::nullopt;
  const auto seconds = static_cast<NSTimeInterval>(secondsFromCalendar(date));
  return hasCalendar(seconds) ? std::optional(seconds) : std::nullopt;
}

char* writeDateText(NSTimeInterval secondsSince2001, char* buffer) {
  const double second = std::floor(secondsSince2001);
  if (!hasCalendar(second)) return nullptr;
  const CalendarDate date = calendarFromSeconds(static_cast<std::int64_t>(second));
  char* at = writeYear(buffer, date.year);
  *at++ = '-';
  at = writeTwoDigits(at, date.month);
  *at++ = '-';
  at = writeTwoDigits(at, date.day);
  *at++ = 'T';
  at = writeTwoDigits(at, date.hour);
  *at++ = ':';
  at = writeTwoDigits(at, date.minute);
  *at++ = ':';
  at = writeTwoDigits(at, date.second);
  *at++ = 'Z';
  return at;
}

}  // namespace ZtFoundation::codec
