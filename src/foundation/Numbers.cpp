#include <ZtFoundation/Utilities.h>

namespace ZtFoundation {

namespace {

// For floating values both tests fail when either is a NaN.
template <class T>
NSInteger compared(T a, T b) {
  return b > a ? NSOrderedAscending : a > b ? NSOrderedDescending : NSOrderedSame;
}

// Unsigned arithmetic wraps where signed arithmetic must not.
template <class Operation>
Ref<NSNumber> calculated(const Ref<NSNumber>& a, const Ref<NSNumber>& b, Operation operation) {
  if (!a || !b) return nullptr;
  const auto bits = operation(static_cast<std::uint32_t>(a->intValue()), static_cast<std::uint32_t>(b->intValue()));
  return NSNumber::numberWithInt(static_cast<std::int32_t>(bits));
}

}  // namespace

extern "C" {

NSInteger QvCompareChar(signed char a, signed char b) { return compared(a, b); }
NSInteger QvCompareUnsignedChar(unsigned char a, unsigned char b) { return compared(a, b); }
NSInteger QvCompareShort(short a, short b) { return compared(a, b); }
NSInteger QvCompareUnsignedShort(unsigned short a, unsigned short b) { return compared(a, b); }
NSInteger QvCompareInt(int a, int b) { return compared(a, b); }
NSInteger QvCompareUnsignedInt(unsigned a, unsigned b) { return compared(a, b); }
NSInteger QvCompareLong(long a, long b) { return compared(a, b); }
NSInteger QvCompareUnsignedLong(unsigned long a, unsigned long b) { return compared(a, b); }
NSInteger QvCompareLongLong(long long a, long long b) { return compared(a, b); }
NSInteger QvCompareUnsignedLongLong(unsigned long long a, unsigned long long b) { return compared(a, b); }
NSInteger QvCompareFloat(float a, float b) { return compared(a, b); }
NSInteger QvCompareDouble(double a, double b) { return compared(a, b); }
NSInteger QvCompareBool(signed char a, signed char b) { return compared(a, b); }
NSInteger QvCompareNSInteger(NSInteger a, NSInteger b) { return compared(a, b); }
NSInteger QvCompareNSUInteger(NSUInteger a, NSUInteger b) { return compared(a, b); }
NSInteger QvCompareCGFloat(CGFloat a, CGFloat b) { return compared(a, b); }

}  // extern "C"

namespace JxArithmeticExtensions {

Ref<NSNumber> plus(const Ref<NSNumber>& self, const Ref<NSNumber>& other) {
  return calculated(self, other, [](std::uint32_t a, std::uint32_t b) { return a + b; });
}

Ref<NSNumber> minus(const Ref<NSNumber>& self, const Ref<NSNumber>& other) {
  return calculated(self, other, [](std::uint32_t a, std::uint32_t b) { return a - b; });
}

Ref<NSNumber> times(const Ref<NSNumber>& self, const Ref<NSNumber>& other) {
  return calculated(self, other, [](std::uint32_t a, std::uint32_t b) { return a * b; });
}

Ref<NSNumber> dividedBy(const Ref<NSNumber>& self, const Ref<NSNumber>& other) {
  if (!self || !other) return nullptr;
  const std::int32_t divisor = other->intValue();
  return NSNumber::numberWithInt(divisor > 0 ? self->intValue() / divisor : 0);
}

}  // namespace JxArithmeticExtensions

namespace QvFoundationExtensions {

Ref<NSNumber> numberWithInteger(NSInteger value) { return NSNumber::numberWithLong(value); }
Ref<NSNumber> numberWithUnsignedInteger(NSUInteger value) { return NSNumber::numberWithUnsignedLong(value); }
Ref<NSNumber> initWithInteger(NSInteger value) { return numberWithInteger(value); }
Ref<NSNumber> initWithUnsignedInteger(NSUInteger value) { return numberWithUnsignedInteger(value); }
NSInteger integerValue(const Ref<NSNumber>& self) { return self ? self->longValue() : 0; }
NSUInteger unsignedIntegerValue(const Ref<NSNumber>& self) { return self ? self->unsignedLongValue() : 0; }

}  // namespace QvFoundationExtensions

}  // namespace ZtFoundation
