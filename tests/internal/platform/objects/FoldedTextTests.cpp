#include "platform/objects/FoldedText.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/services/Unicode.h"

namespace ZtFoundation {
namespace {

using detail::FoldedText;
using detail::isCharacterBoundary;

UnitView view(const std::u16string& units) { return {units.data(), units.size()}; }

TEST(FoldedTextTests, BoundariesAgreeWithTheUnicodeDataForEveryCharacter) {
  for (char32_t codePoint = 0x300; codePoint < 0x10000; ++codePoint) {
    if (codePoint >= 0xD800 && codePoint < 0xE000) continue;
    const std::u16string units{u'a', static_cast<char16_t>(codePoint)};
    ASSERT_EQ(isCharacterBoundary(view(units), 1), !Unicode::production().extends(codePoint))
        << std::hex << std::uint32_t{codePoint};
  }
  for (char16_t unit = 0; unit < 0x300; ++unit) ASSERT_FALSE(Unicode::production().extends(unit)) << int{unit};
}

TEST(FoldedTextTests, SurrogatePairsAreNeverSplit) {
  const std::u16string units = u"a\xD83D\xDE00\xD83D";
  const bool expected[] = {true, true, false, true, true};
  for (NSUInteger place = 0; place <= units.size(); ++place) {
    EXPECT_EQ(isCharacterBoundary(view(units), place), expected[place]) << place;
  }
}

TEST(FoldedTextTests, HalvesOfPairsStandAlone) {
  const std::u16string units = u"\xDE00\xDE00\xD83D\xD83D\u20AC";
  for (NSUInteger place = 0; place <= units.size(); ++place) {
    EXPECT_TRUE(isCharacterBoundary(view(units), place)) << place;
  }
}

TEST(FoldedTextTests, NothingJoinsControlCharactersAndEndsOfLines) {
  for (const char16_t unit : {u'\0', u'\x1F', u'\x7F', u'\x85', u'\x9F', u'\x2028', u'\x2029'}) {
    EXPECT_TRUE(isCharacterBoundary(view({unit, u'\u0301'}), 1)) << std::hex << int{unit};
  }
  for (const char16_t unit : {u' ', u'~', u'\xA0', u'\x2027', u'\x202A'}) {
    EXPECT_FALSE(isCharacterBoundary(view({unit, u'\u0301'}), 1)) << std::hex << int{unit};
  }
}

TEST(FoldedTextTests, WhatStandsBeforeATextDoesNotCount) {
  const std::u16string units = u"a\u0301";
  EXPECT_TRUE(isCharacterBoundary(view(units).slice({1, 1}), 0));
}

TEST(FoldedTextTests, FoldsAsAsked) {
  const struct {
    std::u16string source;
    unsigned foldings;
    std::u16string folded;
  } cases[] = {
      {u"aB\u00E9", kFoldNothing, u"aBe\u0301"},
      {u"aB\u00C9", kFoldCase, u"abe\u0301"},
      {u"aB\u00C9", kFoldCase | kFoldLiterally, u"ab\u00E9"},
      {u"\u00E9\u30AC", kFoldDiacritics, u"e\u30AB"},
      {u"\uFF21\uFF76\uFF9E", kFoldWidth, u"A\u30AB\u3099"},
      {u"\uFF21\u0301", kFoldWidth | kFoldCase | kFoldDiacritics, u"a"},
      {u"", kFoldCase, u""},
  };
  for (const auto& each : cases) EXPECT_EQ(FoldedText(view(each.source), each.foldings).text(), each.folded);
}

TEST(FoldedTextTests, MatchesAreWholeCharactersOfTheSource) {
  const std::u16string source = u"x\u00E9e\u0301y\u0301";
  const FoldedText text(view(source), kFoldNothing);
  EXPECT_EQ(text.find(u"e\u0301", 0), (NSRange{1, 1}));
  EXPECT_EQ(text.find(u"e\u0301", 2), (NSRange{2, 2}));
  EXPECT_EQ(text.find(u"e\u0301", 4), kNotFoundRange);
  EXPECT_EQ(text.findLast(u"e\u0301"), (NSRange{2, 2}));
  EXPECT_EQ(text.find(u"e", 0), kNotFoundRange);
  EXPECT_EQ(text.findLast(u"y"), kNotFoundRange);
  EXPECT_EQ(text.findAtStart(u"xe\u0301"), (NSRange{0, 2}));
  EXPECT_EQ(text.findAtStart(u"xe"), kNotFoundRange);
  EXPECT_EQ(text.findAtStart(u"y"), kNotFoundRange);
  EXPECT_EQ(text.findAtEnd(u"y\u0301"), (NSRange{4, 2}));
  EXPECT_EQ(text.findAtEnd(u"\u0301"), kNotFoundRange);
  EXPECT_EQ(text.findAtEnd(u"e\u0301"), kNotFoundRange);
}

TEST(FoldedTextTests, SearchesGoOnBehindPartsOfCharacters) {
  const std::u16string source = u"e\u0301ee\u0301";
  const FoldedText text(view(source), kFoldNothing);
  EXPECT_EQ(text.find(u"e", 0), (NSRange{2, 1}));
  EXPECT_EQ(text.findLast(u"e"), (NSRange{2, 1}));
  EXPECT_EQ(FoldedText(view(source).slice({0, 2}), kFoldNothing).findLast(u"e"), kNotFoundRange);
  EXPECT_EQ(FoldedText(view(source).slice({2, 3}), kFoldNothing).findLast(u"e"), (NSRange{0, 1}));
}

TEST(FoldedTextTests, LiteralMatchesMayBePartsOfCharacters) {
  const std::u16string source = u"e\u0301";
  EXPECT_EQ(FoldedText(view(source), kFoldLiterally).find(u"e", 0), (NSRange{0, 1}));
}

}  // namespace
}  // namespace ZtFoundation
