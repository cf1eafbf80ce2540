// Text that is too long for 32 bits to count. Nobody may look at it, so that an address will do.

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <string>
#include <string_view>

#include "platform/services/Service.h"
#include "platform/services/Unicode.h"

namespace ZtFoundation {
namespace {

constexpr std::size_t kMost32Bits = std::numeric_limits<std::int32_t>::max();

class TooLongTextTests : public testing::Test {
 protected:
  void SetUp() override {
    if (sizeof(void*) < 8) GTEST_SKIP() << "no text is that long with 32 bits";
  }

  static std::u16string_view units(std::size_t count) { return {u"never read", count}; }

  Unicode& unicode = service<Unicode>();
};

TEST_F(TooLongTextTests, IsNotConverted) {
  const std::u16string_view text = units(kMost32Bits / 4 + 1);
  std::u16string folded = u">";
  EXPECT_THROW(unicode.lowercase(text), std::bad_alloc);
  EXPECT_THROW(unicode.uppercase(text), std::bad_alloc);
  EXPECT_THROW(unicode.fold(text, kFoldCase | kFoldLiterally, folded), std::bad_alloc);
  EXPECT_EQ(folded, u">");
}

TEST_F(TooLongTextTests, IsNotCompared) {
  int order = 7;
  const std::u16string_view text = units(kMost32Bits + std::size_t{1});
  EXPECT_THROW(unicode.compareNaturally(text, u"a", order), std::bad_alloc);
  EXPECT_THROW(unicode.compareNaturally(u"a", text, order), std::bad_alloc);
  EXPECT_EQ(order, 7);
}

TEST_F(TooLongTextTests, IsNotKnownToBeComposed) {
  EXPECT_FALSE(unicode.isComposed(units(kMost32Bits + std::size_t{1})));
}

TEST(LongestTextTests, IsMoreThanMemoryHasRoomFor) {
  Unicode& unicode = service<Unicode>();
  EXPECT_THROW(unicode.decode("Shift_JIS", {"", std::string().max_size()}), std::bad_alloc);
  EXPECT_THROW(unicode.encode("Shift_JIS", {u"", std::string().max_size() / 2 + 1}, true), std::bad_alloc);
}

}  // namespace
}  // namespace ZtFoundation
