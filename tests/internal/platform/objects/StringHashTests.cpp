#include "platform/objects/StringHash.h"

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>

namespace ZtFoundation {
namespace {

TEST(StringHashTests, IsTheSameForBothWidths) {
  std::string bytes;
  for (int length = 0; length < 70; ++length) {
    std::u16string units;
    for (const char byte : bytes) units += static_cast<unsigned char>(byte);
    EXPECT_EQ(detail::hashUnits(UnitView(bytes.data(), bytes.size())),
              detail::hashUnits(UnitView(units.data(), units.size())));
    bytes += static_cast<char>(length * 37);
  }
}

TEST(StringHashTests, SpreadsSimilarKeys) {
  std::unordered_set<NSUInteger> hashes, lowBits;
  for (int i = 0; i < 10000; ++i) {
    const std::string key = "Track " + std::to_string(i);
    const NSUInteger hash = detail::hashUnits(UnitView(key.data(), key.size()));
    hashes.insert(hash);
    lowBits.insert(hash & 0x3FFF);
  }
  EXPECT_EQ(hashes.size(), 10000U);
  EXPECT_GT(lowBits.size(), 7000U);  // 16384 places: chance alone would fill about 7480
}

TEST(StringHashTests, EveryUnitCounts) {
  const std::u16string text(40, u'\u65E5');
  std::unordered_set<NSUInteger> hashes{detail::hashUnits(UnitView(text.data(), text.size()))};
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::u16string changed = text;
    changed[i] = u'\u672C';
    hashes.insert(detail::hashUnits(UnitView(changed.data(), changed.size())));
  }
  EXPECT_EQ(hashes.size(), 41U);
}

}  // namespace
}  // namespace ZtFoundation
