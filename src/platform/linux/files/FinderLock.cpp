#include "platform/linux/files/FinderLock.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/ItemStatus.h"

namespace ZtFoundation::detail {

namespace {

FileDescriptor openItem(int folder, const std::string& path, int flags) {
  return FileDescriptor(retryInterrupted([&] { return ::openat(folder, path.c_str(), O_CLOEXEC | flags); }));
}

bool hasPathsOfDescriptors() { return ::access("/proc/self/fd", F_OK) == 0; }

// A folder can be opened once more; any other item would have to be known by its name.
ssize_t attributeSizeWithoutPaths(int item) {
  const FileDescriptor folder = openItem(item, ".", O_RDONLY | O_DIRECTORY);
  return folder ? ::fgetxattr(folder.get(), kLockAttribute, nullptr, 0) : -1;
}

ssize_t attributeSize(int item) {
  ssize_t size = ::fgetxattr(item, kLockAttribute, nullptr, 0);
  if (size >= 0 || errno != EBADF) return size;
  size = ::getxattr(PathOfDescriptor(item).get(), kLockAttribute, nullptr, 0);
  return size < 0 && errno == ENOENT && !hasPathsOfDescriptors() ? attributeSizeWithoutPaths(item) : size;
}

// 0 when the item has the attribute.
int attributeError(int item) {
  return retryInterrupted([&] { return attributeSize(item); }) >= 0 ? 0 : errno;
}

// --- Where an error hides the answer, the item is safer with a lock.

bool isAnswerNo(int error) {
  return error == ENODATA || error == ENOTSUP || error == EACCES || error == EPERM || error == ENOENT;
}

// Why an item cannot be opened that does not exist, or that no operation would reach.
bool isNoItem(int error) {
  return error == ENOENT || error == ENOTDIR || error == ELOOP || error == EACCES || error == ENAMETOOLONG;
}

bool mayCarryLock(const struct statx& status) { return S_ISREG(status.stx_mode) || S_ISDIR(status.stx_mode); }

bool isLocked(int item, const struct statx& status) {
  return isImmutable(status) || (mayCarryLock(status) && hasLockAttribute(item));
}

bool isLockedForReader(int folder, const std::string& path, int flags) {
  const FileDescriptor item = openItem(folder, path, O_RDONLY | O_NONBLOCK | O_NOCTTY | flags);
  return item ? detail::isLocked(item.get()) : !isAnswerNo(errno);
}

// `flags` tell whether a link at the end is followed.
bool isLockedAt(int folder, const std::string& path, int flags) {
  const FileDescriptor item = openItem(folder, path, O_PATH | flags);
  if (!item) return !isNoItem(errno);
  return detail::isLocked(item.get()) && (hasPathsOfDescriptors() || isLockedForReader(folder, path, flags));
}

// --- Asking for the attribute of an item by its name: one call where the system has it

// Calls of this age have the same distance on every processor.
#ifndef SYS_getxattrat
#define SYS_getxattrat (SYS_openat2 + 27)
#endif

struct AttributeRequest {
  alignas(8) std::uint64_t value = 0;
  std::uint32_t size = 0;
  std::uint32_t flags = 0;
};

long attributeSizeAt(int folder, const char* name) {
  const AttributeRequest request;
  return ::syscall(SYS_getxattrat, folder, name, AT_SYMLINK_NOFOLLOW, kLockAttribute, &request, sizeof request);
}

int errorOf(int result) { return result == 0 ? 0 : errno; }

int addAttribute(const std::string& path) { return errorOf(::setxattr(path.c_str(), kLockAttribute, "1", 1, 0)); }

int removeAttribute(const std::string& path) {
  const int error = errorOf(::removexattr(path.c_str(), kLockAttribute));
  return error == ENODATA || error == ENOTSUP ? 0 : error;
}

// The system takes attributes only from those who may write the item. Its owner
// can make himself one of them. Not where the change back could lose a bit.
template <class Change>
int changeAsOwner(const std::string& path, const struct statx& status, Change change) {
  const int error = change(path);
  const mode_t mode = status.stx_mode & 07777U;
  if (error != EACCES || (mode & (S_IWUSR | S_ISGID)) != 0) return error;
  if (::chmod(path.c_str(), mode | S_IWUSR) != 0) return error;
  const int result = change(path);
  return ::chmod(path.c_str(), mode) == 0 ? result : errno;
}

int clearImmutable(const std::string& path) {
  const FileDescriptor file(
      retryInterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
  int flags = 0;
  if (!file || ::ioctl(file.get(), FS_IOC_GETFLAGS, &flags) != 0) return errno;
  flags &= ~FS_IMMUTABLE_FL;
  return errorOf(::ioctl(file.get(), FS_IOC_SETFLAGS, &flags));
}

int unlock(const std::string& path, const struct statx& status) {
  const int error = isImmutable(status) ? clearImmutable(path) : 0;
  return error != 0 ? error : changeAsOwner(path, status, removeAttribute);
}

}  // namespace

bool hasLockAttribute(int item) {
  const int error = attributeError(item);
  return error == 0 || !isAnswerNo(error);
}

bool hasLockAttributeAt(int folder, const char* name) {
  if (attributeSizeAt(folder, name) >= 0) return true;
  return errno != ENODATA && errno != ENOTSUP && isLockedAt(folder, name);
}

bool isLocked(int item) {
  const auto status = statusOfDescriptor(item);
  return !status || isLocked(item, *status);
}

bool isLocked(const std::string& path) { return isLockedAt(AT_FDCWD, path); }

bool isLockedAt(int folder, const std::string& name) { return isLockedAt(folder, name, O_NOFOLLOW); }

bool isEndOfLinksLocked(const std::string& path) { return isLockedAt(AT_FDCWD, path, 0); }

bool isFolderLocked(const std::string& path) {
  const std::size_t end = path.find_last_not_of('/');
  const std::size_t slash = path.rfind('/', end);
  return isEndOfLinksLocked(slash == std::string::npos ? std::string(".") : path.substr(0, slash + 1));
}

int setLocked(int item, bool locked) {
  const auto status = statusOfDescriptor(item);
  if (!status) return errno;
  if (isLink(*status)) return 0;
  const int answer = attributeError(item);
  const bool isHidden = answer == EACCES;
  const bool isDone =
      locked ? isImmutable(*status) || answer == 0 : !isImmutable(*status) && isAnswerNo(answer) && !isHidden;
  if (isDone) return 0;
  if (locked && isHidden) return EACCES;  // nobody but those who may read the item would see the lock
  const std::string path = PathOfDescriptor(item).get();
  return locked ? changeAsOwner(path, *status, addAttribute) : unlock(path, *status);
}

int setLocked(const std::string& path, bool locked) {
  const FileDescriptor item = openItem(AT_FDCWD, path, O_PATH | O_NOFOLLOW);
  return item ? setLocked(item.get(), locked) : errno;
}

}  // namespace ZtFoundation::detail
