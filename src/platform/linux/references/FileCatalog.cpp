#include "platform/services/FileCatalog.h"

#include <fcntl.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/FileErrors.h"
#include "platform/linux/files/FinderLock.h"
#include "platform/linux/files/ItemPath.h"
#include "platform/linux/files/ItemStatus.h"
#include "platform/linux/references/CatalogDates.h"
#include "platform/linux/references/ItemNames.h"
#include "platform/linux/references/ItemReference.h"
#include "platform/services/Service.h"
#include "platform/services/Volumes.h"

namespace ZtFoundation {

namespace {

using detail::ItemPlace;

// The extended attribute that holds an item's resource fork. It takes part in
// no other system's conventions.
constexpr char kResourceAttribute[] = "user.ZtFoundation.resources";
constexpr std::uint64_t kBlock = 512;

// --- Fields of the catalog record

std::uint16_t nodeFlags(const ItemPlace& place) {
  const unsigned locked = detail::isLocked(place.path) ? kFSNodeLockedMask : 0U;
  const unsigned folder = detail::isFolder(place.status) ? kFSNodeIsDirectoryMask : 0U;
  return static_cast<std::uint16_t>(locked | folder);
}

UTCDateTime dateOf(const statx_timestamp& time) { return detail::catalogDate(time.tv_sec, time.tv_nsec); }

UTCDateTime createDate(const struct statx& status) {
  return (status.stx_mask & STATX_BTIME) != 0 ? dateOf(status.stx_btime) : UTCDateTime{};
}

// Attributes are not counted in blocks; what one takes is reckoned in whole
// ones.
void fillResourceSizes(const ItemPlace& place, FSCatalogInfo& info) {
  const ssize_t size =
      detail::isFolder(place.status) ? 0 : ::lgetxattr(place.path.c_str(), kResourceAttribute, nullptr, 0);
  info.rsrcLogicalSize = size > 0 ? static_cast<std::uint64_t>(size) : 0;
  info.rsrcPhysicalSize = (info.rsrcLogicalSize + kBlock - 1) / kBlock * kBlock;
}

void fillDataSizes(const struct statx& status, FSCatalogInfo& info) {
  const bool hasForks = !detail::isFolder(status);
  info.dataLogicalSize = hasForks ? status.stx_size : 0;
  info.dataPhysicalSize = hasForks ? status.stx_blocks * kBlock : 0;
}

FSVolumeRefNum volumeOf(const ItemPlace& place) { return service<Volumes>().volumeHolding(detail::referenceTo(place)); }

OSErr fillInfo(const ItemPlace& place, FSCatalogInfoBitmap wanted, FSCatalogInfo& info) {
  if ((wanted & kFSCatInfoNodeFlags) != 0) info.nodeFlags = nodeFlags(place);
  if ((wanted & kFSCatInfoCreateDate) != 0) info.createDate = createDate(place.status);
  if ((wanted & kFSCatInfoContentMod) != 0) info.contentModDate = dateOf(place.status.stx_mtime);
  if ((wanted & kFSCatInfoDataSizes) != 0) fillDataSizes(place.status, info);
  if ((wanted & kFSCatInfoRsrcSizes) != 0) fillResourceSizes(place, info);
  if ((wanted & kFSCatInfoVolume) == 0) return noErr;
  info.volume = volumeOf(place);
  return info.volume != kFSInvalidVolumeRefNum ? noErr : nsvErr;
}

// Answers 0 or the system's error number. Another item that has got the path meanwhile is none.
int setLocked(const ItemPlace& place, bool locked) {
  constexpr int flags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
  const detail::FileDescriptor item(
      detail::retryInterrupted([&] { return ::openat(AT_FDCWD, place.path.c_str(), flags); }));
  if (!item) return errno;
  const auto status = detail::statusOfDescriptor(item.get());
  if (!status) return errno;
  if (detail::identityOf(*status) != detail::identityOf(place.status)) return ENOENT;
  return detail::setLocked(item.get(), locked);
}

// --- File description records

OSErr fillDescription(const ItemPlace& place, FSSpec& description) {
  const std::string name = detail::nameOfPath(place.path);
  if (name.size() >= sizeof description.name) return bdNamErr;
  const auto parent = detail::statusOfItem(detail::parentOfPath(place.path) + "/.");
  if (!parent) return detail::fileError(errno);
  if (parent->stx_ino > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) return paramErr;
  description.vRefNum = volumeOf(place);
  description.parID = static_cast<std::int32_t>(parent->stx_ino);
  description.name[0] = static_cast<unsigned char>(name.size());
  std::copy(name.begin(), name.end(), description.name + 1);
  return description.vRefNum != kFSInvalidVolumeRefNum ? noErr : nsvErr;
}

// --- References

// With the slash at the end that says that it is a folder's.
Ref<NSString> wholePath(const NSURL& url) {
  const Ref<NSString> path = url.path();
  const bool hasSlash = path->length() > 1 && !url.query() && !url.fragment() && url.absoluteString()->hasSuffix("/");
  return hasSlash ? path->stringByAppendingString("/") : path;
}

class LinuxFileCatalog final : public FileCatalog {
 public:
  OSErr FSPathMakeRef(const Ref<NSString>& path, FSRef* ref, bool* isDirectory) override {
    if (!path || ref == nullptr) return paramErr;
    const auto bytes = detail::systemPath(path);
    if (!bytes) return fnfErr;
    const auto place = detail::placeOfPath(*bytes);
    if (!place) return detail::fileError(errno);
    *ref = detail::referenceTo(*place);
    if (isDirectory != nullptr) *isDirectory = detail::isFolder(place->status);
    return noErr;
  }

