/// \file Terminal.h
/// Programs that want a terminal.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ZtFoundation::detail {

/// What to start so that the program with these arguments (its name or path first) runs in a terminal:
/// xdg-terminal-exec, else the terminal that $TERMINAL names, else the first that is installed of those that desktops
/// bring. Each is asked in a way that hands the arguments on as they are. None where there is no terminal.
std::optional<std::vector<std::string>> argumentsInTerminal(const std::vector<std::string>& arguments);

}  // namespace ZtFoundation::detail
