#include "platform/services/SaveLocks.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <ctime>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/PlaceInFolder.h"

namespace ZtFoundation {

namespace {

// Whoever may read the folder can lock it, and keep it so. A call that waits for the lock itself knows no limit.
bool lockWithinLimit(int folder) {
  constexpr timespec kPause{0, 1'000'000};
  constexpr int kAttempts = 10'000;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (detail::retryInterrupted([&] { return ::flock(folder, LOCK_EX | LOCK_NB); }) == 0) return true;
    if (errno != EWOULDBLOCK) return false;
    ::nanosleep(&kPause, nullptr);
  }
  return false;
}

// The folder itself is locked: a lock file would stay behind, and taking it away would be a race with the next who
// wants it. The file cannot carry the lock, because each save puts another one in its place.
class LockedFolder final : public SaveLocks::Lock {
 public:
  explicit LockedFolder(const detail::PlaceInFolder& place)
      : folder_(detail::retryInterrupted(
            [&] { return ::openat(place.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); })),
        isHeld_(folder_ && lockWithinLimit(folder_.get())) {}
  LockedFolder(const LockedFolder&) = delete;
  LockedFolder& operator=(const LockedFolder&) = delete;
  // Closing would leave the lock to a process that was forked meanwhile.
  ~LockedFolder() override {
    if (isHeld_) ::flock(folder_.get(), LOCK_UN);
  }

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
