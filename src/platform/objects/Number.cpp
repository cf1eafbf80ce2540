#include <ZtFoundation/platform/Number.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>

#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

#include "platform/objects/NumberText.h"
#include "platform/objects/StringHash.h"

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSNumber);

namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kTwoTo64 = 18446744073709551616.0;

NSComparisonResult ordering(auto a, auto b) {
  return a < b ? NSOrderedAscending : a > b ? NSOrderedDescending : NSOrderedSame;
}

template <std::integral T>
T saturated(double value) {
  using Limits = std::numeric_limits<T>;
  if (std::isnan(value)) return 0;
  if (value <= static_cast<double>(Limits::min())) return Limits::min();
  if (value >= std::ldexp(1.0, Limits::digits)) return Limits::max();
  return static_cast<T>(value);
}

// An integer against a real that is no NaN, exactly: converting the integer could round.
template <std::integral T>
NSComparisonResult compareToReal(T integer, double real) {
  if (real < static_cast<double>(std::numeric_limits<T>::min())) return NSOrderedDescending;
  if (real >= std::ldexp(1.0, std::numeric_limits<T>::digits)) return NSOrderedAscending;
  const double whole = std::trunc(real);
  const NSComparisonResult result = ordering(integer, static_cast<T>(whole));
  return result != NSOrderedSame ? result : ordering(whole, real);
}

NSComparisonResult compareReals(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return ordering(!std::isnan(a), !std::isnan(b));
  return ordering(a, b);
}

NSComparisonResult reversed(NSComparisonResult result) { return static_cast<NSComparisonResult>(-result); }

// Reals that an integer could equal must hash as that integer does.
std::uint64_t hashKey(double real) {
  if (std::isnan(real)) return 0x7FF8000000000000U;
  if (real == std::trunc(real)) {
    if (real >= -kTwoTo63 && real < kTwoTo63) return static_cast<std::uint64_t>(static_cast<std::int64_t>(real));
    if (real >= kTwoTo63 && real < kTwoTo64) return static_cast<std::uint64_t>(real);
  }
  return std::bit_cast<std::uint64_t>(real);
}

template <class Integer>
Ref<NSString> integerText(Integer value) {
  std::array<char, 24> text;
  const auto end = std::to_chars(text.begin(), text.end(), value).ptr;
  return NSString::stringWithASCII({text.data(), static_cast<std::size_t>(end - text.data())});
}

template <class Real>
std::string shortestText(Real value) {
  if (std::isnan(value)) return "nan";
  const Real magnitude = std::fabs(value);
  const bool plain = magnitude == 0 || (magnitude >= Real(1e-5) && magnitude < Real(1e17));
  std::array<char, 48> text;
  const auto format = plain ? std::chars_format::fixed : std::chars_format::scientific;
  return {text.data(), std::to_chars(text.begin(), text.end(), value, format).ptr};
}

}  // namespace

namespace detail {

std::string realText(double value) { return shortestText(value); }
std::string realText(float value) { return shortestText(value); }

NSObject* newNumber(bool value) {
  NSNumber* number = NSNumber::boolean(value);
  retainObject(number);
  return number;
}

NSObject* newNumber(long long value) { return new NSNumber(NumberType::Signed, static_cast<std::uint64_t>(value)); }

NSObject* newNumber(unsigned long long value) {
  const bool large = value > static_cast<unsigned long long>(std::numeric_limits<std::int64_t>::max());
  return new NSNumber(large ? NumberType::Unsigned : NumberType::Signed, value);
}

NSObject* newNumber(double value) { return new NSNumber(NumberType::Double, std::bit_cast<std::uint64_t>(value)); }

static Ref<NSNumber> adoptNumber(NSObject* owned) { return Ref<NSNumber>::adopt(static_cast<NSNumber*>(owned)); }

}  // namespace detail

NSNumber* NSNumber::boolean(bool value) {
  // Never freed: whoever holds one at exit may still use it.
  if (value) {
    static NSNumber* const yes = new NSNumber(NumberType::Boolean, 1);
    return yes;
  }
  static NSNumber* const no = new NSNumber(NumberType::Boolean, 0);
  return no;
}

