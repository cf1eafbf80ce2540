#include <gtest/gtest.h>

#include <ZtFoundation/Text.h>
#include <ZtFoundation/platform/StringEncoding.h>

#include "platform/services/Service.h"
#include "platform/services/UserLanguages.h"

namespace ZtFoundation {
namespace {

class FixedLanguages final : public UserLanguages {
 public:
  std::vector<std::string> languages;
  std::vector<std::string> inOrder() override { return languages; }
};

std::u16string decoded(const char* pascalString) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(pascalString);
  const Ref<NSString> text = JxOldConversionExtensions::stringWithPascalString(bytes);
  return text ? text->utf16() : u"none";
}

TEST(SystemEncodingTests, FollowsTheFirstLanguage) {
  FixedLanguages user;
  const ScopedService<UserLanguages> scope(user);
  const struct {
    std::vector<std::string> languages;
    CFStringEncoding expected;
  } cases[] = {{{}, 0},           {{"de_DE"}, 0}, {{"ja"}, 1},    {{"ja_JP", "de"}, 1},
               {{"de", "ja"}, 0}, {{"jam"}, 0},   {{"ja_JP"}, 1}, {{""}, 0}};
  for (const auto& each : cases) {
    user.languages = each.languages;
    EXPECT_EQ(CFStringGetSystemEncoding(), each.expected) << testing::PrintToString(each.languages);
  }
}

TEST(SystemEncodingTests, IsThatOfPascalStrings) {
  FixedLanguages user;
  const ScopedService<UserLanguages> scope(user);
  EXPECT_EQ(decoded("\2\x8E\xCA"), u"\u00E9\u00A0");
  EXPECT_EQ(decoded("\1\xDB"), u"\u20AC");
  user.languages = {"ja_JP"};
  EXPECT_EQ(decoded("\4\x93\xFA\x96\x7B"), u"\u65E5\u672C");
  EXPECT_EQ(decoded("\1\x93"), u"none");
  EXPECT_EQ(decoded("\3abc"), u"abc");
  EXPECT_EQ(decoded("\0"), u"");
}

}  // namespace
}  // namespace ZtFoundation
