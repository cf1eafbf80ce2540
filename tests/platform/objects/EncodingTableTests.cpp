#include <gtest/gtest.h>

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/StringEncoding.h>

#include <cstdint>
#include <limits>
#include <string>

namespace ZtFoundation {
namespace {

NSStringEncoding encodingNamed(const Ref<NSString>& name) {
  return CFStringConvertEncodingToNSStringEncoding(CFStringConvertIANACharSetNameToEncoding(name));
}

TEST(EncodingTableTests, RegisteredNamesInAnyCase) {
  const struct {
    const char* name;
    NSStringEncoding encoding;
  } cases[] = {
      {"utf-8", NSUTF8StringEncoding},
      {"UTF-8", NSUTF8StringEncoding},
      {"csUTF8", NSUTF8StringEncoding},
      {"us-ascii", NSASCIIStringEncoding},
      {"ANSI_X3.4-1968", NSASCIIStringEncoding},
      {"iso-8859-1", NSISOLatin1StringEncoding},
      {"Latin1", NSISOLatin1StringEncoding},
      {"utf-16", NSUnicodeStringEncoding},
      {"utf-16be", NSUTF16BigEndianStringEncoding},
      {"UTF-16LE", NSUTF16LittleEndianStringEncoding},
      {"ISO-10646-UCS-2", NSUnicodeStringEncoding},
      {"utf-32", NSUTF32StringEncoding},
      {"ISO-10646-UCS-4", NSUTF32StringEncoding},
      {"shift_jis", NSShiftJISStringEncoding},
      {"SHIFT_JIS", NSShiftJISStringEncoding},
      {"MS_Kanji", NSShiftJISStringEncoding},
      {"windows-31j", NSShiftJISStringEncoding},
      {"EUC-JP", NSJapaneseEUCStringEncoding},
      {"iso-2022-jp", NSISO2022JPStringEncoding},
      {"macintosh", NSMacOSRomanStringEncoding},
      {"windows-1252", NSWindowsCP1252StringEncoding},
      {"iso-8859-2", NSISOLatin2StringEncoding},
      {"big5", 0x80000A03},
      {"gb18030", 0x80000632},
      {"koi8-r", 0x80000A02},
      {"iso-8859-15", 0x8000020F},
  };
  for (const auto& each : cases) EXPECT_EQ(encodingNamed(each.name), each.encoding) << each.name;
}

TEST(EncodingTableTests, OtherNamesAreUnknown) {
  const Ref<NSString> names[] = {"",
                                 "utf8",
                                 "utf_8",
                                 " utf-8",
                                 "utf-8 ",
                                 "sjis",
                                 "cp932",
                                 "x-sjis",
                                 "no-such-charset",
                                 "ibm-943_P15A-2003",
                                 "utf-8,version=1",
                                 "ISO-2022-JP,locale=ja",
                                 std::string("utf-8\0", 6),
                                 std::string("shift_jis\0x", 11),
                                 "\xE6\x97\xA5",
                                 "utf-8\xC3\xA9",
                                 "\xC3\xA9shift_jis",
                                 u"utf-8\xD800",
                                 nullptr};
  for (const Ref<NSString>& name : names) {
    EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(name), kCFStringEncodingInvalidId) << name;
    EXPECT_EQ(encodingNamed(name), kInvalidStringEncoding) << name;
  }
}

TEST(EncodingTableTests, EncodingsWithoutANumberOfTheirOwnWorkToo) {
  const NSStringEncoding encoding = encodingNamed("IBM037");
  ASSERT_NE(encoding, kInvalidStringEncoding);
  EXPECT_EQ(encodingNamed("ebcdic-cp-us"), encoding);
  const Ref<NSString> text = NSString::stringWithData_encoding(NSData::dataWithBytes("\xC1\xC2"), encoding);
  ASSERT_TRUE(text);
  EXPECT_EQ(text->utf8(), "AB");
  EXPECT_EQ(text->dataUsingEncoding(encoding)->view(), "\xC1\xC2");
  EXPECT_EQ(Ref<NSString>(u"A\u65E5")->dataUsingEncoding_allowLossyConversion(encoding, true)->view(), "\xC1\x6F");
}

TEST(EncodingTableTests, BothNumbersOfAnEncodingDecode) {
  const Ref<NSData> data = NSData::dataWithBytes("\x93\xFA");
  for (const NSStringEncoding number :
       {NSStringEncoding{8}, NSStringEncoding{0x80000A01}, NSStringEncoding{0x80000420}}) {
    EXPECT_TRUE(isEqual(NSString::stringWithData_encoding(data, number), Ref<NSString>(u"\u65E5"))) << number;
  }
  EXPECT_TRUE(NSString::stringWithData_encoding(data, 0x80000201));
}

TEST(EncodingTableTests, OtherNumbersDecodeNothing) {
  const std::uint64_t own = encodingNamed("IBM037");
  const Ref<NSData> data = NSData::dataWithBytes("A");
  for (const std::uint64_t number : {std::uint64_t{0}, std::uint64_t{99}, std::uint64_t{0x80000999}, own & 0x7FFFFFFF,
                                     own & ~std::uint64_t{0x20000000}, own | std::uint64_t{1} << 32}) {
    if (number > std::numeric_limits<NSStringEncoding>::max()) continue;
    EXPECT_FALSE(NSString::stringWithData_encoding(data, static_cast<NSStringEncoding>(number))) << std::hex << number;
  }
}

}  // namespace
}  // namespace ZtFoundation
