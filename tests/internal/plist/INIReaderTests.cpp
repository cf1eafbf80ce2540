#include <gtest/gtest.h>

#include "plist/INIText.h"

namespace ZtFoundation::detail {
namespace {

TEST(INITextTests, HasAHeaderOrNothingToSay) {
  for (const char* text : {"", "\n \t\r\n", "; a comment", "# a comment\n", "  ; a comment\n\n", "[S]", "[]\nk=v\n",
                           "\xEF\xBB\xBF[S]\n", "garbage\n[S]\nk=v\n", "garbage\xE2\x80\xA8[S]\n", "[S\n"}) {
    EXPECT_TRUE(isINIText(text)) << text;
  }
}

TEST(INITextTests, IsNothingElse) {
  for (const char* text : {"garbage", "; a comment\nk=v\n", "{ k = v; }", " [S]\n", "(\n 1,\n 2\n)", "bplist00[S]",
                           "<?xml version=\"1.0\"?>\n<plist><string>\n[S]\n</string></plist>", "\xEF\xBB\xBF<plist>",
                           "bplist00\n[S]\n", "\x01"}) {
    EXPECT_FALSE(isINIText(text)) << text;
  }
}

}  // namespace
}  // namespace ZtFoundation::detail
