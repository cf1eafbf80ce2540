#include "platform/linux/applications/Terminal.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::detail {
namespace {

using Arguments = std::vector<std::string>;

struct Choice {
  std::vector<std::string> installed;
  std::optional<std::string> chosen;  // TERMINAL
  std::optional<Arguments> expected;  // in front of the program
};

// The names of the terminals stand for programs in a search path without others.
std::optional<Arguments> inTerminalWith(const Choice& choice) {
  const test::ScratchFolder folder;
  for (const std::string& name : choice.installed) {
    test::writeFile(folder / name, "");
    ::chmod((folder / name).c_str(), 0755);
  }
  test::ScopedEnvironment environment;
  environment.set("PATH", folder.path());
  environment.set("TERMINAL", choice.chosen);
  return argumentsInTerminal({"run", "a b"});
}

TEST(TerminalTests, TheFirstThatIsInstalled) {
  const Choice choices[] = {
      {{"xdg-terminal-exec", "mine", "xterm"}, "mine", Arguments{"xdg-terminal-exec"}},
      {{"mine", "xterm"}, "mine", Arguments{"mine", "-e"}},
      {{"gnome-terminal", "xterm"}, "xterm", Arguments{"xterm", "-e"}},
      {{"gnome-terminal", "xterm"}, "gnome-terminal", Arguments{"gnome-terminal", "--"}},
      {{"gnome-terminal", "xterm"}, "not-installed", Arguments{"gnome-terminal", "--"}},
      {{"x-terminal-emulator", "konsole"}, std::nullopt, Arguments{"x-terminal-emulator", "-e"}},
      {{"kgx"}, "", Arguments{"kgx", "--"}},
      {{"xfce4-terminal"}, "", Arguments{"xfce4-terminal", "-x"}},
      {{"foot", "xterm"}, std::nullopt, Arguments{"foot"}},
      {{"xterm"}, std::nullopt, Arguments{"xterm", "-e"}},
      {{"other"}, std::nullopt, std::nullopt},
      {{}, "mine", std::nullopt},
  };
  for (const Choice& choice : choices) {
    std::optional<Arguments> expected = choice.expected;
    if (expected) expected->insert(expected->end(), {"run", "a b"});
    EXPECT_EQ(inTerminalWith(choice), expected) << choice.chosen.value_or("(none)");
  }
}

TEST(TerminalTests, AChoiceMayBeAPath) {
  const test::ScratchFolder folder;
  for (const char* const name : {"gnome-terminal", "mine"}) {
    test::writeFile(folder / name, "");
    ::chmod((folder / name).c_str(), 0755);
  }
  test::ScopedEnvironment environment;
  environment.set("PATH", folder / "empty");
  environment.set("TERMINAL", folder / "gnome-terminal");
  EXPECT_EQ(argumentsInTerminal({"run"}), (Arguments{folder / "gnome-terminal", "--", "run"}));
  environment.set("TERMINAL", folder / "mine");
  EXPECT_EQ(argumentsInTerminal({"run"}), (Arguments{folder / "mine", "-e", "run"}));
}

}  // namespace
}  // namespace ZtFoundation::detail
