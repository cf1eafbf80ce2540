#include <gtest/gtest.h>

#include <ZtFoundation/platform/Collation.h>

#include <string_view>

namespace ZtFoundation {
namespace {

constexpr std::uint32_t kAllSix = 0x3800E;

TEST(CollationTests, AnswersOrderAndEquivalence) {
  bool equivalent = true;
  std::int32_t order = 9;
  EXPECT_EQ(UCCompareTextDefault(kAllSix, u"a2", 2, u"A10", 3, &equivalent, &order), 0);
  EXPECT_FALSE(equivalent);
  EXPECT_LT(order, 0);
  EXPECT_EQ(UCCompareTextDefault(kAllSix, u"\u00E9", 1, u"E\u0301", 2, &equivalent, &order), 0);
  EXPECT_TRUE(equivalent);
  EXPECT_EQ(order, 0);
  EXPECT_EQ(UCCompareTextDefault(kAllSix, UnitView("\xE9", 1), UnitView(u"\u65E5", 1), &equivalent, &order), 0);
  EXPECT_LT(order, 0);
}

TEST(CollationTests, AnswersMayBeUnwanted) {
  EXPECT_EQ(UCCompareTextDefault(kAllSix, u"a", 1, u"b", 1, nullptr, nullptr), 0);
  EXPECT_EQ(UCCompareTextDefault(kAllSix, nullptr, 0, nullptr, 0, nullptr, nullptr), 0);
}

TEST(CollationTests, OtherOptionsAreRefusedAndNothingIsWritten) {
  for (const std::uint32_t options : {0U, 0x2U, 0x3800FU, 0x3801EU, 0x1800EU, 0xFFFFFFFFU}) {
    bool equivalent = true;
    std::int32_t order = 9;
    EXPECT_EQ(UCCompareTextDefault(options, u"a", 1, u"b", 1, &equivalent, &order), -50) << options;
    EXPECT_TRUE(equivalent);
    EXPECT_EQ(order, 9);
  }
}

}  // namespace
}  // namespace ZtFoundation
