#include "platform/linux/SystemCallFaults.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <ctime>
#include <utility>

namespace ZtFoundation::test {

namespace {

FaultScript* current = nullptr;

bool fails(const char* name) { return current != nullptr && current->fails(name); }

template <class Function>
Function next(const char* symbol) {
  return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, symbol));
}

constexpr bool kIsWide = sizeof(void*) == 8;

// Whether opening takes permissions.
bool makesFile(int flags) { return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE; }

}  // namespace

FaultScript::FaultScript(Fault fault) : fault_(fault) { current = this; }
FaultScript::~FaultScript() { current = nullptr; }

void FaultScript::before(std::string name, std::function<void()> action) {
  actionName_ = std::move(name);
  action_ = std::move(action);
}

std::string FaultScript::faulted() const {
  return fault_.at >= 0 && wasReached() ? calls_[static_cast<std::size_t>(fault_.at)] : "";
}

bool FaultScript::fails(const char* name) {
  if (action_ && actionName_ == name) {
    current = nullptr;
    std::exchange(action_, nullptr)();
    current = this;
  }
  calls_.emplace_back(name);
  const int number = static_cast<int>(calls_.size()) - 1;
  const bool isChosen = number == fault_.at || (fault_.persists && fault_.at >= 0 && number > fault_.at);
  if (!isChosen || fault_.error == 0) return false;
  errno = fault_.error;
  return true;
}

}  // namespace ZtFoundation::test

using ZtFoundation::test::fails;
using ZtFoundation::test::kIsWide;
using ZtFoundation::test::makesFile;
using ZtFoundation::test::next;

#define ZT_STAND_IN extern "C" __attribute__((visibility("default")))

