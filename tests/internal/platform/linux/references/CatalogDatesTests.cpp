#include "platform/linux/references/CatalogDates.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ZtFoundation::test {
namespace {

using detail::catalogDate;

double converted(const UTCDateTime& date) {
  double seconds = NAN;
  EXPECT_EQ(UCConvertUTCDateTimeToCFAbsoluteTime(&date, &seconds), noErr);
  return seconds;
}

TEST(CatalogDatesTests, KnownDates) {
  const UTCDateTime epoch2001 = catalogDate(978307200, 0);
  EXPECT_EQ(epoch2001.highSeconds, 0);
  EXPECT_EQ(epoch2001.lowSeconds, 3061152000U);
  EXPECT_EQ(epoch2001.fraction, 0);
  EXPECT_EQ(converted(epoch2001), 0);
  EXPECT_EQ(converted(catalogDate(0, 0)), -978307200.0);
  EXPECT_EQ(converted(catalogDate(978307201, 500'000'000)), 1.5);
  EXPECT_EQ(catalogDate(2212122496, 0).highSeconds, 1) << "2^32 seconds after 1904";
  EXPECT_EQ(converted(catalogDate(2212122496, 0)), 2212122496.0 - 978307200.0);
}

TEST(CatalogDatesTests, FractionsAreCutNotRounded) {
  EXPECT_EQ(catalogDate(0, 999'999'999).fraction, 65535);
  EXPECT_EQ(catalogDate(0, 15258).fraction, 0);
  EXPECT_EQ(catalogDate(0, 15259).fraction, 1);
}

TEST(CatalogDatesTests, DatesThatTheRecordCannotHoldAreNone) {
  double seconds = 7;
  constexpr std::int64_t kOutside[] = {-2082844801LL, (1LL << 48) - 2082844800LL, INT64_MIN, INT64_MAX};
  for (const std::int64_t year : kOutside) {
    const UTCDateTime none = catalogDate(year, 5);
    EXPECT_EQ(UCConvertUTCDateTimeToCFAbsoluteTime(&none, &seconds), paramErr) << year;
  }
  EXPECT_EQ(seconds, 7);
  EXPECT_EQ(converted(catalogDate(-2082844799, 0)), -3061151999.0);
  EXPECT_EQ(converted(catalogDate(-2082844800, 500'000'000)), -3061151999.5);
  EXPECT_EQ(converted(catalogDate((1LL << 48) - 1 - 2082844800LL, 0)),
            static_cast<double>((1LL << 48) - 1) - 3061152000.0);
}

TEST(CatalogDatesTests, MissingPointersAreParameterErrors) {
  const UTCDateTime date = catalogDate(0, 0);
  double seconds = 7;
  EXPECT_EQ(UCConvertUTCDateTimeToCFAbsoluteTime(nullptr, &seconds), paramErr);
  EXPECT_EQ(UCConvertUTCDateTimeToCFAbsoluteTime(&date, nullptr), paramErr);
  EXPECT_EQ(seconds, 7);
}

}  // namespace
}  // namespace ZtFoundation::test
