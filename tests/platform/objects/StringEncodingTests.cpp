#include <gtest/gtest.h>

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/StringEncoding.h>

#include <string>

namespace ZtFoundation {
namespace {

using namespace std::string_literals;

Ref<NSString> decode(const std::string& bytes, NSStringEncoding encoding) {
  return NSString::stringWithData_encoding(NSData::dataWithBytes(bytes), encoding);
}

std::string encode(const std::u16string& units, NSStringEncoding encoding, bool lossy = false) {
  const Ref<NSData> data = Ref<NSString>(units)->dataUsingEncoding_allowLossyConversion(encoding, lossy);
  return data ? std::string(data->view()) : "none";
}

struct Decoding {
  std::string bytes;
  NSStringEncoding encoding;
  std::u16string units;
};

TEST(StringEncodingTests, DecodesValidBytes) {
  const Decoding decodings[] = {
      {"", NSUTF8StringEncoding, u""},
      {"", NSUnicodeStringEncoding, u""},
      {"", NSShiftJISStringEncoding, u""},
      {"abc", NSASCIIStringEncoding, u"abc"},
      {"\xE9", NSISOLatin1StringEncoding, u"\u00E9"},
      {"\xC3\xA9", NSUTF8StringEncoding, u"\u00E9"},
      {"\xEF\xBB\xBF"
       "a",
       NSUTF8StringEncoding, u"a"},
      {"\xEF\xBB\xBF\xEF\xBB\xBF", NSUTF8StringEncoding, u"\uFEFF"},
      {"\x65\xE5", NSUnicodeStringEncoding, u"\u65E5"},
      {"\xFE\xFF\x65\xE5", NSUnicodeStringEncoding, u"\u65E5"},
      {"\xFF\xFE\xE5\x65", NSUnicodeStringEncoding, u"\u65E5"},
      {"\xFE\xFF\x65\xE5", NSUTF16BigEndianStringEncoding, u"\u65E5"},
      {"\xFF\xFE\xE5\x65", NSUTF16LittleEndianStringEncoding, u"\u65E5"},
      {"\xFF\xFE\x65\xE5", NSUTF16BigEndianStringEncoding, u"\uFFFE\u65E5"},
      {"\xD8\x3D\xDE\x00"s, NSUnicodeStringEncoding, u"\xD83D\xDE00"},
      {"\xD8\x3D"s, NSUnicodeStringEncoding, u"\xD83D"},
      {"\0\0\xFE\xFF\0\1\xF6\0"s, NSUTF32StringEncoding, u"\xD83D\xDE00"},
      {"\xFF\xFE\0\0\0\xF6\1\0"s, NSUTF32StringEncoding, u"\xD83D\xDE00"},
      {"\0\0\0a"s, NSUTF32StringEncoding, u"a"},
      {"\0\0\0a"s, NSUTF32BigEndianStringEncoding, u"a"},
      {"a\0\0\0"s, NSUTF32LittleEndianStringEncoding, u"a"},
      {"\x93\xFA\x96\x7B", NSShiftJISStringEncoding, u"\u65E5\u672C"},
      {"\xC6\xFC", NSJapaneseEUCStringEncoding, u"\u65E5"},
      {"\x1B$BF|\x1B(B", NSISO2022JPStringEncoding, u"\u65E5"},
      {"\x80", NSWindowsCP1252StringEncoding, u"\u20AC"},
      {"\xC0", NSWindowsCP1251StringEncoding, u"\u0410"},
      {"\xE8", NSISOLatin2StringEncoding, u"\u010D"},
      {"\x8E", NSMacOSRomanStringEncoding, u"\u00E9"},
  };
  for (const Decoding& each : decodings) {
    const Ref<NSString> text = decode(each.bytes, each.encoding);
    ASSERT_TRUE(text) << each.encoding;
    EXPECT_EQ(text->utf16(), each.units) << each.encoding;
  }
}

TEST(StringEncodingTests, InvalidBytesGiveNone) {
  const Decoding decodings[] = {
      {"\x80", NSASCIIStringEncoding, {}},
      {"\xC3", NSUTF8StringEncoding, {}},
      {"\xED\xA0\x80", NSUTF8StringEncoding, {}},
      {"a", NSUnicodeStringEncoding, {}},
      {"\xFE\xFF"
       "a",
       NSUnicodeStringEncoding,
       {}},
      {"abc", NSUTF16LittleEndianStringEncoding, {}},
      {"\0\0\xD8\0"s, NSUTF32StringEncoding, {}},
      {"\0\x11\0\0"s, NSUTF32StringEncoding, {}},
      {"\0\0\0"s, NSUTF32StringEncoding, {}},
      {"\x93", NSShiftJISStringEncoding, {}},
      {"\x93\x20", NSShiftJISStringEncoding, {}},
      {"a\x80", NSShiftJISStringEncoding, {}},
      {"\xA0", NSShiftJISStringEncoding, {}},
      {"\xFD", NSShiftJISStringEncoding, {}},
      {"\xFE", NSShiftJISStringEncoding, {}},
      {"\xFF", NSShiftJISStringEncoding, {}},
      {"\xA4", NSJapaneseEUCStringEncoding, {}},
      {"abc", kInvalidStringEncoding, {}},
      {"abc", 0, {}},
      {"abc", 999, {}},
      {"abc", 0x80000000 | 0x7FFF, {}},
      {"abc", 0xA0000000 | 0xFFFFFF, {}},
  };
  for (const Decoding& each : decodings) EXPECT_FALSE(decode(each.bytes, each.encoding)) << each.encoding;
  EXPECT_FALSE(NSString::stringWithData_encoding(nullptr, NSUTF8StringEncoding));
  for (const NSStringEncoding encoding : {NSUTF8StringEncoding, NSUnicodeStringEncoding, NSUTF32StringEncoding}) {
    EXPECT_EQ(NSString::stringWithBytes_length_encoding(nullptr, 0, encoding)->length(), 0U) << encoding;
  }
}

TEST(StringEncodingTests, EncodesWhatTheEncodingHolds) {
  EXPECT_EQ(encode(u"abc", NSASCIIStringEncoding), "abc");
  EXPECT_EQ(encode(u"\u00E9", NSISOLatin1StringEncoding), "\xE9");
  EXPECT_EQ(encode(u"\u65E5\xD83D\xDE00", NSUTF8StringEncoding), "\xE6\x97\xA5\xF0\x9F\x98\x80");
  EXPECT_EQ(encode(u"\u65E5", NSUnicodeStringEncoding), "\xFE\xFF\x65\xE5");
  EXPECT_EQ(encode(u"\u65E5", NSUTF16BigEndianStringEncoding), "\x65\xE5");
  EXPECT_EQ(encode(u"\u65E5", NSUTF16LittleEndianStringEncoding), "\xE5\x65");
  EXPECT_EQ(encode(u"\xD83D", NSUTF16BigEndianStringEncoding), "\xD8\x3D");
  EXPECT_EQ(encode(u"\xD83D\xDE00", NSUTF32StringEncoding), "\0\0\xFE\xFF\0\1\xF6\0"s);
  EXPECT_EQ(encode(u"a", NSUTF32LittleEndianStringEncoding), "a\0\0\0"s);
  EXPECT_EQ(encode(u"\u65E5\u672C", NSShiftJISStringEncoding), "\x93\xFA\x96\x7B");
  EXPECT_EQ(encode(u"\u65E5a", NSISO2022JPStringEncoding), "\x1B$BF|\x1B(Ba");
  EXPECT_EQ(encode(u"", NSShiftJISStringEncoding), "");
}

TEST(StringEncodingTests, MissingCharactersAreRefusedOrBecomeOneQuestionMarkEach) {
  const struct {
    std::u16string units;
    NSStringEncoding encoding;
    std::string lossy;
  } cases[] = {
      {u"a\u00E9\u65E5\xD83D\xDE00z", NSASCIIStringEncoding, "a???z"},
      {u"\u00E9\u65E5", NSISOLatin1StringEncoding, "\xE9?"},
      {u"a\xD83D"
       u"b",
       NSUTF8StringEncoding, "a?b"},
      {u"\xDE00", NSUTF32BigEndianStringEncoding, "\0\0\0?"s},
      {u"\xD83D\xDE00\u00E9\u65E5", NSShiftJISStringEncoding, "??\x93\xFA"},
      {u"\u65E5\xD83D\xDE00\u672C", NSISO2022JPStringEncoding, "\x1B$BF|\x1B(B?\x1B$BK\\\x1B(B"},
      {u"a\u200Db", NSWindowsCP1252StringEncoding, "a?b"},  // ignorable, but not ignored
      {u"\xD83D", NSShiftJISStringEncoding, "?"},
      {u"\u0080\u00A0\uF8F0", NSShiftJISStringEncoding, "???"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(encode(each.units, each.encoding), "none") << each.encoding;
    EXPECT_EQ(encode(each.units, each.encoding, true), each.lossy) << each.encoding;
  }
  EXPECT_EQ(encode(u"a", 999), "none");
  EXPECT_EQ(encode(u"a", kInvalidStringEncoding, true), "none");
  EXPECT_FALSE(Ref<NSString>(u"\u65E5")->dataUsingEncoding(NSASCIIStringEncoding));
}

TEST(StringEncodingTests, ShiftJISIsThatOfCodePage932) {
  const struct {
    const char* bytes;
    char16_t unit;
    bool bothWays;
  } cases[] = {
      {"\\", u'\\', true},         {"~", u'~', true},           {"\xB1", 0xFF71, true},
      {"\x81\x60", 0xFF5E, true},  {"\x81\x7C", 0xFF0D, true},  {"\x81\x61", 0x2225, true},
      {"\x81\x5C", 0x2015, true},  {"\x81\x91", 0xFFE0, true},  {"\x81\xCA", 0xFFE2, true},
      {"\x81\x5F", 0xFF3C, true},  {"\x87\x40", 0x2460, true},  {"\x87\x54", 0x2160, true},
      {"\xEE\xEF", 0x2170, false}, {"\xFA\x40", 0x2170, true},  {"\xFA\x4A", 0x2160, false},
      {"\x81\xE0", 0x2252, true},  {"\x87\x90", 0x2252, false}, {"\xFA\x54", 0xFFE2, false},
      {"\x81\xE6", 0x2235, true},  {"\x87\x9A", 0x2235, false}, {"\xFA\x5B", 0x2235, false},
      {"\xED\x40", 0x7E8A, false}, {"\xFA\x5C", 0x7E8A, true},  {"\xFA\x59", 0x2116, false},
      {"\x87\x82", 0x2116, true},  {"\x87\x8A", 0x3231, true},  {"\xFA\x58", 0x3231, false},
      {"\xF0\x40", 0xE000, true},
  };
  for (const auto& each : cases) {
    const Ref<NSString> text = decode(each.bytes, NSShiftJISStringEncoding);
    ASSERT_TRUE(text) << std::hex << static_cast<unsigned>(each.unit);
    EXPECT_EQ(text->utf16(), std::u16string(1, each.unit));
    EXPECT_EQ(encode(std::u16string(1, each.unit), NSShiftJISStringEncoding) == each.bytes, each.bothWays)
        << std::hex << static_cast<unsigned>(each.unit);
  }
  EXPECT_EQ(encode(u"\u301C\u2212\u2016\u2014", NSShiftJISStringEncoding), "\x81\x60\x81\x7C\x81\x61\x81\x5C");
  EXPECT_EQ(encode(u"\u00A2\u00A3\u00AC", NSShiftJISStringEncoding), "\x81\x91\x81\x92\x81\xCA");
  EXPECT_EQ(encode(u"\u00A5\u203E", NSShiftJISStringEncoding, true), "??");
}

TEST(StringEncodingTests, EveryASCIICharacterIsItselfInShiftJIS) {
  for (char unit = 0;; ++unit) {
    const std::string byte(1, unit);
    EXPECT_EQ(decode(byte, NSShiftJISStringEncoding)->utf8(), byte) << int{unit};
    EXPECT_EQ(encode(std::u16string(1, static_cast<char16_t>(unit)), NSShiftJISStringEncoding), byte) << int{unit};
    if (unit == 0x7F) break;
  }
}

TEST(StringEncodingTests, LongTextsPassThroughConversionTables) {
  std::u16string units;
  for (int i = 0; i < 20000; ++i) units += static_cast<char16_t>(i % 3 == 0 ? 0x65E5 : 'a' + i % 26);
  const std::string bytes = encode(units, NSShiftJISStringEncoding);
  EXPECT_EQ(decode(bytes, NSShiftJISStringEncoding)->utf16(), units);
}

}  // namespace
}  // namespace ZtFoundation
