#include "platform/services/SaveLocks.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/PlaceInFolder.h"

namespace ZtFoundation {

namespace {

// The folder itself is locked: a lock file would stay behind, and taking it away would be a race with the next who
// wants it. The file cannot carry the lock, because each save puts another one in its place.
class LockedFolder final : public SaveLocks::Lock {
 public:
  explicit LockedFolder(const detail::PlaceInFolder& place)
      : folder_(detail::retryInterrupted(
            [&] { return ::openat(place.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); })),
        isHeld_(folder_ && detail::retryInterrupted([&] { return ::flock(folder_.get(), LOCK_EX); }) == 0) {}

  bool isHeld() const noexcept { return isHeld_; }

 private:
  detail::FileDescriptor folder_;
  bool isHeld_;
};

class LinuxSaveLocks final : public SaveLocks {
 public:
  std::unique_ptr<Lock> lock(const Ref<NSString>& path) override {
    const auto name = detail::systemPath(path);
    if (!name) return nullptr;
    const detail::PlaceInFolder place = detail::endOfLinks(*name);
    if (!place) return nullptr;
    auto folder = std::make_unique<LockedFolder>(place);
    return folder->isHeld() ? std::move(folder) : nullptr;
  }

  bool isFileMissing(const Ref<NSString>& path) override {
    const auto name = detail::systemPath(path);
    struct stat status;
    return name && ::stat(name->c_str(), &status) != 0 && errno == ENOENT;
  }
};

}  // namespace

SaveLocks& SaveLocks::production() {
  static SaveLocks& locks = *new LinuxSaveLocks;
  return locks;
}

}  // namespace ZtFoundation
