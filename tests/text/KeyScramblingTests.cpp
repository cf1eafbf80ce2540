#include <gtest/gtest.h>

#include <ZtFoundation/Text.h>

#include "support/ChildProcess.h"
#include "support/LittleMemory.h"
#include "support/Sanitizers.h"

namespace ZtFoundation {
namespace {

std::string scrambled(const Ref<NSString>& text, const Ref<NSString>& key) {
  return ZtSimpleEncriptedKey(text, key)->utf8();
}

std::u16string unscrambled(const Ref<NSString>& text, const Ref<NSString>& key) {
  return ZtSimpleDecriptedKey(text, key)->utf16();
}

TEST(KeyScramblingTests, WritesTwoDigitsForEachUnit) {
  EXPECT_EQ(scrambled("A", "B"), "03");
  EXPECT_EQ(scrambled("abc", "k"), "0A0908");
  EXPECT_EQ(scrambled("abc", "kl"), "0A0E08");
  EXPECT_EQ(scrambled("", "k"), "");
  EXPECT_EQ(scrambled("a", "a"), "00");
  EXPECT_EQ(scrambled(u"\u0141", "A"), "00");  // the high byte is dropped
  EXPECT_EQ(scrambled(u"\u00E9", u"\u0396"), "7F");
}

TEST(KeyScramblingTests, ReadsItBack) {
  EXPECT_EQ(unscrambled("03", "B"), u"A");
  EXPECT_EQ(unscrambled("0a0908", "k"), u"abc");
  EXPECT_EQ(unscrambled("0a0E08", "kl"), u"abc");
}

struct Pair {
  const char* scrambled;
  std::u16string units;  // before the key is applied
};

TEST(KeyScramblingTests, ReadsPairsAsAScannerDoes) {
  const Pair pairs[] = {
      {"030", {0x03}},  // an odd last digit is ignored
      {"0", {}},
      {"", {}},
      {"ZZ", {0}},             // nothing to read at the start
      {"03ZZ", {0x03, 0x03}},  // nothing to read: as before
      {"4G", {0x04}},          // one digit
      {" 7", {0x07}},          // blanks are skipped
      {"\t7", {0x07}},
      {"  ", {0}},
      {"\r7", {0x07}},
      {"\b7", {0}},  // no blanks, though beside them
      {"\0167", {0}},
      {"4/", {0x04}},  // no digits, though beside them
      {"4g", {0x04}},
      {"4`", {0x04}},
      {":7", {0}},
      {"7@", {0x07}},
      {"+7", {0x07}},
      {"-1", {0xFFFF}},
      {"05-+", {0x05, 0x05}},
      {"050x", {0x05, 0x00}},  // the first digit alone, not the value before
      {"0x", {0x00}},
      {"fF", {0xFF}},
  };
  for (const Pair& pair : pairs) {
    std::u16string expected = pair.units;
    for (char16_t& unit : expected) unit ^= u'k';
    EXPECT_EQ(unscrambled(pair.scrambled, "k"), expected) << pair.scrambled;
  }
}

TEST(KeyScramblingTests, OnlyTheLowByteOfAScrambledUnitCounts) { EXPECT_EQ(unscrambled(u"\u0130\u0233", "B"), u"A"); }

TEST(KeyScramblingTests, EveryASCIIPairComesBack) {
  for (int text = 0; text < 128; ++text) {
    for (const char* key : {"k", " ~", "The quick brown fox"}) {
      const std::string plain(5, static_cast<char>(text));
      EXPECT_EQ(unscrambled(ZtSimpleEncriptedKey(plain, key), key), NSString::stringWithASCII(plain)->utf16());
    }
  }
}

TEST(KeyScramblingTests, NoneAndEmptyKeysGiveNone) {
  EXPECT_FALSE(ZtSimpleEncriptedKey(nullptr, "k"));
  EXPECT_FALSE(ZtSimpleEncriptedKey("a", nullptr));
  EXPECT_FALSE(ZtSimpleEncriptedKey("a", ""));
  EXPECT_FALSE(ZtSimpleDecriptedKey(nullptr, "k"));
  EXPECT_FALSE(ZtSimpleDecriptedKey("03", nullptr));
  EXPECT_FALSE(ZtSimpleDecriptedKey("03", ""));
  EXPECT_FALSE(__EncriptedKey("a", ""));
  EXPECT_FALSE(__DecriptedKey("03", ""));
}

TEST(KeyScramblingTests, TheWorkersAnswerTheSame) {
  EXPECT_EQ(__EncriptedKey("A", "B")->utf8(), "03");
  EXPECT_EQ(__DecriptedKey("03", "B")->utf8(), "A");
}

TEST(KeyScramblingTests, WithoutMemoryThereIsNone) {
  if (test::kIsSanitized) GTEST_SKIP() << "this build cannot do with little memory";
  EXPECT_EQ(test::inChild([] {
              const Ref<NSString> text = std::string(std::size_t{1} << 26, '0');
              const Ref<NSString> key = "k";
              if (!test::leaveLittleMemory()) return 2;
              return __EncriptedKey(text, key) || __DecriptedKey(text, key) ? 1 : 0;
            }),
            0);
}

TEST(KeyScramblingDeathTests, StopsTheProcessRatherThanWriteMoreThanTwoDigits) {
  EXPECT_DEATH((void)ZtSimpleEncriptedKey("\xC3\xA9", "k"), "cannot be scrambled; stopping");
  EXPECT_DEATH((void)ZtSimpleEncriptedKey(u"\u00EB", "k"), "cannot be scrambled; stopping");  // 0x80
}

}  // namespace
}  // namespace ZtFoundation
