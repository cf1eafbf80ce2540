/// \file FolderLock.h
/// The lock of a folder (flock) as others see it.
#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <string>

namespace ZtFoundation::test {

/// Whether nobody holds the lock of `folder`.
inline bool isFree(const std::string& folder) {
  const int opened = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool isMine = ::flock(opened, LOCK_EX | LOCK_NB) == 0;
  ::close(opened);
  return isMine;
}

}  // namespace ZtFoundation::test
