#include "platform/linux/files/FileAttributes.h"

#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Number.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <optional>
#include <string_view>
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

bool isNotAllowed(int error) { return error == EPERM || error == EACCES || error == ENOTSUP; }

// --- Owner, group and permissions

bool giveOwner(int file, uid_t user, gid_t group) { return ::fchown(file, user, group) == 0; }

// Rights that the old group had are not passed to another one, unless everybody has them.
mode_t withoutGroup(mode_t mode) {
  const mode_t everybodys = (mode & S_IRWXO) << 3;
  return (mode & ~(mode_t{S_IRWXG} | mode_t{S_ISGID})) | (mode & S_IRWXG & everybodys);
}

// The permissions that may be given once owner and group are as close to the old ones as they get; none on an error.
std::optional<mode_t> copyOwner(const struct stat& from, int to) {
  const mode_t mode = from.st_mode & kPermissionBits;
  struct stat own;
  if (::fstat(to, &own) != 0) return std::nullopt;
  if (own.st_uid == from.st_uid && own.st_gid == from.st_gid) return mode;
  if (giveOwner(to, from.st_uid, from.st_gid)) return mode;
  if (errno != EPERM && errno != EINVAL)
    return std::nullopt;  // EINVAL: an owner that this user namespace does not know
  const bool groupKept = own.st_gid == from.st_gid || giveOwner(to, static_cast<uid_t>(-1), from.st_gid);
  const mode_t withoutOwner = mode & ~mode_t{S_ISUID};
  return groupKept ? withoutOwner : withoutGroup(withoutOwner);
}

bool setPermissions(int file, mode_t mode) {
  struct stat own;
  if (::fstat(file, &own) != 0) return false;
  return (own.st_mode & kPermissionBits) == mode || ::fchmod(file, mode) == 0;
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
  if (isNotAllowed(errno)) return std::vector<std::string>();
  return std::nullopt;
}

bool copyAttribute(int from, int to, const std::string& name) {
  const auto value =
      fetchGrowing([&](char* buffer, std::size_t size) { return ::fgetxattr(from, name.c_str(), buffer, size); });
  if (!value) return isNotAllowed(errno) || errno == ENODATA;
  return ::fsetxattr(to, name.c_str(), value->data(), value->size(), 0) == 0 || isNotAllowed(errno);
}

// A folder may have given the new file a list that the old one does not have.
bool removeInheritedAccessList(int file) {
  return ::fremovexattr(file, kAccessList) == 0 || errno == ENODATA || errno == ENOTSUP;
}

bool isCopied(std::string_view name, Contents contents) {
  return std::ranges::find(kBoundToFile, name) == kBoundToFile.end() &&
         (contents == Contents::Same || name != kCapability);
}

bool copyExtendedAttributes(int from, int to, Contents contents) {
  const auto names = attributeNames(from);
  if (!names) return false;
  for (const std::string& name : *names) {
    if (isCopied(name, contents) && !copyAttribute(from, to, name)) return false;
  }
  return std::ranges::find(*names, kAccessList) != names->end() || removeInheritedAccessList(to);
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
  if (const auto id = attributes.get<long long>(idKey)) return static_cast<unsigned>(*id);
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

void giveOwner(const char* path, uid_t user, gid_t group) noexcept {
  if (user == kUnchanged && group == kUnchanged) return;
  if (::chown(path, user, group) != 0) {
    [[maybe_unused]] const int result = ::chown(path, kUnchanged, group);
  }
}

}  // namespace

bool copyAttributes(int from, const struct stat& status, int to, Contents contents) {
  const auto mode = copyOwner(status, to);
  // Last, because a change of owner clears bits and an access list sets some.
  return mode && copyExtendedAttributes(from, to, contents) && setPermissions(to, *mode);
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

void WantedAttributes::giveTo(int item) const noexcept {
  const PathOfDescriptor path(item);
  giveOwner(path.get(), user_, group_);
  if (permissions_) ::chmod(path.get(), *permissions_);
  if (!modified_) return;
  const timespec times[] = {{0, UTIME_OMIT}, *modified_};
  ::utimensat(AT_FDCWD, path.get(), times, 0);
}

}  // namespace detail

}  // namespace ZtFoundation
