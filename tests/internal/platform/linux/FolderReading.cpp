#include "internal/platform/linux/FolderReading.h"

#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace ZtFoundation::test {

FolderReading folderReading;

namespace {

void forgetKinds(char* entries, ssize_t size) {
  for (ssize_t at = 0; at < size;) {
    auto* const entry = reinterpret_cast<dirent64*>(entries + at);
    entry->d_type = DT_UNKNOWN;
    at += entry->d_reclen;
  }
}

}  // namespace

}  // namespace ZtFoundation::test

extern "C" ssize_t getdents64(int folder, void* buffer, std::size_t size) noexcept {
  using namespace ZtFoundation::test;
  ++folderReading.count;
  if (folderReading.fails || (folderReading.failsLater && ::lseek(folder, 0, SEEK_CUR) != 0)) {
    errno = EIO;
    return -1;
  }
  const auto filled = static_cast<ssize_t>(::syscall(SYS_getdents64, folder, buffer, size));
  if (!folderReading.tellsKinds) forgetKinds(static_cast<char*>(buffer), filled);
  return filled;
}
