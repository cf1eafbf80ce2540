/// \file FolderDescent.h
/// The way from a folder down to one below it.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <vector>

#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation::detail {

/// Which folder it is, whatever its name.
struct FolderIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  bool isMountPoint = false;  ///< another file system, or part of one, is mounted here, or may be
  bool isImmutable = false;
  timespec accessed{};  ///< before the folder was read here

  bool isSameAs(const FolderIdentity& other) const noexcept { return device == other.device && number == other.number; }
};

/// Of the item `name` in an open folder, or of that folder itself for the empty name; a link is an item itself. False
/// on an error, which errno tells.
bool identify(int folder, const char* name, FolderIdentity& identity) noexcept;

/// Open folders, each inside the one before. Links are not followed, and a few descriptors serve any depth: an outer
/// folder is closed and found again by "..", and must then be the same that it was.
class FolderDescent {
 public:
  /// Makes room for one more, so that entering it cannot fail for want of memory.
  void expectOne() {
    if (levels_.size() == levels_.capacity()) levels_.reserve(2 * levels_.size() + 4);
  }
  /// Opens the folder `name` of the open folder `at`, which is the innermost one once there is one. False on an error,
  /// which errno tells.
  bool enter(int at, const char* name);
  /// Goes back to the next outer folder. False when it cannot be found again, which errno tells; nothing can be done
  /// there any more.
  bool leave();

  bool isEmpty() const noexcept { return levels_.empty(); }
  std::size_t depth() const noexcept { return levels_.size(); }
  /// The innermost folder.
  int folder() const noexcept { return levels_.back().folder.get(); }
  const FolderIdentity& identity() const noexcept { return levels_.back().identity; }
  /// Whether this is one of the folders on the way, the innermost left out.
  bool passes(const FolderIdentity& identity) const noexcept;

 private:
  struct Level {
    FileDescriptor folder;
    FolderIdentity identity;
  };

  std::vector<Level> levels_;
};

}  // namespace ZtFoundation::detail
