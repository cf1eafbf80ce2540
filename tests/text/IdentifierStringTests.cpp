#include <set>

#include <gmock/gmock.h>

#include <ZtFoundation/Text.h>

namespace ZtFoundation {
namespace {

TEST(IdentifierStringTests, IsACanonicalRandomIdentifierEachTime) {
  const auto canonical = testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  std::set<std::string> seen;
  for (int round = 0; round < 1000; ++round) {
    const std::string identifier = ZtIdentifierString()->utf8();
    EXPECT_THAT(identifier, canonical);
    EXPECT_TRUE(seen.insert(identifier).second) << identifier;
  }
}

}  // namespace
}  // namespace ZtFoundation
