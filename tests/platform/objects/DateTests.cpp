#include <ZtFoundation/platform/Date.h>

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <limits>

#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

Ref<NSDate> date(double seconds) { return NSDate::dateWithTimeIntervalSinceReferenceDate(seconds); }

CalendarDate calendar(std::int64_t year, unsigned month, unsigned day, unsigned hour = 0, unsigned minute = 0,
                      unsigned second = 0) {
  return {year, month, day, hour, minute, second};
}

void expectSame(const CalendarDate& a, const CalendarDate& b) {
  EXPECT_EQ(a.year, b.year);
  EXPECT_EQ(a.month, b.month);
  EXPECT_EQ(a.day, b.day);
  EXPECT_EQ(a.hour, b.hour);
  EXPECT_EQ(a.minute, b.minute);
  EXPECT_EQ(a.second, b.second);
}

struct CalendarCase {
  CalendarDate fields;
  std::int64_t seconds;
};

TEST(Date, CalendarAndSecondsAgree) {
  const CalendarCase cases[] = {
      {calendar(2001, 1, 1), 0},
      {calendar(2000, 12, 31, 23, 59, 59), -1},
      {calendar(1970, 1, 1), -978307200},
      {calendar(1904, 1, 1), -3061152000},
      {calendar(1601, 1, 1), -12622780800},
      {calendar(1900, 3, 1), -3182198400},
      {calendar(2000, 2, 29), -26524800},
      {calendar(2038, 1, 19, 3, 14, 8), 2147483648 - 978307200},
      {calendar(2106, 2, 7, 6, 28, 16), 4294967296 - 978307200},
      {calendar(1, 1, 1), -63113904000},
      {calendar(0, 12, 31), -63113904000 - 86400},
  };
  for (const auto& [fields, seconds] : cases) {
    EXPECT_EQ(secondsFromCalendar(fields), seconds) << fields.year;
    expectSame(calendarFromSeconds(seconds), fields);
  }
}

TEST(Date, EveryDayOfACycleFollowsTheDayBefore) {
  CalendarDate expected = calendar(1599, 12, 31);
  std::int64_t seconds = secondsFromCalendar(expected);
  for (int day = 0; day < 146097 + 400; ++day, seconds += 86400) {
    const CalendarDate actual = calendarFromSeconds(seconds);
    ASSERT_EQ(actual.year, expected.year);
    ASSERT_EQ(actual.month, expected.month);
    ASSERT_EQ(actual.day, expected.day);
    ASSERT_EQ(secondsFromCalendar(actual), seconds);
    if (++expected.day > daysInMonth(expected.year, expected.month)) {
      expected.day = 1;
      expected.month = expected.month % 12 + 1;
      if (expected.month == 1) ++expected.year;
    }
  }
}

TEST(Date, AgreesWithTheCLibrary) {
  for (const std::int64_t seconds :
       {-62167219200LL, -1LL, 0LL, 951782399LL, 951782400LL, 4102444800LL, 253402300799LL}) {
    const auto moment = static_cast<std::time_t>(seconds);
    std::tm fields;
    ASSERT_NE(gmtime_r(&moment, &fields), nullptr);
    expectSame(calendarFromSeconds(seconds - 978307200),
               calendar(fields.tm_year + 1900, static_cast<unsigned>(fields.tm_mon + 1),
                        static_cast<unsigned>(fields.tm_mday), static_cast<unsigned>(fields.tm_hour),
                        static_cast<unsigned>(fields.tm_min), static_cast<unsigned>(fields.tm_sec)));
  }
}

TEST(Date, TheEndsOfTheRangeRoundTrip) {
  for (const std::int64_t seconds : {kMin, kMin + 1, kMax - 1, kMax}) {
    EXPECT_EQ(secondsFromCalendar(calendarFromSeconds(seconds)), seconds);
  }
}

