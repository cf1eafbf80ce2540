// What file browsers call items: the display names of NSFileManager.

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>
#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/ItemPath.h"
#include "platform/services/Service.h"
#include "platform/services/Volumes.h"

namespace ZtFoundation {

namespace {

Ref<NSString> nameOf(const HFSUniStr255& name) {
  return NSString::stringWithCharacters_length(name.unicode,
                                               std::min<NSUInteger>(name.length, std::size(name.unicode)));
}

Ref<NSString> startUpVolumeName() {
  HFSUniStr255 name;
  const OSErr error =
      service<Volumes>().FSGetVolumeInfo(kFSInvalidVolumeRefNum, 1, nullptr, kFSVolInfoNone, nullptr, &name, nullptr);
  return error == noErr ? nameOf(name) : "/";
}

// Where desktops mount the media and servers that a user sees as volumes; mounts elsewhere are folders of the tree to
// them.
bool isAmongVolumes(const std::string& path) {
  return path.starts_with("/media/") || path.starts_with("/run/media/") || path.starts_with("/Volumes/");
}

// The name of the volume whose root the item is; none for other items. No server is asked.
Ref<NSString> volumeNameAt(const Ref<NSString>& path) {
  const auto bytes = detail::systemPath(path);
  const auto absolute = bytes ? detail::absolutePath(*bytes) : std::nullopt;
  if (!absolute || !isAmongVolumes(*absolute)) return nullptr;
  Volumes& volumes = service<Volumes>();
  const FSVolumeRefNum volume = volumes.volumeRootedAt(NSString::stringWithFileSystemRepresentation(*absolute));
  HFSUniStr255 name;
  if (volume == kFSInvalidVolumeRefNum) return nullptr;
  const OSErr error = volumes.FSGetVolumeInfo(volume, 0, nullptr, kFSVolInfoNone, nullptr, &name, nullptr);
  return error == noErr ? nameOf(name) : nullptr;
}

bool isThere(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace

Ref<NSString> NSFileManager::displayNameAtPath(const Ref<NSString>& path) {
  if (!path) return nullptr;
  const Ref<NSString> name = path->lastPathComponent();
  if (name->isEqualToString("/")) return startUpVolumeName();
  const Ref<NSString> volume = volumeNameAt(path);
  return volume ? volume : name;
}

Ref<NSArray> NSFileManager::componentsToDisplayForPath(const Ref<NSString>& path) {
  const auto bytes = detail::systemPath(path);
  const auto way = bytes && isThere(*bytes) ? detail::absolutePath(*bytes) : std::nullopt;
  if (!way) return nullptr;
  const Ref<NSMutableArray> names = NSMutableArray::array();
  Ref<NSString> item = NSString::string();
  const Ref<NSArray> components = NSString::stringWithFileSystemRepresentation(*way)->pathComponents();
  for (const Ref<NSObject>& component : *components) {
    item = item->stringByAppendingPathComponent(as<NSString>(component));
    if (volumeNameAt(item)) names->removeAllObjects();
    const auto name = send<Ref<NSString>>(this, ZT_SELECTOR("displayNameAtPath:"), item);
    if (name) names->addObject(name);
  }
  return names->copy();
}

}  // namespace ZtFoundation
