#include "platform/linux/operations/FileCopyItems.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>

#include "platform/linux/files/FileAttributes.h"
#include "platform/linux/files/PlaceInFolder.h"

namespace ZtFoundation::detail {

namespace {

int errorOf(int result) { return result == 0 ? 0 : errno; }

int unlessLeftOut(int error) { return isLeftOut(error) ? 0 : error; }

struct Times : std::array<timespec, 2> {
  explicit Times(const struct stat& status) : array{status.st_atim, status.st_mtim} {}
};

// As giveAttributes, for items that are not open. Links have no permissions of their own.
int giveAttributesByName(int from, const char* name, const struct stat& status, int to, const char* newName) {
  const int owner = errorOf(::fchownat(to, newName, status.st_uid, status.st_gid, AT_SYMLINK_NOFOLLOW));
  if (unlessLeftOut(owner) != 0) return owner;
  if (!S_ISLNK(status.st_mode)) {
    const Kept kept{.owner = owner == 0, .group = owner == 0, .accessList = false};
    const mode_t mode = permissionsOfCopy(status, kept, accessListAt(from, name));
    const int error = errorOf(::fchmodat(to, newName, mode, AT_SYMLINK_NOFOLLOW));
    if (unlessLeftOut(error) != 0) return error;
  }
  return unlessLeftOut(errorOf(::utimensat(to, newName, Times(status).data(), AT_SYMLINK_NOFOLLOW)));
}

int makeLink(int from, const char* name, int to, const char* newName) {
  const auto destination = destinationOfLink(from, name);
  return destination ? errorOf(::symlinkat(destination->c_str(), to, newName)) : errno;
}

}  // namespace

int giveAttributes(int from, const struct stat& status, int to) {
  if (!copyAttributes(from, status, to, Contents::Same)) return errno;
  return unlessLeftOut(errorOf(::futimens(to, Times(status).data())));
}

NewFile::NewFile(int folder, const char* name) : folder_(folder), name_(name) {
  constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  file_ = FileDescriptor(retryInterrupted([&] { return ::openat(folder, name, flags, 0600); }));
}

NewFile::~NewFile() {
  if (file_ && isInPlace()) ::unlinkat(folder_, name_, 0);
}

// Some file systems tell only now that there was no room.
int NewFile::finish() {
  if (::close(file_.release()) == 0 || errno == EINTR) return 0;
  const int error = errno;
  ::unlinkat(folder_, name_, 0);
  return error;
}

// Not another item that has got the name meanwhile.
bool NewFile::isInPlace() const {
  struct stat own;
  struct stat found;
  return ::fstat(file_.get(), &own) == 0 && ::fstatat(folder_, name_, &found, AT_SYMLINK_NOFOLLOW) == 0 &&
         own.st_ino == found.st_ino && own.st_dev == found.st_dev;
}

int makeOther(int from, const char* name, const struct stat& status, int to, const char* newName) {
  const int error =
      S_ISLNK(status.st_mode)
          ? makeLink(from, name, to, newName)
          : errorOf(::mknodat(to, newName, (status.st_mode & S_IFMT) | S_IRUSR | S_IWUSR, status.st_rdev));
  if (error != 0) return error;
  const int attributes = giveAttributesByName(from, name, status, to, newName);
  if (attributes != 0) ::unlinkat(to, newName, 0);
  return attributes;
}

}  // namespace ZtFoundation::detail
