#include "platform/linux/operations/FileCopy.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <map>

#include "platform/linux/files/FinderLock.h"
#include "platform/linux/operations/FileCopyContents.h"
#include "platform/linux/operations/FileCopyItems.h"
#include "platform/linux/operations/FileRemoval.h"
#include "platform/linux/operations/FolderSize.h"
#include "platform/linux/operations/FolderWalk.h"
#include "platform/linux/operations/ItemKeys.h"

namespace ZtFoundation::detail {

namespace {

// Whether the open folder is the one that is sought, or somewhere in it.
bool isFolderIn(int folder, const FolderIdentity& sought) {
  FileDescriptor at;
  FolderIdentity found;
  FolderIdentity before;
  const char* next = ".";
  do {
    before = found;
    at = FileDescriptor(
        retryInterrupted([&] { return ::openat(at ? at.get() : folder, next, O_PATH | O_DIRECTORY | O_CLOEXEC); }));
    if (!at || !identify(at.get(), "", found)) return false;
    if (found.isSameAs(sought)) return true;
    next = "..";
  } while (!found.isSameAs(before));
  return false;
}

// --- Trees

class Copying final : FolderVisitor {
 public:
  Copying(const OpenPath& source, const OpenPath& target, CopyKind kind, FileOperationObserver* observer,
          CopiedItems* copied)
      : source_(source), target_(target), kind_(kind), observer_(observer), copied_(copied) {}

  CopyResult run() {
    try {
      start();
    } catch (...) {
      undo();
      throw;
    }
    if (error_ != 0) undo();
    return {error_, isComplete_};
  }

 private:
  struct Made {
    std::string path;  // from the target's folder
    ino_t number;
  };

  // --- From the beginning

  void start() {
    struct stat status;
    const int error = examine(status);
    if (error != 0) {
      finish(error, "");
      return;
    }
    const auto type = static_cast<unsigned char>(IFTODT(status.st_mode));
    if (observer_ != nullptr && observer_->wantsBytes()) watchBytes(type);
    const PlaceInFolder& place = source_.place;
    if (type == DT_DIR) {
      walk_.run(place.folder.get(), place.name.c_str());
    } else {
      item(place.folder.get(), place.name.c_str(), type);
    }
  }

  int examine(struct stat& status) const {
    if (!source_ || !target_) return !source_ ? source_.error : target_.error;
    FolderIdentity identity;
    const int folder = source_.place.folder.get();
    const char* name = source_.place.name.c_str();
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    if (!identify(folder, name, identity)) return errno;
    if (isLocked(targetFolder())) return EPERM;
    return S_ISDIR(status.st_mode) && isFolderIn(targetFolder(), identity) ? EINVAL : 0;
  }

  void undo() {
    if (!own_.isEmpty()) removeMade(target_.place, root_, std::move(own_));
  }

  // --- Progress

  void watchBytes(unsigned char type) {
    total_ = sizeOfItem(source_.place, type);
    isWatched_ = true;
    contents_ = ContentsCopier([this](std::uint64_t bytes) { return advance(bytes); });
  }

  bool advance(std::uint64_t bytes) {
    constexpr std::uint64_t kPart = std::uint64_t{8} << 20;
    inItem_ += bytes;
    if (inItem_ - toldInItem_ < kPart) return true;
    toldInItem_ = inItem_;
    return observer_->continuesAfterBytes(done_ + inItem_, total_, sourcePathOf(name_));
  }

  // A file counts as it was measured, even if it has become another size by now.
  bool finishItem(const char* name, std::uint64_t size) {
    done_ += size;
    inItem_ = toldInItem_ = 0;
    return !isWatched_ || observer_->continuesAfterBytes(done_, total_, sourcePathOf(name));
  }

  // --- Visiting

  Step item(int folder, const char* name, unsigned char type) override {
    announce(name);
    name_ = name;
    std::uint64_t size = 0;
    own_.expectOne();
    const int error = copyOne(folder, name, type, size);
    if (error != 0) return finish(error, name);
    return finishItem(name, size) ? Step::GoOn : stop(ECANCELED);
  }

