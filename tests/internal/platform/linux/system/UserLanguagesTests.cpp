#include "platform/services/UserLanguages.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>

namespace ZtFoundation {
namespace {

constexpr const char* kNames[] = {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"};

class UserLanguagesTests : public testing::Test {
 protected:
  UserLanguagesTests() {
    for (const char* name : kNames) {
      if (const char* const value = std::getenv(name)) before_[name] = value;
    }
  }
  ~UserLanguagesTests() override { set(before_); }

  static void set(const std::map<std::string, std::string>& variables) {
    for (const char* name : kNames) {
      const auto found = variables.find(name);
      found == variables.end() ? unsetenv(name) : setenv(name, found->second.c_str(), 1);
    }
  }

 private:
  std::map<std::string, std::string> before_;
};

TEST_F(UserLanguagesTests, AreThoseOfTheEnvironment) {
  using Languages = std::vector<std::string>;
  const struct {
    std::map<std::string, std::string> variables;
    Languages expected;
  } cases[] = {
      {{}, {}},
      {{{"LANG", "ja_JP.UTF-8"}}, {"ja_JP"}},
      {{{"LANG", "C.UTF-8"}}, {}},
      {{{"LANG", "POSIX"}}, {}},
      {{{"LANG", "de_DE@euro"}}, {"de_DE"}},
      {{{"LANG", "de_DE"}, {"LC_MESSAGES", "fr_FR"}}, {"fr_FR"}},
      {{{"LANG", "de_DE"}, {"LC_MESSAGES", "fr_FR"}, {"LC_ALL", "ja"}}, {"ja"}},
      {{{"LANG", "de_DE"}, {"LC_ALL", ""}}, {"de_DE"}},
      {{{"LANG", "de_DE"}, {"LANGUAGE", "ja:pt_BR"}}, {"ja", "pt_BR", "de_DE"}},
      {{{"LANG", "de_DE"}, {"LANGUAGE", "::ja:"}}, {"ja", "de_DE"}},
      {{{"LANG", "C"}, {"LANGUAGE", "ja"}}, {}},
      {{{"LANGUAGE", "ja"}}, {}},
  };
  for (const auto& each : cases) {
    set(each.variables);
    EXPECT_EQ(UserLanguages::production().inOrder(), each.expected) << testing::PrintToString(each.variables);
  }
}

}  // namespace
}  // namespace ZtFoundation
