#include <gtest/gtest.h>

#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/String.h>

#include <algorithm>
#include <new>
#include <random>
#include <string>

namespace ZtFoundation {
namespace {

TEST(MutableStringTests, AppendsEveryKindOfText) {
  const Ref<NSMutableString> text = NSMutableString::string();
  text->appendString("a");
  text->appendCharacter(u'b');
  text->appendUTF8("\xC3\xA9");
  text->appendUnits(UnitView(u"\u65E5", 1));
  text->appendUTF8("c\xFF");
  text->appendString(nullptr);
  EXPECT_EQ(text->utf8(),
            "ab\xC3\xA9\xE6\x97\xA5"
            "c\xEF\xBF\xBD");
}

TEST(MutableStringTests, WidensWithoutLosingWhatItHolds) {
  const Ref<NSMutableString> text = NSMutableString::stringWithCapacity(10);
  for (int i = 0; i < 1000; ++i) text->appendCharacter(static_cast<unichar>('a' + i % 26));
  const std::string before = text->utf8();
  text->appendCharacter(0x65E5);
  EXPECT_EQ(text->utf8(), before + "\xE6\x97\xA5");
}

TEST(MutableStringTests, WideUnitsThatFitAByteDoNotWiden) {
  const Ref<NSMutableString> text = NSMutableString::string();
  text->appendUnits(UnitView(u"a\u00FF", 2));
  EXPECT_FALSE(text->units().isWide());
  EXPECT_FALSE(text->isASCII());
  EXPECT_EQ(text->utf8(), "a\xC3\xBF");
}

TEST(MutableStringTests, KnowsWhetherItIsASCII) {
  const Ref<NSMutableString> text = NSMutableString::stringWithString("abc");
  EXPECT_TRUE(text->isASCII());
  text->appendCharacter(0x80);
  EXPECT_FALSE(text->isASCII());
}

TEST(MutableStringTests, AppendsItselfAndPartsOfItself) {
  const Ref<NSMutableString> text = NSMutableString::stringWithString("abc");
  for (int i = 0; i < 6; ++i) text->appendString(text);
  EXPECT_EQ(text->length(), 3U * 64);
  text->setString("xyz");
  text->replaceCharactersInRange_withString({1, 1}, text);
  EXPECT_EQ(text->utf8(), "xxyzz");
  text->setString(text);
  EXPECT_EQ(text->utf8(), "xxyzz");
}

TEST(MutableStringTests, AppendsItsOwnEndWhileItGrows) {
  for (const Ref<NSString>& unit : {Ref<NSString>("a"), Ref<NSString>(u"\u65E5")}) {
    const Ref<NSMutableString> text = unit->mutableCopy();
    while (text->length() < 1000)
      text->appendUnits(text->units().slice({text->length() / 2, (text->length() + 1) / 2}));
    EXPECT_EQ(text->utf16(), std::u16string(text->length(), unit->characterAtIndex(0)));
  }
}

TEST(MutableStringTests, MoreThanMemoryHasIsRefused) {
  EXPECT_THROW(NSMutableString::stringWithCapacity(~NSUInteger{0}), std::bad_alloc);
  const Ref<NSMutableString> text = NSMutableString::stringWithString("abc");
  for (const NSUInteger length : {~NSUInteger{0}, NSNotFound - 3})
    EXPECT_THROW(text->appendUnits(UnitView("x", length)), std::bad_alloc) << length;
  EXPECT_EQ(text->utf8(), "abc");
}

TEST(MutableStringTests, InsertsDeletesAndReplaces) {
  const Ref<NSMutableString> text = NSMutableString::stringWithString("hello");
  text->insertString_atIndex("> ", 0);
  text->insertString_atIndex("!", text->length());
  EXPECT_EQ(text->utf8(), "> hello!");
  text->deleteCharactersInRange({0, 2});
  text->replaceCharactersInRange_withString({0, 1}, "J");
  EXPECT_EQ(text->utf8(), "Jello!");
  text->deleteCharactersInRange({0, 6});
  EXPECT_EQ(text->length(), 0U);
}

TEST(MutableStringTests, AgreesWithAPlainStringUnderRandomChanges) {
  std::mt19937 random(7);
  const Ref<NSMutableString> text = NSMutableString::string();
  std::u16string model;
  const char16_t* const pieces[] = {
      u"", u"a", u"abc", u"\u00E9\u00FF", u"\u65E5\u672C", u"0123456789012345678901234567890123456789"};
  for (int i = 0; i < 3000; ++i) {
    const std::u16string piece = pieces[random() % 6];
    const NSUInteger location = random() % (model.size() + 1);
    const NSUInteger length = random() % (std::min<std::size_t>(model.size() - location, 30) + 1);
    text->replaceCharactersInRange_withString({location, length}, piece);
    model.replace(location, length, piece);
    ASSERT_EQ(text->length(), model.size());
  }
  EXPECT_EQ(text->utf16(), model);
  EXPECT_EQ(text->hash(), Ref<NSString>(model)->hash());
}

TEST(MutableStringTests, RefusesPlacesOutsideAndNone) {
  const Ref<NSMutableString> text = NSMutableString::stringWithString("abc");
  EXPECT_THROW(text->insertString_atIndex("x", 4), NSException);
  EXPECT_THROW(text->deleteCharactersInRange({2, 2}), NSException);
  EXPECT_THROW(text->replaceCharactersInRange_withString({0, ~NSUInteger{0}}, "x"), NSException);
  EXPECT_THROW(text->replaceCharactersInRange_withString({0, 1}, nullptr), NSException);
  EXPECT_THROW(text->setString(nullptr), NSException);
  EXPECT_EQ(text->utf8(), "abc");
  try {
    text->setString(nullptr);
  } catch (const NSException& exception) {
    EXPECT_EQ(exception.reason()->utf8(), "no string to put in place");
  }
}

TEST(MutableStringTests, AnchoredItReplacesOnlyAtTheStartOrTheEnd) {
  struct Case {
    const char* target;
    NSUInteger options;
    const char* expected;
  };
  for (const auto& [target, options, expected] :
       {Case{"a", NSAnchoredSearch, "b-a-a"}, Case{"a", NSAnchoredSearch | NSBackwardsSearch, "a-a-b"},
        Case{"-", NSAnchoredSearch, "a-a-a"}, Case{"a", NSBackwardsSearch, "b-b-b"}}) {
    const Ref<NSMutableString> text = NSMutableString::stringWithString("a-a-a");
    const NSUInteger count =
        text->replaceOccurrencesOfString_withString_options_range(target, "b", options, {0, text->length()});
    EXPECT_EQ(text->utf8(), expected);
    EXPECT_EQ(count, static_cast<NSUInteger>(std::ranges::count(std::string(expected), 'b')));
  }
}

TEST(MutableStringTests, ReplacesAllOccurrencesInARange) {
  const Ref<NSMutableString> text = NSMutableString::stringWithString("a-a-a-a");
  const auto replace = [&](const Ref<NSString>& target, const Ref<NSString>& replacement, NSRange range) {
    return text->replaceOccurrencesOfString_withString_options_range(target, replacement, NSLiteralSearch, range);
  };
  EXPECT_EQ(replace("a", "aa", {1, 5}), 2U);
  EXPECT_EQ(text->utf8(), "a-aa-aa-a");
  EXPECT_EQ(replace("x", "y", {0, 9}), 0U);
  EXPECT_EQ(replace("", "y", {0, 9}), 0U);
  EXPECT_EQ(replace(nullptr, "y", {0, 9}), 0U);
  EXPECT_EQ(replace("a", "", {0, 9}), 6U);
  EXPECT_EQ(text->utf8(), "---");
  EXPECT_THROW(replace("a", "b", {0, 4}), NSException);
  EXPECT_THROW(replace("a", nullptr, {0, 1}), NSException);
  text->setString("aa");
  EXPECT_EQ(text->replaceOccurrencesOfString_withString_options_range(text, text, 0, {0, 2}), 1U);
  EXPECT_EQ(text->utf8(), "aa");
}

TEST(MutableStringTests, NoneGivesNone) { EXPECT_FALSE(NSMutableString::stringWithString(nullptr)); }

}  // namespace
}  // namespace ZtFoundation
