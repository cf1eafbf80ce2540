#include "platform/linux/files/FolderContents.h"

#include <dirent.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation::detail {

namespace {

constexpr std::size_t kBlock = 32768;
// Some file systems in user space take no larger one.
constexpr std::size_t kSmallBlock = 16384;

bool isOwnOrParent(const char* name) { return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0; }

void append(std::string& entries, const char* block, std::size_t size) {
  for (std::size_t at = 0; at < size;) {
    const auto* record = reinterpret_cast<const struct dirent64*>(block + at);
    at += record->d_reclen;
    if (isOwnOrParent(record->d_name)) continue;
    entries += static_cast<char>(record->d_type);
    entries.append(record->d_name, std::strlen(record->d_name) + 1);
  }
}

}  // namespace

bool FolderContents::read(int folder) {
  alignas(struct dirent64) std::array<char, kBlock> block;
  std::size_t size = kBlock;
  for (;;) {
    const ssize_t got = retryInterrupted([&] { return ::getdents64(folder, block.data(), size); });
    if (got > 0) {
      append(entries_, block.data(), static_cast<std::size_t>(got));
    } else if (got < 0 && errno == EINVAL && size > kSmallBlock) {
      size = kSmallBlock;
    } else {
      return got == 0 || errno == ENOENT;  // ENOENT: the folder has been removed, so nothing is in it
    }
  }
}

bool FolderContents::next(Entry& entry) noexcept {
  if (at_ == entries_.size()) return false;
  entry.type = static_cast<unsigned char>(entries_[at_]);
  entry.name = entries_.c_str() + at_ + 1;
  at_ += std::strlen(entry.name) + 2;
  return true;
}

}  // namespace ZtFoundation::detail
