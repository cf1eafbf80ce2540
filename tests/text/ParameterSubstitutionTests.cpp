#include <gtest/gtest.h>

#include <ZtFoundation/Text.h>
#include <ZtFoundation/platform/Exception.h>

namespace ZtFoundation {
namespace {

std::string filled(const Ref<NSString>& text, const Ref<NSArray>& parameters) {
  return JxReplacementExtensions::stringWithParameterArray(text, parameters)->utf8();
}

struct Case {
  const char* text;
  Ref<NSArray> parameters;
  const char* expected;
};

TEST(ParameterSubstitutionTests, FillsPlaceholders) {
  const Case cases[] = {
      {"%1 and %2", NSArray::of("a", "b"), "a and b"},
      {"%2 %1", NSArray::of("x", "y"), "y x"},
      {"%1%1", NSArray::of("z"), "zz"},
      {"%1 %3", NSArray::of("a", "b", "c"), "a %3"},
      {"%0 %1", NSArray::of("a"), "%0 a"},
      {"plain", NSArray::of("a"), "plain"},
      {"%1 %2", NSArray::array(), "%1 %2"},
      {"", NSArray::of("a"), ""},
      {"%", NSArray::of("a"), "%"},
      {"%1", NSArray::of("a", "unused"), "a"},
      {"%1", NSArray::of("<%2>", "later"), "<later>"},
      {"%2 %1", NSArray::of("a", "%1"), "%1 a"},
      {"%%11", NSArray::of("x"), "%x1"},
      {"%11", NSArray::of("%"), "%"},  // what a parameter completes is found too
      {"%1!", NSArray::of("%"), "%!"},
      {"%1", NSArray::of(""), ""},
      {"%1\xCC\x81", NSArray::of("a"), "a\xCC\x81"},  // unit by unit: the accent is no part of the 1
      {"%1 %2", NSArray::of(7, 1.5), "7 1.5"},
      {"\xE6\x97\xA5%1", NSArray::of("\xE6\x9C\xAC"), "\xE6\x97\xA5\xE6\x9C\xAC"},
  };
  for (const Case& each : cases) EXPECT_EQ(filled(each.text, each.parameters), each.expected) << each.text;
}

TEST(ParameterSubstitutionTests, TheTenthPlaceholderIsTheFirstAndADigit) {
  const Ref<NSArray> ten = NSArray::of("a", "b", "c", "d", "e", "f", "g", "h", "i", "j");
  EXPECT_EQ(filled("%10", ten), "a0");
}

// A parameter may bring "%10" when the first is done.
TEST(ParameterSubstitutionTests, PlaceholdersMayHaveTwoDigits) {
  const Ref<NSArray> ten = NSArray::of("a", "b", "c", "d", "e", "f", "g", "h", "<%10>", "j");
  EXPECT_EQ(filled("%1%2%3%4%5%6%7%8%9", ten), "abcdefgh<j>");
}

TEST(ParameterSubstitutionTests, TheResultIsANewMutableString) {
  const Ref<NSString> text = "%1";
  const Ref<NSMutableString> copy = JxReplacementExtensions::stringWithParameterArray(text, nullptr);
  EXPECT_EQ(copy->utf8(), "%1");
  copy->appendString("!");
  EXPECT_EQ(text->utf8(), "%1");
  EXPECT_FALSE(JxReplacementExtensions::stringWithParameterArray(nullptr, NSArray::of("a")));
}

TEST(ParameterSubstitutionTests, AParameterWithItsOwnPlaceholderIsRefused) {
  try {
    filled("%1 %2", NSArray::of("a", "<%2>"));
    FAIL() << "nothing was raised";
  } catch (const NSException& exception) {
    EXPECT_EQ(exception.name()->utf8(), "NSInvalidArgumentException");
    EXPECT_EQ(exception.reason()->utf8(), "parameter 2 contains its own placeholder, so filling it in would never end");
  }
  EXPECT_EQ(filled("no placeholder", NSArray::of("%1")), "no placeholder");
}

std::string refusalOf(const Ref<NSString>& text, const Ref<NSArray>& parameters) {
  try {
    return filled(text, parameters);
  } catch (const NSException& exception) {
    return exception.reason()->utf8();
  }
}

// "%1" with "1%%" for it doubles the percent signs for each further 1.
TEST(ParameterSubstitutionTests, GrowthWithoutBoundIsRefused) {
  EXPECT_EQ(filled("%11", NSArray::of("1%%")), "11%%%%");
  EXPECT_EQ(refusalOf("%" + std::string(40, '1'), NSArray::of("1%%")),
            "filling in parameter 1 makes the text too long");
}

// "%1" with "1%" for it moves each percent sign past each 1.
TEST(ParameterSubstitutionTests, ReplacementsWithoutBoundAreRefused) {
  const auto mixed = [](std::size_t count) { return std::string(count, '%') + std::string(count, '1'); };
  EXPECT_EQ(filled(mixed(100), NSArray::of("1%")), std::string(100, '1') + std::string(100, '%'));
  EXPECT_EQ(refusalOf(mixed(5000), NSArray::of("1%")), "filling in parameter 1 takes too many replacements");
}

TEST(ParameterSubstitutionTests, ALongTextIsNoGrowth) {
  const std::string text(std::size_t{1} << 25, 'x');
  EXPECT_TRUE(filled(text + "%1", NSArray::of("end")) == text + "end");
}

// Shows nothing.
class Silent : public NSObject {
 public:
  Ref<NSString> description() const override { return nullptr; }
};

TEST(ParameterSubstitutionTests, AnObjectWithoutDescriptionShowsAsNone) {
  EXPECT_EQ(filled("<%1>", NSArray::arrayWithObject(make<Silent>())), "<(null)>");
}

TEST(ParameterSubstitutionTests, ManyPlaceholdersTakeLinearTime) {
  std::string text;
  std::string expected;
  for (int round = 0; round < 100000; ++round) {
    text += "%1,";
    expected += "value,";
  }
  EXPECT_EQ(filled(text, NSArray::of("value")), expected);
}

}  // namespace
}  // namespace ZtFoundation
