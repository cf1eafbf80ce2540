/// \file DateText.h
/// Dates as the text `[+-]YYYY-MM-DDTHH:MM:SSZ` of ISO 8601: always UTC, to the second, proleptic Gregorian calendar.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include <ZtFoundation/platform/Types.h>

namespace ZtFoundation::codec {

/// Room for the longest text: a sign, the 12 digits of the furthest year, and the rest.
inline constexpr std::size_t kLongestDateText = 40;

/// Seconds since 2001; empty unless `text` is exactly one date whose every field is in range, less than 2^63 seconds
/// from 2001. A year has four digits or more, and a sign if it is outside of 0 to 9999 (a sign is allowed for the others
/// too).
std::optional<NSTimeInterval> dateFromText(std::string_view text);

/// Writes the second that holds the date to `buffer` (kLongestDateText bytes) and answers the end of the text. Null
/// when the date is NaN, infinite, or 2^63 seconds or more from 2001.
char* writeDateText(NSTimeInterval secondsSince2001, char* buffer);

}  // namespace ZtFoundation::codec
