#include <gtest/gtest.h>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Exception.h>

#include <clocale>
#include <limits>
#include <string>

namespace ZtFoundation {
namespace {

using namespace QvFoundationExtensions;

const Ref<NSString> kNone;

Ref<NSCharacterSet> set(const char* members) { return NSCharacterSet::characterSetWithCharactersInString(members); }

// --- Decoding

TEST(StringExtensionsTests, DecodesByCharsetName) {
  const struct {
    const char *bytes, *charset, *text;
  } cases[] = {
      {"Gr\xC3\xBC\xC3\x9F", "utf-8", "Gr\xC3\xBC\xC3\x9F"},
      {"\x93\xFA\x96\x7B", "shift_jis", "\xE6\x97\xA5\xE6\x9C\xAC"},
      {"\x93\xFA\x96\x7B", "Shift_JIS", "\xE6\x97\xA5\xE6\x9C\xAC"},
      {"\xE9", "ISO-8859-1", "\xC3\xA9"},
      {"\x65\xE5", "utf-16", "\xE6\x97\xA5"},
      {"\xEF\xBB\xBF"
       "a",
       "UTF-8", "a"},
      {"", "utf-8", ""},
  };
  for (const auto& each : cases) {
    const Ref<NSData> data = NSData::dataWithBytes(each.bytes);
    ASSERT_TRUE(initWithData_charset(data, each.charset)) << each.charset;
    EXPECT_EQ(initWithData_charset(data, each.charset)->utf8(), each.text);
    EXPECT_EQ(stringWithData_charset(data, each.charset)->utf8(), each.text);
  }
}

TEST(StringExtensionsTests, WhatCannotBeDecodedIsNone) {
  const Ref<NSData> data = NSData::dataWithBytes("abc"), broken = NSData::dataWithBytes("\xC3");
  for (const Ref<NSString>& name :
       {Ref<NSString>("no-such-charset"), Ref<NSString>(""), kNone, Ref<NSString>("utf8")}) {
    EXPECT_FALSE(initWithData_charset(data, name)) << name;
    EXPECT_FALSE(stringWithData_charset(data, name)) << name;
  }
  EXPECT_FALSE(initWithData_charset(broken, "utf-8"));
  EXPECT_FALSE(stringWithData_charset(broken, "us-ascii"));
  EXPECT_FALSE(initWithData_charset(nullptr, "utf-8"));
  EXPECT_FALSE(stringWithData_encoding(broken, NSUTF8StringEncoding));
  EXPECT_FALSE(stringWithData_encoding(data, kInvalidStringEncoding));
  EXPECT_FALSE(stringWithData_encoding(data, 12345));
  EXPECT_FALSE(stringWithData_encoding(nullptr, NSUTF8StringEncoding));
}

TEST(StringExtensionsTests, DecodesByEncodingNumber) {
  EXPECT_EQ(stringWithData_encoding(NSData::dataWithBytes("\xE9"), NSISOLatin1StringEncoding)->utf8(), "\xC3\xA9");
}

// --- Byte counts

TEST(StringExtensionsTests, AbbreviatesByteCounts) {
  const std::uint64_t kilo = 1024, mega = kilo * 1024, giga = mega * 1024, tera = giga * 1024, peta = tera * 1024;
  const struct {
    std::uint64_t count;
    const char* text;
  } cases[] = {
      {0, "0 bytes"},
      {1, "1 bytes"},
      {999, "999 bytes"},
      {1000, "1.0 kB"},
      {1023, "1.0 kB"},
      {1024, "1.0 kB"},
      {1536, "1.5 kB"},
      {1023948, "999.9 kB"},
      {1023949, "1000.0 kB"},
      {1023999, "1000.0 kB"},
      {1024000, "1.0 MB"},
      {1048576, "1.0 MB"},
      {999 * mega, "999.0 MB"},
      {1000 * mega - 1, "1000.0 MB"},
      {1000 * mega, "1.0 GB"},
      {giga, "1.0 GB"},
      {1000 * giga, "1.0 TB"},
      {tera, "1.0 TB"},
      {1000 * tera, "1.0 PB"},
      {1000 * peta, "1000.0 PB"},
      {999 * peta, "999.0 PB"},
      {std::uint64_t{1} << 63, "8192.0 PB"},
      {std::numeric_limits<std::uint64_t>::max(), "16384.0 PB"},
      {1280, "1.2 kB"},
      {1408, "1.4 kB"},  // exactly half way: to even
  };
  for (const auto& each : cases) EXPECT_EQ(abbreviatedStringForByteLength(each.count)->utf8(), each.text) << each.count;
}

TEST(StringExtensionsTests, ByteCountsDoNotDependOnTheLocale) {
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_LOG_(INFO) << "there is no German locale here";
  EXPECT_EQ(abbreviatedStringForByteLength(1536)->utf8(), "1.5 kB");
  std::setlocale(LC_ALL, "C");
}

// --- Containment

TEST(StringExtensionsTests, ContainsWhatTheSearchFinds) {
  const Ref<NSString> text = "Hello World";
  EXPECT_TRUE(containsString(text, "lo W"));
  EXPECT_TRUE(containsString(text, text));
  EXPECT_FALSE(containsString(text, "lo w"));
  EXPECT_TRUE(containsString_options(text, "lo w", NSCaseInsensitiveSearch));
  EXPECT_TRUE(containsString_options_range(text, "World", 0, {6, 5}));
  EXPECT_FALSE(containsString_options_range(text, "World", 0, {6, 4}));
  EXPECT_FALSE(containsString_options_range(text, "Hello", NSAnchoredSearch, {1, 10}));
  EXPECT_FALSE(containsString_options_range(text, "llo", NSAnchoredSearch, {1, 10}));
  EXPECT_TRUE(containsString_options_range(text, "WORLD", NSCaseInsensitiveSearch, {6, 5}));
  EXPECT_TRUE(containsCharacterInSet(text, set("W")));
  EXPECT_FALSE(containsCharacterInSet(text, set("w")));
  EXPECT_TRUE(containsCharacterInSet_options(text, set("w"), NSCaseInsensitiveSearch));
  EXPECT_TRUE(containsCharacterInSet_options_range(text, set("W"), 0, {6, 1}));
  EXPECT_FALSE(containsCharacterInSet_options_range(text, set("W"), 0, {0, 6}));
  EXPECT_TRUE(containsCharacterInSet_options_range(text, set("w"), NSCaseInsensitiveSearch, {6, 1}));
}

TEST(StringExtensionsTests, ContainmentTreatsFormsAlikeUnlessLiteral) {
  EXPECT_TRUE(containsString(u"caf\u00E9", u"e\u0301"));
  EXPECT_TRUE(containsString(u"cafe\u0301", u"\u00E9"));
  EXPECT_FALSE(containsString(u"cafe\u0301", u"e"));
  EXPECT_FALSE(containsString_options(u"caf\u00E9", u"e\u0301", NSLiteralSearch));
  EXPECT_TRUE(containsString_options(u"cafe\u0301", u"e", NSLiteralSearch));
}

TEST(StringExtensionsTests, NothingIsContainedInNoneAndTheEmptyTargetNowhere) {
  for (const Ref<NSString>& text : {kNone, Ref<NSString>(""), Ref<NSString>("abc")}) {
    EXPECT_FALSE(containsString(text, ""));
    EXPECT_FALSE(containsString(text, kNone));
    EXPECT_FALSE(containsString_options(text, "", NSLiteralSearch));
    EXPECT_FALSE(containsString_options_range(text, "", 0, {0, 0}));
    EXPECT_FALSE(containsCharacterInSet(text, set("")));
    EXPECT_FALSE(containsCharacterInSet(text, nullptr));
    EXPECT_FALSE(containsCharacterInSet_options(text, nullptr, 0));
    EXPECT_FALSE(containsCharacterInSet_options_range(text, set(""), 0, {0, 0}));
  }
  EXPECT_FALSE(containsString(kNone, "a"));
  EXPECT_FALSE(containsString_options(kNone, "a", 0));
  EXPECT_FALSE(containsString_options_range(kNone, "a", 0, {5, 5}));
  EXPECT_FALSE(containsCharacterInSet(kNone, set("a")));
}

TEST(StringExtensionsTests, RangesOutsideRaise) {
  EXPECT_THROW(containsString_options_range("abc", "a", 0, {2, 2}), NSException);
  EXPECT_THROW(containsCharacterInSet_options_range("abc", set("a"), 0, {4, 0}), NSException);
}

// --- Replacing

TEST(StringExtensionsTests, ReplacesFromLeftToRightWithoutSearchingWhatWasPutIn) {
  const struct {
    const char16_t *text, *target, *replacement, *expected;
  } cases[] = {
      {u"aaa", u"a", u"ab", u"ababab"},
      {u"aaa", u"a", u"aa", u"aaaaaa"},
      {u"aaa", u"aa", u"b", u"ba"},
      {u"aaaa", u"aa", u"a", u"aa"},
      {u"a-b-c", u"-", u"", u"abc"},
      {u"aAa", u"a", u"x", u"xAx"},
      {u"abc", u"abc", u"", u""},
      {u"x\u65E5x", u"x", u"\u672C", u"\u672C\u65E5\u672C"},
      {u"cafe\u0301 caf\u00E9", u"\u00E9", u"e", u"cafe cafe"},
      {u"e\u0301e", u"e", u"x", u"e\u0301x"},
      {u"a\xD83D\xDE00"
       u"b",
       u"\xD83D\xDE00", u":)", u"a:)b"},
      {u"a\xD83D"
       u"b",
       u"b", u"c",
       u"a\xD83D"
       u"c"},
  };
  for (const auto& each : cases) {
    const Ref<NSString> text = each.text;
    const Ref<NSString> result =
        stringByReplacingAllOccurrencesOfString_withString(text, each.target, each.replacement);
    EXPECT_EQ(result->utf16(), each.expected) << text;
    EXPECT_FALSE(result->isMutable());
    EXPECT_EQ(text->utf16(), each.text);
  }
}

TEST(StringExtensionsTests, AnswersTheReceiverItselfWhenNothingIsFound) {
  for (const Ref<NSString>& text :
       {Ref<NSString>("abc"), Ref<NSString>(""), Ref<NSString>(NSMutableString::stringWithString("abc"))}) {
    EXPECT_EQ(stringByReplacingAllOccurrencesOfString_withString(text, "x", "y"), text);
    EXPECT_EQ(stringByReplacingAllOccurrencesOfString_withString(text, "", "y"), text);
    EXPECT_EQ(stringByReplacingAllOccurrencesOfString_withString(text, nullptr, "y"), text);
    EXPECT_EQ(stringByReplacingAllOccurrencesOfCharactersInSet_withString(text, set("x"), "y"), text);
    EXPECT_EQ(stringByReplacingAllOccurrencesOfCharactersInSet_withString(text, set(""), "y"), text);
    EXPECT_EQ(stringByReplacingAllOccurrencesOfCharactersInSet_withString(text, nullptr, "y"), text);
    EXPECT_EQ(stringByReplacingAllOccurrencesOfWhiteSpaces(text), text);
    EXPECT_EQ(stringByDeletingAllOccurrencesOfString(text, "x"), text);
    EXPECT_EQ(stringByDeletingAllOccurrencesOfCharactersInSet(text, set("x")), text);
  }
  const Ref<NSString> spaces = "   ";
  EXPECT_EQ(stringByReplacingAllOccurrencesOfWhiteSpaces(spaces), spaces);
}

TEST(StringExtensionsTests, NoneStaysNoneAndNoReplacementIsTheEmptyOne) {
  EXPECT_FALSE(stringByReplacingAllOccurrencesOfString_withString(nullptr, "a", "b"));
  EXPECT_FALSE(stringByReplacingAllOccurrencesOfCharactersInSet_withString(nullptr, set("a"), "b"));
  EXPECT_FALSE(stringByReplacingAllOccurrencesOfWhiteSpaces(nullptr));
  EXPECT_FALSE(stringByDeletingAllOccurrencesOfString(nullptr, "a"));
  EXPECT_FALSE(stringByDeletingAllOccurrencesOfCharactersInSet(nullptr, set("a")));
  EXPECT_EQ(stringByReplacingAllOccurrencesOfString_withString("aba", "a", nullptr)->utf8(), "b");
  EXPECT_EQ(stringByReplacingAllOccurrencesOfCharactersInSet_withString("aba", set("a"), nullptr)->utf8(), "b");
}

TEST(StringExtensionsTests, EachMemberOfASetIsReplacedOnItsOwn) {
  EXPECT_FALSE(stringByReplacingAllOccurrencesOfCharactersInSet_withString("a1", set("1"), "#")->isMutable());
  EXPECT_EQ(stringByReplacingAllOccurrencesOfCharactersInSet_withString("aA", set("a"), "x")->utf8(), "xA");
  EXPECT_EQ(stringByReplacingAllOccurrencesOfCharactersInSet_withString("a123b4", set("1234"), "#")->utf8(), "a###b#");
  EXPECT_EQ(stringByReplacingAllOccurrencesOfCharactersInSet_withString("aa", set("a"), "aa")->utf8(), "aaaa");
  const Ref<NSCharacterSet> face = NSCharacterSet::characterSetWithCharactersInString(u"\xD83D\xDE00");
  EXPECT_EQ(
      stringByReplacingAllOccurrencesOfCharactersInSet_withString(u"a\xD83D\xDE00\xD83D\xDE00", face, "x")->utf8(),
      "axx");
}

TEST(StringExtensionsTests, EscapesControlCharactersButNoSpaces) {
  const struct {
    const char *text, *expected;
  } cases[] = {
      {"a\tb", "a\\tb"},
      {"\r\n", "\\r\\n"},
      {"\n\r\t \n", "\\n\\r\\t \\n"},
      {"a b\n", "a b\\n"},
      {"\\n\n", "\\n\\n"},
      {"\xE6\x97\xA5\n", "\xE6\x97\xA5\\n"},
      {"\n\xCC\x81", "\\n\xCC\x81"},
  };
  for (const auto& each : cases)
    EXPECT_EQ(stringByReplacingAllOccurrencesOfWhiteSpaces(each.text)->utf8(), each.expected);
  EXPECT_EQ(stringByReplacingAllOccurrencesOfWhiteSpaces("a\tb")->length(), 4U);
  EXPECT_FALSE(stringByReplacingAllOccurrencesOfWhiteSpaces("a\tb")->isMutable());
}

TEST(StringExtensionsTests, Deletes) {
  EXPECT_EQ(stringByDeletingAllOccurrencesOfString("a--b--c", "--")->utf8(), "abc");
  EXPECT_EQ(stringByDeletingAllOccurrencesOfString("aabb", "ab")->utf8(), "ab");  // not searched again
  EXPECT_EQ(stringByDeletingAllOccurrencesOfCharactersInSet("0x1f 2e", set(" x"))->utf8(), "01f2e");
  EXPECT_EQ(stringByDeletingAllOccurrencesOfCharactersInSet("aaa", set("a"))->length(), 0U);
  EXPECT_FALSE(stringByDeletingAllOccurrencesOfString("ab", "b")->isMutable());
  EXPECT_FALSE(stringByDeletingAllOccurrencesOfCharactersInSet("ab", set("b"))->isMutable());
}

TEST(StringExtensionsTests, ReplacingTakesLinearTime) {
  const Ref<NSString> text = std::string(400000, 'a');
  EXPECT_EQ(stringByReplacingAllOccurrencesOfString_withString(text, "a", "bb")->length(), 800000U);
  const Ref<NSString> wide = std::u16string(60000, u'\u65E5');
  EXPECT_EQ(stringByReplacingAllOccurrencesOfString_withString(wide, u"\u65E5", "b")->length(), 60000U);
  const Ref<NSString> decomposed = [] {
    std::u16string units;
    for (int i = 0; i < 20000; ++i) units += u"e\u0301";
    return Ref<NSString>(units);
  }();
  EXPECT_EQ(stringByReplacingAllOccurrencesOfString_withString(decomposed, u"\u00E9", "e")->length(), 20000U);
}

}  // namespace
}  // namespace ZtFoundation
