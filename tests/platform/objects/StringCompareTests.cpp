#include <gtest/gtest.h>

#include <ZtFoundation/platform/String.h>

#include <string>

namespace ZtFoundation {
namespace {

struct Comparison {
  std::u16string a, b;
  NSUInteger options;
  NSComparisonResult expected;
};

TEST(StringCompareTests, ComparesAsTheOptionsSay) {
  const Comparison comparisons[] = {
      {u"a", u"b", 0, NSOrderedAscending},
      {u"b", u"a", 0, NSOrderedDescending},
      {u"a", u"ab", 0, NSOrderedAscending},
      {u"", u"", 0, NSOrderedSame},
      {u"", u"a", 0, NSOrderedAscending},
      {u"\u00FF", u"\u0100", NSLiteralSearch, NSOrderedAscending},
      {u"\u00FF", u"\u0100", 0, NSOrderedDescending},  // y and A, with marks
      {u"\u00E9", u"z", 0, NSOrderedAscending},
      {u"a\u65E5", u"a\u65E5\u672C", 0, NSOrderedAscending},
      {u"\u00E9", u"e\u0301", 0, NSOrderedSame},
      {u"\u00E9", u"e\u0301", NSLiteralSearch, NSOrderedDescending},
      {u"B", u"a", NSCaseInsensitiveSearch, NSOrderedDescending},
      {u"ABC", u"abc", NSCaseInsensitiveSearch, NSOrderedSame},
      {u"ABC", u"abc", 0, NSOrderedAscending},
      {u"\u00C9", u"e", NSCaseInsensitiveSearch | NSDiacriticInsensitiveSearch, NSOrderedSame},
      {u"\uFF21", u"A", NSWidthInsensitiveSearch, NSOrderedSame},
      {u"a9", u"a10", NSNumericSearch, NSOrderedAscending},
      {u"a9", u"a10", 0, NSOrderedDescending},
      {u"a010", u"a10", NSNumericSearch, NSOrderedSame},
      {u"a010b", u"a10c", NSNumericSearch, NSOrderedAscending},
      {u"a10", u"a10b", NSNumericSearch, NSOrderedAscending},
      {u"a0", u"a00", NSNumericSearch, NSOrderedSame},
      {u"a19", u"a20", NSNumericSearch, NSOrderedAscending},
      {u"a1", u"ax", NSNumericSearch, NSOrderedAscending},
      {u"a-5", u"a.", NSNumericSearch, NSOrderedAscending},
      {u"\u65E5", {u'\u65E5', u'\0'}, NSNumericSearch, NSOrderedAscending},
      {u"99999999999999999999", u"100000000000000000000", NSNumericSearch, NSOrderedAscending},
      {u"\u65E5"
       u"9",
       u"\u65E5"
       u"10",
       NSNumericSearch, NSOrderedAscending},
      {u"File9", u"file10", NSNumericSearch | NSCaseInsensitiveSearch, NSOrderedAscending},
  };
  for (const Comparison& each : comparisons) {
    const Ref<NSString> a = each.a, b = each.b;
    EXPECT_EQ(a->compare_options(b, each.options), each.expected) << a << " / " << b << " / " << each.options;
    EXPECT_EQ(b->compare_options(a, each.options), -each.expected) << b << " / " << a << " / " << each.options;
  }
}

TEST(StringCompareTests, PlainComparisonGoesByUnits) {
  EXPECT_EQ(Ref<NSString>("a")->compare("b"), NSOrderedAscending);
  EXPECT_EQ(Ref<NSString>(u"\u00E9")->compare(u"e\u0301"), NSOrderedDescending);
  EXPECT_EQ(Ref<NSString>("same")->compare("same"), NSOrderedSame);
  EXPECT_EQ(Ref<NSString>(u"\uFFFD")->compare(u"\xD83D\xDE00"), NSOrderedDescending);
}

TEST(StringCompareTests, NoneIsLessThanAnyText) {
  EXPECT_EQ(Ref<NSString>("")->compare(nullptr), NSOrderedDescending);
  EXPECT_EQ(Ref<NSString>("")->compare_options(nullptr, NSNumericSearch), NSOrderedDescending);
}

}  // namespace
}  // namespace ZtFoundation
