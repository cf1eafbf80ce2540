#include "platform/linux/applications/Terminal.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "platform/linux/applications/CommandLine.h"

namespace ZtFoundation::detail {

namespace {

struct Terminal {
  std::string_view name;
  std::string_view option;  // behind which the arguments follow, one by one
};

constexpr Terminal kFirst{"xdg-terminal-exec", ""};

// The option -e of many takes one text for a shell instead, so each has its own.
constexpr Terminal kKnown[] = {
    {"x-terminal-emulator", "-e"},
    {"kgx", "--"},
    {"gnome-terminal", "--"},
    {"konsole", "-e"},
    {"xfce4-terminal", "-x"},
    {"mate-terminal", "-x"},
    {"kitty", ""},
    {"foot", ""},
    {"st", "-e"},
    {"urxvt", "-e"},
    {"rxvt", "-e"},
    {"xterm", "-e"},
};

std::string_view nameOfProgram(std::string_view path) { return path.substr(path.rfind('/') + 1); }

// Terminals that are not known are taken to be like xterm.
std::string_view optionOf(std::string_view command) {
  const auto* const known = std::find_if(std::begin(kKnown), std::end(kKnown), [command](const Terminal& terminal) {
    return terminal.name == nameOfProgram(command);
  });
  return known != std::end(kKnown) ? known->option : "-e";
}

bool isInstalled(std::string_view name) { return !programNamed(std::string(name)).empty(); }

std::optional<Terminal> installedTerminal() {
  if (isInstalled(kFirst.name)) return kFirst;
  const char* const chosen = std::getenv("TERMINAL");
  if (chosen != nullptr && isInstalled(chosen)) return Terminal{chosen, optionOf(chosen)};
  const auto* const known = std::find_if(std::begin(kKnown), std::end(kKnown),
                                         [](const Terminal& terminal) { return isInstalled(terminal.name); });
  return known != std::end(kKnown) ? std::optional(*known) : std::nullopt;
}

}  // namespace

std::optional<std::vector<std::string>> argumentsInTerminal(const std::vector<std::string>& arguments) {
  const std::optional<Terminal> terminal = installedTerminal();
  if (!terminal) return std::nullopt;
  std::vector<std::string> all{std::string(terminal->name)};
  if (!terminal->option.empty()) all.emplace_back(terminal->option);
  all.insert(all.end(), arguments.begin(), arguments.end());
  return all;
}

}  // namespace ZtFoundation::detail
