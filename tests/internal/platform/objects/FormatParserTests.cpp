#include "platform/objects/FormatParser.h"

#include <gtest/gtest.h>

#include <string_view>

#include <ZtFoundation/platform/Format.h>

namespace ZtFoundation::detail {
namespace {

using Source = FormatCount::Source;

Conversion parsed(std::string_view format, NSUInteger start = 0) {
  return parseConversion({format.data(), format.size()}, start);
}

void expectCount(const FormatCount& count, Source source, NSUInteger value) {
  EXPECT_EQ(count.source, source);
  EXPECT_EQ(count.value, value);
}

TEST(FormatParser, ReadsEveryPart) {
  const Conversion conversion = parsed("x%2$-+ #012.7lld!", 1);
  EXPECT_TRUE(conversion.left && conversion.plus && conversion.blank && conversion.alternate && conversion.zero);
  expectCount(conversion.argument, Source::NumberedArgument, 2);
  expectCount(conversion.width, Source::Number, 12);
  expectCount(conversion.precision, Source::Number, 7);
  EXPECT_EQ(conversion.letter, 'd');
  EXPECT_EQ(conversion.range, (NSRange{1, 15}));
}

TEST(FormatParser, ReadsTheLeastThereIs) {
  const Conversion conversion = parsed("%@");
  EXPECT_FALSE(conversion.left || conversion.plus || conversion.blank || conversion.alternate || conversion.zero);
  expectCount(conversion.argument, Source::NextArgument, 0);
  expectCount(conversion.width, Source::None, 0);
  expectCount(conversion.precision, Source::None, 0);
  EXPECT_EQ(conversion.letter, '@');
  EXPECT_EQ(conversion.range, (NSRange{0, 2}));
}

TEST(FormatParser, CountsComeFromArguments) {
  expectCount(parsed("%*d").width, Source::NextArgument, 0);
  expectCount(parsed("%.*d").precision, Source::NextArgument, 0);
  expectCount(parsed("%*3$d").width, Source::NumberedArgument, 3);
  expectCount(parsed("%.*4$d").precision, Source::NumberedArgument, 4);
  expectCount(parsed("%.d").precision, Source::Number, 0);
  expectCount(parsed("%99999999999999999999d").width, Source::Number, kMaximumFormatWidth);
}

TEST(FormatParser, ReadsLengths) {
  EXPECT_EQ(parsed("%hd").length, FormatLength::Short);
  EXPECT_EQ(parsed("%hhd").length, FormatLength::Byte);
  for (const char* format : {"%d", "%ld", "%lld", "%qd", "%zd", "%td", "%jd", "%Lf"}) {
    EXPECT_EQ(parsed(format).length, FormatLength::Own) << format;
    EXPECT_NE(parsed(format).letter, 0) << format;
  }
  EXPECT_TRUE(parsed("%lc").wide);
  EXPECT_FALSE(parsed("%llc").wide);
}

TEST(FormatParser, WhatIsNoConversionEndsWhereItGoesWrong) {
  const std::pair<const char*, NSUInteger> cases[] = {{"%", 1},    {"%y", 2},    {"%ny", 2},  {"%5.3", 4}, {"%5%d", 3},
                                                      {"%0$d", 3}, {"%-5$d", 4}, {"%hhh", 4}, {"%1$", 3}};
  for (const auto& [format, length] : cases) {
    EXPECT_EQ(parsed(format).letter, 0) << format;
    EXPECT_EQ(parsed(format).range.length, length) << format;
  }
}

}  // namespace
}  // namespace ZtFoundation::detail