  Step entered(int, const char* name, int folder) override {
    announce(name);
    return finish(makeFolder(folder, newName(name)), name);
  }

  Step leaving(int folder) override {
    const int error = giveAttributes(folder, folders_.back(), to_.folder());
    folders_.pop_back();
    if (!to_.leave()) return stop(errno);
    return finish(error, "");
  }

  Step failed(int, const char* name) override {
    const int error = errno;
    announce(name);
    return finish(error, name);
  }

  void lost(const char*) override { error_ = errno; }

  Step finish(int error, const char* name) {
    if (error == 0) return Step::GoOn;
    if (error == ECANCELED || observer_ == nullptr) return stop(error);
    if (!observer_->proceedsAfter(error, sourcePathOf(name), targetPathOf(name))) return stop(error);
    isComplete_ = false;
    return Step::Skip;
  }

  Step stop(int error) {
    error_ = error;
    return Step::Stop;
  }

  void announce(const char* name) {
    if (observer_ != nullptr && observer_->wantsPaths()) observer_->willProcess(sourcePathOf(name));
  }

  // --- Making

  int targetFolder() const { return target_.place.folder.get(); }
  int toFolder() const { return to_.isEmpty() ? targetFolder() : to_.folder(); }
  const char* newName(const char* name) const { return walk_.isInside() ? name : target_.place.name.c_str(); }

  int makeFolder(int folder, const char* name) {
    struct stat status;
    if (::fstat(folder, &status) != 0) return errno;
    status.st_atim = walk_.descent().identity().accessed;
    if (isInACircle()) return ELOOP;
    // What is made is noted, so nothing may fail in between.
    own_.expectOne();
    to_.expectOne();
    if (::mkdirat(toFolder(), name, S_IRWXU) != 0) return errno;
    if (!to_.enter(toFolder(), name)) {
      const int error = errno;
      ::unlinkat(toFolder(), name, AT_REMOVEDIR);
      return error;
    }
    if (own_.isEmpty()) root_ = to_.identity();
    own_.note(walk_.keyOfFolder(name));
    if (copied_ != nullptr) copied_->noteFolder(walk_.keyOfFolder(name));
    folders_.push_back(status);
    // So that what comes into it gets only what the source has.
    ::fremovexattr(to_.folder(), "system.posix_acl_default");
    return 0;
  }

  // Which item the copy is, unless this is one inside it.
  void rememberRoot(int folder, const char* name) {
    if (!walk_.isInside()) identify(folder, name, root_);
  }

  // The errno is passed on; for 0 there is now a copy of the item `name`, as `status` has it.
  int noted(int error, const char* name, const struct stat& status) {
    if (error != 0) return error;
    own_.note(walk_.keyOf(name));
    if (copied_ != nullptr) copied_->note(walk_.keyOf(name), status);
    return 0;
  }

  // In the copy itself, which was moved there, or in a folder that is mounted inside itself.
  bool isInACircle() const {
    const FolderIdentity& identity = walk_.descent().identity();
    return (!own_.isEmpty() && identity.isSameAs(root_)) || (identity.isMountPoint && walk_.descent().passes(identity));
  }

  int copyOne(int folder, const char* name, unsigned char type, std::uint64_t& size) {
    if (kind_ == CopyKind::Link) return linkItem(folder, name);
    return type == DT_REG ? copyFile(folder, name, size) : copyOther(folder, name);
  }

  int linkItem(int folder, const char* name) {
    if (::linkat(folder, name, toFolder(), newName(name), 0) != 0) return errno;
    rememberRoot(toFolder(), newName(name));
    own_.note(walk_.keyOf(name));
    return 0;
  }

