#include "platform/linux/applications/ApplicationFolders.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "support/ChildProcess.h"

namespace ZtFoundation::detail {
namespace {

struct Environment {
  const char* home;
  const char* dataHome;
  const char* dataFolders;
  std::string expected;  // paths, those that hold entries with a star
};

void set(const char* name, const char* value) {
  if (value != nullptr) {
    ::setenv(name, value, 1);
  } else {
    ::unsetenv(name);
  }
}

std::string text(const std::vector<ApplicationFolder>& folders) {
  std::string all;
  for (const ApplicationFolder& folder : folders) {
    all.append(all.empty() ? "" : " ").append(folder.path).append(folder.holdsEntries ? "*" : "");
  }
  return all;
}

TEST(ApplicationFoldersTests, TheEnvironmentTells) {
  const std::string defaults = "/usr/local/share/applications* /usr/share/applications* /Applications";
  const Environment environments[] = {
      {"/h", nullptr, nullptr, "/h/Applications /h/.local/share/applications* " + defaults},
      {"/h", "", "", "/h/Applications /h/.local/share/applications* " + defaults},
      {"/h", "relative", "relative:", "/h/Applications /h/.local/share/applications* " + defaults},
      {"/h", "/own", "/a:/b", "/h/Applications /own/applications* /a/applications* /b/applications* /Applications"},
      {"/h", "/own", ":/a::x:/own:/a", "/h/Applications /own/applications* /a/applications* /Applications"},
  };
  for (const Environment& environment : environments) {
    EXPECT_EQ(test::inChild([&environment] {
                set("HOME", environment.home);
                set("XDG_DATA_HOME", environment.dataHome);
                set("XDG_DATA_DIRS", environment.dataFolders);
                const std::string actual = text(applicationFolders());
                if (actual != environment.expected) std::fprintf(stderr, "%s\n", actual.c_str());
                return actual == environment.expected ? 0 : 1;
              }),
              0)
        << environment.expected;
  }
}

TEST(ApplicationFoldersTests, AUserWithoutAHomeHasNoneOfTheirOwn) {
  constexpr uid_t kUnknownUser = 1'999'999'999;
  constexpr int kSkipped = 77;
  const int result = test::inChild([] {
    if (::setuid(kUnknownUser) != 0) return kSkipped;
    for (const char* const name : {"HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"}) ::unsetenv(name);
    const char* const expected = "/usr/local/share/applications* /usr/share/applications* /Applications";
    return text(applicationFolders()) == expected ? 0 : 1;
  });
  if (result == kSkipped) GTEST_SKIP() << "no right to become a user that nobody knows";
  EXPECT_EQ(result, 0);
}

}  // namespace
}  // namespace ZtFoundation::detail
