#include <algorithm>

#include <gtest/gtest.h>

#include <ZtFoundation/Text.h>

#include "platform/services/RandomSource.h"
#include "platform/services/Service.h"

namespace ZtFoundation {
namespace {

class FixedSource : public RandomSource {
 public:
  explicit FixedSource(std::byte value) : value_(value) {}
  bool fill(std::span<std::byte> bytes) override {
    std::fill(bytes.begin(), bytes.end(), value_);
    return true;
  }

 private:
  std::byte value_;
};

class DrySource : public RandomSource {
 public:
  bool fill(std::span<std::byte>) override { return false; }
};

TEST(IdentifierStringTests, MarksVersionAndVariant) {
  FixedSource zeros(std::byte{0});
  FixedSource ones(std::byte{0xFF});
  {
    const ScopedService<RandomSource> scope(zeros);
    EXPECT_EQ(ZtIdentifierString()->utf8(), "00000000-0000-4000-8000-000000000000");
  }
  const ScopedService<RandomSource> scope(ones);
  EXPECT_EQ(ZtIdentifierString()->utf8(), "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF");
}

TEST(IdentifierStringTests, IsNoneWithoutRandomness) {
  DrySource dry;
  const ScopedService<RandomSource> scope(dry);
  EXPECT_FALSE(ZtIdentifierString());
}

}  // namespace
}  // namespace ZtFoundation
