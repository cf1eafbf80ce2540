#include "platform/objects/RealFormat.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace ZtFoundation::detail {

namespace {

// No double has more digits than these; what is asked beyond are zeros.
constexpr std::size_t kMaximumFractionDigits = 1100;
constexpr std::size_t kMaximumScientificDigits = 800;
constexpr std::size_t kMaximumHexDigits = 13;
constexpr std::size_t kMaximumTextSize = 1500;

std::string converted(double magnitude, std::chars_format format, std::size_t precision) {
  std::array<char, kMaximumTextSize> text;
  return {text.data(), std::to_chars(text.begin(), text.end(), magnitude, format, static_cast<int>(precision)).ptr};
}

// Puts zeros, and the point where it is wanted without digits behind it, before the exponent at `place`.
std::string completed(std::string text, std::size_t place, std::size_t zeros, bool point) {
  text.insert(place, zeros, '0');
  if (point) text.insert(place, 1, '.');
  return text;
}

std::string fixed(double magnitude, std::size_t precision, bool alternate) {
  const std::size_t exact = std::min(precision, kMaximumFractionDigits);
  std::string text = converted(magnitude, std::chars_format::fixed, exact);
  const std::size_t end = text.size();
  return completed(std::move(text), end, precision - exact, alternate && precision == 0);
}

std::string scientific(double magnitude, std::size_t precision, bool alternate) {
  const std::size_t exact = std::min(precision, kMaximumScientificDigits);
  std::string text = converted(magnitude, std::chars_format::scientific, exact);
  const std::size_t exponent = text.find('e');
  return completed(std::move(text), exponent, precision - exact, alternate && precision == 0);
}

int exponentOf(const std::string& scientificText) {
  const char* first = scientificText.data() + scientificText.find('e') + 1;
  if (*first == '+') ++first;
  int exponent = 0;
  std::from_chars(first, scientificText.data() + scientificText.size(), exponent);
  return exponent;
}

void dropTrailingZeros(std::string& text) {
  const std::size_t end = std::min(text.find('e'), text.size());
  if (text.find('.') >= end) return;
  std::size_t last = text.find_last_not_of('0', end - 1);
  if (text[last] != '.') ++last;
  text.erase(last, end - last);
}

std::string general(double magnitude, std::size_t precision, bool alternate) {
  const std::size_t digits = std::max<std::size_t>(precision, 1);
  std::string text = scientific(magnitude, digits - 1, alternate);
  const int exponent = exponentOf(text);
  if (exponent >= -4 && (exponent < 0 || static_cast<std::size_t>(exponent) < digits)) {
    const std::size_t behindPoint = exponent < 0 ? digits - 1 + static_cast<std::size_t>(-exponent)
                                                 : digits - 1 - static_cast<std::size_t>(exponent);
    text = fixed(magnitude, behindPoint, alternate);
  }
  if (!alternate) dropTrailingZeros(text);
  return text;
}

std::string hexadecimal(double magnitude, std::optional<std::size_t> precision, bool alternate) {
  if (precision && *precision <= kMaximumHexDigits) {
    std::string text = converted(magnitude, std::chars_format::hex, *precision);
    const std::size_t exponent = text.find('p');
    return completed(std::move(text), exponent, 0, alternate && *precision == 0);
  }
  std::string text(kMaximumTextSize, '\0');
  char* const last = std::to_chars(text.data(), text.data() + text.size(), magnitude, std::chars_format::hex).ptr;
  text.resize(static_cast<std::size_t>(last - text.data()));
  const std::size_t exponent = text.find('p');
  const std::size_t point = text.find('.');
  const std::size_t digits = point == std::string::npos ? 0 : exponent - point - 1;
  const std::size_t zeros = precision ? *precision - digits : 0;
  return completed(std::move(text), exponent, zeros, digits == 0 && (alternate || zeros != 0));
}

}  // namespace

std::string formatReal(double magnitude, const RealFormat& format) {
  constexpr std::size_t kUsualPrecision = 6;
  const std::size_t precision = format.precision.value_or(kUsualPrecision);
  switch (format.letter) {
    case 'e':
      return scientific(magnitude, precision, format.alternate);
    case 'g':
      return general(magnitude, precision, format.alternate);
    case 'a':
      return hexadecimal(magnitude, format.precision, format.alternate);
    default:
      return fixed(magnitude, precision, format.alternate);
  }
}

}  // namespace ZtFoundation::detail
