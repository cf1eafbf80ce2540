// Texts that are longer than what is given to a converter at once.

#include <gtest/gtest.h>

#include <string>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/StringEncoding.h>

namespace ZtFoundation {
namespace {

struct Case {
  const char* charset;
  const char16_t* part;
};

constexpr std::size_t kLong = 20'000;

std::u16string repeated(const char16_t* part, std::size_t shift) {
  std::u16string text(shift, u'x');
  while (text.size() < kLong) text += part;
  return text;
}

TEST(CharsetsTests, CharactersMayLieAnywhere) {
  const Case cases[] = {{"windows-1252", u"a\u00E9"},
                        {"EUC-JP", u"\u65E5\u672Cb"},
                        {"ISO-2022-JP", u"\u65E5c"},
                        {"GB18030", u"\u65E5\U0001F600"},
                        {"UTF-7", u"+\u00E9\U0001F600"}};
  for (const auto& [charset, part] : cases) {
    const CFStringEncoding known = CFStringConvertIANACharSetNameToEncoding(charset);
    const NSStringEncoding encoding = CFStringConvertEncodingToNSStringEncoding(known);
    for (std::size_t shift = 0; shift < 4; ++shift) {
      SCOPED_TRACE(testing::Message() << charset << ", " << shift);
      const std::u16string text = repeated(part, shift);
      const Ref<NSData> bytes = Ref<NSString>(text)->dataUsingEncoding_allowLossyConversion(encoding, false);
      ASSERT_TRUE(bytes);
      const Ref<NSString> again = QvFoundationExtensions::initWithData_charset(bytes, charset);
      ASSERT_TRUE(again);
      EXPECT_TRUE(again->utf16() == text);
    }
  }
}

TEST(CharsetsTests, WhatTheCharsetLacksIsOneMarkAnywhere) {
  const NSStringEncoding encoding =
      CFStringConvertEncodingToNSStringEncoding(CFStringConvertIANACharSetNameToEncoding("EUC-JP"));
  for (std::size_t shift = 0; shift < 2; ++shift) {
    const std::u16string text = repeated(u"\U0001F600", shift);
    const Ref<NSData> bytes = Ref<NSString>(text)->dataUsingEncoding_allowLossyConversion(encoding, true);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(bytes->view(), std::string(shift, 'x').append((text.size() - shift) / 2, '?'));
  }
}

TEST(CharsetsTests, WhereTheMarkIsMissingTooTheCharsetHasItsOwn) {
  for (const char* charset : {"GB_2312-80", "chinese", "csISO58GB231280", "iso-ir-58"}) {
    SCOPED_TRACE(charset);
    const NSStringEncoding encoding =
        CFStringConvertEncodingToNSStringEncoding(CFStringConvertIANACharSetNameToEncoding(charset));
    for (const auto& [text, length] :
         {std::pair(std::u16string(u"a?\u4E00"), 3), {repeated(u"\U0001F600", 1), 10001}}) {
      EXPECT_FALSE(Ref<NSString>(text)->dataUsingEncoding_allowLossyConversion(encoding, false));
      const Ref<NSData> bytes = Ref<NSString>(text)->dataUsingEncoding_allowLossyConversion(encoding, true);
      ASSERT_TRUE(bytes);
      const Ref<NSString> again = QvFoundationExtensions::initWithData_charset(bytes, charset);
      ASSERT_TRUE(again);
      EXPECT_EQ(again->length(), length);
    }
  }
}

// Lines that go on: they give nothing to write, so that reading goes on to the end of what is given at once.
TEST(CharsetsTests, WhatIsNoCharacterMayLieAnywhere) {
  std::string bytes = "x";
  while (bytes.size() < 150'000) bytes += "~\n";
  bytes += "y";
  const Ref<NSString> text = QvFoundationExtensions::initWithData_charset(NSData::dataWithBytes(bytes), "HZ-GB-2312");
  ASSERT_TRUE(text);
  EXPECT_EQ(text->utf8(), "xy");
}

TEST(CharsetsTests, WhatIsCutOffIsNoText) {
  for (const std::size_t length : {4096U, 65'535U, 65'536U, 65'537U, 131'072U}) {
    std::string bytes(length - 1, 'a');
    bytes += '\xC6';  // the first of two bytes
    EXPECT_FALSE(QvFoundationExtensions::initWithData_charset(NSData::dataWithBytes(bytes), "EUC-JP")) << length;
  }
}

}  // namespace
}  // namespace ZtFoundation
