#include <ZtFoundation/platform/Number.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <vector>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr long long kMin = std::numeric_limits<long long>::min();
constexpr long long kMax = std::numeric_limits<long long>::max();
constexpr unsigned long long kUnsignedMax = std::numeric_limits<unsigned long long>::max();

Ref<NSNumber> number(const Ref<NSObject>& value) { return as<NSNumber>(value); }

TEST(Number, ThereAreTwoBooleans) {
  EXPECT_EQ(NSNumber::numberWithBool(true), number(true));
  EXPECT_EQ(NSNumber::numberWithBool(false), number(false));
  EXPECT_NE(NSNumber::numberWithBool(true), NSNumber::numberWithBool(false));
  EXPECT_TRUE(number(true)->isBoolean());
  EXPECT_TRUE(number(true)->boolValue());
  EXPECT_FALSE(number(false)->boolValue());
}

TEST(Number, KeepsTheTypeThatItWasMadeWith) {
  EXPECT_EQ(number(1)->type(), NumberType::Signed);
  EXPECT_EQ(number(1U)->type(), NumberType::Signed);
  EXPECT_EQ(number(kUnsignedMax)->type(), NumberType::Unsigned);
  EXPECT_EQ(number(static_cast<unsigned long long>(kMax))->type(), NumberType::Signed);
  EXPECT_EQ(number(1.0)->type(), NumberType::Double);
  EXPECT_EQ(NSNumber::numberWithFloat(1.0F)->type(), NumberType::Float);
  EXPECT_TRUE(number(kUnsignedMax)->isInteger());
  EXPECT_TRUE(NSNumber::numberWithFloat(1.0F)->isReal());
  EXPECT_FALSE(number(true)->isInteger());
}

struct EqualityCase {
  Ref<NSObject> a;
  Ref<NSObject> b;
  bool equal;
};

TEST(Number, EqualsByExactValue) {
  constexpr long long kTwoTo53 = 1LL << 53;
  const EqualityCase cases[] = {
      {1, 1.0, true},
      {1, 2, false},
      {-1, kUnsignedMax, false},
      {0.0, -0.0, true},
      {0, -0.0, true},
      {kNaN, kNaN, true},
      {kNaN, -kNaN, true},
      {kNaN, 0, false},
      {kTwoTo53 + 1, static_cast<double>(kTwoTo53), false},
      {kTwoTo53, static_cast<double>(kTwoTo53), true},
      {kMax, 9223372036854775808.0, false},
      {kMin, -9223372036854775808.0, true},
      {9223372036854775808ULL, 9223372036854775808.0, true},
      {kUnsignedMax, 18446744073709551616.0, false},
      {1, 1.5, false},
      {true, 1, false},
      {true, 1.0, false},
      {false, 0, false},
      {true, true, true},
      {true, false, false},
      {kInfinity, kInfinity, true},
      {kInfinity, -kInfinity, false},
      {NSNumber::numberWithFloat(0.5F), 0.5, true},
      {NSNumber::numberWithFloat(0.1F), 0.1, false},
      {1, "1", false},
  };
  for (const auto& [a, b, equal] : cases) {
    EXPECT_EQ(isEqual(a, b), equal) << a << " and " << b;
    EXPECT_EQ(isEqual(b, a), equal) << b << " and " << a;
    if (equal) {
      EXPECT_EQ(a->hash(), b->hash()) << a << " and " << b;
    }
  }
  EXPECT_FALSE(number(1)->isEqual(nullptr));
}

TEST(Number, DifferentNumbersHashDifferently) {
  std::set<NSUInteger> hashes;
  const Ref<NSObject> numbers[] = {0.25, 0.5, 1, 1.5, 2, -1, -1.5, 1e300, 2e300, -1e300, -2e300, 1e19, kMin};
  for (const Ref<NSObject>& each : numbers) hashes.insert(each->hash());
  EXPECT_EQ(hashes.size(), std::size(numbers));
}

TEST(Number, HashesOfEvenlySpacedNumbersSpread) {
  std::set<NSUInteger> lowBits;
  for (int i = 0; i < 10000; ++i) lowBits.insert(number(i * 0x10000LL)->hash() & 0x3FFF);
  EXPECT_GT(lowBits.size(), 7000U);  // 16384 places: chance alone would fill about 7480
}

TEST(Number, ComparesInOneOrder) {
  const std::vector<Ref<NSObject>> ascending = {kNaN,
                                                -kInfinity,
                                                -1e300,
                                                kMin,
                                                -1.5,
                                                -1,
                                                -0.5,
                                                0,
                                                0.5,
                                                1,
                                                1.5,
                                                2,
                                                kMax,
                                                9223372036854775808.0,
                                                9223372036854775809ULL,
                                                kUnsignedMax,
                                                18446744073709551616.0,
                                                kInfinity};
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      const auto expected = i < j ? NSOrderedAscending : i > j ? NSOrderedDescending : NSOrderedSame;
      EXPECT_EQ(number(ascending[i])->compare(number(ascending[j])), expected)
          << ascending[i] << " and " << ascending[j];
    }
  }
  EXPECT_EQ(number(1)->compare(nullptr), NSOrderedDescending);
  EXPECT_EQ(number(true)->compare(number(1)), NSOrderedSame);
}

