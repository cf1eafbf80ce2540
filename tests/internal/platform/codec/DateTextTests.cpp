#include "platform/codec/DateText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace ZtFoundation::codec {
namespace {

std::string textOf(double seconds) {
  char buffer[kLongestDateText];
  const char* const end = writeDateText(seconds, buffer);
  return end != nullptr ? std::string(static_cast<const char*>(buffer), end) : "none";
}

TEST(DateText, TheFurthestDatesFitTheBuffer) {
  EXPECT_EQ(textOf(-9223372036854775808.0).size(), textOf(9223372036854774784.0).size());
  EXPECT_LT(textOf(-9223372036854775808.0).size(), kLongestDateText);
  EXPECT_EQ(textOf(9223372036854775808.0), "none");
  EXPECT_EQ(textOf(-9223372036854777856.0), "none");
  EXPECT_EQ(textOf(std::numeric_limits<double>::quiet_NaN()), "none");
}

TEST(DateText, AYearHasFourDigitsOrMoreAndPerhapsASign) {
  EXPECT_EQ(dateFromText("02001-01-01T00:00:00Z"), 0.0);
  EXPECT_EQ(dateFromText("-0000-01-01T00:00:00Z"), dateFromText("0000-01-01T00:00:00Z"));
  EXPECT_FALSE(dateFromText("999-01-01T00:00:00Z"));
  EXPECT_FALSE(dateFromText("-999-01-01T00:00:00Z"));
  EXPECT_TRUE(dateFromText("292000000000-01-01T00:00:00Z"));
  EXPECT_FALSE(dateFromText("292000000001-01-01T00:00:00Z"));
  EXPECT_FALSE(dateFromText("+"));
  EXPECT_FALSE(dateFromText(""));
}

TEST(DateText, EveryDayOfFourHundredYearsSurvives) {
  for (int day = 0; day < 146097; day += 1) {
    const double seconds = day * 86400.0 + day % 86400;
    EXPECT_EQ(dateFromText(textOf(seconds)), seconds);
    EXPECT_EQ(dateFromText(textOf(-seconds)), -seconds);
  }
}

TEST(DateText, OnlyRealDaysAreDates) {
  EXPECT_TRUE(dateFromText("2000-02-29T00:00:00Z"));
  EXPECT_TRUE(dateFromText("0000-02-29T00:00:00Z"));
  EXPECT_TRUE(dateFromText("-0004-02-29T00:00:00Z"));
  EXPECT_FALSE(dateFromText("-0001-02-29T00:00:00Z"));
  EXPECT_FALSE(dateFromText("2100-02-29T00:00:00Z"));
}

}  // namespace
}  // namespace ZtFoundation::codec
