#include "platform/objects/UTF8.h"

#include <gtest/gtest.h>

#include <string>

namespace ZtFoundation::detail {
namespace {

TEST(UTF8Tests, ASCIIPrefixesOfAllLengthsAndAlignments) {
  for (std::size_t offset = 0; offset < 8; ++offset) {
    for (std::size_t length = 0; length < 80; ++length) {
      std::string bytes(offset + length, 'a');
      EXPECT_EQ(asciiPrefix(std::string_view(bytes).substr(offset)), length);
      bytes += "\x80zzzzzzzzzzzzzzzz";
      EXPECT_EQ(asciiPrefix(std::string_view(bytes).substr(offset)), length);
    }
  }
}

TEST(UTF8Tests, CodePointsOfEveryLengthSurvive) {
  for (char32_t codePoint = 0; codePoint < 0x110000; codePoint += codePoint < 0x10800 ? 1 : 251) {
    char16_t units[2];
    const auto count = static_cast<std::size_t>(putCodePoint(units, codePoint) - units);
    ASSERT_EQ(count, unitsOf(codePoint));
    const auto bytes = encodeUTF8(UnitView(units, count), LoneSurrogates::Refuse);
    ASSERT_EQ(bytes.has_value(), !isSurrogate(codePoint)) << std::uint32_t{codePoint};
    if (!bytes) continue;
    char16_t decoded[4];
    ASSERT_EQ(decodeUTF8(*bytes, InvalidBytes::Refuse, decoded), count);
    ASSERT_EQ(std::u16string(decoded, count), std::u16string(units, count));
  }
}

TEST(UTF8Tests, EveryPairOfBytesSurvivesEscaping) {
  for (unsigned pair = 0; pair < 0x10000; ++pair) {
    const std::string bytes{static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF), 'x'};
    char16_t units[3];
    const auto count = decodeUTF8(bytes, InvalidBytes::Escape, units);
    ASSERT_TRUE(count);
    ASSERT_EQ(encodeUTF8(UnitView(units, *count), LoneSurrogates::Restore), bytes) << pair;
  }
}

TEST(UTF8Tests, CodePointsAreReadFromBothSides) {
  const std::u16string units = u"a\xD83D\xDE00\xDE00";
  const UnitView view(units.data(), units.size());
  EXPECT_EQ(codePointAt(view, 1), 0x1F600U);
  EXPECT_EQ(codePointAt(view, 2), 0xDE00U);
  EXPECT_EQ(codePointBefore(view, 3), 0x1F600U);
  EXPECT_EQ(codePointBefore(view, 4), 0xDE00U);
  EXPECT_EQ(codePointBefore(view, 2), 0xD83DU);
  EXPECT_EQ(codePointBefore(view, 1), U'a');
}

}  // namespace
}  // namespace ZtFoundation::detail
