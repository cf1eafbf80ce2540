/// \file QuickFolder.h
/// Where many items can be made in a short time and have attributes nevertheless.
#pragma once

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace ZtFoundation::test {

/// Whether items in the folder may have attributes that users give them, as a lock is one.
inline bool takesAttributes(const std::string& folder) {
  std::string probe = folder + "/zt-test-XXXXXX";
  if (::mkdtemp(probe.data()) == nullptr) return false;
  const bool isTaken = ::setxattr(probe.c_str(), "user.zt.probe", "1", 1, 0) == 0;
  ::rmdir(probe.c_str());
  return isTaken;
}

/// A folder in memory if it takes attributes, as those of Linux before 6.6 do not; else the temporary folder.
inline std::string quickFolder() {
  return takesAttributes("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path().string();
}

/// A folder in memory, where flushing takes no time, whether or not it takes attributes; else the temporary folder.
inline std::string folderInMemory() {
  return ::access("/dev/shm", W_OK | X_OK) == 0 ? "/dev/shm" : std::filesystem::temp_directory_path().string();
}

inline constexpr char kNoAttributes[] = "no extended attributes on this file system";

}  // namespace ZtFoundation::test
