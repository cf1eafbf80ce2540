#include <gtest/gtest.h>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Collation.h>

#include <clocale>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace ZtFoundation {
namespace {

using QvFoundationExtensions::naturalCompare;

TEST(NaturalComparisonTests, TheOptionsAreThoseOfUCCompareTextDefault) {
  EXPECT_EQ(kNaturalComparisonUCCollateOptions, 229390U);
  EXPECT_EQ(kNaturalComparisonUCCollateOptions,
            kUCCollateComposeInsensitiveMask | kUCCollateWidthInsensitiveMask | kUCCollateCaseInsensitiveMask |
                kUCCollatePunctuationSignificantMask | kUCCollateDigitsOverrideMask | kUCCollateDigitsAsNumberMask);
}

struct Pair {
  const char16_t *a, *b;
  NSComparisonResult expected;
};

TEST(NaturalComparisonTests, OrdersNamesAsPeopleDo) {
  const Pair pairs[] = {
      {u"file9", u"file10", NSOrderedAscending},
      {u"ABC", u"abc", NSOrderedSame},
      {u"\u00E9", u"e", NSOrderedDescending},
      {u"caf\u00E9", u"cafe\u0301", NSOrderedSame},
      {u"a\u0323\u0307", u"a\u0307\u0323", NSOrderedSame},  // marks in another order
      {u"\uFF21\uFF22", u"ab", NSOrderedSame},              // width
      {u"\u30AB", u"\uFF76", NSOrderedSame},                // half-width kana
      {u"a1", u"a01", NSOrderedSame},
      {u"a-b", u"ab", NSOrderedAscending},  // punctuation counts
      {u"a b", u"ab", NSOrderedAscending},
      {u"", u"", NSOrderedSame},
      {u"", u"a", NSOrderedAscending},
      {u"a", u"", NSOrderedDescending},
      {u"a", u"a1", NSOrderedAscending},
      {u"2", u"a", NSOrderedAscending},
      {u"_", u"1", NSOrderedAscending},
      {u"x2y10", u"x2y9", NSOrderedDescending},
      {u"IMG_0009.jpg", u"IMG_10.jpg", NSOrderedAscending},
      {u"v1.10", u"v1.9", NSOrderedDescending},
      {u"\u65E5\u672C9", u"\u65E5\u672C10", NSOrderedAscending},
      {u"\uFF11\uFF10", u"9", NSOrderedDescending},  // full-width digits are digits
      {u"a\u0001b", u"ab", NSOrderedSame},           // control characters do not count
      {u"99999999999999999999999", u"100000000000000000000000", NSOrderedAscending},
  };
  for (const Pair& each : pairs) {
    const Ref<NSString> a = each.a, b = each.b;
    EXPECT_EQ(naturalCompare(a, b), each.expected) << a << " / " << b;
    EXPECT_EQ(naturalCompare(b, a), -each.expected) << b << " / " << a;
    EXPECT_EQ(naturalCompare(a, a), NSOrderedSame) << a;
  }
}

TEST(NaturalComparisonTests, NoneIsTheSameAsEverything) {
  const Ref<NSString> none;
  EXPECT_EQ(naturalCompare(none, "a"), NSOrderedSame);
  EXPECT_EQ(naturalCompare("a", none), NSOrderedSame);
  EXPECT_EQ(naturalCompare(none, none), NSOrderedSame);
}

TEST(NaturalComparisonTests, UnpairedSurrogatesCompare) {
  const Ref<NSString> lone = std::u16string{u'a', 0xD800};
  EXPECT_EQ(naturalCompare(lone, lone), NSOrderedSame);
  EXPECT_EQ(naturalCompare(lone, "a"), NSOrderedDescending);
}

TEST(NaturalComparisonTests, TheLocaleHasNoSay) {
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_LOG_(INFO) << "there is no German locale here";
  EXPECT_EQ(naturalCompare(u"\u00E4", "b"), NSOrderedAscending);
  EXPECT_EQ(naturalCompare(u"\u00E4", "a"), NSOrderedDescending);
  std::setlocale(LC_ALL, "C");
}

std::vector<Ref<NSString>> randomNames(std::size_t count) {
  const char16_t* const pieces[] = {u"a",      u"A",      u"b",       u"0",      u"00",     u"1",
                                    u"9",      u"10",     u" ",       u"_",      u"-",      u".",
                                    u"\u0001", u"\u00E9", u"e\u0301", u"\u65E5", u"\u30AB", u"\uFF76",
                                    u"\uFF9E", u"\u30AC", u"\uFF11",  u"l",      u"\u00B7", u"\xD83D\xDE00"};
  std::mt19937 random(11);
  std::vector<Ref<NSString>> names;
  while (names.size() < count) {
    std::u16string name;
    for (std::size_t i = random() % 4; i != 0; --i) name += pieces[random() % std::size(pieces)];
    names.push_back(name);
  }
  return names;
}

TEST(NaturalComparisonTests, IsAntisymmetricAndTransitive) {
  constexpr std::size_t kCount = 120;
  const std::vector<Ref<NSString>> names = randomNames(kCount);
  std::vector<NSComparisonResult> orders(kCount * kCount);
  const auto order = [&orders](std::size_t a, std::size_t b) -> NSComparisonResult& { return orders[a * kCount + b]; };
  for (std::size_t a = 0; a < kCount; ++a) {
    for (std::size_t b = 0; b < kCount; ++b) order(a, b) = naturalCompare(names[a], names[b]);
  }
  std::size_t wrong = 0;
  for (std::size_t a = 0; a < kCount; ++a) {
    for (std::size_t b = 0; b < kCount; ++b) {
      wrong += order(a, b) != -order(b, a) ? 1U : 0U;
      for (std::size_t c = 0; c < kCount; ++c) {
        wrong += order(a, b) <= 0 && order(b, c) <= 0 && order(a, c) > 0 ? 1U : 0U;
      }
    }
  }
  EXPECT_EQ(wrong, 0U);
}

TEST(NaturalComparisonTests, ManyThreadsCompareAtOnce) {
  const std::vector<Ref<NSString>> names = randomNames(100);
  const auto work = [&names](int* sum) {
    for (const auto& a : names) {
      for (const auto& b : names) *sum += static_cast<int>(naturalCompare(a, b)) * static_cast<int>(a->length());
    }
  };
  int sums[4] = {};
  std::vector<std::thread> threads;
  for (int& sum : sums) threads.emplace_back(work, &sum);
  for (std::thread& thread : threads) thread.join();
  for (const int sum : sums) EXPECT_EQ(sum, sums[0]);
}

}  // namespace
}  // namespace ZtFoundation
