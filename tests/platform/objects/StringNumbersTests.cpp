#include <gtest/gtest.h>

#include <ZtFoundation/platform/String.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <limits>
#include <string>

namespace ZtFoundation {
namespace {

Ref<NSString> text(const std::string& bytes) { return bytes; }

TEST(StringNumbersTests, Integers) {
  const struct {
    const char* text;
    long long expected;
  } cases[] = {
      {"12", 12},
      {"-12", -12},
      {"+12", 12},
      {" \t\n12abc", 12},
      {"\xE3\x80\x80"
       "5",
       5},
      {"", 0},
      {"abc", 0},
      {"-", 0},
      {"--1", 0},
      {"+-1", 0},
      {"0x10", 0},
      {"1.9", 1},
      {"9223372036854775807", LLONG_MAX},
      {"-9223372036854775808", LLONG_MIN},
      {"9223372036854775808", LLONG_MAX},
      {"-99999999999999999999999", LLONG_MIN},
      {"007", 7},
      {"1 2", 1},
      {"\xD9\xA1", 0},  // digits of other scripts are no number
      {"\xC4\xB1", 0},  // nor is any other character
  };
  for (const auto& each : cases) EXPECT_EQ(text(each.text)->longLongValue(), each.expected) << each.text;
  EXPECT_EQ(text("2147483648")->intValue(), INT_MAX);
  EXPECT_EQ(text("-2147483649")->intValue(), INT_MIN);
  EXPECT_EQ(text("-5")->intValue(), -5);
}

TEST(StringNumbersTests, Reals) {
  const double infinity = std::numeric_limits<double>::infinity();
  const struct {
    const char* text;
    double expected;
  } cases[] = {
      {"1.5", 1.5},
      {"-1.5e3x", -1500},
      {"+.5", 0.5},
      {"5.", 5},
      {".", 0},
      {"", 0},
      {"e5", 0},
      {"1e", 1},
      {"1e+", 1},
      {"1E2", 100},
      {".e5", 0},
      {" 2", 2},
      {"1e400", infinity},
      {"-1e400", -infinity},
      {"1e-400", 0},
      {"0e99999999999999999999", 0},
      {"1e99999999999999999999", infinity},
      {"1e-99999999999999999999", 0},
      {"inf", 0},
      {"nan", 0},
      {"0x10", 0},
      {"0.1", 0.1},
      {"1,5", 1},
      {"179769313486231570000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
       "000000000000"
       "000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
       "0000000000000"
       "00000000000000000000000000000000000000000000000000000000000000000",
       infinity},
  };
  for (const auto& each : cases) EXPECT_EQ(text(each.text)->doubleValue(), each.expected) << each.text;
  EXPECT_TRUE(std::signbit(text("-0")->doubleValue()));
  for (const char* none : {"-", "--5", "-abc", "-."}) EXPECT_FALSE(std::signbit(text(none)->doubleValue())) << none;
  EXPECT_EQ(text("0." + std::string(400, '0') + "1")->doubleValue(), 0);
  EXPECT_EQ(text("0." + std::string(400, '0') + "1e50")->doubleValue(), 0);
  EXPECT_EQ(text("1" + std::string(400, '0') + "e-50")->doubleValue(), infinity);
}

// Wherever a step in between keeps more digits than a double has, these come out as a neighbour.
TEST(StringNumbersTests, RealsAreRoundedOnce) {
  EXPECT_EQ(text("4281827051275512e19")->doubleValue(), 0x1.07e351bbe676fp+115);
  EXPECT_EQ(text("6293730777875794e20")->doubleValue(), 0x1.e4d9f43722db7p+118);
  EXPECT_EQ(text("6753367982616896e15")->doubleValue(), 0x1.54f53c4235751p+102);
  EXPECT_EQ(text("18348277597.03751e11")->doubleValue(), 0x1.8ddd66b8773f7p+70);
}

TEST(StringNumbersTests, TheLocaleHasNoSay) {
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_LOG_(INFO) << "there is no German locale here";
  EXPECT_EQ(text("1.5")->doubleValue(), 1.5);
  EXPECT_EQ(text("1,5")->doubleValue(), 1);
  std::setlocale(LC_ALL, "C");
}

TEST(StringNumbersTests, Booleans) {
  for (const char* yes : {"Y", "yes", "t", "TRUE", "1", "-1", " 7x", "0.5", "+2"})
    EXPECT_TRUE(text(yes)->boolValue()) << yes;
  for (const char* no : {"", "no", "false", "0", "00", "-0", "x1", "0x1"}) EXPECT_FALSE(text(no)->boolValue()) << no;
}

}  // namespace
}  // namespace ZtFoundation