#define ZT_INTERCEPT(result, name, symbol, failure, parameters, arguments, specifier) \
  ZT_STAND_IN result name parameters specifier {                                      \
    static const auto original = next<result(*) parameters>(symbol);                  \
    return fails(#name) ? failure : original arguments;                               \
  }

// The headers give these functions the names of their 64-bit forms.
ZT_INTERCEPT(int, fstat, kIsWide ? "fstat64" : "__fstat64_time64", -1, (int file, struct stat* status), (file, status),
             noexcept)
ZT_INTERCEPT(int, fstatat, kIsWide ? "fstatat64" : "__fstatat64_time64", -1,
             (int folder, const char* path, struct stat* status, int flags), (folder, path, status, flags), noexcept)
ZT_INTERCEPT(int, stat, kIsWide ? "stat64" : "__stat64_time64", -1, (const char* path, struct stat* status),
             (path, status), noexcept)
ZT_INTERCEPT(int, lstat, kIsWide ? "lstat64" : "__lstat64_time64", -1, (const char* path, struct stat* status),
             (path, status), noexcept)
ZT_INTERCEPT(int, statfs, "statfs64", -1, (const char* path, struct statfs* status), (path, status), noexcept)
ZT_INTERCEPT(int, fstatfs, "fstatfs64", -1, (int file, struct statfs* status), (file, status), noexcept)
ZT_INTERCEPT(int, fstatvfs, "fstatvfs64", -1, (int file, struct statvfs* status), (file, status), noexcept)
ZT_INTERCEPT(int, statvfs, "statvfs64", -1, (const char* path, struct statvfs* status), (path, status), noexcept)
ZT_INTERCEPT(dirent*, readdir, "readdir64", nullptr, (DIR * listing), (listing), )

ZT_INTERCEPT(int, access, "access", -1, (const char* path, int mode), (path, mode), noexcept)
ZT_INTERCEPT(int, chmod, "chmod", -1, (const char* path, mode_t mode), (path, mode), noexcept)
ZT_INTERCEPT(int, chown, "chown", -1, (const char* path, uid_t user, gid_t group), (path, user, group), noexcept)
ZT_INTERCEPT(int, mkdir, "mkdir", -1, (const char* path, mode_t mode), (path, mode), noexcept)
ZT_INTERCEPT(ssize_t, readlink, "readlink", -1, (const char* path, char* buffer, size_t size), (path, buffer, size),
             noexcept)
ZT_INTERCEPT(char*, realpath, "realpath", nullptr, (const char* path, char* resolved), (path, resolved), noexcept)
ZT_INTERCEPT(ssize_t, getxattr, "getxattr", -1, (const char* path, const char* name, void* value, size_t size),
             (path, name, value, size), noexcept)
ZT_INTERCEPT(ssize_t, lgetxattr, "lgetxattr", -1, (const char* path, const char* name, void* value, size_t size),
             (path, name, value, size), noexcept)
ZT_INTERCEPT(int, setxattr, "setxattr", -1,
             (const char* path, const char* name, const void* value, size_t size, int flags),
             (path, name, value, size, flags), noexcept)
ZT_INTERCEPT(int, removexattr, "removexattr", -1, (const char* path, const char* name), (path, name), noexcept)
ZT_INTERCEPT(int, name_to_handle_at, "name_to_handle_at", -1,
             (int folder, const char* path, file_handle* handle, int* mount, int flags),
             (folder, path, handle, mount, flags), noexcept)
ZT_INTERCEPT(int, open_by_handle_at, "open_by_handle_at", -1, (int mount, file_handle* handle, int flags),
             (mount, handle, flags), )
ZT_INTERCEPT(DIR*, opendir, "opendir", nullptr, (const char* path), (path), )
ZT_INTERCEPT(DIR*, fdopendir, "fdopendir", nullptr, (int file), (file), )
ZT_INTERCEPT(int, faccessat, "faccessat", -1, (int folder, const char* path, int mode, int flags),
             (folder, path, mode, flags), noexcept)
ZT_INTERCEPT(int, fchmod, "fchmod", -1, (int file, mode_t mode), (file, mode), noexcept)
ZT_INTERCEPT(int, fchown, "fchown", -1, (int file, uid_t user, gid_t group), (file, user, group), noexcept)
ZT_INTERCEPT(ssize_t, flistxattr, "flistxattr", -1, (int file, char* list, size_t size), (file, list, size), noexcept)
ZT_INTERCEPT(ssize_t, fgetxattr, "fgetxattr", -1, (int file, const char* name, void* value, size_t size),
             (file, name, value, size), noexcept)
ZT_INTERCEPT(int, fsetxattr, "fsetxattr", -1, (int file, const char* name, const void* value, size_t size, int flags),
             (file, name, value, size, flags), noexcept)
ZT_INTERCEPT(int, fremovexattr, "fremovexattr", -1, (int file, const char* name), (file, name), noexcept)
ZT_INTERCEPT(int, flock, "flock", -1, (int file, int operation), (file, operation), noexcept)
ZT_INTERCEPT(int, getentropy, "getentropy", -1, (void* buffer, size_t size), (buffer, size), )
ZT_INTERCEPT(ssize_t, read, "read", -1, (int file, void* buffer, size_t size), (file, buffer, size), )
ZT_INTERCEPT(ssize_t, readlinkat, "readlinkat", -1, (int folder, const char* path, char* buffer, size_t size),
             (folder, path, buffer, size), noexcept)
ZT_INTERCEPT(int, renameat, "renameat", -1, (int folder, const char* from, int target, const char* to),
             (folder, from, target, to), noexcept)
ZT_INTERCEPT(int, unlinkat, "unlinkat", -1, (int folder, const char* path, int flags), (folder, path, flags), noexcept)

ZT_INTERCEPT(int, mkdirat, "mkdirat", -1, (int folder, const char* path, mode_t mode), (folder, path, mode), noexcept)
ZT_INTERCEPT(int, mknodat, "mknodat", -1, (int folder, const char* path, mode_t mode, dev_t device),
             (folder, path, mode, device), noexcept)
ZT_INTERCEPT(int, symlinkat, "symlinkat", -1, (const char* destination, int folder, const char* path),
             (destination, folder, path), noexcept)
ZT_INTERCEPT(int, linkat, "linkat", -1, (int folder, const char* from, int target, const char* to, int flags),
             (folder, from, target, to, flags), noexcept)
ZT_INTERCEPT(int, renameat2, "renameat2", -1,
             (int folder, const char* from, int target, const char* to, unsigned flags),
             (folder, from, target, to, flags), noexcept)
ZT_INTERCEPT(int, fchownat, "fchownat", -1, (int folder, const char* path, uid_t user, gid_t group, int flags),
             (folder, path, user, group, flags), noexcept)
ZT_INTERCEPT(int, fchmodat, "fchmodat", -1, (int folder, const char* path, mode_t mode, int flags),
             (folder, path, mode, flags), noexcept)
ZT_INTERCEPT(int, futimens, kIsWide ? "futimens" : "__futimens64", -1, (int file, const struct timespec* times),
             (file, times), noexcept)
ZT_INTERCEPT(int, utimensat, kIsWide ? "utimensat" : "__utimensat64", -1,
             (int folder, const char* path, const struct timespec* times, int flags), (folder, path, times, flags),
             noexcept)
ZT_INTERCEPT(ssize_t, pread, "pread64", -1, (int file, void* buffer, size_t size, off_t at), (file, buffer, size, at), )
ZT_INTERCEPT(ssize_t, copy_file_range, "copy_file_range", -1,
             (int from, off64_t* in, int to, off64_t* out, size_t size, unsigned flags),
             (from, in, to, out, size, flags), )
ZT_INTERCEPT(int, ftruncate, "ftruncate64", -1, (int file, off_t size), (file, size), noexcept)
ZT_INTERCEPT(off_t, lseek, "lseek64", -1, (int file, off_t at, int from), (file, at, from), noexcept)

ZT_STAND_IN int statx(int folder, const char* path, int flags, unsigned mask, struct statx* status) noexcept {
  static const auto original = next<int (*)(int, const char*, int, unsigned, struct statx*)>("statx");
  if (fails("statx")) return -1;
  const int result = original(folder, path, flags, mask, status);
  const auto* script = ZtFoundation::test::current;
  if (result != 0 || script == nullptr || !script->hidesMounts()) return result;
  status->stx_attributes_mask &= ~std::uint64_t{STATX_ATTR_MOUNT_ROOT};
  status->stx_attributes &= ~std::uint64_t{STATX_ATTR_MOUNT_ROOT};
  return result;
}

ZT_STAND_IN ssize_t pwrite(int file, const void* bytes, size_t size, off_t at) {
  static const auto original = next<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite64");
  if (fails("pwrite")) return -1;
  const auto* script = ZtFoundation::test::current;
  return original(file, bytes, script != nullptr && script->isHalfWrite() && size > 1 ? size / 2 : size, at);
}

ZT_STAND_IN ssize_t getdents64(int folder, void* buffer, size_t size) noexcept {
  static const auto original = next<ssize_t (*)(int, void*, size_t)>("getdents64");
  if (fails("getdents64")) return -1;
  const ssize_t got = original(folder, buffer, size);
  const auto* script = ZtFoundation::test::current;
  if (script == nullptr || !script->hidesTypes()) return got;
  for (ssize_t at = 0; at < got;) {
    auto* entry = reinterpret_cast<dirent64*>(static_cast<char*>(buffer) + at);
    entry->d_type = DT_UNKNOWN;
    at += entry->d_reclen;
  }
  return got;
}

ZT_STAND_IN int ioctl(int file, unsigned long request, ...) noexcept {
  static const auto original = next<int (*)(int, unsigned long, ...)>("ioctl");
  std::va_list list;
  va_start(list, request);
  void* const argument = va_arg(list, void*);
  va_end(list);
  return fails("ioctl") ? -1 : original(file, request, argument);
}

ZT_STAND_IN int fcntl(int file, int command, ...) {
  static const auto original = next<int (*)(int, int, ...)>("fcntl64");
  std::va_list list;
  va_start(list, command);
  void* const argument = va_arg(list, void*);
  va_end(list);
  return fails("fcntl") ? -1 : original(file, command, argument);
}

ZT_STAND_IN int openat(int folder, const char* path, int flags, ...) {
  static const auto original = next<int (*)(int, const char*, int, ...)>("openat64");
  std::va_list list;
  va_start(list, flags);
  const mode_t mode = makesFile(flags) ? va_arg(list, mode_t) : 0;
  va_end(list);
  return fails("openat") ? -1 : original(folder, path, flags, mode);
}

ZT_STAND_IN int open(const char* path, int flags, ...) {
  static const auto original = next<int (*)(const char*, int, ...)>("open64");
  std::va_list list;
  va_start(list, flags);
  const mode_t mode = makesFile(flags) ? va_arg(list, mode_t) : 0;
  va_end(list);
  return fails("open") ? -1 : original(path, flags, mode);
}

// What the C library has no function for yet: removals ask for attributes so.
ZT_STAND_IN long syscall(long number, ...) noexcept {
  static const auto original = next<long (*)(long, ...)>("syscall");
  std::va_list list;
  va_start(list, number);
  long arguments[6];
  for (long& argument : arguments) argument = va_arg(list, long);
  va_end(list);
  constexpr long kGetxattrat = SYS_openat2 + 27;
  if (number == kGetxattrat && fails("getxattrat")) return -1;
  return original(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}

ZT_STAND_IN ssize_t write(int file, const void* bytes, size_t size) {
  static const auto original = next<ssize_t (*)(int, const void*, size_t)>("write");
  if (fails("write")) return -1;
  const auto* script = ZtFoundation::test::current;
  return original(file, bytes, script != nullptr && script->isHalfWrite() && size > 1 ? size / 2 : size);
}

// Flushing changes nothing that a test with a script could see, but takes most of the time of a save.
ZT_STAND_IN int fsync(int file) {
  static const auto original = next<int (*)(int)>("fsync");
  if (fails("fsync")) return -1;
  return ZtFoundation::test::current != nullptr ? 0 : original(file);
}

ZT_STAND_IN int syncfs(int file) noexcept {
  static const auto original = next<int (*)(int)>("syncfs");
  if (fails("syncfs")) return -1;
  return ZtFoundation::test::current != nullptr ? 0 : original(file);
}

// Nobody waits in a test with a script.
ZT_STAND_IN int nanosleep(const struct timespec* time, struct timespec* rest) {
  static const auto original = next<int (*)(const timespec*, timespec*)>(kIsWide ? "nanosleep" : "__nanosleep64");
  if (fails("nanosleep")) return -1;
  return ZtFoundation::test::current != nullptr ? 0 : original(time, rest);
}

// A file is closed even when closing tells of an error.
ZT_STAND_IN int close(int file) {
  static const auto original = next<int (*)(int)>("close");
  const bool isFailing = fails("close");
  const int error = errno;
  const int result = original(file);
  if (isFailing) errno = error;
  return isFailing ? -1 : result;
}

ZT_STAND_IN int closedir(DIR* listing) {
  static const auto original = next<int (*)(DIR*)>("closedir");
  const bool isFailing = fails("closedir");
  const int error = errno;
  const int result = original(listing);
  if (isFailing) errno = error;
  return isFailing ? -1 : result;
}
