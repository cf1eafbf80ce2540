#include "platform/objects/NaturalOrder.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/services/Unicode.h"
#include "support/NaturalTexts.h"

namespace ZtFoundation {
namespace {

using detail::kUndecided;
using detail::naturalOrder;

int collationOrder(const std::u16string& a, const std::u16string& b) {
  int order = 9;
  EXPECT_TRUE(Unicode::production().compareNaturally(a, b, order));
  return order;
}

bool isASCII(const std::u16string& units) {
  for (const char16_t unit : units) {
    if (unit > 0x7F) return false;
  }
  return true;
}

bool fitsBytes(const std::u16string& units) {
  for (const char16_t unit : units) {
    if (unit > 0xFF) return false;
  }
  return true;
}

// What stands in memory next to a text, each character of it in one byte.
struct Surroundings {
  std::u16string before, after;
};

const Surroundings kSurroundings[] = {{u"", u""}, {u"1", u"0"}, {u"\u00E9", u"\u00E9"}};

// A text in its surroundings, stored as narrowly as it can be, or as wide as it comes.
class Stored {
 public:
  Stored(const std::u16string& text, bool narrow, const Surroundings& around)
      : units_(around.before + text + around.after),
        bytes_(units_.begin(), units_.end()),
        place_{around.before.size(), text.size()},
        isNarrow_(narrow && fitsBytes(text)) {}

  UnitView view() const {
    const UnitView all = isNarrow_ ? UnitView(bytes_.data(), bytes_.size()) : UnitView(units_.data(), units_.size());
    return all.slice(place_);
  }

