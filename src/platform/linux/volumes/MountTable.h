/// \file MountTable.h
/// What is mounted where, read from the kernel's table alone: no file system is
/// asked, so none can keep the process waiting.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ZtFoundation::detail {

struct MountedFileSystem {
  std::string mountPoint;
  std::string type;
  std::string source;
  int number = 0;  ///< the kernel's, of the mount
};

/// Those that show, in the order of the table: no path leads to one that
/// another hides.
std::vector<MountedFileSystem> parseMountTable(std::string_view table);
/// That of this process; empty when it cannot be read.
std::vector<MountedFileSystem> mountTable();
/// The one that an absolute path lies on, by its text; null when the table is
/// empty.
const MountedFileSystem* mountHolding(const std::vector<MountedFileSystem>& mounts, const std::string& path);

}  // namespace ZtFoundation::detail
