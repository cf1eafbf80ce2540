#include "platform/linux/FileRemoval.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>

#include <algorithm>
#include <new>

#include "platform/linux/FinderLock.h"
#include "platform/linux/FolderWalk.h"

namespace ZtFoundation::detail {

namespace {

int errorOf(int result) { return result == 0 ? 0 : errno; }

// --- Locks of files in a folder, which is open

#ifndef SYS_getxattrat
#define SYS_getxattrat 464  // the same on every processor
#endif

struct AttributeRequest {
  alignas(8) std::uint64_t value = 0;
  std::uint32_t size = 0;
  std::uint32_t flags = 0;
};

// The immutable flag need not be looked at: the system minds it itself. One call where the system has it, because a removal asks for each file.
bool hasLock(int folder, const char* name) {
  const AttributeRequest request;
  if (::syscall(SYS_getxattrat, folder, name, AT_SYMLINK_NOFOLLOW, kLockAttribute, &request, sizeof request) >= 0) {
    return true;
  }
  return errno != ENODATA && errno != ENOTSUP && isLockedAt(folder, name);
}

// --- Removing

class Removal : FolderVisitor {
 public:
  Removal(std::string path, FileOperationObserver* observer) : path_(std::move(path)), observer_(observer) {}

  // Answers 0 or an errno. `type` is that of a folder's entry.
  int run(const PlaceInFolder& place, unsigned char type) {
    const char* name = place.name.c_str();
    if (type == DT_DIR) {
      walk_.run(place.folder.get(), name);
    } else {
      item(place.folder.get(), name, type);
    }
    return error_;
  }

 protected:
  virtual bool isKept(int folder, const char* name) const { return hasLock(folder, name); }
  // Why nothing in the open folder may be removed; 0 for no reason.
  virtual int obstacle(int folder) const {
    const FolderIdentity& identity = walk_.descent().identity();
    if (identity.isMountPoint) return EBUSY;
    return identity.isImmutable || ::fgetxattr(folder, kLockAttribute, nullptr, 0) >= 0 ? EPERM : 0;
  }

  const FolderDescent& descent() const { return walk_.descent(); }

 private:
  Step item(int folder, const char* name, unsigned char type) override {
    announce(name);
    return finish(removeFile(folder, name, type), name, depth());
  }

  Step entered(int, const char* name, int folder) override {
    announce(name);
    const int error = obstacle(folder);
    return error == 0 ? Step::GoOn : finish(error, name, depth() - 1);
  }

  Step left(int parent, const char* name) override {
    if (keptDepth_ <= depth()) return finish(errorOf(::unlinkat(parent, name, AT_REMOVEDIR)), name, depth());
    keptDepth_ = depth();
    return Step::GoOn;
  }

  // Who may not look into a folder may remove it nevertheless if it is empty.
  Step failed(int parent, const char* name) override {
    const int error = errno;
    announce(name);
    const bool isRemoved = error == EACCES && ::unlinkat(parent, name, AT_REMOVEDIR) == 0;
    return finish(isRemoved ? 0 : error, name, depth());
  }

  void lost(const char*) override { error_ = errno; }

  int removeFile(int folder, const char* name, unsigned char type) const {
    const bool canBeLocked = type == DT_REG || type == DT_UNKNOWN;
    return canBeLocked && isKept(folder, name) ? EPERM : errorOf(::unlinkat(folder, name, 0));
  }

  // `depth` is that of the folder around the item, which stays if the item does.
  Step finish(int error, const char* name, std::size_t depth) {
    if (error == 0) return goesOn(name) ? Step::GoOn : stop(ECANCELED);
    if (observer_ == nullptr || !observer_->proceedsAfter(error, pathOf(name), std::string())) return stop(error);
    keptDepth_ = std::max(keptDepth_, depth);
    return Step::Skip;
  }

  bool goesOn(const char* name) {
    return observer_ == nullptr || observer_->continuesAfterItems(++removed_, pathOf(name));
  }

  Step stop(int error) {
    error_ = error;
    return Step::Stop;
  }

  void announce(const char* name) {
    if (observer_ != nullptr) observer_->willProcess(pathOf(name));
  }

  std::size_t depth() const { return walk_.descent().depth(); }

  std::string pathOf(const char* name) const {
    return walk_.isInside() ? std::string(path_).append("/").append(walk_.path()).append(name) : path_;
  }

  std::string path_;
  FileOperationObserver* observer_;
  FolderWalk walk_{*this};
  std::size_t keptDepth_ = 0;  // folders down to here are not empty in the end
  std::uint64_t removed_ = 0;
  int error_ = 0;
};

// Takes back what this process has made a moment ago, whatever locks and permissions it was given since.
class Undoing final : public Removal {
 public:
  explicit Undoing(const FolderIdentity& own) : Removal(std::string(), nullptr), own_(own) {}

 private:
  bool isKept(int, const char*) const override { return false; }
  int obstacle(int) const override { return descent().depth() > 1 || descent().identity().isSameAs(own_) ? 0 : ENOENT; }
  void approaching(int parent, const char* name) override { ::fchmodat(parent, name, S_IRWXU, AT_SYMLINK_NOFOLLOW); }

  FolderIdentity own_;
};

bool isOwnOrParent(const std::string& name) { return name == "." || name == ".."; }

// Why the item may not be removed; 0 for no reason.
int obstacleAt(const PlaceInFolder& place, struct stat& status) {
  if (!place) return errno;
  if (isOwnOrParent(place.name)) return EINVAL;
  if (::fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  return isLocked(place.folder.get()) ? EPERM : 0;
}

int remove(const std::string& path, FileOperationObserver* observer) {
  const PlaceInFolder place = placeOf(path);
  struct stat status;
  const int error = obstacleAt(place, status);
  if (error == 0) return Removal(path, observer).run(place, static_cast<unsigned char>(IFTODT(status.st_mode)));
  return observer != nullptr && observer->proceedsAfter(error, path, std::string()) ? 0 : error;
}

}  // namespace

int removeItem(const std::string& path, FileOperationObserver* observer) {
  try {
    return remove(path, observer);
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
}

void removeOwnFolder(const PlaceInFolder& place, const FolderIdentity& identity) noexcept {
  try {
    Undoing(identity).run(place, DT_DIR);
  } catch (const std::bad_alloc&) {
    // Then some of it stays.
  }
}

}  // namespace ZtFoundation::detail
