#include "platform/services/LocalClock.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "support/ChildProcess.h"

namespace ZtFoundation::test {
namespace {

// Seconds since 1970 of the local time, taken for UTC.
time_t seconds(const LocalTime& local) {
  tm fields{};
  fields.tm_year = local.year - 1900;
  fields.tm_mon = local.month - 1;
  fields.tm_mday = local.day;
  fields.tm_hour = local.hour;
  fields.tm_min = local.minute;
  fields.tm_sec = local.second;
  return ::timegm(&fields);
}

// A child, because the time zone belongs to the whole process.
bool isAheadBy(const char* zone, time_t difference) {
  return inChild([&] {
           ::setenv("TZ", zone, 1);
           ::tzset();
           timespec before{}, after{};
           ::clock_gettime(CLOCK_REALTIME, &before);
           const LocalTime now = LocalClock::production().now();
           ::clock_gettime(CLOCK_REALTIME, &after);
           const auto milliseconds = [](time_t whole, long thousandths) { return whole * 1000 + thousandths; };
           const time_t local = milliseconds(seconds(now) - difference, now.millisecond);
           return local >= milliseconds(before.tv_sec, before.tv_nsec / 1'000'000) &&
                          local <= milliseconds(after.tv_sec, after.tv_nsec / 1'000'000)
                      ? 1
                      : 0;
         }) == 1;
}

TEST(LocalClockTests, TheTimeIsThatOfTheTimeZone) {
  EXPECT_TRUE(isAheadBy("UTC0", 0));
  EXPECT_TRUE(isAheadBy("EAST-05:30", 5 * 3600 + 1800));
  EXPECT_TRUE(isAheadBy("WEST12", -12 * 3600));
}

}  // namespace
}  // namespace ZtFoundation::test
