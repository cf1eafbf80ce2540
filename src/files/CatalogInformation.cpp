#include <ZtFoundation/Files.h>

#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"

namespace ZtFoundation::JxFileCatalogInformation {

namespace {

constexpr FSCatalogInfoBitmap kBothSizes = kFSCatInfoDataSizes | kFSCatInfoRsrcSizes;

// False leaves `info` as it is.
bool read(const Ref<NSString>& path, FSCatalogInfoBitmap wanted, FSCatalogInfo& info) {
  FSRef ref;
  return JxFileSystemRepresentation::pathStringToFSRef(path, &ref) &&
         service<FileCatalog>().FSGetCatalogInfo(&ref, wanted, &info, nullptr) == noErr;
}

Ref<NSDate> dateOf(const UTCDateTime& date) {
  double seconds = 0;
  if (UCConvertUTCDateTimeToCFAbsoluteTime(&date, &seconds) != noErr) return nullptr;
  return NSDate::dateWithTimeIntervalSinceReferenceDate(seconds);
}

Ref<NSDate> readDate(const Ref<NSString>& path, FSCatalogInfoBitmap wanted, UTCDateTime FSCatalogInfo::*date) {
  FSCatalogInfo info;
  return read(path, wanted, info) ? dateOf(info.*date) : nullptr;
}

std::uint64_t readSize(const Ref<NSString>& path, FSCatalogInfoBitmap wanted, std::uint64_t FSCatalogInfo::*size) {
  FSCatalogInfo info;
  return read(path, wanted, info) ? info.*size : 0;
}

}  // namespace

Ref<NSDictionary> catalogInformations(const Ref<NSString>&) { return nullptr; }

Ref<NSDate> creationDate(const Ref<NSString>& self) {
  return readDate(self, kFSCatInfoCreateDate, &FSCatalogInfo::createDate);
}

Ref<NSDate> modificationDate(const Ref<NSString>& self) {
  return readDate(self, kFSCatInfoContentMod, &FSCatalogInfo::contentModDate);
}

std::uint64_t fileLogicalSize(const Ref<NSString>& self) {
  FSCatalogInfo info;
  return read(self, kBothSizes, info) ? info.rsrcLogicalSize + info.dataLogicalSize : 0;
}

std::uint64_t filePhysicalSize(const Ref<NSString>& self) {
  FSCatalogInfo info;
  return read(self, kBothSizes, info) ? info.rsrcPhysicalSize + info.dataPhysicalSize : 0;
}

std::uint64_t dataLogicalSize(const Ref<NSString>& self) {
  return readSize(self, kFSCatInfoDataSizes, &FSCatalogInfo::dataLogicalSize);
}

std::uint64_t dataPhysicalSize(const Ref<NSString>& self) {
  return readSize(self, kFSCatInfoDataSizes, &FSCatalogInfo::dataPhysicalSize);
}

std::uint64_t resourceLogicalSize(const Ref<NSString>& self) {
  return readSize(self, kFSCatInfoRsrcSizes, &FSCatalogInfo::rsrcLogicalSize);
}

std::uint64_t resourcePhysicalSize(const Ref<NSString>& self) {
  return readSize(self, kFSCatInfoRsrcSizes, &FSCatalogInfo::rsrcPhysicalSize);
}

bool isLockedByFinder(const Ref<NSString>& self) {
  FSCatalogInfo info;
  return read(self, kFSCatInfoNodeFlags, info) && (info.nodeFlags & kFSNodeLockedMask) != 0;
}

void setFinderLock(const Ref<NSString>& self, bool lock) {
  FSRef ref;
  FSCatalogInfo info;
  FileCatalog& catalog = service<FileCatalog>();
  if (!JxFileSystemRepresentation::pathStringToFSRef(self, &ref)) return;
  if (catalog.FSGetCatalogInfo(&ref, kFSCatInfoNodeFlags, &info, nullptr) != noErr) return;
  const bool isLocked = (info.nodeFlags & kFSNodeLockedMask) != 0;
  if (lock != isLocked) info.nodeFlags ^= kFSNodeLockedMask;
  catalog.FSSetCatalogInfo(&ref, kFSCatInfoNodeFlags, &info);
}

}  // namespace ZtFoundation::JxFileCatalogInformation
