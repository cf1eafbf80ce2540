#include "platform/objects/TextBuilder.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace ZtFoundation {

namespace {

using detail::TextBuilder;

std::u16string text(const TextBuilder& builder) {
  std::u16string units;
  for (NSUInteger i = 0; i < builder.units().size(); ++i) units += builder.units()[i];
  return units;
}

std::string formatted(const char* format, std::initializer_list<FormatArgument> arguments) {
  TextBuilder out;
  detail::appendFormatted(out, format, FormatArguments(arguments.begin(), arguments.size()));
  return NSString::stringWithUnits(out.units())->utf8();
}

TEST(TextBuilderTests, BeginsEmpty) {
  TextBuilder builder;
  EXPECT_EQ(builder.units().size(), 0U);
}

TEST(TextBuilderTests, GrowsBeyondItsRoom) {
  TextBuilder builder;
  std::string expected;
  for (int i = 0; i < 300; ++i) {
    builder.append("0123456");
    expected += "0123456";
  }
  builder.append(5000, '-');
  builder.append(UnitView());
  EXPECT_FALSE(builder.units().isWide());
  EXPECT_EQ(builder.units().narrow(), expected + std::string(5000, '-'));
}

TEST(TextBuilderTests, WidensWhatIsThere) {
  TextBuilder builder;
  builder.append("a\xE4");
  builder.append(UnitView(u"\u3042", 1));
  builder.append("b\xE4");
  builder.append(2, '-');
  EXPECT_TRUE(builder.units().isWide());
  EXPECT_EQ(text(builder), u"a\u00E4\u3042b\u00E4--");
}

TEST(TextBuilderTests, WidensWhatIsBeyondItsRoom) {
  TextBuilder builder;
  builder.append(2000, 'x');
  builder.append(UnitView(u"\u3042", 1));
  std::u16string expected(2000, u'x');
  expected.push_back(u'\u3042');
  EXPECT_EQ(text(builder), expected);
}

// The conversions that are not parsed must print what parsing would.
TEST(TextBuilderTests, CommonConversionsPrintLikeParsedOnes) {
  EXPECT_EQ(formatted("%d|%0d", {-5, -5}), "-5|-5");
  EXPECT_EQ(formatted("%d|%0d", {7U, 7U}), "7|7");
  EXPECT_EQ(formatted("%d|%0d", {'a', 'a'}), "97|97");
  EXPECT_EQ(formatted("%d|%0d", {"x", "x"}), "%d(x)|%0d(x)");
  EXPECT_EQ(formatted("%d|%0d", {1.5, 1.5}), "%d(1.5)|%0d(1.5)");
  EXPECT_EQ(formatted("%s|%-s", {"größe", "größe"}), "größe|größe");
  EXPECT_EQ(formatted("%s|%-s", {5, 5}), "%s(5)|%-s(5)");
  EXPECT_EQ(formatted("%@|%-@", {nullptr, nullptr}), "(null)|(null)");
  EXPECT_EQ(formatted("%.2f|%-.2f", {-0.0, -0.0}), "-0.00|-0.00");
  EXPECT_EQ(formatted("%.1f|%-.1f", {0.25, 0.25}), "0.2|0.2");
  EXPECT_EQ(formatted("%.0f|%-.0f", {2.5, 2.5}), "2|2");
  EXPECT_EQ(formatted("%.3f|%-.3f", {4, 4}), "4.000|4.000");
  EXPECT_EQ(
      formatted("%.2f %.2f", {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::quiet_NaN()}),
      "inf nan");
  const double largest = -std::numeric_limits<double>::max();
  EXPECT_EQ(formatted("%.9f", {largest}), formatted("%-.9f", {largest}));
  EXPECT_EQ(formatted("%.9f", {largest}).size(), 1U + 309 + 1 + 9);
}

TEST(TextBuilderTests, CommonConversionsAtTheEndAreNotReadPastIt) {
  for (const char* format : {"%", "%.", "%.2", "a%", "%d%", "%.2f%."}) {
    const std::string result = formatted(format, {});
    EXPECT_FALSE(result.empty()) << format;
  }
  EXPECT_EQ(formatted("%d %@", {1}), "1 %@(missing)");
  EXPECT_EQ(formatted("%%%d%%", {1}), "%1%");
}

TEST(TextBuilderTests, FormatMayChangeWhileItIsRead) {
  const Ref<NSMutableString> format = NSMutableString::stringWithString("%@ %d");
  TextBuilder out;
  const FormatArgument arguments[] = {FormatArgument(format), FormatArgument(1)};
  detail::appendFormatted(out, format, arguments);
  EXPECT_EQ(out.units().narrow(), "%@ %d 1");
}

}  // namespace

}  // namespace ZtFoundation
