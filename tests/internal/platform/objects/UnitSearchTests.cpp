#include "platform/objects/UnitSearch.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace ZtFoundation {
namespace {

using detail::findLastUnits;
using detail::findUnits;

bool any(NSUInteger) { return true; }

/// The same units in both forms of storage; they are all below 256.
class Units {
 public:
  explicit Units(const std::string& units) : narrow_(units), wide_(units.begin(), units.end()) {}

  UnitView as(bool wide) const {
    return wide ? UnitView(wide_.data(), wide_.size()) : UnitView(narrow_.data(), narrow_.size());
  }

 private:
  std::string narrow_;
  std::u16string wide_;
};

std::vector<NSUInteger> placesOf(const std::string& text, const std::string& target) {
  std::vector<NSUInteger> places;
  for (std::size_t at = text.find(target); at != std::string::npos; at = text.find(target, at + 1)) {
    places.push_back(at);
  }
  return places;
}

// Few letters, and pieces of the text itself, so that much matches in part.
std::string randomUnits(std::mt19937& random, std::size_t length) {
  std::string units;
  while (units.size() < length) units += random() % 8 == 0 ? 'b' : 'a';
  return units;
}

TEST(UnitSearchTests, FindsEveryPlaceInBothDirectionsAndAllWidths) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    const std::string text = randomUnits(random, random() % 120);
    const std::string target = randomUnits(random, 1 + random() % 50);
    const std::vector<NSUInteger> places = placesOf(text, target);
    const Units textUnits(text), targetUnits(target);
    for (int widths = 0; widths < 4; ++widths) {
      const UnitView in = textUnits.as((widths & 1) != 0), of = targetUnits.as((widths & 2) != 0);
      std::vector<NSUInteger> found, foundBackwards;
      findUnits(in, of, 0, [&](NSUInteger place) { return found.push_back(place), false; });
      findLastUnits(in, of,
                    [&](NSUInteger place) { return foundBackwards.insert(foundBackwards.begin(), place), false; });
      ASSERT_EQ(found, places) << text << " / " << target;
      ASSERT_EQ(foundBackwards, places) << text << " / " << target;
    }
  }
}

TEST(UnitSearchTests, AnswersTheNearestPlaceThatWillDo) {
  const Units text("abcabcabc"), target("abc");
  const auto isMiddle = [](NSUInteger place) { return place == 3; };
  EXPECT_EQ(findUnits(text.as(true), target.as(false), 0, any), 0U);
  EXPECT_EQ(findUnits(text.as(true), target.as(false), 1, any), 3U);
  EXPECT_EQ(findUnits(text.as(true), target.as(false), 7, any), NSNotFound);
  EXPECT_EQ(findUnits(text.as(true), target.as(false), 0, isMiddle), 3U);
  EXPECT_EQ(findLastUnits(text.as(true), target.as(false), any), 6U);
  EXPECT_EQ(findLastUnits(text.as(true), target.as(false), isMiddle), 3U);
}

TEST(UnitSearchTests, ALongTargetIsNowhere) {
  const Units text("ab"), target("abc");
  EXPECT_EQ(findUnits(text.as(false), target.as(true), 0, any), NSNotFound);
  EXPECT_EQ(findLastUnits(text.as(false), target.as(true), any), NSNotFound);
}

TEST(UnitSearchTests, NarrowUnitsHaveNoSign) {
  const std::u16string text = u"a\u00E9", none = u"\uFFE9";
  EXPECT_EQ(findUnits({"\xE9", 1}, {text.data() + 1, 1}, 0, any), 0U);
  EXPECT_EQ(findUnits({text.data(), 2}, {"\xE9", 1}, 0, any), 1U);
  EXPECT_EQ(findUnits({"\xE9", 1}, {none.data(), 1}, 0, any), NSNotFound);
}

}  // namespace
}  // namespace ZtFoundation
