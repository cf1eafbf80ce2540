#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include <ZtFoundation/Utilities.h>

namespace ZtFoundation {
namespace {

using namespace QvFoundationExtensions;

template <class T>
void expectOrders(NSInteger (*comparator)(T, T), T less, T greater) {
  EXPECT_EQ(comparator(less, greater), -1);
  EXPECT_EQ(comparator(greater, less), 1);
  EXPECT_EQ(comparator(less, less), 0);
  EXPECT_EQ(comparator(greater, greater), 0);
}

template <class T>
void expectOrdersLimits(NSInteger (*comparator)(T, T)) {
  expectOrders<T>(comparator, std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max());
  expectOrders<T>(comparator, T(1), T(2));
}

TEST(Comparators, OrderTheirWholeTypes) {
  expectOrdersLimits(QvCompareChar);
  expectOrdersLimits(QvCompareUnsignedChar);
  expectOrdersLimits(QvCompareShort);
  expectOrdersLimits(QvCompareUnsignedShort);
  expectOrdersLimits(QvCompareInt);
  expectOrdersLimits(QvCompareUnsignedInt);
  expectOrdersLimits(QvCompareLong);
  expectOrdersLimits(QvCompareUnsignedLong);
  expectOrdersLimits(QvCompareLongLong);
  expectOrdersLimits(QvCompareUnsignedLongLong);
  expectOrdersLimits(QvCompareFloat);
  expectOrdersLimits(QvCompareDouble);
  expectOrdersLimits(QvCompareBool);
  expectOrdersLimits(QvCompareNSInteger);
  expectOrdersLimits(QvCompareNSUInteger);
  expectOrdersLimits(QvCompareCGFloat);
}

TEST(Comparators, KnowTheirSigns) {
  EXPECT_EQ(QvCompareChar(-1, 1), -1);
  EXPECT_EQ(QvCompareUnsignedChar(0xFF, 0x01), 1);
  EXPECT_EQ(QvCompareShort(-1, 1), -1);
  EXPECT_EQ(QvCompareUnsignedShort(0xFFFF, 1), 1);
  EXPECT_EQ(QvCompareInt(-1, 1), -1);
  EXPECT_EQ(QvCompareUnsignedInt(UINT_MAX, 1), 1);
  EXPECT_EQ(QvCompareLong(-1, 1), -1);
  EXPECT_EQ(QvCompareUnsignedLong(ULONG_MAX, 1), 1);
  EXPECT_EQ(QvCompareBool(-1, 0), -1);
  EXPECT_EQ(QvCompareBool(2, 1), 1);
}

TEST(Comparators, TakeANaNForTheSame) {
  const double nan = std::nan("");
  EXPECT_EQ(QvCompareDouble(nan, 1.0), 0);
  EXPECT_EQ(QvCompareDouble(1.0, nan), 0);
  EXPECT_EQ(QvCompareDouble(nan, nan), 0);
  EXPECT_EQ(QvCompareFloat(std::nanf(""), 1.0F), 0);
  EXPECT_EQ(QvCompareCGFloat(1.0, nan), 0);
  EXPECT_EQ(QvCompareDouble(-0.0, 0.0), 0);
  EXPECT_EQ(QvCompareFloat(0.0F, -0.0F), 0);
  EXPECT_EQ(QvCompareDouble(-HUGE_VAL, HUGE_VAL), -1);
}

TEST(Comparators, ServeAsCallbacks) {
  const std::vector<int> sorted = {INT_MIN, -5, 0, 3, 3, INT_MAX};
  std::vector<int> values = {3, INT_MAX, -5, 3, INT_MIN, 0};
  std::sort(values.begin(), values.end(), QvComparatorAdapter<QvCompareInt>());
  EXPECT_EQ(values, sorted);
  values = {3, INT_MAX, -5, 3, INT_MIN, 0};
  std::qsort(values.data(), values.size(), sizeof(int), &QvComparatorAdapter<QvCompareInt>::pointers);
  EXPECT_EQ(values, sorted);
  std::vector<double> reals = {2.5, -1.0, 0.5};
  std::sort(reals.begin(), reals.end(), QvComparatorAdapter<QvCompareDouble>());
  EXPECT_EQ(reals, (std::vector<double>{-1.0, 0.5, 2.5}));
}

struct ArithmeticCase {
  Ref<NSObject> a;
  Ref<NSObject> b;
  int sum, difference, product, quotient;
};

TEST(BoxedArithmetic, WrapsAndGuards) {
  const ArithmeticCase cases[] = {
      {7, 2, 9, 5, 14, 3},
      {-7, 2, -5, -9, -14, -3},
      {10, 0, 10, 10, 0, 0},
      {10, -2, 8, 12, -20, 0},
      {2.9, 0.9, 2, 2, 0, 0},
      {INT_MAX, 1, INT_MIN, INT_MAX - 1, INT_MAX, INT_MAX},
      {INT_MIN, 1, INT_MIN + 1, INT_MAX, INT_MIN, INT_MIN},
      {INT_MIN, -1, INT_MAX, INT_MIN + 1, INT_MIN, 0},
      {65536, 65536, 131072, 0, 0, 1},
      {INT_MIN, INT_MIN, 0, 0, 0, 0},
      {0x100000003LL, 2, 5, 1, 6, 1},
      {1e30, 1, INT_MIN, INT_MAX - 1, INT_MAX, INT_MAX},
      {true, true, 2, 0, 1, 1},
  };
  for (const ArithmeticCase& test : cases) {
    const Ref<NSNumber> a = as<NSNumber>(test.a);
    const Ref<NSNumber> b = as<NSNumber>(test.b);
    EXPECT_EQ(JxArithmeticExtensions::plus(a, b)->longLongValue(), test.sum) << a << " + " << b;
    EXPECT_EQ(JxArithmeticExtensions::minus(a, b)->longLongValue(), test.difference) << a << " - " << b;
    EXPECT_EQ(JxArithmeticExtensions::times(a, b)->longLongValue(), test.product) << a << " * " << b;
    EXPECT_EQ(JxArithmeticExtensions::dividedBy(a, b)->longLongValue(), test.quotient) << a << " / " << b;
  }
}

TEST(BoxedArithmetic, NoneGivesNone) {
  const Ref<NSNumber> one = NSNumber::numberWithInt(1);
  for (const auto operation : {&JxArithmeticExtensions::plus, &JxArithmeticExtensions::minus,
                               &JxArithmeticExtensions::times, &JxArithmeticExtensions::dividedBy}) {
    EXPECT_FALSE(operation(one, nullptr));
    EXPECT_FALSE(operation(nullptr, one));
  }
}

TEST(MachineWords, AreBoxedAndRead) {
  constexpr NSInteger kMin = std::numeric_limits<NSInteger>::min();
  constexpr NSUInteger kMax = std::numeric_limits<NSUInteger>::max();
  EXPECT_EQ(integerValue(numberWithInteger(kMin)), kMin);
  EXPECT_EQ(unsignedIntegerValue(numberWithUnsignedInteger(kMax)), kMax);
  EXPECT_EQ(integerValue(initWithInteger(-5)), -5);
  EXPECT_EQ(unsignedIntegerValue(initWithUnsignedInteger(5)), 5U);
  EXPECT_EQ(unsignedIntegerValue(numberWithInteger(-1)), kMax);
  EXPECT_EQ(integerValue(numberWithUnsignedInteger(kMax)), -1);
  EXPECT_EQ(integerValue(NSNumber::numberWithDouble(-2.9)), -2);
  EXPECT_EQ(integerValue(nullptr), 0);
  EXPECT_EQ(unsignedIntegerValue(nullptr), 0U);
}

TEST(MachineWords, FollowTheBuild) {
  static_assert(sizeof(NSInteger) == sizeof(void*) && sizeof(NSUInteger) == sizeof(void*));
  static_assert(sizeof(CGFloat) == sizeof(void*) && sizeof(NSComparisonResult) == sizeof(NSInteger));
  static_assert(sizeof(OSStatus) == 4 && sizeof(OSType) == 4);
  static_assert(NSNotFound == std::numeric_limits<NSUInteger>::max() / 2);
  constexpr NSInteger kMin = std::numeric_limits<NSInteger>::min();
  constexpr NSInteger kMax = std::numeric_limits<NSInteger>::max();
  EXPECT_EQ(integerValue(NSNumber::numberWithDouble(1e30)), kMax);
  EXPECT_EQ(integerValue(NSNumber::numberWithDouble(-1e30)), kMin);
  EXPECT_EQ(unsignedIntegerValue(NSNumber::numberWithDouble(1e30)), std::numeric_limits<NSUInteger>::max());
  EXPECT_EQ(unsignedIntegerValue(NSNumber::numberWithDouble(-1.0)), 0U);
}

// What a word does not hold keeps its low bits there, and all of them in the number.
TEST(MachineWords, LargerNumbersKeepTheirLowBits) {
  constexpr long long kValue = 0x1234'5678'9ABC'DEF0;
  const Ref<NSNumber> number = NSNumber::numberWithLongLong(kValue);
  EXPECT_EQ(integerValue(number), static_cast<NSInteger>(kValue));
  EXPECT_EQ(unsignedIntegerValue(number), static_cast<NSUInteger>(kValue));
  EXPECT_EQ(number->intValue(), static_cast<int>(0x9ABCDEF0U));
  EXPECT_EQ(number->longLongValue(), kValue);
}

}  // namespace
}  // namespace ZtFoundation
