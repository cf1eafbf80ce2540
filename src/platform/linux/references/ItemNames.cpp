#include "platform/linux/references/ItemNames.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/FileErrors.h"
#include "platform/linux/files/FinderLock.h"
#include "platform/linux/files/FolderContents.h"
#include "platform/linux/files/ItemPath.h"
#include "platform/linux/files/ItemStatus.h"

namespace ZtFoundation::detail {

namespace {

FileDescriptor openFolder(const std::string& path) {
  return FileDescriptor(retryInterrupted([&] { return ::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC); }));
}

int errorOf(int result) { return result == 0 ? 0 : errno; }

bool isSame(const std::optional<struct statx>& status, const struct statx& other) {
  return status && identityOf(*status) == identityOf(other);
}

// --- Renaming in an open folder; each answers 0 or the system's error number

struct Renaming {
  int folder;
  std::string from;
  std::string to;
};

// Asked anew: a kernel may remember a name in other case that has just been given up.
std::optional<struct statx> statusNow(int folder, const std::string& name) {
  struct statx status;
  constexpr int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_FORCE_SYNC;
  constexpr unsigned wanted = STATX_TYPE | STATX_INO | STATX_BTIME;
  if (::statx(folder, name.c_str(), flags, wanted, &status) != 0) return std::nullopt;
  return status;
}

// 0 for a name that is free, EEXIST for one that is taken.
int askForName(const Renaming& names) {
  if (statusNow(names.folder, names.to)) return EEXIST;
  return errno == ENOENT ? 0 : errno;
}

// Else it may get a new name, but not lose the old one, nor the new one again. A server need not know the capabilities
// that a process has here.
bool mayLoseItsName(const Renaming& names) {
  const auto folder = statusOfDescriptor(names.folder);
  const auto item = statusOfItem(names.folder, names.from);
  return !folder || !item || !isOthersInSticky(*item, *folder);
}

// The new name goes again when the old one stays. A server may have taken that away although it answers an error, so it
// is looked for: the item must not lose both. It may keep both where each name has a number of its own.
int giveUpOldName(const Renaming& names) {
  const int error = errorOf(::unlinkat(names.folder, names.from.c_str(), 0));
  if (error == 0) return 0;
  const auto old = statusNow(names.folder, names.from);
  if (!old) return errno == ENOENT ? 0 : error;
  const auto renamed = statusNow(names.folder, names.to);
  if (renamed && isSame(old, *renamed)) ::unlinkat(names.folder, names.to.c_str(), 0);
  return error;
}

// For file systems that cannot refuse to replace. A new link never replaces; without one, a moment remains in which
// another process may take the name.
int renameCautiously(const Renaming& names) {
  if (const int error = askForName(names)) return error;
  if (mayLoseItsName(names)) {
    if (::linkat(names.folder, names.from.c_str(), names.folder, names.to.c_str(), 0) == 0) return giveUpOldName(names);
    if (errno == EEXIST) return EEXIST;
  }
  return errorOf(::renameat(names.folder, names.from.c_str(), names.folder, names.to.c_str()));
}

int renameWithoutReplacing(const Renaming& names) {
  const int error =
      errorOf(::renameat2(names.folder, names.from.c_str(), names.folder, names.to.c_str(), RENAME_NOREPLACE));
  // A name that is told to be taken may be one that is only remembered.
  const bool isCertain = error != EINVAL && error != ENOSYS && error != ENOTSUP && error != EEXIST;
  return isCertain ? error : renameCautiously(names);
}

// Whether an entry has exactly this name, in every letter.
bool isListed(int folder, const std::string& name) {
  const FileDescriptor listed(
      retryInterrupted([&] { return ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  FolderContents contents;
  if (!listed || !contents.read(listed.get())) return true;
  for (FolderContents::Entry entry; contents.next(entry);) {
    if (name == entry.name) return true;
  }
  return false;
}

// Over a third name, because systems take a change of case alone for no change. If the new name is still taken when the
// item has given its own up, it is another item's.
int changeCase(const Renaming& names) {
  const std::string between = std::string(".ztcase-").append(std::to_string(::getpid()));
  const Renaming away{names.folder, names.from, between};
  const Renaming there{names.folder, between, names.to};
  const Renaming back{names.folder, between, names.from};
  const int error = renameWithoutReplacing(away);
  if (error != 0) return error;
  const int result = renameWithoutReplacing(there);
  if (result != 0) renameWithoutReplacing(back);
  return result;
}

// A name that is taken without being listed is one in other case, perhaps the item's own. Numbers do not tell: file
// systems of user programs have one for each form of a name.
int rename(const Renaming& names) {
  const int error = renameWithoutReplacing(names);
  return error == EEXIST && !isListed(names.folder, names.to) ? changeCase(names) : error;
}

// The names have been looked at by then, so what remains is one that the file
// system cannot keep.
OSErr errorOfName(int error) { return error == EINVAL ? bdNamErr : fileError(error); }

}  // namespace

std::optional<std::string> nameForItem(const Ref<NSString>& name) {
  auto bytes = systemPath(name);
  if (!bytes || bytes->empty() || *bytes == "." || *bytes == ".." || bytes->find('/') != std::string::npos) {
    return std::nullopt;
  }
  return bytes;
}

OSErr makeFolderIn(const ItemPlace& folder, const std::string& name) {
  const FileDescriptor open = openFolder(folder.path);
  // A link to a folder serves as that folder.
  if (!open || (!isLink(folder.status) && !isSame(statusOfDescriptor(open.get()), folder.status))) return dirNFErr;
  if (isLocked(open.get())) return fLckdErr;
  return errorOfName(errorOf(::mkdirat(open.get(), name.c_str(), 0777)));
}

OSErr renameItem(const ItemPlace& item, const std::string& name) {
  const std::string from = nameOfPath(item.path);
  if (from == "/") return fBsyErr;
  const FileDescriptor folder = openFolder(parentOfPath(item.path));
  if (!folder || !isSame(statusOfItem(folder.get(), from), item.status)) return fnfErr;
  if (isLocked(folder.get()) || isLockedAt(folder.get(), from)) return fLckdErr;
  return from == name ? OSErr{noErr} : errorOfName(rename({folder.get(), from, name}));
}

}  // namespace ZtFoundation::detail
