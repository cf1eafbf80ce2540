/// \file UserDirectories.h
/// The folders for documents, pictures, music and the like that a user chose, in a file `user-dirs.dirs`.
#pragma once

#include <string_view>

#include "platform/linux/folders/BaseDirectories.h"

namespace ZtFoundation::detail {

/// What the text of such a file says of `key` ("XDG_MUSIC_DIR"), without slashes at its end; none when it says nothing.
/// `home` is what $HOME stands for; without one no entry counts that needs it. An answer that is equal to it says that
/// the user wants no such folder.
///
/// An entry is a line `KEY="$HOME/path"` or `KEY="/path"`, in which a backslash makes the next character a plain one.
/// Blanks may stand before the key and around the "=". Of several entries the last counts; all other lines count as
/// comments.
Directory parsedUserDirectory(std::string_view text, std::string_view key, const Directory& home);

/// The same of the user's own file, a small one in the folder for settings; `chosen` stays as it is when there is none.
/// An error when it cannot be read.
OSErr findChosenUserDirectory(std::string_view key, Directory* chosen);

}  // namespace ZtFoundation::detail