TEST(Date, YearsBeyondTheRangeSaturate) {
  EXPECT_EQ(secondsFromCalendar(calendar(kMax, 12, 31, 23, 59, 59)), kMax);
  EXPECT_EQ(secondsFromCalendar(calendar(kMin, 1, 1)), kMin);
  EXPECT_EQ(secondsFromCalendar(calendar(300'000'000'000, 1, 1)), kMax);
  EXPECT_EQ(secondsFromCalendar(calendar(-300'000'000'000, 1, 1)), kMin);
}

TEST(Date, LengthsOfMonths) {
  EXPECT_EQ(daysInMonth(2000, 2), 29U);
  EXPECT_EQ(daysInMonth(1900, 2), 28U);
  EXPECT_EQ(daysInMonth(2024, 2), 29U);
  EXPECT_EQ(daysInMonth(-4, 2), 29U);
  EXPECT_EQ(daysInMonth(0, 2), 29U);
  EXPECT_EQ(daysInMonth(kMin, 2), 29U);
  unsigned days = 0;
  for (unsigned month = 1; month <= 12; ++month) days += daysInMonth(2023, month);
  EXPECT_EQ(days, 365U);
}

TEST(Date, DescribesItselfInUTC) {
  const std::pair<double, const char*> cases[] = {
      {0, "2001-01-01 00:00:00 +0000"},
      {-0.5, "2000-12-31 23:59:59 +0000"},
      {0.999, "2001-01-01 00:00:00 +0000"},
      {-63113904000.0, "0001-01-01 00:00:00 +0000"},
      {-63145526400.0, "0000-01-01 00:00:00 +0000"},
      {-63145526401.0, "-0001-12-31 23:59:59 +0000"},
      {252423993600.0, "+10000-01-01 00:00:00 +0000"},
      {1e300, "1e+300 seconds since 2001"},
      {kNaN, "nan seconds since 2001"},
      {-kInfinity, "-inf seconds since 2001"},
  };
  for (const auto& [seconds, text] : cases) EXPECT_EQ(date(seconds)->description()->utf8(), text);
  EXPECT_NE(date(9.1e18)->description()->utf8().find("+0000"), std::string::npos);
}

TEST(Date, EqualsByTheExactDouble) {
  EXPECT_TRUE(isEqual(date(1.5), date(1.5)));
  EXPECT_FALSE(isEqual(date(1.5), date(std::nextafter(1.5, 2.0))));
  EXPECT_TRUE(isEqual(date(kNaN), date(kNaN)));
  EXPECT_TRUE(isEqual(date(0.0), date(-0.0)));
  EXPECT_EQ(date(0.0)->hash(), date(-0.0)->hash());
  EXPECT_EQ(date(kNaN)->hash(), date(-kNaN)->hash());
  EXPECT_EQ(date(1.5)->hash(), date(1.5)->hash());
  EXPECT_NE(date(1.5)->hash(), date(2.5)->hash());
  EXPECT_FALSE(date(1)->isEqual(Ref<NSObject>(1)));
  EXPECT_FALSE(date(1)->isEqual(nullptr));
}

TEST(Date, Compares) {
  EXPECT_EQ(date(1)->compare(date(2)), NSOrderedAscending);
  EXPECT_EQ(date(2)->compare(date(1)), NSOrderedDescending);
  EXPECT_EQ(date(2)->compare(date(2)), NSOrderedSame);
  EXPECT_EQ(date(kNaN)->compare(date(-kInfinity)), NSOrderedAscending);
  EXPECT_EQ(date(0)->compare(date(kNaN)), NSOrderedDescending);
  EXPECT_EQ(date(kNaN)->compare(date(kNaN)), NSOrderedSame);
  EXPECT_EQ(date(0)->compare(nullptr), NSOrderedDescending);
}

TEST(Date, KnowsBothEpochs) {
  EXPECT_EQ(NSDate::dateWithTimeIntervalSince1970(0)->timeIntervalSinceReferenceDate(), -978307200.0);
  EXPECT_EQ(date(0)->timeIntervalSince1970(), 978307200.0);
  EXPECT_NEAR(NSDate::date()->timeIntervalSince1970(), static_cast<double>(std::time(nullptr)), 2.0);
}

}  // namespace
}  // namespace ZtFoundation
