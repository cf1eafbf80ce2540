#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>

#include <ZtFoundation/Text.h>

#include "support/ChildProcess.h"
#include "support/LittleMemory.h"
#include "support/Sanitizers.h"

namespace ZtFoundation {
namespace {

using namespace std::string_literals;
using namespace JxOldConversionExtensions;

constexpr char16_t kNihon[] = u"\u65E5\u672C";  // 93 FA 96 7B

const unsigned char* pascal(const char* bytes) { return reinterpret_cast<const unsigned char*>(bytes); }

// A buffer full of "#", and what is in its first bytes afterwards.
class Buffer {
 public:
  char* bytes() { return bytes_.data(); }
  std::string first(std::size_t count) const { return bytes_.substr(0, count); }
  bool isUntouchedFrom(std::size_t index) const { return bytes_.find_first_not_of('#', index) == std::string::npos; }

 private:
  std::string bytes_ = std::string(32, '#');
};

TEST(LegacyConversionTests, PascalStrings) {
  EXPECT_EQ(stringWithPascalString(pascal("\3abcdef"))->utf8(), "abc");
  EXPECT_EQ(stringWithPascalString(pascal("\0abc"))->utf8(), "");
  EXPECT_FALSE(stringWithPascalString(nullptr));
  EXPECT_EQ(stringWithPascalString(pascal(("\xFF" + std::string(255, 'x')).c_str()))->length(), 255U);
}

TEST(LegacyConversionTests, StringsAreOfTheClassAskedFor) {
  const Ref<NSMutableString> fromPascal = stringWithPascalString<NSMutableString>(pascal("\1a"));
  fromPascal->appendString("b");
  EXPECT_EQ(fromPascal->utf8(), "ab");
  const Ref<NSMutableString> fromBytes = stringWithSJISDataBytes_length<NSMutableString>("ab", 1);
  fromBytes->appendString("c");
  EXPECT_EQ(fromBytes->utf8(), "ac");
  EXPECT_FALSE(stringWithPascalString<NSMutableString>(nullptr));
  EXPECT_FALSE(stringWithSJISDataBytes_length<NSMutableString>("\x93", 1));
}

TEST(LegacyConversionTests, StringsFromShiftJIS) {
  EXPECT_EQ(stringWithSJISDataBytes_length("\x93\xFA\x96\x7B", 4)->utf16(), kNihon);
  EXPECT_EQ(stringWithSJISDataBytes_length("abc", 2)->utf8(), "ab");
  EXPECT_EQ(stringWithSJISDataBytes_length("a\0b", 3)->length(), 3U);
  EXPECT_EQ(stringWithSJISDataBytes_length("abc", 0)->utf8(), "");
  EXPECT_FALSE(stringWithSJISDataBytes_length(nullptr, 5));
  EXPECT_FALSE(stringWithSJISDataBytes_length(nullptr, 0));
  EXPECT_FALSE(stringWithSJISDataBytes_length("\x93\xFA\x96", 3));
  EXPECT_FALSE(stringWithSJISDataBytes_length("a\x80", 2));
}

TEST(LegacyConversionTests, LengthInShiftJIS) {
  EXPECT_EQ(sjisStringLength("abc"), 3U);
  EXPECT_EQ(sjisStringLength(kNihon), 4U);
  EXPECT_EQ(sjisStringLength(u"\xFF71\u00E9\xD83D\xDE00"), 3U);  // one byte, and "?" for each of the others
  EXPECT_EQ(sjisStringLength(""), 0U);
  EXPECT_EQ(sjisStringLength(nullptr), 0U);
}

TEST(LegacyConversionTests, ZeroTerminatedBytes) {
  const struct {
    const char16_t* text;
    std::uint32_t maxLength;
    std::string written;
  } cases[] = {
      {u"abcdef", 4, "abc\0"s},
      {u"abcdef", 1, "\0"s},
      {u"abcdef", 7, "abcdef\0"s},
      {u"abcdef", 6, "abcde\0"s},
      {u"ab", 6, "ab\0\0\0\0"s},
      {u"", 3, "\0\0\0"s},
      {kNihon, 5, "\x93\xFA\x96\x7B\0"s},
      {kNihon, 4, "\x93\xFA\x96\0"s},  // half a character
      {kNihon, 2, "\x93\0"s},
      {u"\u00E9\xD83D\xDE00", 8, "??\0\0\0\0\0\0"s},
  };
  for (const auto& each : cases) {
    Buffer buffer;
    EXPECT_EQ(getSJISString_maxLength(each.text, buffer.bytes(), each.maxLength), buffer.bytes());
    EXPECT_EQ(buffer.first(each.maxLength), each.written);
    EXPECT_TRUE(buffer.isUntouchedFrom(each.maxLength));
  }
}

TEST(LegacyConversionTests, AMaximumOfZeroIsNoBound) {
  Buffer buffer;
  EXPECT_EQ(getSJISString_maxLength("abcdef", buffer.bytes(), 0), buffer.bytes());
  EXPECT_EQ(buffer.first(7), "abcdef\0"s);
  EXPECT_TRUE(buffer.isUntouchedFrom(7));
}

TEST(LegacyConversionTests, BytesWithoutTerminator) {
  const struct {
    const char16_t* text;
    std::uint32_t size;
    std::string written;
  } cases[] = {
      {u"abc", 8, "abc\0\0\0\0\0"s},
      {u"abc", 3, "abc"},
      {u"abc", 2, "ab"},
      {u"abc", 0, ""},
      {kNihon, 3, std::string("\x93\xFA\x96")},
      {u"", 2, "\0\0"s},
  };
  for (const auto& each : cases) {
    Buffer buffer;
    EXPECT_EQ(getSJISData_maxBufferSize(each.text, buffer.bytes(), each.size), buffer.bytes());
    EXPECT_EQ(buffer.first(each.size), each.written);
    EXPECT_TRUE(buffer.isUntouchedFrom(each.size));
  }
}

TEST(LegacyConversionTests, WithoutABufferOrAStringThereIsNone) {
  EXPECT_EQ(getSJISString_maxLength("abc", nullptr, 8), nullptr);
  EXPECT_EQ(getSJISData_maxBufferSize("abc", nullptr, 8), nullptr);
  Buffer buffer, other;
  EXPECT_EQ(getSJISString_maxLength(nullptr, buffer.bytes(), 3), nullptr);
  EXPECT_EQ(buffer.first(4), "\0\0\0#"s);
  EXPECT_EQ(getSJISData_maxBufferSize(nullptr, other.bytes(), 3), nullptr);
  EXPECT_EQ(other.first(4), "\0\0\0#"s);
}

TEST(LegacyConversionTests, SizeLimitation) {
  const struct {
    std::u16string text;
    std::uint32_t limit;
    std::u16string expected;
  } cases[] = {{u"abc", 2, u"ab"},     {u"abc", 3, u"abc"},      {u"abc", 5, u"abc\0\0"s}, {u"abc", 0, u""},
               {u"", 5, u""},          {kNihon, 2, u"\u65E5"},   {kNihon, 4, kNihon},      {kNihon, 5, kNihon + u"\0"s},
               {u"a\u00E9", 2, u"a?"}, {u"\u301C", 2, u"\uFF5E"}};
  for (const auto& each : cases) {
    EXPECT_EQ(stringWithSJISSizeLimitation(each.text, each.limit)->utf16(), each.expected);
  }
  EXPECT_FALSE(stringWithSJISSizeLimitation(kNihon, 1));
  EXPECT_FALSE(stringWithSJISSizeLimitation(kNihon, 3));
  EXPECT_FALSE(stringWithSJISSizeLimitation(nullptr, 3));
}

TEST(LegacyConversionTests, ALimitFarBeyondTheTextIsSafe) {
  const Ref<NSString> text = stringWithSJISSizeLimitation("a", 1000000);
  EXPECT_EQ(text->length(), 1000000U);
  EXPECT_EQ(text->characterAtIndex(999999), 0);
}

TEST(LegacyConversionTests, ALimitBeyondMemoryGivesTheEmptyString) {
  if (test::kIsSanitized) GTEST_SKIP() << "this build cannot do with little memory";
  EXPECT_EQ(test::inChild([] {
              const Ref<NSString> text = "a";
              if (!test::leaveLittleMemory()) return 2;
              const Ref<NSString> cut = stringWithSJISSizeLimitation(text, 1 << 28);
              return cut && cut->length() == 0 ? 0 : 1;
            }),
            0);
}

// A 32-bit build has no string of that length at all.
TEST(LegacyConversionTests, TheLargestLimitGivesTheEmptyStringWhereMemoryHasNoRoom) {
  if (test::kIsSanitized) GTEST_SKIP() << "this build cannot do with little memory";
  EXPECT_EQ(test::inChild([] {
              const Ref<NSString> text = "a";
              if (!test::leaveLittleMemory()) return 2;
              const Ref<NSString> cut = stringWithSJISSizeLimitation(text, 0xFFFFFFFF);
              return cut && cut->length() == 0 ? 0 : 1;
            }),
            0);
}

}  // namespace
}  // namespace ZtFoundation
