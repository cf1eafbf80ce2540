#include <gtest/gtest.h>

#include <cstdio>
#include <set>

#include "support/Serialization.h"

namespace ZtFoundation {
namespace {

unichar characterOf(unsigned code) {
  char text[8];
  std::snprintf(text, sizeof text, "\"\\%03o\"", code);
  return as<NSString>(support::read(text).value)->characterAtIndex(0);
}

TEST(OpenStepCharacters, TheLowerHalfIsASCII) {
  for (unsigned code = 0; code < 0x80; ++code) EXPECT_EQ(characterOf(code), code);
}

TEST(OpenStepCharacters, TheUpperHalfIsTheFormatsOwn) {
  const struct {
    unsigned code;
    unichar character;
  } cases[] = {{0x80, 0x00A0}, {0x81, 0x00C0}, {0x86, 0x00C5}, {0x87, 0x00C7}, {0x96, 0x00D6}, {0x97, 0x00D9},
               {0x9D, 0x00B5}, {0x9F, 0x00F7}, {0xA0, 0x00A9}, {0xA4, 0x2044}, {0xA6, 0x0192}, {0xA8, 0x00A4},
               {0xA9, 0x2019}, {0xAE, 0xFB01}, {0xAF, 0xFB02}, {0xB0, 0x00AE}, {0xB5, 0x00A6}, {0xB7, 0x2022},
               {0xBC, 0x2026}, {0xBE, 0x00AC}, {0xC1, 0x02CB}, {0xC9, 0x00B2}, {0xCF, 0x02C7}, {0xD0, 0x2014},
               {0xD5, 0x00E0}, {0xE0, 0x00EC}, {0xE1, 0x00C6}, {0xE8, 0x0141}, {0xEA, 0x0152}, {0xF1, 0x00E6},
               {0xF5, 0x0131}, {0xFA, 0x0153}, {0xFB, 0x00DF}, {0xFD, 0x00FF}};
  for (const auto& [code, character] : cases) EXPECT_EQ(characterOf(code), character) << code;
}

TEST(OpenStepCharacters, EachCodeButTheTwoOpenOnesHasACharacterOfItsOwn) {
  std::set<unichar> characters;
  for (unsigned code = 0x80; code < 0xFE; ++code) characters.insert(characterOf(code));
  EXPECT_EQ(characters.size(), 0x7EU);
  EXPECT_EQ(characters.count(0xFFFD), 0U);
  EXPECT_EQ(characterOf(0xFE), 0xFFFD);
  EXPECT_EQ(characterOf(0xFF), 0xFFFD);
}

}  // namespace
}  // namespace ZtFoundation
