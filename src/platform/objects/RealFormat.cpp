#include "platform/objects/RealFormat.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>

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

#if defined(__SIZEOF_INT128__)

__extension__ using Product = unsigned __int128;

constexpr std::array<std::uint32_t, 10> kPowersOfTen{1,      10,      100,      1000,      10000,
                                                     100000, 1000000, 10000000, 100000000, 1000000000};

// A magnitude from 2^-67 to 2^32, or 0, taken apart into an integer and the number of its bits that lie behind the
// point. Times a power of ten it is still exact in 128 bits, so rounding is right without the long way.
class SmallReal {
 public:
  explicit SmallReal(double value) : bits_(std::bit_cast<std::uint64_t>(value)) {}

  bool isNegative() const { return bits_ >> 63 != 0; }
  bool isSmall() const { return isZero() || (exponent() >= 1023 - 67 && exponent() < 1023 + 32); }

  // The magnitude times 10^precision, rounded to the nearest, of two to the even one.
  std::uint64_t scaled(std::size_t precision) const {
    if (isZero()) return 0;
    const std::uint64_t integer = (bits_ & 0xFFFFFFFFFFFFF) | (std::uint64_t{1} << 52);
    const Product product = Product{integer} * kPowersOfTen[precision];
    const unsigned behindPoint = 1075 - exponent();
    const auto whole = static_cast<std::uint64_t>(product >> behindPoint);
    const Product rest = product - (Product{whole} << behindPoint);
    const Product half = Product{1} << (behindPoint - 1);
    return whole + (rest > half || (rest == half && whole % 2 != 0) ? 1 : 0);
  }

 private:
  bool isZero() const { return bits_ << 1 == 0; }
  unsigned exponent() const { return static_cast<unsigned>(bits_ >> 52) & 0x7FF; }

  std::uint64_t bits_;
};

// The digits of `scaled` with a point before the last `precision` of them.
char* putScaled(char* out, std::uint64_t scaled, std::size_t precision) {
  std::array<char, 24> digits;
  digits.fill('0');
  std::array<char, 24> plain{};
  const auto count = static_cast<std::size_t>(std::to_chars(plain.begin(), plain.end(), scaled).ptr - plain.begin());
  const std::size_t padded = std::max(count, precision + 1);
  std::copy_n(plain.begin(), count, digits.begin() + (padded - count));
  out = std::copy_n(digits.begin(), padded - precision, out);
  if (precision == 0) return out;
  *out++ = '.';
  return std::copy_n(digits.begin() + (padded - precision), precision, out);
}

#endif

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
    const auto behindPoint = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(digits) - 1 - exponent);
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

char* putFixed(char* out, double value, int precision) {
#if defined(__SIZEOF_INT128__)
  if (const SmallReal real(value); real.isSmall()) {
    if (real.isNegative()) *out++ = '-';
    return putScaled(out, real.scaled(static_cast<std::size_t>(precision)), static_cast<std::size_t>(precision));
  }
#endif
  return std::to_chars(out, out + kFixedTextSize, value, std::chars_format::fixed, precision).ptr;
}

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
