#include "platform/codec/XMLNumbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include "platform/objects/RealReading.h"

namespace ZtFoundation::codec {

namespace {

constexpr std::uint64_t kLowestMagnitude = std::uint64_t{1} << 63;

bool isDigit(char c) { return c >= '0' && c <= '9'; }
char lowercase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool equalsIgnoringCase(std::string_view text, std::string_view lower) {
  return std::ranges::equal(text, lower, {}, lowercase);
}

// Takes a sign off the front; true for a minus.
bool takeSign(std::string_view& text) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  return isNegative;
}

bool takeHexPrefix(std::string_view& text) {
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  if (isHex) text.remove_prefix(2);
  return isHex;
}

Ref<NSObject> none(NumberFault& fault, NumberFault reason) {
  fault = reason;
  return nullptr;
}

Ref<NSObject> signedNumber(std::uint64_t magnitude, bool isNegative, NumberFault& fault) {
  if (!isNegative) return magnitude;
  if (magnitude > kLowestMagnitude) return none(fault, NumberFault::OutOfRange);
  return static_cast<std::int64_t>(0 - magnitude);
}

// Fewer than 19 digits cannot overflow, and nearly all integers are that short.
std::optional<std::int64_t> shortInteger(std::string_view text) {
  if (text.empty() || text.size() > 18) return std::nullopt;
  std::int64_t value = 0;
  for (const char c : text) {
    if (!isDigit(c)) return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

// A real is written as digits with at most one point among them, then perhaps an exponent.
struct RealParts {
  std::string_view whole;
  std::string_view fraction;
  std::string_view exponent;
  bool isWellFormed = false;
};

std::string_view takeDigits(std::string_view& text) {
  const auto count = static_cast<std::size_t>(std::ranges::find_if_not(text, isDigit) - text.begin());
  const std::string_view digits = text.substr(0, count);
  text.remove_prefix(count);
  return digits;
}

bool takeOne(std::string_view& text, std::string_view wanted) {
  const bool found = !text.empty() && wanted.find(text.front()) != std::string_view::npos;
  if (found) text.remove_prefix(1);
  return found;
}

RealParts splitReal(std::string_view text) {
  RealParts parts;
  parts.whole = takeDigits(text);
  if (takeOne(text, ".")) parts.fraction = takeDigits(text);
  parts.isWellFormed = !parts.whole.empty() || !parts.fraction.empty();
  if (takeOne(text, "eE")) {
    parts.exponent = text;
    takeSign(text);
    parts.isWellFormed = parts.isWellFormed && !takeDigits(text).empty();
  }
  parts.isWellFormed = parts.isWellFormed && text.empty();
  return parts;
}

bool isNegativeExponent(std::string_view exponent) { return exponent.starts_with('-'); }

// Of a number that no double holds: whether it is too near to zero rather than too far from it. The digits can be as
// many as the input is long, so their count is weighed against the exponent.
bool isTiny(const RealParts& parts) {
  std::string_view digits = parts.exponent;
  takeSign(digits);
  std::int64_t exponent = 0;
  constexpr std::int64_t kHuge = std::numeric_limits<std::int64_t>::max() / 2;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), exponent).ec != std::errc()) exponent = kHuge;
  if (parts.exponent.empty()) exponent = 0;
  exponent = std::min(exponent, kHuge);
  const std::size_t leading = parts.whole.find_first_not_of('0');
  const auto scale =
      leading != std::string_view::npos
          ? static_cast<std::int64_t>(parts.whole.size() - leading)
          : -static_cast<std::int64_t>(std::min(parts.fraction.find_first_not_of('0'), parts.fraction.size()));
  return scale + (isNegativeExponent(parts.exponent) ? -exponent : exponent) < 0;
}

std::optional<double> nonFinite(std::string_view text) {
  if (equalsIgnoringCase(text, "nan")) return std::numeric_limits<double>::quiet_NaN();
  if (equalsIgnoringCase(text, "inf") || equalsIgnoringCase(text, "infinity")) {
    return std::numeric_limits<double>::infinity();
  }
  return std::nullopt;
}

std::optional<double> magnitudeFromText(std::string_view text, NumberFault& fault) {
  const RealParts parts = splitReal(text);
  if (!parts.isWellFormed) {
    const std::optional<double> named = nonFinite(text);
    if (!named) fault = NumberFault::Malformed;
    return named;
  }
  double value = 0;
  const auto parsed = detail::realFromChars(text, value);
  if (parsed.ec == std::errc() && std::isfinite(value)) return value;
  if (isTiny(parts)) return 0.0;
  fault = NumberFault::OutOfRange;
  return std::nullopt;
}

}  // namespace

Ref<NSObject> integerFromText(std::string_view text, NumberFault& fault) {
  if (const std::optional<std::int64_t> value = shortInteger(text)) return *value;
  const bool isNegative = takeSign(text);
  const int base = takeHexPrefix(text) ? 16 : 10;
  std::uint64_t magnitude = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, magnitude, base);
  if (parsed.ec == std::errc::invalid_argument || parsed.ptr != end) return none(fault, NumberFault::Malformed);
  if (parsed.ec == std::errc::result_out_of_range) return none(fault, NumberFault::OutOfRange);
  return signedNumber(magnitude, isNegative, fault);
}

std::optional<double> realFromText(std::string_view text, NumberFault& fault) {
  const bool isNegative = takeSign(text);
  const std::optional<double> magnitude = magnitudeFromText(text, fault);
  if (!magnitude || !isNegative) return magnitude;
  return -*magnitude;
}

char* writeReal(double value, char* buffer) {
  const auto copied = [&](std::string_view name) { return std::ranges::copy(name, buffer).out; };
  if (std::isnan(value)) return copied("nan");
  if (std::isinf(value)) return copied(value > 0 ? "+infinity" : "-infinity");
  return std::to_chars(buffer, buffer + kLongestNumberText, value).ptr;
}

}  // namespace ZtFoundation::codec
