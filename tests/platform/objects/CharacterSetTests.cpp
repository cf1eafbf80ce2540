#include <gtest/gtest.h>

#include <ZtFoundation/platform/CharacterSet.h>
#include <ZtFoundation/platform/String.h>

#include <string>

namespace ZtFoundation {
namespace {

using Set = Ref<NSCharacterSet>;

TEST(CharacterSetTests, HoldsTheCharactersOfAString) {
  const Set set = NSCharacterSet::characterSetWithCharactersInString(
      u"ca\u00E9b\u65E5\xD83D\xDE00"
      u"a");
  for (char32_t member : std::u32string(U"abc\u00E9\u65E5\U0001F600")) EXPECT_TRUE(set->longCharacterIsMember(member));
  for (char32_t other : std::u32string(U"dA\u00E8\u65E4\u65E6\U0001F601"))
    EXPECT_FALSE(set->longCharacterIsMember(other));
  EXPECT_FALSE(set->characterIsMember(0xD83D));
  EXPECT_FALSE(set->longCharacterIsMember(0x110000));
}

TEST(CharacterSetTests, EmptySetsHoldNothing) {
  for (const Set& set :
       {NSCharacterSet::characterSetWithCharactersInString(""),
        NSCharacterSet::characterSetWithCharactersInString(nullptr), NSCharacterSet::characterSetWithRange({65, 0}),
        NSCharacterSet::characterSetWithRange({0x110000, 5})}) {
    EXPECT_FALSE(set->characterIsMember(0));
    EXPECT_FALSE(set->characterIsMember('A'));
    EXPECT_FALSE(set->longCharacterIsMember(0x110000));
    EXPECT_TRUE(set->invertedSet()->longCharacterIsMember(0x10FFFF));
    EXPECT_TRUE(isEqual(set, NSCharacterSet::characterSetWithRange({0, 0})));
  }
}

TEST(CharacterSetTests, RangesAreCutAtTheEndOfUnicode) {
  const Set set = NSCharacterSet::characterSetWithRange({0x10FFFE, ~NSUInteger{0}});
  EXPECT_TRUE(set->longCharacterIsMember(0x10FFFF));
  EXPECT_FALSE(set->longCharacterIsMember(0x10FFFD));
  EXPECT_FALSE(set->longCharacterIsMember(0x110000));
  const Set letters = NSCharacterSet::characterSetWithRange({'A', 26});
  EXPECT_TRUE(letters->characterIsMember('A') && letters->characterIsMember('Z'));
  EXPECT_FALSE(letters->characterIsMember('@') || letters->characterIsMember('['));
}

TEST(CharacterSetTests, InvertingTwiceGivesAnEqualSet) {
  const Set sets[] = {NSCharacterSet::characterSetWithCharactersInString("abc"),
                      NSCharacterSet::characterSetWithRange({0, 10}),
                      NSCharacterSet::characterSetWithRange({0x10FFFF, 1}),
                      NSCharacterSet::characterSetWithRange({0, 0x110000}),
                      NSCharacterSet::characterSetWithRange({0, 0}),
                      NSCharacterSet::letterCharacterSet()};
  for (const Set& set : sets) {
    const Set inverted = set->invertedSet();
    EXPECT_TRUE(isEqual(inverted->invertedSet(), set));
    EXPECT_FALSE(isEqual(inverted, set));
    EXPECT_EQ(inverted->invertedSet()->hash(), set->hash());
    for (char32_t codePoint = 0; codePoint < 0x110000; codePoint += 97) {
      ASSERT_NE(inverted->longCharacterIsMember(codePoint), set->longCharacterIsMember(codePoint))
          << std::uint32_t{codePoint};
    }
  }
}

TEST(CharacterSetTests, EqualSetsHaveTheSameMembersHoweverMade) {
  EXPECT_TRUE(isEqual(NSCharacterSet::characterSetWithCharactersInString("cba"),
                      NSCharacterSet::characterSetWithRange({'a', 3})));
  EXPECT_FALSE(isEqual(NSCharacterSet::characterSetWithCharactersInString("ca"),
                       NSCharacterSet::characterSetWithRange({'a', 3})));
  EXPECT_FALSE(NSCharacterSet::newlineCharacterSet()->isEqual(Ref<NSObject>()));
}

TEST(CharacterSetTests, WhiteSpaceIsThatOfUnicode) {
  const std::u32string ends = U"\u000A\u000B\u000C\u000D\u0085\u2028\u2029";
  const std::u32string blanks = U"\u0009\u0020\u00A0\u1680\u2000\u2005\u200A\u202F\u205F\u3000";
  for (char32_t end : ends) {
    EXPECT_TRUE(NSCharacterSet::newlineCharacterSet()->longCharacterIsMember(end));
    EXPECT_TRUE(NSCharacterSet::whitespaceAndNewlineCharacterSet()->longCharacterIsMember(end));
    EXPECT_FALSE(NSCharacterSet::whitespaceCharacterSet()->longCharacterIsMember(end));
  }
  for (char32_t blank : blanks) {
    EXPECT_TRUE(NSCharacterSet::whitespaceCharacterSet()->longCharacterIsMember(blank));
    EXPECT_TRUE(NSCharacterSet::whitespaceAndNewlineCharacterSet()->longCharacterIsMember(blank));
    EXPECT_FALSE(NSCharacterSet::newlineCharacterSet()->longCharacterIsMember(blank));
  }
  for (char32_t other : std::u32string(U"a\u0008\u000E\u200B\uFEFF\u180E")) {
    EXPECT_FALSE(NSCharacterSet::whitespaceAndNewlineCharacterSet()->longCharacterIsMember(other));
  }
}

TEST(CharacterSetTests, ClassesFollowTheGeneralCategories) {
  EXPECT_TRUE(NSCharacterSet::letterCharacterSet()->longCharacterIsMember(U'\u00E9'));
  EXPECT_TRUE(NSCharacterSet::letterCharacterSet()->longCharacterIsMember(U'\u0301'));
  EXPECT_TRUE(NSCharacterSet::letterCharacterSet()->longCharacterIsMember(U'\U00010400'));
  EXPECT_FALSE(NSCharacterSet::letterCharacterSet()->characterIsMember('1'));
  EXPECT_TRUE(NSCharacterSet::decimalDigitCharacterSet()->longCharacterIsMember(U'\u0661'));
  EXPECT_FALSE(NSCharacterSet::decimalDigitCharacterSet()->longCharacterIsMember(U'\u00BD'));
  EXPECT_TRUE(NSCharacterSet::alphanumericCharacterSet()->longCharacterIsMember(U'\u00BD'));
  EXPECT_TRUE(NSCharacterSet::alphanumericCharacterSet()->characterIsMember('z'));
  EXPECT_FALSE(NSCharacterSet::alphanumericCharacterSet()->characterIsMember('-'));
}

TEST(CharacterSetTests, NamedSetsAreMadeOnce) {
  EXPECT_EQ(NSCharacterSet::letterCharacterSet(), NSCharacterSet::letterCharacterSet());
  EXPECT_EQ(NSCharacterSet::whitespaceCharacterSet(), NSCharacterSet::whitespaceCharacterSet());
}

}  // namespace
}  // namespace ZtFoundation
