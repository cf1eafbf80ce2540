/// \file Number.h
/// `NSNumber`: a boxed boolean, signed or unsigned 64-bit integer, or floating value. Immutable.
///
/// Numbers are equal by value (1 equals 1.0; 2^53 + 1 does not equal 2^53 as a double; NaN equals NaN); a boolean
/// equals only a boolean.
/// \code
///   Ref<NSNumber> age = NSNumber::numberWithInt(42);
///   age->doubleValue();                                 // 42.0
///   age->isEqual(NSNumber::numberWithDouble(42));       // true
/// \endcode
/// Threads: one object may be used by many threads at once.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

/// What a number holds.
enum class NumberType : std::uint8_t { Boolean, Signed, Unsigned, Double, Float };

class ZT_EXPORT NSNumber : public NSObject {
  ZT_OBJECT(NSNumber, NSObject)
 public:
  static constexpr ObjectKind kKind = ObjectKind::Number;

  /// The one object for true or for false.
  static Ref<NSNumber> numberWithBool(bool value);
  /// A number that holds the value as a signed integer.
  static Ref<NSNumber> numberWithInt(int value);
  /// A number that holds the value as an integer.
  static Ref<NSNumber> numberWithUnsignedInt(unsigned value);
  /// A number that holds the value as a signed integer.
  static Ref<NSNumber> numberWithLong(long value);
  /// A value that fits a signed 64-bit integer is kept as one.
  static Ref<NSNumber> numberWithUnsignedLong(unsigned long value);
  /// A number that holds the value as a signed integer.
  static Ref<NSNumber> numberWithLongLong(long long value);
  /// A value that fits a signed 64-bit integer is kept as one.
  static Ref<NSNumber> numberWithUnsignedLongLong(unsigned long long value);
  /// A number that holds the value bit for bit.
  static Ref<NSNumber> numberWithDouble(double value);
  /// Described with the digits that tell a 32-bit float.
  static Ref<NSNumber> numberWithFloat(float value);

  /// What the number holds.
  NumberType type() const noexcept { return static_cast<NumberType>(flags() >> 1); }
  /// True for the two booleans.
  bool isBoolean() const noexcept { return type() == NumberType::Boolean; }
  /// True for signed and unsigned integers; a boolean is none.
  bool isInteger() const noexcept { return type() == NumberType::Signed || type() == NumberType::Unsigned; }
  /// True for floating values, whole ones too.
  bool isReal() const noexcept { return type() == NumberType::Double || type() == NumberType::Float; }

  // Reading as a type that does not hold the value: integers keep their low bits, floating values are cut toward zero
  // and saturate at the ends of the type, NaN reads as 0.
  /// False only for a value of 0 and for NaN.
  bool boolValue() const noexcept;
  /// The value as an int.
  int intValue() const noexcept;
  /// The value as an unsigned int.
  unsigned unsignedIntValue() const noexcept;
  /// The value as a long.
  long longValue() const noexcept;
  /// The value as an unsigned long.
  unsigned long unsignedLongValue() const noexcept;
  /// The value as a signed 64-bit integer.
  long long longLongValue() const noexcept;
  /// The value as an unsigned 64-bit integer.
  unsigned long long unsignedLongLongValue() const noexcept;
  /// The value as a double; large integers are rounded.
  double doubleValue() const noexcept;
  /// The value as a float, rounded.
  float floatValue() const noexcept;

  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;
  /// Decimal text: integers plain, booleans 1 and 0, floating values with the fewest digits that read back the same.
  Ref<NSString> description() const override;
  /// By value; a NaN is below every other number and the same as itself.
  NSComparisonResult compare(const Ref<NSNumber>& other) const;

 private:
  friend NSObject* detail::newNumber(bool);
  friend NSObject* detail::newNumber(long long);
  friend NSObject* detail::newNumber(unsigned long long);
  friend NSObject* detail::newNumber(double);

  // The lowest flag says whether an object is mutable.
  NSNumber(NumberType type, std::uint64_t bits) noexcept
      : NSObject(ObjectKind::Number, static_cast<std::uint8_t>(static_cast<unsigned>(type) << 1)), bits_(bits) {}
  static NSNumber* boolean(bool value);

  std::int64_t signedBits() const noexcept { return static_cast<std::int64_t>(bits_); }
  double realBits() const noexcept;
  NSComparisonResult compareValues(const NSNumber& other) const noexcept;
  NSComparisonResult compareWithReal(double real) const noexcept;

  std::uint64_t bits_;
};

}  // namespace ZtFoundation
