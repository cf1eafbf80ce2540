/// \file MountWatch.h
/// The text of the kernel's mount table, and whether it may have changed.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

namespace ZtFoundation::mounts {

/// Not for several threads at once. The process may fork, close all its files, or go into another mount namespace or
/// root meanwhile.
class MountWatch {
 public:
  explicit MountWatch(std::string path) : path_(std::move(path)) {}
  MountWatch(const MountWatch&) = delete;
  MountWatch& operator=(const MountWatch&) = delete;
  ~MountWatch() { close(); }

  /// False when the table is what `read` answered last. Options of a file system that another mount of it changed do
  /// not count.
  bool mayHaveChanged() const;
  /// Empty when there is none. Nothing when it cannot be read just now, for lack of memory or because too many files
  /// are open.
  std::optional<std::string> read();

 private:
  // What a file is known by.
  struct Identity {
    dev_t device = 0;
    ino_t number = 0;
    bool operator==(const Identity&) const = default;
  };
  // Where the process is. In another namespace the root is on another mount.
  struct Place {
    pid_t process = 0;
    Identity root;
    std::uint64_t rootMount = 0;
    bool operator==(const Place&) const = default;
  };
  static Place place();
  bool isReplaced() const;
  bool isOpen() const;
  void close();

  const std::string path_;
  Place place_;
  Identity identity_;
  int file_ = -1;
};

}  // namespace ZtFoundation::mounts
