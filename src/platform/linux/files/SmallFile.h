/// \file SmallFile.h
/// Files that tell a little and come from anybody.
#pragma once

#include <ZtFoundation/platform/FileErrors.h>

#include <string>

namespace ZtFoundation::detail {

/// What is longer is no small file: reading it could fill the memory.
inline constexpr std::size_t kLongestSmallFile = 1 << 20;

/// Whether there is one at `path`, links followed: a regular file that is not longer than that.
bool isSmallFile(const std::string& path);

/// The bytes of the small file at `path`, links followed. fnfErr when there is none, whatever else lies there and
/// however that changes meanwhile; another error when it cannot be read, which is no property of the file.
OSErr readSmallFile(const std::string& path, std::string* bytes);

}  // namespace ZtFoundation::detail
