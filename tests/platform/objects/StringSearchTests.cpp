#include <gtest/gtest.h>

#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/String.h>

#include <cstddef>
#include <ctime>
#include <string>

namespace ZtFoundation {

static void PrintTo(const NSRange& range, std::ostream* stream) {
  *stream << "(" << range.location << ", " << range.length << ")";
}

namespace {

constexpr NSRange kNone = kNotFoundRange;

struct Search {
  std::u16string text, target;
  NSUInteger options;
  NSRange expected;
};

void check(const Search& search) {
  const Ref<NSString> text = search.text, target = search.target;
  EXPECT_EQ(text->rangeOfString_options(target, search.options), search.expected)
      << text << " / " << target << " / " << search.options;
}

TEST(StringSearchTests, FindsUnits) {
  const Search searches[] = {
      {u"hello", u"l", 0, {2, 1}},
      {u"hello", u"l", NSBackwardsSearch, {3, 1}},
      {u"hello", u"hello", 0, {0, 5}},
      {u"hello", u"hello!", 0, kNone},
      {u"hello", u"", 0, kNone},
      {u"", u"a", 0, kNone},
      {u"", u"", 0, kNone},
      {u"aaa", u"aa", NSBackwardsSearch, {1, 2}},
      {u"hello", u"he", NSAnchoredSearch, {0, 2}},
      {u"hello", u"el", NSAnchoredSearch, kNone},
      {u"hello", u"lo", NSAnchoredSearch | NSBackwardsSearch, {3, 2}},
      {u"hello", u"l", NSAnchoredSearch | NSBackwardsSearch, kNone},
      {u"日本語", u"本", 0, {1, 1}},
      {u"日本 語", u" ", 0, {2, 1}},
      {u"日本語", u"a", 0, kNone},
      {u"日本語", u"語本", 0, kNone},
      {u"日abxabc", u"abc", 0, {4, 3}},
      {u"\u00E5e", u"\u65E5", 0, kNone},  // the same bytes in memory
      {u"hello", u"", NSAnchoredSearch, kNone},
      {u"hello", u"", NSAnchoredSearch | NSBackwardsSearch, kNone},
      {u"ab", u"abcd", NSBackwardsSearch, kNone},
      {u"abc", u"日", 0, kNone},
      {u"caf\u00E9", u"\u00E9", 0, {3, 1}},
      {u"日\u00E9", u"\u00E9", 0, {1, 1}},
      {u"x\xD83D\xDE00y", u"\xD83D\xDE00", 0, {1, 2}},
      {u"Hello", u"h", 0, kNone},
  };
  for (const Search& search : searches) {
    check(search);
    check({search.text, search.target, search.options | NSLiteralSearch, search.expected});
  }
}

TEST(StringSearchTests, ComposedAndDecomposedFormsMatchEachOther) {
  const Search searches[] = {
      {u"caf\u00E9!", u"e\u0301", 0, {3, 1}},
      {u"cafe\u0301!", u"\u00E9", 0, {3, 2}},
      {u"cafe\u0301!", u"\u00E9!", 0, {3, 3}},
      {u"日cafe\u0301", u"\u00E9", NSBackwardsSearch, {4, 2}},
      {u"e\u0301x", u"\u00E9", NSAnchoredSearch, {0, 2}},
      {u"xe\u0301", u"\u00E9", NSAnchoredSearch | NSBackwardsSearch, {1, 2}},
      {u"\uAC00", u"\u1100\u1161", 0, {0, 1}},
      {u"\u1100\u1161", u"\uAC00", 0, {0, 2}},
      {u"\u212B", u"\u00C5", 0, {0, 1}},                // angstrom sign
      {u"\u212A", u"K", 0, {0, 1}},                     // kelvin sign
      {u"a\u037E", u";", 0, {1, 1}},                    // Greek question mark
      {u"\u304C", u"\u304B\u3099", 0, {0, 1}},          // kana with a voiced mark
      {u"a\u0323\u0307", u"a\u0307\u0323", 0, {0, 3}},  // marks in another order
      {u"caf\u00E9", u"e\u0301", NSLiteralSearch, kNone},
      {u"cafe\u0301", u"\u00E9", NSLiteralSearch, kNone},
  };
  for (const Search& search : searches) check(search);
}

TEST(StringSearchTests, MatchesHoldWholeCharactersUnlessLiteral) {
  const Search searches[] = {
      {u"e\u0301", u"e", 0, kNone},
      {u"e\u0301", u"\u0301", 0, kNone},
      {u"e\u0301 e", u"e", 0, {3, 1}},
      {u"\u0301x", u"\u0301", 0, {0, 1}},
      {u"\u1100\u1161", u"\u1100", 0, kNone},
      {u"\u1100\u1161\u11A8", u"\u1100\u1161", 0, kNone},
      {u"\u0915\u093E", u"\u0915", 0, kNone},  // a mark that takes space
      {u"\uFF76\uFF9E", u"\uFF76", 0, kNone},  // a voiced mark of half width
      {u"a\u200Cb", u"a", 0, kNone},           // a joiner
      {u"日e\u0301", u"e", NSBackwardsSearch, kNone},
      {u"e\u0301", u"e", NSAnchoredSearch, kNone},
      {u"e\u0301", u"e", NSLiteralSearch, {0, 1}},
      {u"\n\u0301", u"\n", 0, {0, 1}},  // nothing joins a control character
      {u"\r\n", u"\n", 0, {1, 1}},
      {u"\xD83D\xDE00", u"\xD83D", NSLiteralSearch, {0, 1}},
      {u"\xD83D\xDE00", u"\xDE00", 0, kNone},
      {u"a\xD83D", u"\xD83D", 0, {1, 1}},
  };
  for (const Search& search : searches) check(search);
}

TEST(StringSearchTests, IgnoresCaseDiacriticsAndWidthOnRequest) {
  constexpr NSUInteger all = NSCaseInsensitiveSearch | NSDiacriticInsensitiveSearch | NSWidthInsensitiveSearch;
  const Search searches[] = {
      {u"Hello World", u"WORLD", NSCaseInsensitiveSearch, {6, 5}},
      {u"Hello", u"HELLO", NSCaseInsensitiveSearch | NSLiteralSearch, {0, 5}},
      {u"hello HELLO", u"Hello", NSCaseInsensitiveSearch | NSBackwardsSearch, {6, 5}},
      {u"STRASSE", u"stra\u00DFe", NSCaseInsensitiveSearch, {0, 7}},
      {u"stra\u00DFe", u"STRASSE", NSCaseInsensitiveSearch, {0, 6}},
      {u"\u00DF", u"s", NSCaseInsensitiveSearch, kNone},
      {u"\u00C9", u"\u00E9", NSCaseInsensitiveSearch, {0, 1}},
      {u"E\u0301", u"\u00E9", NSCaseInsensitiveSearch, {0, 2}},
      {u"E\u0301", u"\u00E9", NSCaseInsensitiveSearch | NSLiteralSearch, kNone},
      {u"\u0416", u"\u0436", NSCaseInsensitiveSearch, {0, 1}},
      {u"r\u00E9sum\u00E9", u"resume", NSDiacriticInsensitiveSearch, {0, 6}},
      {u"re\u0301sume\u0301", u"resume", NSDiacriticInsensitiveSearch, {0, 8}},
      {u"resume", u"\u0301", NSDiacriticInsensitiveSearch, kNone},
      {u"\u0301", u"\u0301", NSDiacriticInsensitiveSearch, kNone},
      {u"\u0301", u"\u0301", NSDiacriticInsensitiveSearch | NSBackwardsSearch, kNone},
      {u"\u0301", u"\u0301", NSDiacriticInsensitiveSearch | NSAnchoredSearch, kNone},
      {u"\u0301", u"\u0301", NSDiacriticInsensitiveSearch | NSAnchoredSearch | NSBackwardsSearch, kNone},
      {u"\uFF21\uFF22", u"AB", NSWidthInsensitiveSearch, {0, 2}},
      {u"\uFF76\uFF9E", u"\u30AC", NSWidthInsensitiveSearch, {0, 2}},
      {u"\uFF21\u0301", u"\u00E1", all, {0, 2}},
      {u"\uFF21", u"A", 0, kNone},
      {u"\uFF21", u"a", NSCaseInsensitiveSearch, kNone},
      {u"\u2460", u"1", NSWidthInsensitiveSearch, kNone},              // other compatible forms are no matter of width
      {u"e\xD834\xDE42", u"e", NSDiacriticInsensitiveSearch, {0, 3}},  // a mark of two units
      {u"\xD834\u0301", u"\xD834", NSDiacriticInsensitiveSearch, {0, 2}},  // a mark after half a pair
      {u"r\u00E9sum\u00E9", u"resume", 0, kNone},
  };
  for (const Search& search : searches) check(search);
}

TEST(StringSearchTests, SearchesStayInTheirRange) {
  const Ref<NSString> text = "abcabc";
  EXPECT_EQ(text->rangeOfString_options_range("abc", 0, {1, 5}), (NSRange{3, 3}));
  EXPECT_EQ(text->rangeOfString_options_range("abc", 0, {1, 4}), kNone);
  EXPECT_EQ(text->rangeOfString_options_range("a", NSBackwardsSearch, {0, 3}), (NSRange{0, 1}));
  EXPECT_EQ(text->rangeOfString_options_range("b", NSAnchoredSearch, {1, 3}), (NSRange{1, 1}));
  EXPECT_EQ(text->rangeOfString_options_range("abc", NSAnchoredSearch, {0, 2}), kNone);
  EXPECT_EQ(text->rangeOfString_options_range("a", 0, {6, 0}), kNone);
  EXPECT_EQ(Ref<NSString>(u"e\u0301")->rangeOfString_options_range("e", 0, {0, 1}), (NSRange{0, 1}));
  EXPECT_THROW(text->rangeOfString_options_range("a", 0, {6, 1}), NSException);
  EXPECT_THROW(text->rangeOfString_options_range("a", 0, {7, 0}), NSException);
  EXPECT_THROW(text->rangeOfString_options_range("a", 0, {1, ~NSUInteger{0}}), NSException);
}

TEST(StringSearchTests, NoneIsNeverFound) {
  const Ref<NSString> text = "abc";
  EXPECT_EQ(text->rangeOfString(nullptr), kNone);
  EXPECT_EQ(text->rangeOfCharacterFromSet(nullptr), kNone);
  EXPECT_FALSE(text->hasPrefix(nullptr));
  EXPECT_FALSE(text->hasSuffix(nullptr));
}

TEST(StringSearchTests, ALongRowOfMarksTakesLinearTime) {
  std::u16string text = u"a";
  for (int i = 0; i < 200000; ++i) text += i % 2 == 0 ? u'\u0301' : u'\u0323';
  text += u"\u00E9";
  EXPECT_EQ(Ref<NSString>(text)->rangeOfString(u"e\u0301"), (NSRange{200001, 1}));
}

double processorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

// Each takes half a second or more when what matched in part is compared again at each place.
TEST(StringSearchTests, TextThatMatchesInPartEverywhereTakesLinearTime) {
  const std::u16string some(25000, u'a'), many(100000, u'a');
  const std::u16string marks(100000, u'\u0301'), halfOfMarks(50000, u'\u0301');
  const Search searches[] = {
      {many + u"\u65E5", some + u"b" + some, 0, kNone},
      {many + u"\u65E5", some + u"\u65E6" + some, NSLiteralSearch, kNone},
      {u"\u65E5" + many, some + u"b" + some, NSBackwardsSearch, kNone},
      {many, some + u"B" + some, NSCaseInsensitiveSearch, kNone},
      {many, some + u"B" + some, NSCaseInsensitiveSearch | NSBackwardsSearch | NSLiteralSearch, kNone},
      {u"x" + marks, halfOfMarks, 0, kNone},
      {u"x" + marks, halfOfMarks, NSBackwardsSearch, kNone},
  };
  for (const Search& search : searches) {
    const Ref<NSString> text = search.text, target = search.target;
    const double start = processorSeconds();
    EXPECT_EQ(text->rangeOfString_options(target, search.options), search.expected) << search.options;
    EXPECT_LT(processorSeconds() - start, 0.25) << search.options;
  }
}

TEST(StringSearchTests, PrefixesAndSuffixesAreComparedUnitByUnit) {
  const Ref<NSString> text = u"caf\u00E9";
  EXPECT_TRUE(text->hasPrefix("caf"));
  EXPECT_TRUE(text->hasPrefix(text));
  EXPECT_FALSE(text->hasPrefix("Caf"));
  EXPECT_FALSE(text->hasPrefix(u"caf\u00E9!"));
  EXPECT_TRUE(text->hasSuffix(u"\u00E9"));
  EXPECT_FALSE(text->hasSuffix(u"e\u0301"));
  EXPECT_FALSE(text->hasPrefix(""));
  EXPECT_FALSE(text->hasSuffix(""));
}

TEST(StringSearchTests, FindsMembersOfSets) {
  const Ref<NSCharacterSet> set = NSCharacterSet::characterSetWithCharactersInString(u"x\u65E5\xD83D\xDE00");
  const Ref<NSString> text = u"ab\xD83D\xDE00-\u65E5x";
  EXPECT_EQ(text->rangeOfCharacterFromSet(set), (NSRange{2, 2}));
  EXPECT_EQ(text->rangeOfCharacterFromSet_options(set, NSBackwardsSearch), (NSRange{6, 1}));
  EXPECT_EQ(text->rangeOfCharacterFromSet_options(set, NSAnchoredSearch), kNone);
  EXPECT_EQ(text->rangeOfCharacterFromSet_options(set, NSAnchoredSearch | NSBackwardsSearch), (NSRange{6, 1}));
  EXPECT_EQ(Ref<NSString>("xa")->rangeOfCharacterFromSet_options(set, NSAnchoredSearch | NSBackwardsSearch), kNone);
  EXPECT_EQ(text->rangeOfCharacterFromSet_options_range(set, 0, {4, 2}), (NSRange{5, 1}));
  EXPECT_EQ(text->rangeOfCharacterFromSet_options_range(set, NSBackwardsSearch, {0, 5}), (NSRange{2, 2}));
  EXPECT_EQ(text->rangeOfCharacterFromSet_options_range(set, 0, {3, 1}), kNone);  // half of a pair is no member
  EXPECT_EQ(Ref<NSString>("abc")->rangeOfCharacterFromSet(set), kNone);
  EXPECT_THROW(text->rangeOfCharacterFromSet_options_range(set, 0, {7, 1}), NSException);
}

TEST(StringSearchTests, SetsCanIgnoreCase) {
  const Ref<NSCharacterSet> set = NSCharacterSet::characterSetWithCharactersInString(u"X\u00E9");
  EXPECT_EQ(Ref<NSString>(u"ax")->rangeOfCharacterFromSet_options(set, NSCaseInsensitiveSearch), (NSRange{1, 1}));
  EXPECT_EQ(Ref<NSString>(u"\u00C9")->rangeOfCharacterFromSet_options(set, NSCaseInsensitiveSearch), (NSRange{0, 1}));
  EXPECT_EQ(Ref<NSString>(u"ax")->rangeOfCharacterFromSet_options(set, NSLiteralSearch), kNone);
}

TEST(StringSearchTests, UnpairedSurrogatesAreMembersByThemselves) {
  const Ref<NSString> lone = std::u16string{u'a', 0xD83D};
  const Ref<NSCharacterSet> set = NSCharacterSet::characterSetWithCharactersInString(std::u16string{0xD83D});
  EXPECT_EQ(lone->rangeOfCharacterFromSet(set), (NSRange{1, 1}));
  EXPECT_EQ(Ref<NSString>(u"\xD83D\xDE00")->rangeOfCharacterFromSet(set), kNone);
}

}  // namespace
}  // namespace ZtFoundation
