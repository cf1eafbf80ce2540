#include "platform/objects/RealFormat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace ZtFoundation::detail {
namespace {

struct RealCase {
  double value;
  RealFormat format;
  const char* text;
};

TEST(RealFormat, WritesEveryKind) {
  const RealCase cases[] = {
      {1.5, {'f', {}}, "1.500000"},
      {1.5, {'f', 0}, "2"},
      {2.5, {'f', 0}, "2"},
      {1.5, {'f', 0, true}, "2."},
      {1234.5, {'e', {}}, "1.234500e+03"},
      {1234.5, {'e', 0, true}, "1.e+03"},
      {0.0001, {'g', {}}, "0.0001"},
      {0.00001, {'g', {}}, "1e-05"},
      {100000, {'g', {}}, "100000"},
      {1000000, {'g', {}}, "1e+06"},
      {9.9999999, {'g', {}}, "10"},
      {1, {'g', {}, true}, "1.00000"},
      {0, {'g', 0}, "0"},
      {0.5, {'g', 3, true}, "0.500"},
      {1, {'a', {}}, "1p+0"},
      {1, {'a', {}, true}, "1.p+0"},
      {1, {'a', 3}, "1.000p+0"},
      {0.1, {'a', {}}, "1.999999999999ap-4"},
      {1.999, {'a', 0}, "2p+0"},
      {1, {'a', 15}, "1.000000000000000p+0"},
  };
  for (const auto& [value, format, text] : cases)
    EXPECT_EQ(formatReal(value, format), text) << value << " " << format.letter;
}

TEST(RealFormat, DigitsBeyondAllThatThereAreAreZeros) {
  EXPECT_EQ(formatReal(0.5, {'f', 5000}), "0.5" + std::string(4999, '0'));
  EXPECT_EQ(formatReal(0.5, {'e', 5000}), "5." + std::string(5000, '0') + "e-01");
  EXPECT_EQ(formatReal(0.5, {'g', 5000}), "0.5");
  EXPECT_EQ(formatReal(0.5, {'g', 5000, true}), "0.5" + std::string(4999, '0'));
}

std::string fixedText(double value, int precision) {
  char text[kFixedTextSize];
  return {text, putFixed(text, value, precision)};
}

std::string fixedTextOfPrintf(double value, int precision) {
  char text[kFixedTextSize + 1];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "%.*f", precision, value))};
}

TEST(RealFormat, ShortFixedTextIsThatOfPrintf) {
  std::vector<double> values = {0.0,   -0.0,   0.5,   1.5,           2.5,   -2.5,          0.125,
                                0.375, 0.05,   1e-20, 6.8e-21,       3e-8,  9.99,          99.95,
                                0.995, 1.0005, 4.5e9, 4294967295.75, 1e300, 4294967296.25, 5e-324};
  std::mt19937_64 random(11);
  for (int round = 0; round < 20000; ++round) {
    const double magnitude = std::ldexp(static_cast<double>(random() >> 11), -20 - static_cast<int>(random() % 110));
    values.push_back(random() % 2 == 0 ? magnitude : -magnitude);
    values.push_back(static_cast<double>(random() % 2000000) / 2000.0);  // many that lie half-way
    values.push_back(static_cast<double>(random() % 4096) / 1024.0);
  }
  for (const double value : values) {
    for (int precision = 0; precision <= 9; ++precision) {
      ASSERT_EQ(fixedText(value, precision), fixedTextOfPrintf(value, precision));
    }
  }
}

}  // namespace
}  // namespace ZtFoundation::detail
