#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/String.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>

#include "platform/objects/RealReading.h"

namespace ZtFoundation {

namespace {

bool isDigit(char character) noexcept { return character >= '0' && character <= '9'; }

std::string_view takeDigits(std::string_view& text) noexcept {
  const auto end = std::find_if_not(text.begin(), text.end(), isDigit);
  const std::string_view digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(digits.size());
  return digits;
}

// The ASCII text that starts after leading white space.
std::string leadingText(const NSString& string) {
  const UnitView units = string.units();
  const Ref<NSCharacterSet> blanks = NSCharacterSet::whitespaceAndNewlineCharacterSet();
  NSUInteger start = 0;
  while (start < units.size() && blanks->characterIsMember(units[start])) ++start;
  std::string text;
  for (; start < units.size() && units[start] < 0x80; ++start) text += static_cast<char>(units[start]);
  return text;
}

struct SignedText {
  bool negative;
  std::string_view rest;
};

SignedText takeSign(std::string_view text) noexcept {
  const bool hasSign = text.starts_with('+') || text.starts_with('-');
  return {text.starts_with('-'), text.substr(hasSign ? 1 : 0)};
}

// A value that does not fit becomes the nearest that does.
template <class Integer>
Integer integerIn(const NSString& string) {
  const std::string text = leadingText(string);
  SignedText number = takeSign(text);
  const std::string_view digits = takeDigits(number.rest);
  const std::string withSign = (number.negative ? "-" : "") + std::string(digits);
  Integer value = 0;
  const auto result = std::from_chars(withSign.data(), withSign.data() + withSign.size(), value);
  if (result.ec != std::errc::result_out_of_range) return value;
  return number.negative ? std::numeric_limits<Integer>::min() : std::numeric_limits<Integer>::max();
}

// The part of the text that a decimal number can be made of.
struct Decimal {
  std::string_view text;
  bool tooLarge;  // when it is out of range: too large and not too small
};

long long takeExponent(std::string_view& text) noexcept {
  if (!text.starts_with('e') && !text.starts_with('E')) return 0;
  SignedText exponent = takeSign(text.substr(1));
  const std::string_view digits = takeDigits(exponent.rest);
  text = exponent.rest;
  int value = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (result.ec == std::errc::result_out_of_range) value = std::numeric_limits<int>::max();
  return exponent.negative ? -static_cast<long long>(value) : value;
}

Decimal decimalIn(std::string_view text) noexcept {
  std::string_view rest = text;
  const std::string_view whole = takeDigits(rest);
  std::string_view fraction;
  if (rest.starts_with('.')) {
    rest.remove_prefix(1);
    fraction = takeDigits(rest);
  }
  const long long exponent = takeExponent(rest);
  const std::size_t zeros = std::min(whole.find_first_not_of('0'), whole.size());
  const std::size_t fractionZeros = std::min(fraction.find_first_not_of('0'), fraction.size());
  const auto magnitude =
      zeros < whole.size() ? static_cast<long long>(whole.size() - zeros) : -static_cast<long long>(fractionZeros);
  return {text.substr(0, text.size() - rest.size()), magnitude + exponent > 0};
}

}  // namespace

int NSString::intValue() const { return integerIn<int>(*this); }

long long NSString::longLongValue() const { return integerIn<long long>(*this); }

double NSString::doubleValue() const {
  const std::string text = leadingText(*this);
  const SignedText number = takeSign(text);
  const Decimal decimal = decimalIn(number.rest);
  double value = 0;
  const auto result = detail::realFromChars(decimal.text, value);
  if (result.ec == std::errc::result_out_of_range) {
    value = decimal.tooLarge ? std::numeric_limits<double>::infinity() : 0;
  }
  const bool isNumber = result.ec != std::errc::invalid_argument;
  return number.negative && isNumber ? -value : value;
}

bool NSString::boolValue() const {
  const std::string text = leadingText(*this);
  const bool saysYes = !text.empty() && std::string_view("YyTt").find(text.front()) != std::string_view::npos;
  return saysYes || doubleValue() != 0;
}

}  // namespace ZtFoundation
