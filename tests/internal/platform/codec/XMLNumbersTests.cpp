#include "platform/codec/XMLNumbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include <ZtFoundation/platform/Number.h>

namespace ZtFoundation::codec {
namespace {

NumberFault faultOfReal(std::string_view text) {
  NumberFault fault = NumberFault::None;
  EXPECT_FALSE(realFromText(text, fault));
  return fault;
}

TEST(XMLNumbers, TooNearToZeroIsZeroAndTooFarIsAnError) {
  const std::string zeros(400, '0');
  const char* const tiny[] = {"1e-324", "0.1e-330", "123e-330", "1e-18446744073709551616"};
  for (const char* text : tiny) {
    NumberFault fault = NumberFault::None;
    EXPECT_EQ(realFromText(text, fault), 0.0) << text;
    EXPECT_EQ(fault, NumberFault::None);
  }
  NumberFault fault = NumberFault::None;
  EXPECT_EQ(realFromText("0." + zeros + "1", fault), 0.0);
  EXPECT_EQ(realFromText("0." + zeros + "1e400", fault), 0.1);
  EXPECT_EQ(realFromText("1" + zeros + "e-400", fault), 1.0);
  EXPECT_EQ(realFromText("0." + zeros + "1e10", fault), 0.0);
  EXPECT_EQ(realFromText("0.01e-9223372036854775807", fault), 0.0);
  EXPECT_EQ(fault, NumberFault::None);
  EXPECT_TRUE(std::signbit(*realFromText("-1e-999", fault)));
  EXPECT_EQ(faultOfReal("1" + zeros), NumberFault::OutOfRange);
  EXPECT_EQ(faultOfReal("-1.7976931348623159e308"), NumberFault::OutOfRange);
  EXPECT_EQ(faultOfReal("0.1e310"), NumberFault::OutOfRange);
  EXPECT_EQ(faultOfReal("1" + zeros + "e-10"), NumberFault::OutOfRange);
  EXPECT_EQ(faultOfReal("10e9223372036854775807"), NumberFault::OutOfRange);
  EXPECT_EQ(faultOfReal("e5"), NumberFault::Malformed);
}

TEST(XMLNumbers, ManyDigitsAreRoundedRight) {
  NumberFault fault = NumberFault::None;
  // Halfway between two doubles, and a hair above it.
  EXPECT_EQ(realFromText("9007199254740993", fault), 9007199254740992.0);
  EXPECT_EQ(realFromText("9007199254740993." + std::string(1000, '0') + "1", fault), 9007199254740994.0);
}

TEST(XMLNumbers, WhatIsNotFiniteIsNoFault) {
  for (const char* text : {"nan", "inf", "-Infinity"}) {
    NumberFault fault = NumberFault::None;
    EXPECT_FALSE(std::isfinite(*realFromText(text, fault))) << text;
    EXPECT_EQ(fault, NumberFault::None) << text;
  }
}

TEST(XMLNumbers, LongIntegersKeepTheirSign) {
  NumberFault fault = NumberFault::None;
  const Ref<NSObject> least = integerFromText("-" + std::string(50, '0') + "9223372036854775808", fault);
  EXPECT_EQ(as<NSNumber>(least)->longLongValue(), std::numeric_limits<long long>::min());
  EXPECT_EQ(as<NSNumber>(integerFromText("-0x0", fault))->longLongValue(), 0);
  EXPECT_FALSE(integerFromText("", fault));
  EXPECT_EQ(fault, NumberFault::Malformed);
}

TEST(XMLNumbers, TheLongestRealFitsTheBuffer) {
  char buffer[kLongestNumberText];
  char* const end = writeReal(-1.7976931348623157e-300, buffer);
  EXPECT_EQ(std::string(+buffer, end), "-1.7976931348623157e-300");
}

}  // namespace
}  // namespace ZtFoundation::codec
