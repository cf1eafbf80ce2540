#include "platform/linux/operations/FileRemoval.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <new>

#include "platform/linux/files/FinderLock.h"
#include "platform/linux/operations/FolderWalk.h"

namespace ZtFoundation::detail {

namespace {

int errorOf(int result) { return result == 0 ? 0 : errno; }

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
  // Why the item may not be removed; 0 for no reason. The immutable flag need not be looked at: the system minds it
  // itself.
  virtual int obstacleAt(int folder, const char* name, unsigned char type) const {
    return (type == DT_REG || type == DT_UNKNOWN) && hasLockAttributeAt(folder, name) ? EPERM : 0;
  }
  // Why nothing in the open folder may be removed; 0 for no reason.
  virtual int obstacleIn(int folder, const char*) const {
    const FolderIdentity& identity = walk_.descent().identity();
    if (identity.isMountPoint) return EBUSY;
    return identity.isImmutable || hasLockAttribute(folder) ? EPERM : 0;
  }
  virtual bool proceedsAfter(int error, const char* name) {
    return observer_ != nullptr && observer_->proceedsAfter(error, pathOf(name), std::string());
  }

  const FolderWalk& walk() const { return walk_; }

 private:
  Step item(int folder, const char* name, unsigned char type) override {
    announce(name);
    return finish(unlessGone(removeFile(folder, name, type)), name, depth());
  }

  Step entered(int, const char* name, int folder) override {
    announce(name);
    const int error = obstacleIn(folder, name);
    return error == 0 ? Step::GoOn : finish(error, name, depth() - 1);
  }

  Step left(int parent, const char* name) override {
    if (keptDepth_ <= depth()) {
      return finish(unlessGone(errorOf(::unlinkat(parent, name, AT_REMOVEDIR))), name, depth());
    }
    keptDepth_ = depth();
    return Step::GoOn;
  }

  // Who may not look into a folder may remove it nevertheless if it is empty.
  Step failed(int parent, const char* name) override {
    const int error = errno;
    announce(name);
    const bool isRemoved = error == EACCES && ::unlinkat(parent, name, AT_REMOVEDIR) == 0;
    return finish(isRemoved ? 0 : unlessGone(error), name, depth());
  }

  void lost(const char*) override { error_ = errno; }

  // What others have removed first is removed, too; but for the item itself.
  int unlessGone(int error) const { return error == ENOENT && walk_.isInside() ? 0 : error; }

  int removeFile(int folder, const char* name, unsigned char type) const {
    const int error = obstacleAt(folder, name, type);
    return error != 0 ? error : errorOf(::unlinkat(folder, name, 0));
  }

  // `depth` is that of the folder around the item, which stays if the item does.
  Step finish(int error, const char* name, std::size_t depth) {
    if (error == 0) return goesOn(name) ? Step::GoOn : stop(ECANCELED);
    if (!proceedsAfter(error, name)) return stop(error);
    keptDepth_ = std::max(keptDepth_, depth);
    return Step::Skip;
  }

  bool goesOn(const char* name) {
    if (observer_ == nullptr || !observer_->wantsItems()) return true;
    return observer_->continuesAfterItems(++removed_, pathOf(name));
  }

  Step stop(int error) {
    error_ = error;
    return Step::Stop;
  }

  void announce(const char* name) {
    if (observer_ != nullptr && observer_->wantsPaths()) observer_->willProcess(pathOf(name));
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

// Removes what is known to be somewhere else, too.
class RemovalOfCopied final : public Removal {
 public:
  explicit RemovalOfCopied(CopiedItems copied) : Removal(std::string(), nullptr), copied_(std::move(copied)) {
    copied_.sort();
  }

 private:
  int obstacleAt(int folder, const char* name, unsigned char type) const override {
    const int error = Removal::obstacleAt(folder, name, type);
    if (error != 0) return error;
    struct stat status;
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    return copied_.contain(walk().keyOf(name), status) ? 0 : EBUSY;
  }
  int obstacleIn(int folder, const char* name) const override {
    const int error = Removal::obstacleIn(folder, name);
    return error == 0 && !copied_.containFolder(walk().keyOfFolder(name)) ? EBUSY : error;
  }

  CopiedItems copied_;
};

// Takes back what this process has made a moment ago, whatever locks and permissions it was given since.
class Undoing final : public Removal {
 public:
  Undoing(const FolderIdentity& root, ItemKeys made)
      : Removal(std::string(), nullptr), root_(root), made_(std::move(made)) {
    made_.sort();
  }

 private:
  int obstacleAt(int folder, const char* name, unsigned char) const override {
    FolderIdentity identity;
    const bool isOwn = walk().isInside() || (identify(folder, name, identity) && identity.isSameAs(root_));
    return isOwn && made_.contain(walk().keyOf(name)) ? 0 : EPERM;
  }
  int obstacleIn(int folder, const char* name) const override {
    const FolderIdentity& identity = walk().descent().identity();
    if (identity.isMountPoint) return EBUSY;
    if (!isOwnFolder(identity, name)) return EPERM;
    if (::faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) != 0) ::fchmod(folder, S_IRWXU);
    return 0;
  }
  bool opensUp(int parent, const char* name) override {
    constexpr int flags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const FileDescriptor folder(retryInterrupted([&] { return ::openat(parent, name, flags); }));
    FolderIdentity identity;
    if (!folder || !identify(folder.get(), "", identity)) return false;
    const bool isOwn = !identity.isMountPoint && isOwnFolder(identity, name);
    return isOwn && ::chmod(PathOfDescriptor(folder.get()).get(), S_IRWXU) == 0;
  }
  bool proceedsAfter(int, const char*) override { return true; }

  bool isOwnFolder(const FolderIdentity& identity, const char* name) const {
    return (walk().isInside() || identity.isSameAs(root_)) && made_.contain(walk().keyOfFolder(name));
  }

  FolderIdentity root_;
  ItemKeys made_;
};

bool isOwnOrParent(const std::string& name) { return name == "." || name == ".."; }

// Why the item may not be removed; 0 for no reason.
int obstacleAt(const PlaceInFolder& place, struct stat& status) {
  if (!place) return errno;
  if (isOwnOrParent(place.name)) return EINVAL;
  if (::fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  return isLocked(place.folder.get()) ? EPERM : 0;
}

}  // namespace

int removeItem(const std::string& path, FileOperationObserver* observer) {
  const PlaceInFolder place = placeOf(path);
  struct stat status;
  const int error = obstacleAt(place, status);
  if (error == 0) return Removal(path, observer).run(place, static_cast<unsigned char>(IFTODT(status.st_mode)));
  return observer != nullptr && observer->proceedsAfter(error, path, std::string()) ? 0 : error;
}

int removeCopied(const PlaceInFolder& place, CopiedItems copied) {
  struct stat status;
  const int error = obstacleAt(place, status);
  if (error != 0) return error;
  return RemovalOfCopied(std::move(copied)).run(place, static_cast<unsigned char>(IFTODT(status.st_mode)));
}

void removeMade(const PlaceInFolder& place, const FolderIdentity& root, ItemKeys made) noexcept {
  struct stat status;
  if (::fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;
  try {
    Undoing(root, std::move(made)).run(place, static_cast<unsigned char>(IFTODT(status.st_mode)));
  } catch (const std::bad_alloc&) {
    // Then some of it stays.
  }
}

}  // namespace ZtFoundation::detail
