#include <ZtFoundation/Utilities.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

namespace ZtFoundation {

// As a program in C declares them.
extern "C" {
struct PointInC {
  CGFloat x, y;
};
struct RectInC {
  CGFloat x, y, width, height;
};
RectInC rectFromPointsInC(PointInC a, PointInC b) __asm__("ZtRectFromPoints");
}

namespace {

static_assert(std::is_trivial_v<NSRect> && std::is_standard_layout_v<NSRect>);
static_assert(sizeof(NSRect) == 4 * sizeof(CGFloat) && sizeof(CGFloat) == sizeof(void*));

constexpr CGFloat kInfinity = std::numeric_limits<CGFloat>::infinity();
constexpr CGFloat kNaN = std::numeric_limits<CGFloat>::quiet_NaN();

void expectRect(const NSRect& rect, CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  EXPECT_EQ(rect.origin.x, x);
  EXPECT_EQ(rect.origin.y, y);
  EXPECT_EQ(rect.size.width, width);
  EXPECT_EQ(rect.size.height, height);
}

TEST(RectFromPoints, TheOrderOfTheCornersDoesNotMatter) {
  const struct {
    NSPoint a, b;
    NSRect expected;
  } cases[] = {
      {{10, 20}, {4, 25}, {{4, 20}, {6, 5}}}, {{4, 20}, {10, 25}, {{4, 20}, {6, 5}}},
      {{10, 25}, {4, 20}, {{4, 20}, {6, 5}}}, {{-3, -4}, {3, -8}, {{-3, -8}, {6, 4}}},
      {{1, 2}, {1, 5}, {{1, 2}, {0, 3}}},     {{1, 2}, {7, 2}, {{1, 2}, {6, 0}}},
      {{1, 2}, {1, 2}, {{1, 2}, {0, 0}}},     {{0.5, 0.25}, {-0.5, 0.75}, {{-0.5, 0.25}, {1, 0.5}}},
  };
  for (const auto& [a, b, expected] : cases) {
    expectRect(ZtRectFromPoints(a, b), expected.origin.x, expected.origin.y, expected.size.width, expected.size.height);
    expectRect(ZtRectFromPoints(b, a), expected.origin.x, expected.origin.y, expected.size.width, expected.size.height);
  }
}

TEST(RectFromPoints, ZeroKeepsTheSignOfTheFirstCorner) {
  EXPECT_TRUE(std::signbit(ZtRectFromPoints({CGFloat(-0.0), 0}, {0, 0}).origin.x));
  EXPECT_FALSE(std::signbit(ZtRectFromPoints({0, 0}, {CGFloat(-0.0), 0}).origin.x));
}

TEST(RectFromPoints, InfiniteCorners) {
  expectRect(ZtRectFromPoints({-kInfinity, 0}, {kInfinity, 1}), -kInfinity, 0, kInfinity, 1);
  expectRect(ZtRectFromPoints({0, kInfinity}, {1, 0}), 0, 0, 1, kInfinity);
  const NSRect same = ZtRectFromPoints({kInfinity, 0}, {kInfinity, 0});
  EXPECT_EQ(same.origin.x, kInfinity);
  EXPECT_TRUE(std::isnan(same.size.width));
  constexpr CGFloat kLargest = std::numeric_limits<CGFloat>::max();
  expectRect(ZtRectFromPoints({-kLargest, 0}, {kLargest, 0}), -kLargest, 0, kInfinity, 0);
}

TEST(RectFromPoints, ACornerThatIsNoNumber) {
  const NSRect first = ZtRectFromPoints({kNaN, 1}, {3, 2});
  EXPECT_EQ(first.origin.x, 3);
  EXPECT_TRUE(std::isnan(first.size.width));
  EXPECT_EQ(first.origin.y, 1);
  EXPECT_EQ(first.size.height, 1);
  const NSRect second = ZtRectFromPoints({3, 1}, {kNaN, 2});
  EXPECT_TRUE(std::isnan(second.origin.x));
  EXPECT_TRUE(std::isnan(second.size.width));
}

TEST(RectFromPoints, IsCalledFromC) {
  const RectInC rect = rectFromPointsInC({10, 20}, {4, 25});
  EXPECT_EQ(rect.x, 4);
  EXPECT_EQ(rect.y, 20);
  EXPECT_EQ(rect.width, 6);
  EXPECT_EQ(rect.height, 5);
}

}  // namespace
}  // namespace ZtFoundation
