#include "platform/linux/files/FileAttributes.h"

#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Number.h>
#include <fcntl.h>
#include <grp.h>
#include <linux/magic.h>
#include <linux/posix_acl.h>
#include <pwd.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/files/Accounts.h"
#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation {

constinit const std::string_view NSFilePosixPermissions = "NSFilePosixPermissions";
constinit const std::string_view NSFileModificationDate = "NSFileModificationDate";
constinit const std::string_view NSFileOwnerAccountID = "NSFileOwnerAccountID";
constinit const std::string_view NSFileGroupOwnerAccountID = "NSFileGroupOwnerAccountID";
constinit const std::string_view NSFileOwnerAccountName = "NSFileOwnerAccountName";
constinit const std::string_view NSFileGroupOwnerAccountName = "NSFileGroupOwnerAccountName";

namespace detail {

namespace {

constexpr mode_t kPermissionBits = 07777;
constexpr const char* kAccessList = "system.posix_acl_access";
// Rights that were given to the contents; the system itself drops them when a file is written.
constexpr std::string_view kCapability = "security.capability";
// These are bound to one file and its contents, and the system renews them.
constexpr std::array<std::string_view, 2> kBoundToFile{"security.ima", "security.evm"};

// --- Owner, group and permissions

bool giveOwner(int file, uid_t user, gid_t group) { return ::fchown(file, user, group) == 0; }

constexpr mode_t kClass = 07;

mode_t withRights(mode_t mode, mode_t group, mode_t others) {
  return (mode & ~(mode_t{S_IRWXG} | mode_t{S_IRWXO})) | (group & kClass) << 3 | (others & kClass);
}

// The old group's members are others now, and some of the others are the group: both get what both had.
mode_t withoutGroup(mode_t mode) {
  const mode_t both = mode >> 3 & mode;
  return withRights(mode & ~mode_t{S_ISGID}, both, both);
}

// The bits of the group show the most that the list gives to anybody in it but the owner. Those whom it names are group
// and others now, which get no more than any of them had. An entry is a tag and rights of two bytes, the lower one
// first, and a number of four. A list that nobody knows may name anybody.
mode_t withoutAccessList(mode_t mode, std::string_view list) {
  constexpr std::size_t kVersion = 4, kEntry = 8;
  const mode_t most = mode >> 3;
  mode_t group = 0;
  mode_t named = list.size() < kVersion ? 0 : kClass;
  list.remove_prefix(std::min(kVersion, list.size()));
  for (; list.size() >= kEntry; list.remove_prefix(kEntry)) {
    const auto rights = static_cast<mode_t>(list[2]);
    if (list[0] == ACL_GROUP_OBJ) group = rights & most;
    if (list[0] == ACL_USER || list[0] == ACL_GROUP) named &= rights & most;
  }
  return withRights(mode, group & named, mode & named);
}

// Owner and group as close to the old ones as they get; none on an error.
std::optional<Kept> copyOwner(const struct stat& from, int to) {
  struct stat own;
  if (::fstat(to, &own) != 0) return std::nullopt;
  if (own.st_uid == from.st_uid && own.st_gid == from.st_gid) return Kept{};
  if (giveOwner(to, from.st_uid, from.st_gid)) return Kept{};
  if (!isLeftOut(errno)) return std::nullopt;
  return Kept{.owner = false, .group = own.st_gid == from.st_gid || giveOwner(to, static_cast<uid_t>(-1), from.st_gid)};
}

std::optional<mode_t> permissionsOf(int item) noexcept {
  struct stat status;
  if (::fstat(item, &status) != 0) return std::nullopt;
  return status.st_mode & kPermissionBits;
}

bool setPermissions(int file, mode_t mode) {
  const auto own = permissionsOf(file);
  return own && (*own == mode || ::fchmod(file, mode) == 0);
}

// --- Extended attributes

// Calls `fetch` with a buffer until the answer fits, however it changes in between; none on an error.
template <class Fetch>
std::optional<std::string> fetchGrowing(Fetch fetch) {
  for (;;) {
    const ssize_t size = fetch(nullptr, std::size_t{0});
    if (size < 0) return std::nullopt;
    std::string buffer(static_cast<std::size_t>(size), '\0');
    if (size == 0) return buffer;
    const ssize_t got = fetch(buffer.data(), buffer.size());
    if (got < 0 && errno == ERANGE) continue;
    if (got < 0) return std::nullopt;
    buffer.resize(static_cast<std::size_t>(got));
    return buffer;
  }
}

std::vector<std::string> splitNames(std::string_view joined) {
  std::vector<std::string> names;
  while (!joined.empty()) {
    const std::size_t length = std::min(joined.find('\0'), joined.size());
    names.emplace_back(joined.substr(0, length));
    joined.remove_prefix(std::min(length + 1, joined.size()));
  }
  return names;
}

std::optional<std::vector<std::string>> attributeNames(int file) {
  const auto joined = fetchGrowing([file](char* buffer, std::size_t size) { return ::flistxattr(file, buffer, size); });
  if (joined) return splitNames(*joined);
  if (isLeftOut(errno)) return std::vector<std::string>();
  return std::nullopt;
}

enum class Outcome { Copied, LeftOut, Failed };

bool hasRoom(int file) {
  struct statvfs volume;
  return ::fstatvfs(file, &volume) == 0 && volume.f_bavail > 0;
}

// A file system keeps only so much with one item, and may call that a full device.
bool isTooLarge(int error, int file) { return error == E2BIG || error == ERANGE || (error == ENOSPC && hasRoom(file)); }

// `value` stays as it is where it cannot be read.
Outcome copyAttribute(int from, int to, const std::string& name, std::string& value) {
  auto read =
      fetchGrowing([&](char* buffer, std::size_t size) { return ::fgetxattr(from, name.c_str(), buffer, size); });
  if (!read) return isLeftOut(errno) || errno == ENODATA || errno == E2BIG ? Outcome::LeftOut : Outcome::Failed;
  value = std::move(*read);
  if (::fsetxattr(to, name.c_str(), value.data(), value.size(), 0) == 0) return Outcome::Copied;
  return isLeftOut(errno) || isTooLarge(errno, to) ? Outcome::LeftOut : Outcome::Failed;
}

// A folder may have given the new file a list that the old one does not have.
bool removeInheritedAccessList(int file) {
  if (::fremovexattr(file, kAccessList) == 0 || errno == ENODATA) return true;
  return isLeftOut(errno) && ::fgetxattr(file, kAccessList, nullptr, 0) < 0;
}

bool isCopied(std::string_view name, Contents contents) {
  return std::ranges::find(kBoundToFile, name) == kBoundToFile.end() &&
         (contents == Contents::Same || name != kCapability);
}

// `list` becomes the access list of `from`, if it has one.
bool copyExtendedAttributes(int from, int to, Contents contents, Kept& kept, std::optional<std::string>& list) {
  const auto names = attributeNames(from);
  if (!names) return false;
  for (const std::string& name : *names) {
    if (!isCopied(name, contents)) continue;
    std::string value;
    const Outcome outcome = copyAttribute(from, to, name, value);
    if (outcome == Outcome::Failed) return false;
    if (name != kAccessList) continue;
    kept.accessList = outcome == Outcome::Copied;
    list = std::move(value);
  }
  return (list && kept.accessList) || removeInheritedAccessList(to);
}

// --- Attributes that a host asks for

constexpr unsigned kUnchanged = ~0U;

template <class Record, class Member>
unsigned identifierOf(const std::string& name, int (*lookup)(const char*, Record*, char*, std::size_t, Record**),
                      Member member) {
  unsigned identifier = kUnchanged;
  withAccount(lookup, name.c_str(), [&](const Record& record) { identifier = record.*member; });
  return identifier;
}

template <class Record, class Member>
unsigned accountIn(const NSDictionary& attributes, std::string_view idKey, std::string_view nameKey,
                   int (*lookup)(const char*, Record*, char*, std::size_t, Record**), Member member) {
  if (const auto id = attributes.get<long long>(idKey)) {
    return std::in_range<unsigned>(*id) ? static_cast<unsigned>(*id) : kUnchanged;
  }
  const auto name = attributes.get<std::string>(nameKey);
  return name ? identifierOf(*name, lookup, member) : kUnchanged;
}

std::optional<timespec> modificationTimeIn(const NSDictionary& attributes) {
  const Ref<NSDate> date = attributes.get<NSDate>(NSFileModificationDate);
  if (!date) return std::nullopt;
  const double seconds = std::floor(date->timeIntervalSince1970());
  if (!(std::abs(seconds) <= 9e15)) return std::nullopt;  // NaN is out of them, too
  const double fraction = date->timeIntervalSince1970() - seconds;
  return timespec{static_cast<time_t>(seconds), std::min(static_cast<long>(fraction * 1e9), 999999999L)};
}

void giveWantedOwner(int item, uid_t user, gid_t group) noexcept {
  if (user == kUnchanged && group == kUnchanged) return;
  if (::fchownat(item, "", user, group, AT_EMPTY_PATH) != 0) {
    [[maybe_unused]] const int result = ::fchownat(item, "", kUnchanged, group, AT_EMPTY_PATH);
  }
}

// The calls for an open item do not take a descriptor that was opened with O_PATH.
bool changePermissions(int item, const char* path, mode_t mode) noexcept {
  return ::fchmod(item, mode) == 0 || (errno == EBADF && ::chmod(path, mode) == 0);
}

// Some file systems refuse what they do not keep as if it were not permitted.
bool givePermissionsThatAreKept(int item, const char* path, mode_t mode) noexcept {
  struct statfs volume;
  if (::fstatfs(item, &volume) != 0) return false;
  const mode_t kept = permissionsKeptBy(volume.f_type);
  return kept == 0 || ((mode & ~kept) != 0 && changePermissions(item, path, mode & kept));
}

// Left out where the file system has no permissions.
bool giveWantedPermissions(int item, const char* path, mode_t mode) noexcept {
  if (changePermissions(item, path, mode)) return true;
  if (errno == EPERM) return givePermissionsThatAreKept(item, path, mode);
  return errno == ENOTSUP || errno == ENOSYS;
}

bool giveWantedDate(int item, const char* path, const timespec& modified) noexcept {
  const timespec times[] = {{0, UTIME_OMIT}, modified};
  return ::futimens(item, times) == 0 || (errno == EBADF && ::utimensat(AT_FDCWD, path, times, 0) == 0) ||
         isLeftOut(errno);
}

}  // namespace

mode_t permissionsKeptBy(std::intmax_t fileSystem) noexcept {
  if (fileSystem == MSDOS_SUPER_MAGIC || fileSystem == EXFAT_SUPER_MAGIC) return 0;
  return fileSystem == FUSE_SUPER_MAGIC ? mode_t{0777} : kPermissionBits;
}

bool isLeftOut(int error) noexcept {
  return error == EPERM || error == EACCES || error == ENOTSUP || error == ENOSYS || error == EINVAL;
}

mode_t permissionsOfCopy(const struct stat& status, const Kept& kept, const std::optional<std::string>& list) {
  mode_t mode = status.st_mode & kPermissionBits;
  if (!kept.owner) mode &= ~mode_t{S_ISUID};
  if (list && !(kept.group && kept.accessList)) mode = withoutAccessList(mode, *list);
  return kept.group ? mode : withoutGroup(mode);
}

std::optional<std::string> accessListAt(int folder, const char* name) {
  constexpr int flags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
  const FileDescriptor item(retryInterrupted([&] { return ::openat(folder, name, flags); }));
  const PathOfDescriptor path(item.get());
  auto list =
      fetchGrowing([&](char* buffer, std::size_t size) { return ::getxattr(path.get(), kAccessList, buffer, size); });
  if (!list && errno != ENODATA && errno != ENOTSUP) list.emplace();
  return list;
}

bool copyAttributes(int from, const struct stat& status, int to, Contents contents) {
  auto kept = copyOwner(status, to);
  std::optional<std::string> list;
  if (!kept || !copyExtendedAttributes(from, to, contents, *kept, list)) return false;
  // Last, because a change of owner clears bits and an access list sets some.
  return setPermissions(to, permissionsOfCopy(status, *kept, list)) || (contents == Contents::Same && isLeftOut(errno));
}

WantedAttributes::WantedAttributes(const Ref<NSDictionary>& attributes) : user_(kUnchanged), group_(kUnchanged) {
  if (!attributes) return;
  user_ = accountIn(*attributes, NSFileOwnerAccountID, NSFileOwnerAccountName, ::getpwnam_r, &passwd::pw_uid);
  group_ = accountIn(*attributes, NSFileGroupOwnerAccountID, NSFileGroupOwnerAccountName, ::getgrnam_r, &group::gr_gid);
  if (const auto mode = attributes->get<long long>(NSFilePosixPermissions)) {
    permissions_ = static_cast<mode_t>(*mode) & kPermissionBits;
  }
  modified_ = modificationTimeIn(*attributes);
}

bool WantedAttributes::givePermissions(int item, mode_t added) const noexcept {
  if (!permissions_) return true;
  const auto own = permissionsOf(item);
  if (!own || *own == *permissions_) return own.has_value();
  return giveWantedPermissions(item, PathOfDescriptor(item).get(), *permissions_ & (*own | added));
}

bool WantedAttributes::takeRightsFrom(int item) const noexcept { return givePermissions(item, 0); }

bool WantedAttributes::giveRightsTo(int item) const noexcept {
  giveWantedOwner(item, user_, group_);
  return givePermissions(item, kPermissionBits);
}

bool WantedAttributes::giveTo(int item) const noexcept {
  return giveRightsTo(item) && (!modified_ || giveWantedDate(item, PathOfDescriptor(item).get(), *modified_));
}

}  // namespace detail

}  // namespace ZtFoundation
