/// \file FileCopyContents.h
/// Copying what is in a file.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation::detail {

/// Opens what is called `name` in an open folder for reading; links are not followed. Waits for nothing but a regular
/// file on which another process has a lease, until that gives it up. An object without a file is an error, which errno
/// tells.
FileDescriptor openToCopy(int folder, const char* name);

/// Copies contents from file to file, in the quickest way that the file systems have: sharing the blocks, else copying
/// inside the kernel, else through memory. What it learns about the file systems serves the next file.
class ContentsCopier {
 public:
  /// Told after each part how many bytes have been copied since the last time, holes included; false ends the copy with
  /// ECANCELED.
  using Progress = std::function<bool(std::uint64_t)>;

  explicit ContentsCopier(Progress progress = nullptr) : progress_(std::move(progress)) {}

  /// Fills `to`, a new file open for writing, with what `from`, a regular file open for reading, holds: as much as it
  /// had when `status` was taken, less when it becomes shorter meanwhile. Holes stay holes. Answers 0 or an errno.
  int copy(int from, const struct stat& status, int to);

 private:
  int clone(int from, const struct stat& status, int to);
  int copyToEnd(int from, int to);
  int copyData(int from, const struct stat& status, int to);
  int copyBetweenHoles(int from, off_t size, int to);
  int copyRange(int from, int to, off_t at, off_t end);
  int copyInKernel(int from, int to, off_t& at, off_t end);
  int copyThroughMemory(int from, int to, off_t at, off_t end);
  int tell(std::uint64_t bytes) const;

  Progress progress_;
  std::unique_ptr<char[]> buffer_;
  bool canClone_ = true;
  bool canCopyInKernel_ = true;
  dev_t device_ = 0;
};

}  // namespace ZtFoundation::detail
