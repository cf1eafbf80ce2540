#include <gtest/gtest.h>

#include <limits>

#include <ZtFoundation/Utilities.h>

#include "platform/services/TickClock.h"

namespace ZtFoundation {
namespace {

class FakeClock : public TickClock {
 public:
  std::uint64_t mach_absolute_time() const override { return now; }
  /// Takes a millisecond, which nobody may measure.
  mach_timebase_info_data_t mach_timebase_info() const override {
    ++timesBaseWasRead;
    now += 1'000'000;
    return base;
  }

  mutable std::uint64_t now = 1000;
  mach_timebase_info_data_t base{1, 1};
  mutable int timesBaseWasRead = 0;
};

class ElapsedTime : public testing::Test {
 protected:
  FakeClock clock;
  ScopedService<TickClock> scope{clock};
};

TEST_F(ElapsedTime, StartsAtZero) {
  const Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), 0U);
  EXPECT_EQ(watch->elapsedMillisecondsAsFloat64(), 0.0);
  EXPECT_TRUE(watch->isMemberOfClass(QvElapsedTime::classObject()));
}

TEST_F(ElapsedTime, ReadsTheTimeBaseOnce) {
  QvElapsedTime::elapsedTime();
  EXPECT_EQ(clock.timesBaseWasRead, 1);
}

Ref<QvElapsedTime> answerNone(const Ref<QvElapsedTime>&) { return nullptr; }
Ref<NSObject> noObject(const Ref<NSObject>&) { return nullptr; }
Ref<QvElapsedTime> answerItself(const Ref<QvElapsedTime>& self) { return self; }

TEST_F(ElapsedTime, IsStartedByAMessage) {
  Class watches = QvElapsedTime::classObject();
  const IMP original =
      QvReplaceMethodImplementation(watches, ZT_SELECTOR("init"), methodImplementation<&answerItself>());
  clock.now = 5'000'000;
  EXPECT_EQ(QvElapsedTime::elapsedTime()->elapsedMillisecondsAsUInt32(), 5U) << "started at tick 0 by nobody";
  EXPECT_EQ(clock.timesBaseWasRead, 0);
  QvReplaceMethodImplementation(watches, ZT_SELECTOR("init"), methodImplementation<&answerNone>());
  EXPECT_FALSE(QvElapsedTime::elapsedTime());
  QvReplaceMethodImplementation(watches, ZT_SELECTOR("init"), original);
  EXPECT_EQ(QvElapsedTime::elapsedTime()->elapsedMillisecondsAsUInt32(), 0U);
}

TEST_F(ElapsedTime, IsNoneWhereItsBaseCannotBeInitialised) {
  Class objects = NSObject::classObject();
  const IMP original = method_getImplementation(class_getInstanceMethod(objects, ZT_SELECTOR("init")));
  QvReplaceMethodImplementation(objects, ZT_SELECTOR("init"), methodImplementation<&noObject>());
  EXPECT_FALSE(QvElapsedTime::elapsedTime());
  QvReplaceMethodImplementation(objects, ZT_SELECTOR("init"), original);
  EXPECT_EQ(clock.timesBaseWasRead, 0);
  EXPECT_TRUE(QvElapsedTime::elapsedTime());
}

TEST_F(ElapsedTime, IsOfItsOwnClassWhoeverIsAsked) {
  Class derived = registerSubclass(QvElapsedTime::classObject(), "WatchOfAHost");
  const auto watch = send<Ref<NSObject>>(derived, ZT_SELECTOR("elapsedTime"));
  ASSERT_TRUE(watch);
  EXPECT_TRUE(watch->isMemberOfClass(QvElapsedTime::classObject()));
}

TEST_F(ElapsedTime, CutsWholeMilliseconds) {
  const Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
  clock.now += 1'999'999;
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), 1U);
  EXPECT_EQ(watch->elapsedMillisecondsAsFloat64(), 1.999999);
}

TEST_F(ElapsedTime, ReadingDoesNotStopIt) {
  const Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
  clock.now += 1'000'000;
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), 1U);
  clock.now += 1'000'000;
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), 2U);
}

TEST_F(ElapsedTime, StartsAnewWithTheSameTimeBase) {
  const Ref<QvElapsedTime> watch = make<QvElapsedTime>();
  clock.now += 5'000'000;
  clock.base = {2, 1};
  watch->resetEpochTime();
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), 0U);
  clock.now += 3'000'000;
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), 3U);
  EXPECT_EQ(clock.timesBaseWasRead, 1);
  watch->init();
  clock.now += 3'000'000;
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), 6U);
}

TEST_F(ElapsedTime, DividesTheProductOfTicksAndNumerator) {
  clock.base = {125, 3};
  const Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
  clock.now += 24'000'001;  // 1000000041.66 ns
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), 1000U);
  EXPECT_EQ(watch->elapsedMillisecondsAsFloat64(), 1000.000041);
}

TEST_F(ElapsedTime, LargeProductsWrapBeforeTheDivision) {
  clock.base = {125, 3};
  const Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
  constexpr std::uint64_t kTicks = std::numeric_limits<std::uint64_t>::max() / 125 + 1'000'000'000;
  clock.now += kTicks;
  constexpr std::uint64_t kNanoseconds = kTicks * 125 / 3;  // of the low 64 bits
  static_assert(kNanoseconds < 42'000'000'000);
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), kNanoseconds / 1'000'000);
  EXPECT_EQ(watch->elapsedMillisecondsAsFloat64(), static_cast<double>(kNanoseconds) / 1e6);
}

TEST_F(ElapsedTime, WholeMillisecondsWrapAfter32Bits) {
  const Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
  clock.now += (std::uint64_t{1} << 32) * 1'000'000 + 7'000'000;
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), 7U);
  EXPECT_EQ(watch->elapsedMillisecondsAsFloat64(), 4294967303.0);
}

TEST_F(ElapsedTime, NanosecondsBeyondTheSignedRangeAreUnsigned) {
  const Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
  clock.now += std::uint64_t{1} << 63;
  EXPECT_EQ(watch->elapsedMillisecondsAsFloat64(), 9223372036854775808.0 / 1e6);
}

TEST_F(ElapsedTime, TheCounterItselfMayWrap) {
  const Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
  clock.now = std::numeric_limits<std::uint64_t>::max();
  watch->resetEpochTime();
  clock.now += 2'000'000;
  EXPECT_EQ(watch->elapsedMillisecondsAsUInt32(), 2U);
}

TEST_F(ElapsedTime, AnswersMessages) {
  const Ref<NSObject> watch = QvElapsedTime::elapsedTime();
  clock.now += 4'000'000;
  EXPECT_EQ(send<std::uint32_t>(watch, ZT_SELECTOR("elapsedMillisecondsAsUInt32")), 4U);
  send<void>(watch, ZT_SELECTOR("resetEpochTime"));
  EXPECT_EQ(send<double>(watch, ZT_SELECTOR("elapsedMillisecondsAsFloat64")), 0.0);
}

TEST(ElapsedTimeOfTheMachine, RunsForward) {
  const Ref<QvElapsedTime> watch = QvElapsedTime::elapsedTime();
  const double first = watch->elapsedMillisecondsAsFloat64();
  EXPECT_LT(first, 1000.0);
  while (watch->elapsedMillisecondsAsFloat64() == first) {
  }
  EXPECT_GT(watch->elapsedMillisecondsAsFloat64(), first);
}

}  // namespace
}  // namespace ZtFoundation
