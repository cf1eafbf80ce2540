#include "platform/linux/system/Unicode.h"

#include <gtest/gtest.h>

#include <ZtFoundation/Text.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/StringEncoding.h>

#include "platform/linux/process/ModuleLoader.h"
#include "platform/services/Service.h"
#include "platform/services/UserLanguages.h"

namespace ZtFoundation {
namespace {

using namespace QvFoundationExtensions;

// Shift-JIS and Mac Roman by their short and long numbers.
constexpr NSStringEncoding kKeepASCII[] = {NSShiftJISStringEncoding,   0x80000A01, 0x80000420, 0x80000001,
                                           NSMacOSRomanStringEncoding, 0x80000000};

// What a machine without the module answers.
class WithoutUnicodeTests : public testing::Test {
 protected:
  Unicode& none_ = unicodeInModule("libZtFoundationNoSuchModule.so");
  ScopedService<Unicode> scope_{none_};
};

TEST_F(WithoutUnicodeTests, EverythingInASCIIWorks) {
  EXPECT_EQ(naturalCompare("file9", "File10"), NSOrderedAscending);
  EXPECT_EQ(Ref<NSString>("Abc")->uppercaseString()->utf8(), "ABC");
  EXPECT_TRUE(containsString_options("Hello", "hELLO", NSCaseInsensitiveSearch));
  EXPECT_EQ(stringWithData_charset(NSData::dataWithBytes("abc"), "utf-8")->utf8(), "abc");
}

TEST_F(WithoutUnicodeTests, OtherComparisonsAnswerSame) {
  EXPECT_EQ(naturalCompare(u"\u00E9", u"e"), NSOrderedSame);
  EXPECT_EQ(naturalCompare(u"ax\u00E9", u"b"), NSOrderedAscending);  // ASCII decides
}

TEST_F(WithoutUnicodeTests, SearchesGoUnitByUnit) {
  EXPECT_TRUE(containsString(u"\u65E5\u672C", u"\u672C"));
  EXPECT_FALSE(containsString(u"caf\u00E9", u"e\u0301"));
  EXPECT_TRUE(containsString_options(u"\u65E5X", u"\u65E5x", NSCaseInsensitiveSearch));
  EXPECT_FALSE(containsString_options(u"\u65E5X", u"\u672Cx", NSCaseInsensitiveSearch));
  EXPECT_FALSE(containsString_options(u"\u00C9", u"\u00E9", NSCaseInsensitiveSearch));
}

TEST_F(WithoutUnicodeTests, CaseMapsASCIIOnly) {
  EXPECT_EQ(Ref<NSString>(u"aB1[\u00C9\u65E5")->lowercaseString()->utf16(), u"ab1[\u00C9\u65E5");
  EXPECT_EQ(Ref<NSString>(u"aB1[\u00E9\u65E5")->uppercaseString()->utf16(), u"AB1[\u00E9\u65E5");
}

TEST_F(WithoutUnicodeTests, FoldingKeepsAllButTheCaseOfASCII) {
  std::u16string folded = u">";
  none_.fold(u"aB\u00C9", kFoldCase, folded);
  none_.fold(u"aB\u00C9", 0, folded);
  EXPECT_EQ(folded, u">ab\u00C9aB\u00C9");
}

TEST_F(WithoutUnicodeTests, CharsetsWithTablesAreUnknown) {
  EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding("shift_jis"), kCFStringEncodingInvalidId);
  EXPECT_FALSE(stringWithData_encoding(NSData::dataWithBytes("\x93\xFA"), NSShiftJISStringEncoding));
  EXPECT_FALSE(Ref<NSString>(u"\u65E5")->dataUsingEncoding(NSShiftJISStringEncoding));
}

TEST_F(WithoutUnicodeTests, ASCIIIsConvertedByEachNumberOfATableThatKeepsIt) {
  for (const NSStringEncoding encoding : kKeepASCII) {
    EXPECT_EQ(stringWithData_encoding(NSData::dataWithBytes("a\\~"), encoding)->utf8(), "a\\~") << encoding;
    EXPECT_EQ(stringWithData_encoding(NSData::data(), encoding)->length(), 0U) << encoding;
    EXPECT_EQ(Ref<NSString>("a\\~")->dataUsingEncoding(encoding)->view(), "a\\~") << encoding;
  }
  EXPECT_FALSE(Ref<NSString>("abc")->dataUsingEncoding(NSISO2022JPStringEncoding));
}

TEST_F(WithoutUnicodeTests, TextThatHasBecomeASCIIIsConverted) {
  const Ref<NSMutableString> text = NSMutableString::stringWithString(u"a\u65E5b");
  text->deleteCharactersInRange({1, 1});
  EXPECT_EQ(text->dataUsingEncoding(NSShiftJISStringEncoding)->view(), "ab");
}

class Japanese final : public UserLanguages {
 public:
  std::vector<std::string> inOrder() override { return {"ja_JP"}; }
};

TEST_F(WithoutUnicodeTests, PascalStringsOfAJapaneseUserMayBeASCII) {
  using JxOldConversionExtensions::stringWithPascalString;
  Japanese user;
  const ScopedService<UserLanguages> scope(user);
  const unsigned char abc[] = {3, 'a', 'b', 'c'}, empty[] = {0}, kanji[] = {2, 0x93, 0xFA};
  EXPECT_EQ(stringWithPascalString(abc)->utf8(), "abc");
  EXPECT_EQ(stringWithPascalString(empty)->utf8(), "");
  EXPECT_FALSE(stringWithPascalString(kanji));
}

TEST_F(WithoutUnicodeTests, OtherTextHasNoShiftJISForm) {
  using namespace JxOldConversionExtensions;
  const Ref<NSString> text = u"\u65E5";
  EXPECT_EQ(sjisStringLength(text), 0U);
  std::string buffer = "before";
  EXPECT_EQ(getSJISString_maxLength(text, buffer.data(), 4), nullptr);
  EXPECT_EQ(buffer, std::string(4, '\0') + "re");
  buffer = "before";
  EXPECT_EQ(getSJISData_maxBufferSize(text, buffer.data(), 4), nullptr);
  EXPECT_EQ(buffer, std::string(4, '\0') + "re");
  EXPECT_FALSE(stringWithSJISSizeLimitation(text, 2));
  EXPECT_EQ(JxOSExtensions::osType(text), 0U);
}

TEST_F(WithoutUnicodeTests, SetsOfCharacterClassesHoldASCII) {
  EXPECT_EQ(none_.members(CharacterClass::DecimalDigit).size(), 1U);
  EXPECT_EQ(none_.members(CharacterClass::Letter).size(), 2U);
  EXPECT_EQ(none_.members(CharacterClass::Alphanumeric).size(), 3U);
}

TEST(UnicodeTests, TheModuleIsFoundBesideTheLibrary) {
  EXPECT_NE(moduleFunction("libZtFoundationUnicode.so", kUnicodeModuleEntry).address, nullptr);
  EXPECT_EQ(moduleFunction("libZtFoundationUnicode.so", "noSuchFunction").address, nullptr);
  EXPECT_EQ(moduleFunction("libZtFoundationNoSuchModule.so", kUnicodeModuleEntry).address, nullptr);
  EXPECT_EQ(&Unicode::production(), &unicodeInModule("libZtFoundationUnicode.so"));
}

// Counts the questions that reach it.
class Asked final : public Unicode {
 public:
  int times = 0;

