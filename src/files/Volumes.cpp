#include <ZtFoundation/Files.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "files/LoggedCalls.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

using detail::LoggedCalls;

FSVolumeRefNum volumeOfItem(const Ref<NSString>& path) {
  FSRef item;
  FSCatalogInfo info;
  FileCatalog& catalog = service<FileCatalog>();
  const bool isTold = catalog.CFURLGetFSRef(NSURL::fileURLWithPath(path), &item) &&
                      catalog.FSGetCatalogInfo(&item, kFSCatInfoVolume, &info, nullptr) == noErr;
  return isTold ? info.volume : kFSInvalidVolumeRefNum;
}

// A root is known without asking the volume itself, whose server may be gone.
FSVolumeRefNum volumeHolding(const Ref<NSString>& path) {
  const FSVolumeRefNum rooted = service<Volumes>().volumeRootedAt(path);
  return rooted != kFSInvalidVolumeRefNum ? rooted : volumeOfItem(path);
}

// None when there is no such volume, or its path cannot be told; `isThere` tells which.
Ref<NSString> rootPath(FSVolumeRefNum volume, std::uint32_t index, bool* isThere) {
  FSRef root;
  *isThere =
      service<Volumes>().FSGetVolumeInfo(volume, index, nullptr, kFSVolInfoNone, nullptr, nullptr, &root) == noErr;
  const Ref<NSURL> url = *isThere ? service<FileCatalog>().CFURLCreateFromFSRef(&root) : nullptr;
  return url ? url->path() : nullptr;
}

// Calls with the root path of each volume until an answer is true, which is then the answer.
template <class Visit>
bool anyVolume(Visit visit) {
  bool isThere = true;
  for (std::uint32_t index = 1; isThere; ++index) {
    const Ref<NSString> path = rootPath(kFSInvalidVolumeRefNum, index, &isThere);
    if (path && visit(path)) return true;
  }
  return false;
}

bool isRootOf(FSVolumeRefNum volume, const Ref<NSString>& path) {
  bool isThere = false;
  return path->isEqual(rootPath(volume, 0, &isThere));
}

bool isServed(FSVolumeRefNum volume) {
  GetVolParmsInfoBuffer parameters{};
  return service<Volumes>().FSGetVolumeParms(volume, &parameters, sizeof(parameters)) == noErr &&
         parameters.vMServerAdr != 0;
}

bool isAmongRemovableMedia(const Ref<NSString>& path) {
  const std::vector<Ref<NSString>> roots = service<Volumes>().mountedRemovableMedia();
  return std::any_of(roots.begin(), roots.end(), [&](const Ref<NSString>& root) { return path->isEqual(root); });
}

template <class Count>
void store(Count* place, Count count) {
  if (place != nullptr) *place = count;
}

}  // namespace

namespace JxVolumeCatalogInformation {

Ref<NSArray> volumePaths() {
  const Ref<NSMutableArray> paths = NSMutableArray::array();
  anyVolume([&](const Ref<NSString>& path) {
    paths->addObject(path);
    return false;
  });
  return paths->count() > 0 ? NSArray::arrayWithArray(paths) : nullptr;
}

Ref<NSString> volumePath(const Ref<NSString>& self) {
  const FSVolumeRefNum volume = volumeHolding(self);
  bool isThere = false;
  return volume != kFSInvalidVolumeRefNum ? rootPath(volume, 0, &isThere) : nullptr;
}

bool isVolume(const Ref<NSString>& self) {
  return anyVolume([&](const Ref<NSString>& path) { return path->isEqualToString(self); });
}

bool isVolumeReadable(const Ref<NSString>& self) { return JxFileAccessibility::isReadable(volumePath(self)); }

bool isVolumeWritable(const Ref<NSString>& self) { return JxFileAccessibility::isWritable(volumePath(self)); }

bool isNetworkVolume(const Ref<NSString>& self) {
  if (!isVolume(self)) return false;
  const FSVolumeRefNum volume = volumeHolding(self);
  return volume != kFSInvalidVolumeRefNum && isServed(volume);
}

bool isUnmountableVolume(const Ref<NSString>& self) {
  if (!isVolume(self) || self->isEqualToString("/")) return false;
  if (isAmongRemovableMedia(self)) return true;
  isNetworkVolume(self);  // whatever the answer, every other volume counts as unmountable
  return true;
}

bool unmountVolume(const Ref<NSString>& self) {
  if (!self) return false;
  Volumes& volumes = service<Volumes>();
  if (!isNetworkVolume(self)) return volumes.unmountAndEjectDeviceAtPath(self);
  // If it has gone meanwhile, its folder lies on another volume, which stays.
  const FSVolumeRefNum volume = volumeHolding(self);
  return volume != kFSInvalidVolumeRefNum && isRootOf(volume, self) && volumes.FSUnmountVolumeSync(volume) == noErr;
}

bool volumeTotalSpace_freeSpace(const Ref<NSString>& self, std::uint64_t* totalSpace, std::uint64_t* freeSpace) {
  const FSVolumeRefNum volume = volumeHolding(self);
  if (volume == kFSInvalidVolumeRefNum) return false;
  FSVolumeInfo info;
  const OSErr error = service<Volumes>().FSGetVolumeInfo(volume, 0, nullptr, kFSVolInfoSizes, &info, nullptr, nullptr);
  if (error != noErr) return false;
  store(totalSpace, info.totalBytes);
  store(freeSpace, info.freeBytes);
  return true;
}

std::uint64_t volumeTotalSpace(const Ref<NSString>& self) {
  std::uint64_t total = 0;
  volumeTotalSpace_freeSpace(self, &total, nullptr);
  return total;
}

std::uint64_t volumeFreeSpace(const Ref<NSString>& self) {
  std::uint64_t free = 0;
  volumeTotalSpace_freeSpace(self, nullptr, &free);
  return free;
}

}  // namespace JxVolumeCatalogInformation

namespace QvFoundationExtensions {

FSVolumeRefNum volumeRefWithPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  if (!self) return kFSInvalidVolumeRefNum;
  FSVolumeRefNum volume = kFSInvalidVolumeRefNum;
  LoggedCalls("volumeRefWithPath:").volumeOf(path, &volume);
  return volume;
}

OSType volumeTypeWithPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  const FSVolumeRefNum volume = volumeRefWithPath(self, path);
  if (volume == kFSInvalidVolumeRefNum) return 0;
  const LoggedCalls calls("volumeTypeWithPath:");
  std::size_t size = 0;
  if (!calls.FSGetVolumeMountInfoSize(volume, &size)) return 0;
  std::vector<unsigned char> information(size);
  VolMountInfoHeader header;
  if (!calls.FSGetVolumeMountInfo(volume, information.data(), size) || size < sizeof(header)) return 0;
  std::memcpy(&header, information.data(), sizeof(header));
  return header.media;
}

bool isNetworkVolumeAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  const FSVolumeRefNum volume = volumeRefWithPath(self, path);
  if (volume == kFSInvalidVolumeRefNum) return false;
  GetVolParmsInfoBuffer parameters;
  return LoggedCalls("isNetworkVolumeAtPath:").FSGetVolumeParms(volume, &parameters) && parameters.vMServerAdr != 0;
}

bool isAppleShareVolumeAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  return volumeTypeWithPath(self, path) == AppleShareMediaType;
}

bool isWebDAVVolumeAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path) {
  return volumeTypeWithPath(self, path) == kWebDAVMediaType;
}

}  // namespace QvFoundationExtensions

}  // namespace ZtFoundation