 private:
  std::u16string units_;
  std::string bytes_;
  NSRange place_;
  bool isNarrow_;
};

int order(const std::u16string& a, const std::u16string& b, bool narrowA, bool narrowB,
          const Surroundings& around = {}) {
  return naturalOrder(Stored(a, narrowA, around).view(), Stored(b, narrowB, around).view());
}

TEST(NaturalOrderTests, AgreesWithTheCollationOnRandomPairs) {
  NaturalTexts texts(5);
  std::size_t decided = 0;
  constexpr std::size_t kPairs = 300000;  // ./bench has more
  for (std::size_t i = 0; i < kPairs; ++i) {
    const std::u16string a = texts.text();
    const std::u16string b = texts.mostlyLike(a);
    const Surroundings& around = kSurroundings[i % std::size(kSurroundings)];
    const int answer = order(a, b, texts.below(4) != 0, texts.below(4) != 0, around);
    if (answer == kUndecided) {
      ASSERT_FALSE(isASCII(a) && isASCII(b)) << testing::PrintToString(a) << testing::PrintToString(b);
      continue;
    }
    ++decided;
    ASSERT_EQ(answer, collationOrder(a, b)) << testing::PrintToString(a) << " / " << testing::PrintToString(b);
  }
  EXPECT_GT(decided, kPairs / 3);
}

TEST(NaturalOrderTests, AgreesWithTheCollationOnAllPairsOfShortASCII) {
  for (char16_t a = 0; a < 128; ++a) {
    for (char16_t b = 0; b < 128; ++b) {
      const std::u16string one{a}, other{b}, before{u'0', a}, beforeOther{u'0', b};
      ASSERT_EQ(order(one, other, true, true), collationOrder(one, other)) << int{a} << " / " << int{b};
      ASSERT_EQ(order(before, beforeOther, true, false), collationOrder(before, beforeOther))
          << int{a} << " / " << int{b};
      ASSERT_EQ(order(one, before, true, true), collationOrder(one, before)) << int{a} << " / " << int{b};
    }
  }
}

std::u16string inUnits(char32_t character) {
  if (character < 0x10000) return {static_cast<char16_t>(character)};
  return {static_cast<char16_t>(0xD7C0 + (character >> 10)), static_cast<char16_t>(0xDC00 + (character & 0x3FF))};
}

// What each character might have a say in: the end and the beginning of a number, the letter before it.
TEST(NaturalOrderTests, AgreesWithTheCollationOnEachCharacterBesideNumbersAndLetters) {
  for (char32_t each = 0x80; each < 0x20000; ++each) {
    const std::u16string character = inUnits(each);
    const std::u16string pairs[][2] = {{character + u"9", character + u"10"},
                                       {character + u"9", character + u"a"},
                                       {u"1" + character + u"9", u"1" + character + u"10"},
                                       {u"9" + character, u"10"},
                                       {u"9" + character + u"1", u"10" + character},
                                       {u"l" + character, u"m"}};
    for (const auto& [a, b] : pairs) {
      const int answer = order(a, b, false, false);
      if (answer == kUndecided) continue;
      ASSERT_EQ(answer, collationOrder(a, b)) << testing::PrintToString(a) << " / " << testing::PrintToString(b);
    }
  }
}

TEST(NaturalOrderTests, DecidesAboutNumbersBesideLettersOfManyScripts) {
  for (const std::u16string_view name :
       {u"λ", u"ж", u"ש", u"ع", u"ह", u"ก", u"เ", u"カ", u"ｶ", u"写", u"가", u"✨", u"📷", u"❤️"}) {
    const std::u16string text(name);
    EXPECT_EQ(order(text + u"9", text + u"10", true, true), -1) << testing::PrintToString(text);
    EXPECT_EQ(order(u"10" + text, u"9" + text, true, true), 1) << testing::PrintToString(text);
    EXPECT_EQ(order(u"a" + text, u"b" + text, true, true), -1) << testing::PrintToString(text);
  }
  for (const std::u16string_view name : {u"e\u0301", u"\u0E01\u0E4C", u"\u0939\u0940"}) {
    const std::u16string text(name);
    EXPECT_EQ(order(text + u"9", text + u"10", true, true), -1) << testing::PrintToString(text);
  }
}

TEST(NaturalOrderTests, LeavesToTheCollationWhatDigitsOfOtherScriptsMayDecide) {
  for (const std::u16string_view name : {u"\u0663", u"\u096A", u"\u0E51", u"\uFF11", u"\U0001D7D8"}) {
    const std::u16string digit(name);
    EXPECT_EQ(order(digit + u"9", digit + u"10", true, true), kUndecided) << testing::PrintToString(digit);
    EXPECT_EQ(order(u"9" + digit, u"10", true, true), kUndecided) << testing::PrintToString(digit);
  }
}

TEST(NaturalOrderTests, VeryLongNumbersAreComparedInPieces) {
  const std::u16string nines(254, u'9');
  const std::u16string texts[] = {nines,
                                  nines + u"0",
                                  nines + u"00",
                                  nines + u"05",
                                  nines + u"5",
                                  nines + u"a",
                                  nines + u"-",
                                  u"1" + nines,
                                  u"0" + nines,
                                  u"00" + nines,
                                  nines + nines,
                                  nines + u"0" + nines,
                                  std::u16string(600, u'0'),
                                  u"0",
                                  nines +
                                      u"\x01"
                                      u"5",
                                  u"1" + std::u16string(253, u'0'),
                                  u"1" + std::u16string(254, u'0'),
                                  u"1" + std::u16string(600, u'0')};
  for (const std::u16string& a : texts) {
    for (const std::u16string& b : texts) {
      EXPECT_EQ(order(a, b, true, true), collationOrder(a, b))
          << testing::PrintToString(a) << " / " << testing::PrintToString(b);
    }
  }
}

TEST(NaturalOrderTests, NumbersOfAnyLengthTakeLinearTime) {
  const std::u16string a(2000000, u'7');
  std::u16string b = a;
  b.back() = u'8';
  EXPECT_EQ(order(a, b, true, true), -1);
  EXPECT_EQ(order(a, a, true, true), 0);
  EXPECT_EQ(order(std::u16string(2000000, u'0'), u"1", true, true), -1);
}

TEST(NaturalOrderTests, LeavesToTheCollationWhatASCIIDoesNotDecide) {
  EXPECT_EQ(order(u"\u00E9", u"e", true, true), kUndecided);
  EXPECT_EQ(order(u"e\u0301", u"f", true, true), kUndecided);
  EXPECT_EQ(order(u"f", u"e\u0301", true, true), kUndecided);
  EXPECT_EQ(order(u"e\u0301", u"fx", false, false), kUndecided);
  EXPECT_EQ(order(u"fx", u"e\u0301", false, false), kUndecided);
  EXPECT_EQ(order(u"xe\u0301", u"xf", false, false), kUndecided);
  EXPECT_EQ(order(u"xf", u"xe\u0301", false, false), kUndecided);
  EXPECT_EQ(order(u"x", u"xe\u0301", true, true), kUndecided);
  EXPECT_EQ(order(u"xe\u0301", u"x", true, true), kUndecided);
  EXPECT_EQ(order(u"l\u00B7", u"m", true, true), kUndecided);
  EXPECT_EQ(order(u"1\uFF11", u"2", true, true), kUndecided);
  EXPECT_EQ(order(u"a", u"a\u00E9", true, true), kUndecided);
  EXPECT_EQ(order(u"ax\u00E9", u"bx\u65E5", true, true), -1);
  EXPECT_EQ(order(u"a1x\u00E9", u"a2", true, false), -1);
}

}  // namespace
}  // namespace ZtFoundation
