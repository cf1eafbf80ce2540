#include <gtest/gtest.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/String.h>

#include <clocale>
#include <string>

namespace ZtFoundation {
namespace {

TEST(StringPartsTests, Substrings) {
  const Ref<NSString> text =
      "a\xE6\x97\xA5"
      "bc";
  EXPECT_EQ(text->substringFromIndex(1)->utf8(),
            "\xE6\x97\xA5"
            "bc");
  EXPECT_EQ(text->substringToIndex(2)->utf8(), "a\xE6\x97\xA5");
  EXPECT_EQ(text->substringWithRange({2, 2})->utf8(), "bc");
  EXPECT_FALSE(text->substringWithRange({2, 2})->units().isWide());
  EXPECT_EQ(text->substringFromIndex(0), text);
  EXPECT_EQ(text->substringFromIndex(4)->length(), 0U);
  EXPECT_THROW(text->substringFromIndex(5), NSException);
  EXPECT_THROW(text->substringToIndex(5), NSException);
  EXPECT_THROW(text->substringWithRange({2, 3}), NSException);
}

TEST(StringPartsTests, TheReasonTellsWhatIsPastTheEnd) {
  const auto reasonOf = [](auto action) {
    try {
      action();
    } catch (const NSException& raised) {
      return raised.reason()->utf8();
    }
    return std::string("nothing");
  };
  const Ref<NSString> text = "abc";
  EXPECT_EQ(reasonOf([&] { text->substringFromIndex(4); }), "character index past the end of the string");
  EXPECT_EQ(reasonOf([&] { text->substringWithRange({2, 2}); }), "range past the end of the string");
}

TEST(StringPartsTests, Joins) {
  const Ref<NSString> text = "ab";
  EXPECT_EQ(text->stringByAppendingString("\xE6\x97\xA5")->utf8(), "ab\xE6\x97\xA5");
  EXPECT_EQ(text->stringByAppendingString(""), text);
  EXPECT_EQ(text->stringByAppendingString(nullptr), text);
  EXPECT_FALSE(NSMutableString::stringWithString("a")->stringByAppendingString("b")->isMutable());
}

TEST(StringPartsTests, ComponentsBetweenSeparators) {
  const struct {
    const char *text, *separator, *joined;
    NSUInteger count;
  } cases[] = {
      {"a,b,c", ",", "a|b|c", 3}, {",a,", ",", "|a|", 3},   {"", ",", "", 1},       {",", ",", "|", 2},
      {"abc", ",", "abc", 1},     {"a--b", "--", "a|b", 2}, {"aaa", "aa", "|a", 2}, {"abc", "", "abc", 1},
  };
  for (const auto& each : cases) {
    const Ref<NSArray> pieces = Ref<NSString>(each.text)->componentsSeparatedByString(each.separator);
    EXPECT_EQ(pieces->count(), each.count) << each.text;
    EXPECT_EQ(pieces->componentsJoinedByString("|")->utf8(), each.joined) << each.text;
  }
  EXPECT_EQ(Ref<NSString>("a")->componentsSeparatedByString(nullptr)->count(), 1U);
}

TEST(StringPartsTests, CaseFollowsUnicodeAndNoLanguage) {
  std::setlocale(LC_ALL, "tr_TR.UTF-8");
  EXPECT_EQ(Ref<NSString>("Title I")->lowercaseString()->utf8(), "title i");
  EXPECT_EQ(Ref<NSString>("title i")->uppercaseString()->utf8(), "TITLE I");
  EXPECT_EQ(Ref<NSString>("@AZ[`az{")->lowercaseString()->utf8(), "@az[`az{");
  EXPECT_EQ(Ref<NSString>("@AZ[`az{")->uppercaseString()->utf8(), "@AZ[`AZ{");
  EXPECT_EQ(Ref<NSString>(u"\u00C4\u03A3")->lowercaseString()->utf16(), u"\u00E4\u03C2");
  EXPECT_EQ(Ref<NSString>(u"stra\u00DFe \u00E9i")->uppercaseString()->utf16(), u"STRASSE \u00C9I");
  const std::u16string sharp(40, u'\u00DF');
  EXPECT_EQ(Ref<NSString>(sharp)->uppercaseString()->utf16(), std::u16string(80, u'S')) << "far longer than before";
  EXPECT_EQ(Ref<NSString>(u"\xD801\xDC00")->lowercaseString()->utf16(), u"\xD801\xDC28");
  EXPECT_EQ(Ref<NSString>(std::u16string{u'\u00C4', 0xD800})->lowercaseString()->utf16(),
            (std::u16string{u'\u00E4', 0xD800}));
  EXPECT_EQ(Ref<NSString>("")->uppercaseString()->length(), 0U);
  std::setlocale(LC_ALL, "C");
}

TEST(StringPartsTests, Trimming) {
  const Ref<NSCharacterSet> blanks = NSCharacterSet::whitespaceAndNewlineCharacterSet();
  EXPECT_EQ(Ref<NSString>(u" \t\u3000a b\u2028\n")->stringByTrimmingCharactersInSet(blanks)->utf8(), "a b");
  EXPECT_EQ(Ref<NSString>(" \n ")->stringByTrimmingCharactersInSet(blanks)->length(), 0U);
  const Ref<NSString> text = "abc";
  EXPECT_EQ(text->stringByTrimmingCharactersInSet(blanks), text);
  EXPECT_EQ(text->stringByTrimmingCharactersInSet(nullptr), text);
  const Ref<NSCharacterSet> face = NSCharacterSet::characterSetWithCharactersInString(u"\xD83D\xDE00");
  EXPECT_EQ(Ref<NSString>(u"\xD83D\xDE00x\xD83D\xDE00")->stringByTrimmingCharactersInSet(face)->utf8(), "x");
  EXPECT_EQ(Ref<NSString>(u"\xD83D\xDE01")->stringByTrimmingCharactersInSet(face)->length(), 2U);
}

struct Lines {
  std::u16string text;
  NSRange range;
  NSUInteger start, end, contentsEnd;
};

TEST(StringPartsTests, LinesOfEveryTerminator) {
  const Lines cases[] = {
      {u"", {0, 0}, 0, 0, 0},
      {u"abc", {1, 0}, 0, 3, 3},
      {u"a\nb", {0, 0}, 0, 2, 1},
      {u"a\nb", {1, 0}, 0, 2, 1},
      {u"a\nb", {2, 0}, 2, 3, 3},
      {u"a\nb\n", {4, 0}, 4, 4, 4},
      {u"a\nb\nc", {0, 3}, 0, 4, 3},
      {u"a\nb\nc", {0, 2}, 0, 2, 1},
      {u"a\r\nb", {0, 0}, 0, 3, 1},
      {u"a\r\nb", {2, 0}, 0, 3, 1},  // between the two
      {u"a\r\nb", {3, 0}, 3, 4, 4},
      {u"a\r\nb", {2, 1}, 0, 3, 1},
      {u"a\rb", {0, 1}, 0, 2, 1},
      {u"a\n\rb", {2, 0}, 2, 3, 2},
      {u"a\u2028b\u2029c", {2, 0}, 2, 4, 3},
      {u"a\u0085b", {0, 0}, 0, 2, 1},
      {u"a\u000Bb", {0, 0}, 0, 3, 3},
      {u"\n\n", {1, 0}, 1, 2, 1},
  };
  for (const Lines& each : cases) {
    NSUInteger start = 99, end = 99, contentsEnd = 99;
    const Ref<NSString> text = each.text;
    text->getLineStart_end_contentsEnd_forRange(&start, &end, &contentsEnd, each.range);
    EXPECT_EQ(start, each.start) << text << each.range.location;
    EXPECT_EQ(end, each.end) << text << each.range.location;
    EXPECT_EQ(contentsEnd, each.contentsEnd) << text << each.range.location;
  }
}

TEST(StringPartsTests, LinesAnswerOnlyWhatIsWanted) {
  const Ref<NSString> text = "a\nb";
  NSUInteger value = 99;
  text->getLineStart_end_contentsEnd_forRange(&value, nullptr, nullptr, {2, 1});
  EXPECT_EQ(value, 2U);
  value = 99;
  text->getLineStart_end_contentsEnd_forRange(nullptr, &value, nullptr, {0, 1});
  EXPECT_EQ(value, 2U);
  text->getLineStart_end_contentsEnd_forRange(nullptr, nullptr, &value, {0, 1});
  EXPECT_EQ(value, 1U);
  text->getLineStart_end_contentsEnd_forRange(nullptr, nullptr, nullptr, {0, 1});
  EXPECT_THROW(text->getLineStart_end_contentsEnd_forRange(&value, nullptr, nullptr, {3, 1}), NSException);
}

}  // namespace
}  // namespace ZtFoundation
