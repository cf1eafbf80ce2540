#include "platform/objects/NaturalOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>

#include "platform/services/Unicode.h"

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

// Texts that are alike in the ways that matter: shared beginnings, zeros before numbers, very long numbers, case,
// punctuation, control characters, marks, widths.
class Texts {
 public:
  explicit Texts(unsigned seed) : random_(seed) {}

  std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }

  std::u16string text() { return text(below(kAlphabets)); }

  std::u16string similarTo(const std::u16string& other) {
    std::u16string result = other;
    for (std::size_t changes = 1 + below(2); changes != 0; --changes) {
      const std::size_t place = below(result.size() + 1);
      result.replace(place, std::min(below(2), result.size() - place), text().substr(0, below(3)));
    }
    return result;
  }

 private:
  static constexpr std::size_t kAlphabets = 7;

  std::u16string text(std::size_t alphabet) {
    std::u16string result;
    for (std::size_t length = below(12); length != 0; --length) result += unit(alphabet);
    if (below(60) == 0) result.insert(below(result.size() + 1), longNumber());
    return result;
  }

  char16_t unit(std::size_t alphabet) {
    static const std::u16string alphabets[] = {
        u"ab0019-._ ",
        std::u16string(u"aA1\x01\x7F\t0") + u'\0',
        u"IMG_0123456789. copy",
        u"lL\u00B7\u0387e\u0301\u00E9\uAC00\u1100\u1161\u11A8\u3099\u304B\u30AC\uFF76\uFF9E\uFF21\uFF11a1\u0F71\u0F72"
        u"\u0300\xD83D\xDE00-",
        u"写真書カメノーゝ々ｶﾞ0012９٣.aAl ・\u3099\u0E40\u0E01\u1100\u1161가\u0387",
    };
    if (alphabet == 4) return static_cast<char16_t>(below(128));
    if (alphabet == 5) return static_cast<char16_t>(below(3) == 0 ? '0' + below(3) : 0x80 + below(128));
    const std::u16string& units = alphabets[std::min(alphabet, std::size(alphabets) - 1)];
    return units[below(units.size())];
  }

  std::u16string longNumber() {
    std::u16string digits = u"1";
    for (std::size_t length = 250 + below(12); length != 0; --length) digits += below(2) == 0 ? u'0' : u'1';
    return digits;
  }

  std::mt19937_64 random_;
};

// A long run is asked for by the number of pairs in the environment.
std::size_t numberOfPairs() {
  const char* const wanted = std::getenv("ZT_NATURAL_ORDER_PAIRS");
  return wanted != nullptr ? std::strtoul(wanted, nullptr, 10) : 300000;
}

TEST(NaturalOrderTests, AgreesWithTheCollationOnRandomPairs) {
  Texts texts(5);
  std::size_t decided = 0;
  const std::size_t pairs = numberOfPairs();
  for (std::size_t i = 0; i < pairs; ++i) {
    const std::u16string a = texts.text();
    const std::u16string b = texts.below(3) == 0 ? texts.text() : texts.similarTo(a);
    const Surroundings& around = kSurroundings[i % std::size(kSurroundings)];
    const int answer = order(a, b, texts.below(4) != 0, texts.below(4) != 0, around);
    if (answer == kUndecided) {
      ASSERT_FALSE(isASCII(a) && isASCII(b)) << testing::PrintToString(a) << testing::PrintToString(b);
      continue;
    }
    ++decided;
    ASSERT_EQ(answer, collationOrder(a, b)) << testing::PrintToString(a) << " / " << testing::PrintToString(b);
  }
  EXPECT_GT(decided, pairs / 3);
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
