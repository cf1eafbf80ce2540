#include <gtest/gtest.h>

#include <string>

#include <ZtFoundation/Text.h>

namespace ZtFoundation {
namespace {

using namespace std::string_literals;

TEST(FourCharacterCodeTests, CodesOfStrings) {
  const struct {
    std::u16string text;
    NSUInteger expected;
  } cases[] = {
      {u"APPL", 0x4150504C},
      {u"ttxt", 0x74747874},
      {u"pdoc", 0x70646F63},
      {u"abc", 0x61626300},
      {u"ab", 0x61620000},
      {u"a", 0x61000000},
      {u"abcdef", 0x61626364},
      {u"", 0},
      {u"\0abc"s, 0},
      {u"a\0bc"s, 0x61006263},
      {u"\\~\x7F\x01", 0x5C7E7F01},
      {u"\xFF71", 0xB1000000},  // the first byte has nothing above it
      {u"\xFF71"
       u"abc",
       0xB1616263},
      {u"abc\xFF65", 0xFFFFFFA5},  // the fourth byte, A5
      {u"ab\xFF65"
       u"d",
       0xFFFFA564},
      {u"a\xFF65"
       u"cd",
       0xFFA56364},  // the second byte: 61 is lost
      {u"\x65E5\x672C", 0xFFFF967B},
      {u"abc\x65E5", 0xFFFFFF93},  // cut inside the character
      {u"\x3042", 0xFFA00000},     // 82 A0
      {u"a\x00E9"
       u"bc",
       0x613F6263},  // no code: "?"
      {u"\xD83D\xDE00"
       u"bcd",
       0x3F626364},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(JxOSExtensions::osType(each.text), each.expected) << testing::PrintToString(each.text);
  }
  EXPECT_EQ(JxOSExtensions::osType(nullptr), 0U);
}

}  // namespace
}  // namespace ZtFoundation