  bool compareNaturally(std::u16string_view, std::u16string_view, int&) override { return ++times, false; }
  std::optional<std::string> registeredCharset(std::string_view) override { return ++times, std::nullopt; }
  std::optional<std::uint32_t> indexOfCharset(const std::string&) override { return ++times, std::nullopt; }
  std::optional<std::string> charsetAtIndex(std::uint32_t) override { return ++times, std::nullopt; }
  std::optional<std::u16string> decode(const std::string&, std::string_view) override { return ++times, std::nullopt; }
  std::optional<std::string> encode(const std::string&, std::u16string_view, bool) override {
    return ++times, std::nullopt;
  }
  bool isComposed(std::u16string_view) override { return ++times, true; }
  bool extends(char32_t) override { return ++times, false; }
  void fold(std::u16string_view, unsigned, std::u16string&) override { ++times; }
  std::u16string lowercase(std::u16string_view units) override { return ++times, std::u16string(units); }
  std::u16string uppercase(std::u16string_view units) override { return ++times, std::u16string(units); }
  char32_t lowercase(char32_t codePoint) override { return ++times, codePoint; }
  char32_t uppercase(char32_t codePoint) override { return ++times, codePoint; }
  std::vector<CodePointRange> members(CharacterClass) override { return ++times, std::vector<CodePointRange>(); }
};

TEST(UnicodeTests, ASCIINeverOpensTheModule) {
  Asked asked;
  const ScopedService<Unicode> scope(asked);
  EXPECT_EQ(naturalCompare("file9", "file10"), NSOrderedAscending);
  EXPECT_EQ(naturalCompare("a\x01", "A"), NSOrderedSame);
  EXPECT_TRUE(containsString("hello", "ell"));
  EXPECT_TRUE(containsString_options("hello", "ELL", NSCaseInsensitiveSearch));
  EXPECT_FALSE(containsString(u"gr\u00FC\u00DF", " "));
  EXPECT_TRUE(containsString(u"\u65E5 \u672C", " "));
  EXPECT_TRUE(Ref<NSString>("Abc")->lowercaseString());
  EXPECT_TRUE(stringWithData_charset(NSData::dataWithBytes("abc"), "UTF-8"));
  EXPECT_TRUE(stringWithData_charset(NSData::dataWithBytes("abc"), "iso-8859-1"));
  for (const NSStringEncoding encoding : kKeepASCII) {
    EXPECT_TRUE(stringWithData_encoding(NSData::dataWithBytes("abc"), encoding));
    EXPECT_TRUE(Ref<NSString>("abc")->dataUsingEncoding(encoding));
  }
  EXPECT_TRUE(NSCharacterSet::whitespaceAndNewlineCharacterSet()->characterIsMember(' '));
  EXPECT_EQ(asked.times, 0);
}

}  // namespace
}  // namespace ZtFoundation
