#include "platform/linux/references/ItemSearch.h"

#include <dirent.h>
#include <fcntl.h>

#include <array>
#include <cerrno>
#include <deque>
#include <string_view>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/ItemPath.h"

namespace ZtFoundation::detail {

namespace {

using Clock = std::chrono::steady_clock;

// Some file systems refuse to fill a larger buffer.
constexpr std::size_t kBufferSize = 16384;

// Why a folder cannot be read in which this process would not reach an item anyway, or that is none, or has gone
// meanwhile.
bool isOutOfReach(int error) {
  return error == EACCES || error == EPERM || error == ENOENT || error == ENOTDIR || error == ELOOP ||
         error == ENAMETOOLONG;
}

class OutwardSearch {
 public:
  explicit OutwardSearch(const SearchOrder& order) : order_(order), end_(Clock::now() + order.limit) {}

  SearchResult run() {
    std::string folder = order_.nearest;
    std::string done;
    while (!searchBelow(folder, done) && folder != order_.top && folder != "/") {
      done = folder;
      folder = parentOfPath(folder);
    }
    return {found_, isComplete_};
  }

 private:
  // Folders near the top first. True ends the search.
  bool searchBelow(const std::string& folder, const std::string& done) {
    waiting_.assign(1, folder);
    while (!waiting_.empty()) {
      const std::string next = std::move(waiting_.front());
      waiting_.pop_front();
      if (next != done && !order_.barred.contains(next) && searchIn(next)) return true;
    }
    return false;
  }

  bool searchIn(const std::string& folder) {
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const FileDescriptor open(retryInterrupted([&] { return ::open(folder.c_str(), flags); }));
    ssize_t filled = open ? read(open) : -1;
    for (; filled > 0; filled = read(open)) {
      if (searchEntries(folder, static_cast<std::size_t>(filled)) || isLate()) return true;
    }
    if (filled < 0 && !isOutOfReach(errno)) isComplete_ = false;
    return isLate();
  }

  ssize_t read(const FileDescriptor& folder) {
    return retryInterrupted([&] { return ::getdents64(folder.get(), buffer_.data(), buffer_.size()); });
  }

  bool isLate() {
    const bool late = Clock::now() >= end_;
    if (late) isComplete_ = false;
    return late;
  }

  bool searchEntries(const std::string& folder, std::size_t filled) {
    for (std::size_t at = 0; at < filled;) {
      const auto* entry = reinterpret_cast<const dirent64*>(&buffer_[at]);
      at += entry->d_reclen;
      if (examine(folder, *entry)) return true;
    }
    return false;
  }

  bool examine(const std::string& folder, const dirent64& entry) {
    const std::string_view name = entry.d_name;
    const bool mayBeFolder = entry.d_type == DT_DIR || entry.d_type == DT_UNKNOWN;
    const bool hasNumber = entry.d_ino == order_.number;
    if ((!mayBeFolder && !hasNumber) || name == "." || name == "..") return false;
    std::string path = pathInFolder(folder, std::string(name));
    if (hasNumber && order_.isRight(path)) {
      found_ = std::move(path);
      return true;
    }
    if (mayBeFolder) waiting_.push_back(std::move(path));
    return false;
  }

  const SearchOrder& order_;
  const Clock::time_point end_;
  bool isComplete_ = true;
  std::deque<std::string> waiting_;
  std::optional<std::string> found_;
  alignas(dirent64) std::array<char, kBufferSize> buffer_;
};

}  // namespace

SearchOrder orderForVolume(const std::vector<MountedFileSystem>& mounts, const MountedFileSystem& volume) {
  SearchOrder order;
  order.top = volume.mountPoint;
  for (const MountedFileSystem& mount : mounts) {
    if (mount.mountPoint != volume.mountPoint) order.barred.insert(mount.mountPoint);
  }
  return order;
}

SearchResult searchOutwards(const SearchOrder& order) { return OutwardSearch(order).run(); }

}  // namespace ZtFoundation::detail
