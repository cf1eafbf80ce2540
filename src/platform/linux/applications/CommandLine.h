/// \file CommandLine.h
/// The command lines of desktop entries (key Exec) as lists of arguments. No shell ever sees them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/services/DesktopEntries.h"

namespace ZtFoundation::detail {

/// The arguments with which the program of the entry at `entryPath` opens the file at `document`, or starts without one
/// when that is empty; the program's own name or path is the first.
///
/// By the rules of freedesktop.org: arguments are divided by blanks; in double quotes a backslash keeps the meaning of
/// `"`, `` ` ``, `$` and itself from coming up. As toolkits do, single quotes enclose plain text and a backslash
/// outside of quotes does so for one character. Then field codes are filled in: %f and %F by the path, %u and %U by the
/// URL of the document, which becomes the last argument where there is no such code; %i, %c and %k; %% is a percent
/// sign. Those that are out of use go away. A code stays what it is inside of quotes, unless the quotes hold nothing
/// else: there it would become part of text that may be a program of its own.
///
/// None for a line that is not well-formed: quotes that do not end, a backslash at the end, a code that does not exist,
/// no program, or a document for one. None either for more than the system hands to a program: an argument of 128 KiB,
/// or 2 MiB in all, each with a zero byte behind it.
std::optional<std::vector<std::string>> argumentsOfEntry(const DesktopEntry& entry, const std::string& entryPath,
                                                         const std::string& document);

/// The file that the command `name` stands for: itself when it holds a slash, else the first of that name in the
/// folders of PATH that may be executed. Empty when there is none.
std::string programNamed(const std::string& name);

}  // namespace ZtFoundation::detail
