#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Number.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "platform/linux/files/Accounts.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/FinderLock.h"
#include "platform/linux/files/ItemStatus.h"

namespace ZtFoundation {

constinit const std::string_view NSFileType = "NSFileType";
constinit const std::string_view NSFileTypeDirectory = "NSFileTypeDirectory";
constinit const std::string_view NSFileTypeRegular = "NSFileTypeRegular";
constinit const std::string_view NSFileTypeSymbolicLink = "NSFileTypeSymbolicLink";
constinit const std::string_view NSFileTypeSocket = "NSFileTypeSocket";
constinit const std::string_view NSFileTypeCharacterSpecial = "NSFileTypeCharacterSpecial";
constinit const std::string_view NSFileTypeBlockSpecial = "NSFileTypeBlockSpecial";
constinit const std::string_view NSFileTypeUnknown = "NSFileTypeUnknown";
constinit const std::string_view NSFileSize = "NSFileSize";
constinit const std::string_view NSFileCreationDate = "NSFileCreationDate";
constinit const std::string_view NSFileReferenceCount = "NSFileReferenceCount";
constinit const std::string_view NSFileSystemNumber = "NSFileSystemNumber";
constinit const std::string_view NSFileSystemFileNumber = "NSFileSystemFileNumber";

namespace {

using namespace detail;

bool isAllowed(const Ref<NSString>& path, int access) {
  const auto name = systemPath(path);
  return name && ::faccessat(AT_FDCWD, name->c_str(), access, AT_EACCESS) == 0;
}

// --- Deleting

// An item in its folder, which is open.
struct Entry {
  FileDescriptor folder;
  std::string name;
};

// Nothing for paths that no item can be removed by: the root, and those that end in "." or "..".
std::optional<Entry> entryOf(const Ref<NSString>& path) {
  auto name = systemPath(path);
  if (!name) return std::nullopt;
  while (name->ends_with('/')) name->pop_back();
  const std::size_t slash = name->rfind('/');
  const std::string folder = slash == std::string::npos ? std::string(".") : name->substr(0, slash + 1);
  std::string last = name->substr(slash + 1);
  if (last.empty() || last == "." || last == "..") return std::nullopt;
  return Entry{
      FileDescriptor(retryInterrupted([&] { return ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC); })),
      std::move(last)};
}

bool isMountPoint(const struct statx& item, const struct statx& folder) {
  return isMountRoot(item).value_or(identityOf(item).device != identityOf(folder).device);
}

bool mayChangeEntries(int folder) {
  return ::faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) == 0 && !isLocked(folder);
}

// Not even root may take away what can only grow, nor anything out of a folder that can only grow.
bool canOnlyGrow(const struct statx& status) { return (status.stx_attributes & STATX_ATTR_APPEND) != 0; }

bool isDeletable(const Entry& entry) {
  const auto folder = statusOfDescriptor(entry.folder.get());
  const auto item = statusOfItem(entry.folder.get(), entry.name);
  return folder && item && mayChangeEntries(entry.folder.get()) && !isKeptBySticky(*item, *folder) &&
         !canOnlyGrow(*item) && !canOnlyGrow(*folder) && !isMountPoint(*item, *folder) &&
         !isLockedAt(entry.folder.get(), entry.name);
}

// --- Attributes

std::string_view typeOf(const struct statx& status) {
  switch (status.stx_mode & S_IFMT) {
    case S_IFDIR:
      return NSFileTypeDirectory;
    case S_IFREG:
      return NSFileTypeRegular;
    case S_IFLNK:
      return NSFileTypeSymbolicLink;
    case S_IFSOCK:
      return NSFileTypeSocket;
    case S_IFCHR:
      return NSFileTypeCharacterSpecial;
    case S_IFBLK:
      return NSFileTypeBlockSpecial;
    default:
      return NSFileTypeUnknown;
  }
}

Ref<NSDate> dateOf(const statx_timestamp& time) {
  const double fraction = time.tv_nsec / 1e9;
  return NSDate::dateWithTimeIntervalSince1970(static_cast<double>(time.tv_sec) + fraction);
}

template <class Record, class Member>
Ref<NSString> accountName(unsigned identifier, int (*lookup)(unsigned, Record*, char*, std::size_t, Record**),
                          Member name) {
  Ref<NSString> text;
  withAccount(lookup, identifier,
              [&](const Record& record) { text = NSString::stringWithFileSystemRepresentation(record.*name); });
  return text;
}

void addAccounts(NSMutableDictionary& attributes, const struct statx& status) {
  attributes.setObject_forKey(status.stx_uid, NSFileOwnerAccountID);
  attributes.setObject_forKey(status.stx_gid, NSFileGroupOwnerAccountID);
  const auto user = accountName(status.stx_uid, ::getpwuid_r, &passwd::pw_name);
  const auto group = accountName(status.stx_gid, ::getgrgid_r, &group::gr_name);
  if (user) attributes.setObject_forKey(user, NSFileOwnerAccountName);
  if (group) attributes.setObject_forKey(group, NSFileGroupOwnerAccountName);
}

Ref<NSDictionary> attributesOf(const struct statx& status) {
  const Ref<NSMutableDictionary> attributes = NSMutableDictionary::dictionary();
  attributes->setObject_forKey(typeOf(status), NSFileType);
  attributes->setObject_forKey(status.stx_size, NSFileSize);
  attributes->setObject_forKey(status.stx_mode & 07777U, NSFilePosixPermissions);
  attributes->setObject_forKey(dateOf(status.stx_mtime), NSFileModificationDate);
  if ((status.stx_mask & STATX_BTIME) != 0) {
    attributes->setObject_forKey(dateOf(status.stx_btime), NSFileCreationDate);
  }
  attributes->setObject_forKey(status.stx_nlink, NSFileReferenceCount);
  attributes->setObject_forKey(identityOf(status).device, NSFileSystemNumber);
  attributes->setObject_forKey(status.stx_ino, NSFileSystemFileNumber);
  addAccounts(*attributes, status);
  return attributes->copy();
}

}  // namespace

bool NSFileManager::isReadableFileAtPath(const Ref<NSString>& path) { return isAllowed(path, R_OK); }

// What a link leads to is what would be written.
bool NSFileManager::isWritableFileAtPath(const Ref<NSString>& path) {
  return isAllowed(path, W_OK) && !isEndOfLinksLocked(*systemPath(path));
}

bool NSFileManager::isExecutableFileAtPath(const Ref<NSString>& path) { return isAllowed(path, X_OK); }

bool NSFileManager::isDeletableFileAtPath(const Ref<NSString>& path) {
  const auto entry = entryOf(path);
  return entry && isDeletable(*entry);
}

Ref<NSDictionary> NSFileManager::fileAttributesAtPath_traverseLink(const Ref<NSString>& path, bool traverseLink) {
  const auto name = systemPath(path);
  if (!name) return nullptr;
  const auto status = traverseLink ? statusOfEndOfLinks(*name) : statusOfItem(*name);
  return status ? attributesOf(*status) : nullptr;
}

}  // namespace ZtFoundation
