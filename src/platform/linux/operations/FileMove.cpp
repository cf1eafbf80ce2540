#include "platform/linux/operations/FileMove.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "platform/linux/files/FinderLock.h"
#include "platform/linux/files/PlaceInFolder.h"
#include "platform/linux/operations/FileCopy.h"
#include "platform/linux/operations/FileRemoval.h"

namespace ZtFoundation::detail {

namespace {

int errorOf(int result) { return result == 0 ? 0 : errno; }

int rename(const PlaceInFolder& from, const PlaceInFolder& to, unsigned flags) {
  return errorOf(::renameat2(from.folder.get(), from.name.c_str(), to.folder.get(), to.name.c_str(), flags));
}

// An empty item of the same kind, which a rename replaces.
int makePlaceholder(const PlaceInFolder& place, bool isFolder) {
  const char* name = place.name.c_str();
  if (isFolder) return errorOf(::mkdirat(place.folder.get(), name, S_IRWXU));
  constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  return FileDescriptor(retryInterrupted([&] { return ::openat(place.folder.get(), name, flags, 0600); })) ? 0 : errno;
}

// For file systems that cannot refuse to replace: nobody else gets the name once something of ours has it.
int renameOverPlaceholder(const PlaceInFolder& from, const PlaceInFolder& to, bool isFolder) {
  const int taken = makePlaceholder(to, isFolder);
  if (taken != 0) return taken;
  const int error = rename(from, to, 0);
  if (error != 0) ::unlinkat(to.folder.get(), to.name.c_str(), isFolder ? AT_REMOVEDIR : 0);
  return error;
}

int renameWithoutReplacing(const PlaceInFolder& from, const PlaceInFolder& to, bool isFolder) {
  const int error = rename(from, to, RENAME_NOREPLACE);
  return error == EINVAL || error == ENOSYS || error == ENOTSUP ? renameOverPlaceholder(from, to, isFolder) : error;
}

int obstacle(const PlaceInFolder& from, const PlaceInFolder& to) {
  const bool isAnyLocked =
      isLocked(from.folder.get()) || isLocked(to.folder.get()) || isLockedAt(from.folder.get(), from.name);
  return isAnyLocked ? EPERM : 0;
}

// For flushing, which tells of the errors since then.
FileDescriptor openFolder(const PlaceInFolder& place) {
  constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  return FileDescriptor(retryInterrupted([&] { return ::openat(place.folder.get(), ".", flags); }));
}

// What the observer is asked about, it has been asked by then.
struct Outcome {
  int error;
  bool isAsked = false;
};

Outcome copyAndRemove(const OpenPath& source, const OpenPath& target, FileOperationObserver* observer) {
  // Better to know before the copy than after.
  if (::faccessat(source.place.folder.get(), ".", W_OK, AT_EACCESS) != 0) return {errno};
  const FileDescriptor folder = openFolder(target.place);
  if (!folder) return {errno};
  CopiedItems copied;
  const CopyResult copy = copyItem(source, target, CopyKind::Copy, observer, &copied);
  if (copy.error != 0) return {copy.error, true};
  if (!copy.isComplete) return {EIO, true};
  // The only copy there will be is on its device before the source goes.
  const int error = errorOf(retryInterrupted([&] { return ::syncfs(folder.get()); }));
  return {error != 0 ? error : removeCopied(source.place, std::move(copied))};
}

// Who cannot be told, or throws, finds the item where it was.
void tell(const PlaceInFolder& source, const PlaceInFolder& target, bool isFolder, const std::string& from,
          FileOperationObserver& observer) {
  try {
    observer.willProcess(from);
  } catch (...) {
    renameWithoutReplacing(target, source, isFolder);
    throw;
  }
}

Outcome move(const std::string& from, const std::string& to, FileOperationObserver* observer) {
  const OpenPath source(from);
  if (!source) return {source.error};
  const OpenPath target(to);
  if (!target) return {target.error};
  struct stat status;
  if (::fstatat(source.place.folder.get(), source.place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
    return {errno};
  if (const int error = obstacle(source.place, target.place)) return {error};
  const bool isFolder = S_ISDIR(status.st_mode);
  const int error = renameWithoutReplacing(source.place, target.place, isFolder);
  if (error == EXDEV) return copyAndRemove(source, target, observer);
  if (error == 0 && observer != nullptr && observer->wantsPaths()) {
    tell(source.place, target.place, isFolder, from, *observer);
  }
  return {error};
}

}  // namespace

int moveItem(const std::string& from, const std::string& to, FileOperationObserver* observer) {
  const Outcome outcome = move(from, to, observer);
  const bool isToAsk = outcome.error != 0 && !outcome.isAsked && observer != nullptr;
  return isToAsk && observer->proceedsAfter(outcome.error, from, to) ? 0 : outcome.error;
}

}  // namespace ZtFoundation::detail
