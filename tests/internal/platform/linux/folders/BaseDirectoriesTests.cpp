#include "platform/linux/folders/BaseDirectories.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "support/ScopedEnvironment.h"

namespace ZtFoundation::test {
namespace {

using detail::Directory;
using Directories = std::vector<std::string>;
using Value = std::optional<std::string>;

class BaseDirectoriesTests : public ::testing::Test {
 protected:
  BaseDirectoriesTests() {
    environment.set("HOME", "/home/me");
    for (const char* name :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_DIRS", "XDG_DATA_DIRS", "TMPDIR"}) {
      environment.set(name, std::nullopt);
    }
  }

  ScopedEnvironment environment;
};

// Values of a variable for one directory, and what they give.
const struct {
  Value value;
  Directory expected;  // none: the default
} kValues[] = {
    {std::nullopt, std::nullopt},
    {"", std::nullopt},
    {"relative/path", std::nullopt},
    {"./x", std::nullopt},
    {"~/x", std::nullopt},
    {"$HOME/x", std::nullopt},
    {"/x", "/x"},
    {"/x/y//", "/x/y"},
    {"/", "/"},
    {"///", "/"},
    {"/with blank", "/with blank"},
};

TEST_F(BaseDirectoriesTests, EmptyAndRelativeValuesAreIgnored) {
  const struct {
    const char* name;
    Directory (*directory)();
    const char* byDefault;
  } cases[] = {
      {"XDG_CONFIG_HOME", detail::configHome, "/home/me/.config"},
      {"XDG_DATA_HOME", detail::dataHome, "/home/me/.local/share"},
      {"XDG_CACHE_HOME", detail::cacheHome, "/home/me/.cache"},
      {"TMPDIR", detail::temporaryDirectory, "/tmp"},
  };
  for (const auto& each : cases) {
    for (const auto& [value, expected] : kValues) {
      environment.set(each.name, value);
      EXPECT_EQ(each.directory(), expected ? expected : each.byDefault)
          << each.name << "=" << value.value_or("(unset)");
    }
  }
}

TEST_F(BaseDirectoriesTests, TheHomeFolderIsThatOfTheEnvironmentFirst) {
  const passwd* const entry = ::getpwuid(::geteuid());
  ASSERT_NE(entry, nullptr);
  const std::string known = entry->pw_dir;
  for (const auto& [value, expected] : kValues) {
    environment.set("HOME", value);
    EXPECT_EQ(detail::homeDirectory(), expected ? *expected : known) << value.value_or("(unset)");
  }
}

TEST_F(BaseDirectoriesTests, DefaultsAreInsideTheHomeFolder) {
  environment.set("HOME", "/");
  EXPECT_EQ(detail::configHome(), "/.config");
  environment.set("HOME", "/srv/x/");
  EXPECT_EQ(detail::cacheHome(), "/srv/x/.cache");
}

TEST_F(BaseDirectoriesTests, ListsKeepTheirAbsoluteDirectories) {
  const struct {
    Value value;
    Directories expected;  // empty: the default
  } values[] = {
      {std::nullopt, {}},
      {"", {}},
      {":", {}},
      {"a:b/c", {}},
      {"/a", {"/a"}},
      {"/a:/b/:/c", {"/a", "/b", "/c"}},
      {"x:/b::/c:", {"/b", "/c"}},
  };
  for (const auto& [value, expected] : values) {
    environment.set("XDG_CONFIG_DIRS", value);
    environment.set("XDG_DATA_DIRS", value);
    EXPECT_EQ(detail::configDirectories(), expected.empty() ? Directories{"/etc/xdg"} : expected);
    EXPECT_EQ(detail::dataDirectories(), expected.empty() ? (Directories{"/usr/local/share", "/usr/share"}) : expected);
  }
}

TEST(BaseDirectories, NamesAreInDirectories) {
  EXPECT_EQ(detail::inDirectory("/a", "b/c"), "/a/b/c");
  EXPECT_EQ(detail::inDirectory("/", "b"), "/b");
}

}  // namespace
}  // namespace ZtFoundation::test
