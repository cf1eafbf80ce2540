#include "platform/linux/system/SystemVersion.h"

#include <gtest/gtest.h>

namespace ZtFoundation {
namespace {

TEST(SystemVersionTests, FindsTheVersionInOSRelease) {
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"NAME=\"A\"\nVERSION_ID=\"12\"\nID=a\n", "12"},
      {"VERSION_ID='22.04'", "22.04"},
      {"VERSION_ID=3.18.4\r\n", "3.18.4"},
      {"VERSION_ID=1\nVERSION_ID=2\n", "2"},
      {" \t VERSION_ID=\" 5\t\" \t\n", "5"},
      {"VERSION_ID=11.1\n", "11.1"},
      {"VERSION_ID=\"12\n", std::nullopt},
      {"VERSION_ID=\"12'\n", std::nullopt},
      {"VERSION_ID=\"\"\n", std::nullopt},
      {"VERSION_ID=rolling\n", std::nullopt},
      {"#VERSION_ID=12\nMY_VERSION_ID=3\n", std::nullopt},
      {"", std::nullopt},
      {"VERSION_ID=\"", std::nullopt},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(versionInOSRelease(text), expected) << text;
}

TEST(SystemVersionTests, PacksTwoDigitsOneAndOne) {
  const std::pair<std::string_view, std::optional<std::int32_t>> cases[] = {
      {"12", 0x1200},
      {"22.04", 0x2240},
      {"10.6.8", 0x1068},
      {"9.9.9", 0x0999},
      {"6.18.44-generic", 0x0699},
      {"100.1.1", 0x9911},
      {"99999999999999999999.1", 0x9910},
      {"12.x.4", 0x1200},
      {"12..4", 0x1200},
      {std::string_view("10.64", 4), 0x1060},
      {"12.", 0x1200},
      {"12-3", 0x1200},
      {"x", std::nullopt},
      {"", std::nullopt},
      {".1", std::nullopt},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(packedVersion(text), expected) << text;
}

}  // namespace
}  // namespace ZtFoundation
