/// \file BaseDirectories.h
/// The base directories of the XDG rules: where a user and the system keep files of each kind. The environment is read
/// at each call; a value that is empty or no absolute path counts as not set. No answer ends with a slash, except the
/// root.
#pragma once

#include <ZtFoundation/platform/FileErrors.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZtFoundation::detail {

using Directory = std::optional<std::string>;

/// The path of `name` in `directory`.
std::string inDirectory(const std::string& directory, std::string_view name);

/// $HOME, else the home folder of the process's user in the user database. None when neither tells.
Directory homeDirectory();
/// What keeps the user database from telling it; noErr when it does not know any.
OSErr errorOfHomeDirectory();

// $XDG_..._HOME, else the default inside the home folder.
Directory configHome();
Directory dataHome();
Directory cacheHome();

// $XDG_..._DIRS, the most important first, else the defaults; never empty.
std::vector<std::string> configDirectories();
std::vector<std::string> dataDirectories();

/// $TMPDIR, else /tmp.
Directory temporaryDirectory();

}  // namespace ZtFoundation::detail