Ref<NSNumber> NSNumber::numberWithBool(bool value) { return boolean(value); }
Ref<NSNumber> NSNumber::numberWithInt(int value) { return numberWithLongLong(value); }
Ref<NSNumber> NSNumber::numberWithUnsignedInt(unsigned value) { return numberWithLongLong(value); }
Ref<NSNumber> NSNumber::numberWithLong(long value) { return numberWithLongLong(value); }
Ref<NSNumber> NSNumber::numberWithUnsignedLong(unsigned long value) { return numberWithUnsignedLongLong(value); }
Ref<NSNumber> NSNumber::numberWithLongLong(long long value) { return detail::adoptNumber(detail::newNumber(value)); }
Ref<NSNumber> NSNumber::numberWithUnsignedLongLong(unsigned long long value) {
  return detail::adoptNumber(detail::newNumber(value));
}
Ref<NSNumber> NSNumber::numberWithDouble(double value) { return detail::adoptNumber(detail::newNumber(value)); }
Ref<NSNumber> NSNumber::numberWithFloat(float value) {
  return Ref<NSNumber>::adopt(
      new NSNumber(NumberType::Float, std::bit_cast<std::uint64_t>(static_cast<double>(value))));
}

double NSNumber::realBits() const noexcept { return std::bit_cast<double>(bits_); }

bool NSNumber::boolValue() const noexcept { return isReal() ? realBits() != 0 && !std::isnan(realBits()) : bits_ != 0; }
int NSNumber::intValue() const noexcept {
  return isReal() ? saturated<int>(realBits()) : static_cast<int>(static_cast<std::uint32_t>(bits_));
}
unsigned NSNumber::unsignedIntValue() const noexcept {
  return isReal() ? saturated<unsigned>(realBits()) : static_cast<unsigned>(bits_);
}
long NSNumber::longValue() const noexcept {
  return isReal() ? saturated<long>(realBits()) : static_cast<long>(static_cast<unsigned long>(bits_));
}
unsigned long NSNumber::unsignedLongValue() const noexcept {
  return isReal() ? saturated<unsigned long>(realBits()) : static_cast<unsigned long>(bits_);
}
long long NSNumber::longLongValue() const noexcept {
  return isReal() ? saturated<long long>(realBits()) : static_cast<long long>(bits_);
}
unsigned long long NSNumber::unsignedLongLongValue() const noexcept {
  return isReal() ? saturated<unsigned long long>(realBits()) : bits_;
}
double NSNumber::doubleValue() const noexcept {
  if (isReal()) return realBits();
  return type() == NumberType::Unsigned ? static_cast<double>(bits_) : static_cast<double>(signedBits());
}
float NSNumber::floatValue() const noexcept {
  if (isReal()) return static_cast<float>(realBits());
  return type() == NumberType::Unsigned ? static_cast<float>(bits_) : static_cast<float>(signedBits());
}

bool NSNumber::isEqual(const NSObject* other) const {
  if (other == this) return true;
  const NSNumber* number = as<NSNumber>(other);
  if (number == nullptr || number->isBoolean() != isBoolean()) return false;
  if (!isReal() && !number->isReal()) return type() == number->type() && bits_ == number->bits_;
  return compareValues(*number) == NSOrderedSame;
}

NSUInteger NSNumber::hash() const { return detail::hashWord(isReal() ? hashKey(realBits()) : bits_); }

Ref<NSString> NSNumber::description() const {
  switch (type()) {
    case NumberType::Double:
      return NSString::stringWithASCII(detail::realText(realBits()));
    case NumberType::Float:
      return NSString::stringWithASCII(detail::realText(floatValue()));
    case NumberType::Unsigned:
      return integerText(bits_);
    default:
      return integerText(signedBits());
  }
}

NSComparisonResult NSNumber::compare(const Ref<NSNumber>& other) const {
  return other ? compareValues(*other) : NSOrderedDescending;
}

NSComparisonResult NSNumber::compareValues(const NSNumber& other) const noexcept {
  if (isReal())
    return other.isReal() ? compareReals(realBits(), other.realBits()) : reversed(other.compareValues(*this));
  if (other.isReal()) return compareWithReal(other.realBits());
  const bool large = type() == NumberType::Unsigned;
  const bool otherLarge = other.type() == NumberType::Unsigned;
  if (large != otherLarge) return ordering(large, otherLarge);
  return large ? ordering(bits_, other.bits_) : ordering(signedBits(), other.signedBits());
}

NSComparisonResult NSNumber::compareWithReal(double real) const noexcept {
  if (std::isnan(real)) return NSOrderedDescending;
  return type() == NumberType::Unsigned ? compareToReal(bits_, real) : compareToReal(signedBits(), real);
}

}  // namespace ZtFoundation
