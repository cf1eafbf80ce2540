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

TEST(DateText, TheFurthestDatesAreReadAsTheyAreWritten) {
  constexpr double kEnd = 9223372036854775808.0;
  constexpr double kFurthest = 9223372036854774784.0;
  EXPECT_EQ(textOf(kFurthest), "+292277026627-12-06T15:13:04Z");
  EXPECT_EQ(textOf(-kFurthest), "-292277022626-01-27T08:46:56Z");
  for (const double seconds : {9.2146e18, 9.2147e18, 9.22e18, kFurthest}) {
    EXPECT_EQ(dateFromText(textOf(seconds)), seconds);
    EXPECT_EQ(dateFromText(textOf(-seconds)), -seconds);
  }
  for (const double seconds : {kEnd, -kEnd, std::nextafter(kEnd, 1e300), std::nextafter(-kEnd, -1e300), 1e300,
                               std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(textOf(seconds), "none");
  }
}

TEST(DateText, DatesFurtherAwayAreNone) {
  // A second that no double holds counts as the nearest one.
  EXPECT_TRUE(dateFromText("292277026627-12-06T15:21:35Z"));
  EXPECT_FALSE(dateFromText("292277026627-12-06T15:21:36Z"));
  EXPECT_TRUE(dateFromText("-292277022626-01-27T08:38:25Z"));
  EXPECT_FALSE(dateFromText("-292277022626-01-27T08:38:24Z"));
  for (const char* year : {"292277026628", "-292277022627", "9223372036854775807", "-9223372036854775807",
                           "9223372036854775808", "-9223372036854775808", "99999999999999999999"}) {
    EXPECT_FALSE(dateFromText(std::string(year) + "-02-28T00:00:00Z")) << year;
  }
}

TEST(DateText, AYearHasFourDigitsOrMoreAndPerhapsASign) {
  EXPECT_EQ(dateFromText("02001-01-01T00:00:00Z"), 0.0);
  EXPECT_EQ(dateFromText("-0000-01-01T00:00:00Z"), dateFromText("0000-01-01T00:00:00Z"));
  EXPECT_FALSE(dateFromText("999-01-01T00:00:00Z"));
  EXPECT_FALSE(dateFromText("-999-01-01T00:00:00Z"));
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