struct ReadingCase {
  Ref<NSObject> value;
  int asInt;
  unsigned asUnsigned;
  long long asLongLong;
  unsigned long long asUnsignedLongLong;
};

TEST(Number, ReadsAsOtherTypes) {
  constexpr int kIntMin = std::numeric_limits<int>::min();
  constexpr int kIntMax = std::numeric_limits<int>::max();
  constexpr unsigned kUIntMax = std::numeric_limits<unsigned>::max();
  const ReadingCase cases[] = {
      {-1, -1, kUIntMax, -1, kUnsignedMax},                // bits kept
      {kUnsignedMax, -1, kUIntMax, -1, kUnsignedMax},      // bits kept
      {0x100000002LL, 2, 2, 0x100000002LL, 0x100000002U},  // low bits kept
      {2147483648LL, kIntMin, 2147483648U, 2147483648LL, 2147483648U},
      {2.9, 2, 2, 2, 2},
      {-2.9, -2, 0, -2, 0},
      {1e30, kIntMax, kUIntMax, kMax, kUnsignedMax},
      {-1e30, kIntMin, 0, kMin, 0},
      {kInfinity, kIntMax, kUIntMax, kMax, kUnsignedMax},
      {-kInfinity, kIntMin, 0, kMin, 0},
      {kNaN, 0, 0, 0, 0},
      {2147483647.5, kIntMax, 2147483647U, 2147483647LL, 2147483647U},
      {-2147483648.5, kIntMin, 0, -2147483648LL, 0},
      {true, 1, 1, 1, 1},
      {false, 0, 0, 0, 0},
  };
  constexpr bool kWideLong = sizeof(long) == sizeof(long long);
  for (const ReadingCase& test : cases) {
    EXPECT_EQ(number(test.value)->intValue(), test.asInt) << test.value;
    EXPECT_EQ(number(test.value)->unsignedIntValue(), test.asUnsigned) << test.value;
    EXPECT_EQ(number(test.value)->longLongValue(), test.asLongLong) << test.value;
    EXPECT_EQ(number(test.value)->unsignedLongLongValue(), test.asUnsignedLongLong) << test.value;
    // A long is as wide as the one or the other.
    EXPECT_EQ(number(test.value)->longValue(), kWideLong ? test.asLongLong : test.asInt) << test.value;
    EXPECT_EQ(number(test.value)->unsignedLongValue(), kWideLong ? test.asUnsignedLongLong : test.asUnsigned)
        << test.value;
  }
}

TEST(Number, ReadsAsFloatingValuesAndTruth) {
  EXPECT_EQ(number(-3)->doubleValue(), -3.0);
  EXPECT_EQ(number(-3)->floatValue(), -3.0F);
  EXPECT_EQ(number(kUnsignedMax)->doubleValue(), 18446744073709551616.0);
  EXPECT_EQ(number(kUnsignedMax)->floatValue(), 18446744073709551616.0F);
  EXPECT_EQ(number(0.1)->floatValue(), 0.1F);
  EXPECT_TRUE(std::isinf(number(1e300)->floatValue()));
  EXPECT_TRUE(number(0.5)->boolValue());
  EXPECT_FALSE(number(-0.0)->boolValue());
  EXPECT_FALSE(number(kNaN)->boolValue());
  EXPECT_TRUE(number(256)->boolValue());
  EXPECT_TRUE(number(kMin)->boolValue());
}

TEST(Number, DescribesItselfTheSameEverywhere) {
  const std::pair<Ref<NSObject>, const char*> cases[] = {
      {42, "42"},
      {kMin, "-9223372036854775808"},
      {kUnsignedMax, "18446744073709551615"},
      {true, "1"},
      {false, "0"},
      {1.0, "1"},
      {0.1, "0.1"},
      {-0.0, "-0"},
      {100000.0, "100000"},
      {1e17, "1e+17"},
      {123456789012345.0, "123456789012345"},
      {1e-5, "0.00001"},
      {1e-6, "1e-06"},
      {8263.0072447640268, "8263.007244764027"},
      {kNaN, "nan"},
      {-kNaN, "nan"},
      {kInfinity, "inf"},
      {-kInfinity, "-inf"},
      {NSNumber::numberWithFloat(static_cast<float>(-kInfinity)), "-inf"},
      {5e-324, "5e-324"},
      {NSNumber::numberWithFloat(0.1F), "0.1"},
      {1.7976931348623157e308, "1.7976931348623157e+308"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(value->description()->utf8(), text);
}

TEST(Number, MakersAgree) {
  EXPECT_EQ(NSNumber::numberWithInt(-7)->intValue(), -7);
  EXPECT_EQ(NSNumber::numberWithUnsignedInt(4000000000U)->longLongValue(), 4000000000LL);
  EXPECT_EQ(NSNumber::numberWithLong(-7)->longValue(), -7);
  EXPECT_EQ(NSNumber::numberWithUnsignedLong(7)->unsignedLongValue(), 7U);
  EXPECT_EQ(NSNumber::numberWithLongLong(kMin)->longLongValue(), kMin);
  EXPECT_EQ(NSNumber::numberWithUnsignedLongLong(kUnsignedMax)->unsignedLongLongValue(), kUnsignedMax);
  EXPECT_EQ(NSNumber::numberWithDouble(2.5)->doubleValue(), 2.5);
}

}  // namespace
}  // namespace ZtFoundation
