#include "platform/objects/RealFormat.h"

#include <gtest/gtest.h>

#include <string>

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

}  // namespace
}  // namespace ZtFoundation::detail
