/// \file FileHandle.h
/// Handles by which a file system finds an item again, whatever its path is. Anybody may ask for one; only root may use
/// it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation::detail {

inline constexpr std::size_t kLongestHandle = 128;

struct FileHandle {
  std::int32_t type = 0;
  std::string bytes;

  friend bool operator==(const FileHandle&, const FileHandle&) = default;
};

/// Of the item at `path`, which may be a link; none where the file system has no handles.
std::optional<FileHandle> handleOfItem(const std::string& path);
/// The item, opened with O_PATH; `volume` is any open item of its file system. Nothing when the item is gone, and for
/// ordinary users.
FileDescriptor openHandle(int volume, const FileHandle& handle);
/// Where an open item is. Not to be trusted: of a file whose name the kernel does not remember it is "/".
std::optional<std::string> rememberedPath(int item);

}  // namespace ZtFoundation::detail
