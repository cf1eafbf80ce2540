// What file browsers call items: the display names of NSFileManager.

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/services/FileCatalog.h"
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

// Where desktops mount the media and servers that a user sees as volumes; mounts elsewhere are folders of the tree to them.
bool isAmongVolumes(const Ref<NSString>& path) {
  return path->hasPrefix("/media/") || path->hasPrefix("/run/media/") || path->hasPrefix("/Volumes/");
}

// The name of the volume whose root the item is; none for other items.
Ref<NSString> volumeNameAt(const Ref<NSString>& path) {
  FSRef item;
  if (!isAmongVolumes(path) || service<FileCatalog>().FSPathMakeRef(path, &item, nullptr) != noErr) return nullptr;
  Volumes& volumes = service<Volumes>();
  HFSUniStr255 name;
  FSRef root;
  const OSErr error =
      volumes.FSGetVolumeInfo(volumes.volumeHolding(item), 0, nullptr, kFSVolInfoNone, nullptr, &name, &root);
  return error == noErr && root.path()->isEqual(item.path()) ? nameOf(name) : nullptr;
}

bool holdsDots(const std::filesystem::path& path) {
  return std::ranges::any_of(path, [](const auto& component) { return component == "." || component == ".."; });
}

// The way to an item from "/" on, without "." and ".."; no absolute path when it is not to be found. A link at the end stays one.
std::filesystem::path wayTo(const std::string& path) {
  std::error_code error;
  const std::filesystem::path way = std::filesystem::absolute(path, error);
  if (!holdsDots(way)) return way;
  const std::filesystem::path name = way.filename();
  if (name.empty() || holdsDots(name)) return std::filesystem::canonical(way, error);
  return std::filesystem::canonical(way.parent_path(), error) / name;
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
  if (!bytes || !isThere(*bytes)) return nullptr;
  const std::filesystem::path way = wayTo(*bytes);
  if (!way.is_absolute()) return nullptr;
  const Ref<NSMutableArray> names = NSMutableArray::array();
  Ref<NSString> item = NSString::string();
  const Ref<NSArray> components = NSString::stringWithFileSystemRepresentation(way.native())->pathComponents();
  for (const Ref<NSObject>& component : *components) {
    item = item->stringByAppendingPathComponent(as<NSString>(component));
    if (volumeNameAt(item)) names->removeAllObjects();
    const auto name = send<Ref<NSString>>(this, ZT_SELECTOR("displayNameAtPath:"), item);
    if (name) names->addObject(name);
  }
  return names->copy();
}

}  // namespace ZtFoundation
