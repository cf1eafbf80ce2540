/// \file FileContents.h
/// Reading and writing open files as a whole.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation::detail {

/// Everything from the present position to the end; none on an error, also for a folder. The size that the system tells
/// is only a hint, so files that grow or shrink meanwhile, or tell 0, are read to where they end. What memory has no
/// room for is no property of the file: std::bad_alloc.
std::optional<std::string> readToEnd(int file);

/// The file at `path`, links followed, to be written from its beginning: made with the permissions `mode`, less the
/// umask, if it is missing. Nothing when it cannot be, or it is locked, or missing in a locked folder.
FileDescriptor openUnlocked(const std::string& path, mode_t mode);

/// Takes the contents of an open file away; devices and pipes have nothing to lose. False on an error.
bool makeEmpty(int file) noexcept;

/// False on an error; part of the bytes may have been written then.
bool writeAll(int file, std::string_view bytes);

/// Closes what has been written. False on an error: some file systems tell only now that there was no room.
bool closeWritten(FileDescriptor file);

}  // namespace ZtFoundation::detail