  bool CFURLGetFSRef(const Ref<NSURL>& url, FSRef* ref) override {
    return url && url->isFileURL() && FSPathMakeRef(wholePath(*url), ref, nullptr) == noErr;
  }

  Ref<NSURL> CFURLCreateFromFSRef(const FSRef* ref) override {
    // The root of a volume whose server may be gone.
    if (ref != nullptr && ref->identity().number == 0) return NSURL::fileURLWithPath(ref->path());
    const auto place = detail::placeOfReference(ref);
    return place ? NSURL::fileURLWithPath(NSString::stringWithFileSystemRepresentation(place->path)) : nullptr;
  }

  OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap wanted, FSCatalogInfo* info,
                         FSSpec* description) override {
    const auto place = detail::placeOfReference(ref);
    if (!place) return fnfErr;
    FSCatalogInfo filledInfo = info != nullptr ? *info : FSCatalogInfo{};
    FSSpec filled;
    OSErr error = info != nullptr ? fillInfo(*place, wanted, filledInfo) : OSErr{noErr};
    if (error == noErr && description != nullptr) error = fillDescription(*place, filled);
    if (error != noErr) return error;
    if (info != nullptr) *info = filledInfo;
    if (description != nullptr) *description = filled;
    return noErr;
  }

  OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap fields, const FSCatalogInfo* info) override {
    if (info == nullptr || fields != kFSCatInfoNodeFlags) return paramErr;
    const auto place = detail::placeOfReference(ref);
    if (!place) return fnfErr;
    return detail::fileError(setLocked(*place, (info->nodeFlags & kFSNodeLockedMask) != 0));
  }

  OSErr FSCreateDirectoryUnicode(const FSRef* parent, const Ref<NSString>& name) override {
    const auto bytes = detail::nameForItem(name);
    if (!bytes) return bdNamErr;
    const auto folder = detail::placeOfReference(parent);
    return folder ? detail::makeFolderIn(*folder, *bytes) : dirNFErr;
  }

  OSErr FSRenameUnicode(const FSRef* ref, const Ref<NSString>& name) override {
    const auto bytes = detail::nameForItem(name);
    if (!bytes) return bdNamErr;
    const auto item = detail::placeOfReference(ref);
    return item ? detail::renameItem(*item, *bytes) : fnfErr;
  }
};

}  // namespace

FileCatalog& FileCatalog::production() {
  static FileCatalog& catalog = *new LinuxFileCatalog;
  return catalog;
}

}  // namespace ZtFoundation
