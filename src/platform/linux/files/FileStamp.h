/// \file FileStamp.h
/// Telling whether a file or folder has changed.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <utility>

namespace ZtFoundation::detail {

/// What the file system keeps of an item that changes whenever its contents do. Links are followed.
class FileStamp {
 public:
  FileStamp() = default;
  /// Of the item at `path`, to be taken before it is read; also when there is none.
  explicit FileStamp(const std::string& path);
  /// Of an item that has this status.
  explicit FileStamp(const struct stat& status);

  /// What tells the item from all others.
  using Identity = std::pair<std::uint64_t, std::uint64_t>;
  Identity identity() const { return {device_, number_}; }
  /// Whether what was read under this stamp is still what the item holds, now that it has the stamp `now`. False while
  /// the item is so new that another change might not show: file systems count time in ticks, the coarsest of two
  /// seconds.
  bool stillHolds(const FileStamp& now) const;

 private:
  std::uint64_t device_ = 0, number_ = 0, size_ = 0;
  std::int64_t changed_ = 0;  ///< in nanoseconds
  bool isSettled_ = true;
};

}  // namespace ZtFoundation::detail