  int copyFile(int folder, const char* name, std::uint64_t& size) {
    const FileDescriptor from = openToCopy(folder, name);
    struct stat status;
    if (!from || ::fstat(from.get(), &status) != 0) return errno;
    if (!S_ISREG(status.st_mode)) return ESTALE;
    size = static_cast<std::uint64_t>(status.st_size);
    const bool isLinked = status.st_nlink > 1 && linkToCopy(status, newName(name));
    return noted(isLinked ? 0 : copyOpenFile(from.get(), status, newName(name)), name, status);
  }

  int copyOpenFile(int from, const struct stat& status, const char* name) {
    NewFile to(toFolder(), name);
    if (!to) return errno;
    int error = contents_.copy(from, status, to.get());
    if (error == 0) error = giveAttributes(from, status, to.get());
    if (error != 0) return error;
    rememberRoot(to.get(), "");
    remember(status, name);
    return to.finish();
  }

  int copyOther(int folder, const char* name) {
    struct stat status;
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) return ESTALE;
    if (status.st_nlink > 1 && linkToCopy(status, newName(name))) return noted(0, name, status);
    const int error = noted(makeOther(folder, name, status, toFolder(), newName(name)), name, status);
    if (error != 0) return error;
    rememberRoot(toFolder(), newName(name));
    remember(status, newName(name));
    return 0;
  }

  // --- Files that have several names

  void remember(const struct stat& status, const char* name) {
    struct stat made;
    if (status.st_nlink < 2 || !walk_.isInside()) return;
    if (walk_.path().size() >= PATH_MAX) return;  // there would be no linking to it
    if (::fstatat(toFolder(), name, &made, AT_SYMLINK_NOFOLLOW) != 0) return;
    made_[{status.st_dev, status.st_ino}] = {pathFrom(target_.place.name, name), made.st_ino};
  }

  // False when this is the first of its names, or the others cannot be had as links.
  bool linkToCopy(const struct stat& status, const char* name) {
    const auto made = made_.find({status.st_dev, status.st_ino});
    if (made == made_.end()) return false;
    if (::linkat(targetFolder(), made->second.path.c_str(), toFolder(), name, 0) != 0) return false;
    struct stat found;
    if (::fstatat(toFolder(), name, &found, AT_SYMLINK_NOFOLLOW) == 0 && found.st_ino == made->second.number)
      return true;
    ::unlinkat(toFolder(), name, 0);
    return false;
  }

  // --- Paths

  std::string pathFrom(const std::string& root, const char* name) const {
    if (!walk_.isInside()) return root;
    std::string path = std::string(root).append("/").append(walk_.path()).append(name);
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
  }
  std::string sourcePathOf(const char* name) const { return pathFrom(source_.path, name); }
  std::string targetPathOf(const char* name) const { return pathFrom(target_.path, name); }

  const OpenPath& source_;
  const OpenPath& target_;
  CopyKind kind_;
  FileOperationObserver* observer_;
  CopiedItems* copied_;

  FolderWalk walk_{*this};
  FolderDescent to_;
  std::vector<struct stat> folders_;  // what the folders on the way are to become
  FolderIdentity root_;               // the copy's first item
  ItemKeys own_;
  std::map<std::pair<dev_t, ino_t>, Made> made_;  // by the source's identity
  ContentsCopier contents_;

  bool isWatched_ = false;
  const char* name_ = nullptr;
  std::uint64_t total_ = 0;
  std::uint64_t done_ = 0;
  std::uint64_t inItem_ = 0;
  std::uint64_t toldInItem_ = 0;

  int error_ = 0;
  bool isComplete_ = true;
};

}  // namespace

OpenPath::OpenPath(std::string itemPath)
    : path(std::move(itemPath)), place(placeOf(path)), error(place.folder ? 0 : errno) {}

CopyResult copyItem(const OpenPath& from, const OpenPath& to, CopyKind kind, FileOperationObserver* observer,
                    CopiedItems* copied) {
  return Copying(from, to, kind, observer, copied).run();
}

}  // namespace ZtFoundation::detail
