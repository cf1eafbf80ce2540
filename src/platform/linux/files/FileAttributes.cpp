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

std::optional<long long> numberIn(const NSDictionary& attributes, std::string_view key) {
  return attributes.get<long long>(key);
}

template <class Record, class Lookup, class Member>
std::optional<unsigned> identifierOf(const std::string& name, Lookup lookup, Member member) {
  std::vector<char> buffer(1024);
  Record record;
  Record* found = nullptr;
  while (lookup(name.c_str(), &record, buffer.data(), buffer.size(), &found) == ERANGE)
    buffer.resize(buffer.size() * 2);
  return found != nullptr ? std::optional<unsigned>(found->*member) : std::nullopt;
}

constexpr unsigned kUnchanged = ~0U;

template <class Record, class Lookup, class Member>
unsigned accountIn(const NSDictionary& attributes, std::string_view idKey, std::string_view nameKey, Lookup lookup,
                   Member member) {
  if (const auto id = numberIn(attributes, idKey)) return static_cast<unsigned>(*id);
  const auto name = attributes.get<std::string>(nameKey);
  return name ? identifierOf<Record>(*name, lookup, member).value_or(kUnchanged) : kUnchanged;
}

void applyOwner(const NSDictionary& attributes, const std::string& path) {
  const uid_t user =
      accountIn<struct passwd>(attributes, NSFileOwnerAccountID, NSFileOwnerAccountName, ::getpwnam_r, &passwd::pw_uid);
  const gid_t group = accountIn<struct group>(attributes, NSFileGroupOwnerAccountID, NSFileGroupOwnerAccountName,
                                              ::getgrnam_r, &group::gr_gid);
  if (user == kUnchanged && group == kUnchanged) return;
  if (::chown(path.c_str(), user, group) != 0 && user != kUnchanged) {
    [[maybe_unused]] const int result = ::chown(path.c_str(), kUnchanged, group);
  }
}

void applyModificationDate(const NSDictionary& attributes, const std::string& path) {
  const Ref<NSDate> date = attributes.get<NSDate>(NSFileModificationDate);
  if (!date || !std::isfinite(date->timeIntervalSince1970())) return;
  const double seconds = std::floor(date->timeIntervalSince1970());
  if (std::abs(seconds) > 9e15) return;
  const double fraction = date->timeIntervalSince1970() - seconds;
  timespec times[2] = {};
  times[0].tv_nsec = UTIME_OMIT;
  times[1].tv_sec = static_cast<time_t>(seconds);
  times[1].tv_nsec = std::min(static_cast<long>(fraction * 1e9), 999999999L);
  ::utimensat(AT_FDCWD, path.c_str(), times, 0);
}

}  // namespace

bool copyAttributes(int from, const struct stat& status, int to, Contents contents) {
  const auto mode = copyOwner(status, to);
  // Last, because a change of owner clears bits and an access list sets some.
  return mode && copyExtendedAttributes(from, to, contents) && setPermissions(to, *mode);
}

mode_t permissionsIn(const Ref<NSDictionary>& attributes, mode_t otherwise) {
  const auto mode = attributes ? numberIn(*attributes, NSFilePosixPermissions) : std::nullopt;
  return mode ? static_cast<mode_t>(*mode) & kPermissionBits : otherwise;
}

void applyAttributes(const Ref<NSDictionary>& attributes, const std::string& path) {
  if (!attributes) return;
  applyOwner(*attributes, path);
  if (numberIn(*attributes, NSFilePosixPermissions)) ::chmod(path.c_str(), permissionsIn(attributes, 0));
  applyModificationDate(*attributes, path);
}

}  // namespace detail

}  // namespace ZtFoundation
