#include "platform/linux/applications/ItemInformation.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include <ZtFoundation/platform/Bundle.h>

#include "platform/linux/applications/CommandLine.h"
#include "platform/linux/applications/Executable.h"
#include "platform/linux/files/FileErrors.h"
#include "platform/linux/files/ItemPath.h"
#include "platform/linux/files/ItemStatus.h"
#include "platform/linux/files/SmallFile.h"
#include "platform/linux/folders/Folders.h"
#include "platform/services/Service.h"
#include "platform/services/Volumes.h"

namespace ZtFoundation::detail {

namespace {

constexpr LSItemInfoFlags kVolume = kLSItemInfoIsVolume | kLSItemInfoIsContainer;

std::string_view withoutLastSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

std::string_view lastComponent(std::string_view path) {
  path = withoutLastSlashes(path);
  return path.substr(path.rfind('/') + 1);
}

// Whether the name has that extension and something before it.
bool hasExtension(std::string_view path, std::string_view extension) {
  const std::string_view name = lastComponent(path);
  return name.size() > extension.size() && name.ends_with(extension);
}

bool isInvisibleName(std::string_view path) { return lastComponent(path).starts_with('.'); }

Ref<NSBundle> bundleAt(const std::string& path) {
  return NSBundle::bundleWithPath(NSString::stringWithFileSystemRepresentation(path));
}

bool isRegular(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool isLink(const std::string& path) {
  char byte;
  return ::readlink(std::string(withoutLastSlashes(path)).c_str(), &byte, 1) >= 0;
}

// The path itself where it cannot be told, as for a folder that this process may not search.
std::string withoutLinks(const std::string& path) { return canonicalPath(path).value_or(path); }

struct Item {
  std::string path;  // the one whose name tells what the item is
  bool isFolder = false;
  bool mayBeVolume = false;  // by what the kernel says at once
};

// Without asking a server where the kernel knows the item.
OSStatus findItem(const std::string& path, Item* item) {
  struct statx status {};
  if (::statx(AT_FDCWD, path.c_str(), AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC, STATX_TYPE, &status) != 0) {
    return fileError(errno);
  }
  item->isFolder = S_ISDIR(status.stx_mode);
  item->mayBeVolume = isMountRoot(status).value_or(true);
  item->path = tellingPath(path);
  return noErr;
}

// By the table of mounts, which asks no server.
bool isVolumeAt(const std::string& path) {
  const Ref<NSString> root = NSString::stringWithFileSystemRepresentation(withoutLastSlashes(path));
  return service<Volumes>().volumeRootedAt(root) != kFSInvalidVolumeRefNum;
}

std::string entryProgram(const std::string& path) {
  const std::optional<DesktopEntry> entry = applicationEntry(path);
  const auto arguments = entry ? argumentsOfEntry(*entry, path, {}) : std::nullopt;
  return arguments ? programNamed(arguments->front()) : std::string();
}

bool isNative(const Item& item) {
  return isNativeProgram(item.isFolder ? bundleProgram(item.path) : entryProgram(item.path));
}

LSItemInfoFlags folderFlags(const Item& item) {
  if (item.mayBeVolume && isVolumeAt(withoutLinks(item.path))) return kVolume;
  if (!isPackageName(item.path)) return kLSItemInfoIsContainer;
  const LSItemInfoFlags package = kLSItemInfoIsPackage | kLSItemInfoIsContainer;
  return isApplicationBundle(item.path) ? package | kLSItemInfoIsApplication : package;
}

LSItemInfoFlags fileFlags(const Item& item) {
  return applicationEntry(item.path) ? kLSItemInfoIsPlainFile | kLSItemInfoIsApplication : kLSItemInfoIsPlainFile;
}

}  // namespace

bool isPackageName(const std::string& path) { return hasExtension(path, ".app") || hasExtension(path, ".bundle"); }

std::string tellingPath(const std::string& path) {
  return isPackageName(path) || isEntryName(path) || !isLink(path) ? path : withoutLinks(path);
}

bool isProgram(const std::string& path) { return isRegular(path) && ::access(path.c_str(), X_OK) == 0; }

std::string bundleProgram(const std::string& path) {
  const Ref<NSBundle> bundle = bundleAt(path);
  const Ref<NSString> executable = bundle ? bundle->executablePath() : nullptr;
  const std::string program = executable ? executable->fileSystemRepresentation() : std::string();
  return isProgram(program) ? program : std::string();
}

std::string bundleInformationPath(const std::string& path) {
  const std::string contents = path + "/Contents";
  const std::string information = (isFolder(contents) ? contents : path) + "/Info.plist";
  return isRegular(information) ? information : std::string();
}

bool isApplicationBundle(const std::string& path) {
  return hasExtension(path, ".app") && (!bundleInformationPath(path).empty() || !bundleProgram(path).empty());
}

bool isEntryName(const std::string& path) { return hasExtension(path, ".desktop"); }

OSErr readEntryFile(const std::string& path, std::string* text) {
  return isEntryName(path) ? readSmallFile(path, text) : fnfErr;
}

std::optional<DesktopEntry> entryInFile(const std::string& path) {
  std::string text;
  return readEntryFile(path, &text) == noErr ? service<DesktopEntries>().entryInText(text) : std::nullopt;
}

std::optional<DesktopEntry> applicationEntry(const std::string& path) {
  std::optional<DesktopEntry> entry = entryInFile(path);
  return entry && !entry->isHidden ? entry : std::nullopt;
}

OSStatus itemInformation(const std::string& path, LSRequestedInfo wanted, LSItemInfoFlags* flags) {
  const LSItemInfoFlags invisible = isInvisibleName(path) ? kLSItemInfoIsInvisible : 0;
  // The root of a volume whose server is gone would keep us waiting.
  if (isVolumeAt(path)) {
    *flags = kVolume | invisible;
    return noErr;
  }
  Item item;
  if (const OSStatus status = findItem(path, &item); status != noErr) return status;
  *flags = (item.isFolder ? folderFlags(item) : fileFlags(item)) | invisible;
  const bool asksForNative = (wanted & kLSRequestAppTypeFlags) != 0 && (*flags & kLSItemInfoIsApplication) != 0;
  if (asksForNative && isNative(item)) *flags |= kLSItemInfoIsNativeApp;
  return noErr;
}

OSStatus linkOrItemInformation(const std::string& path, LSRequestedInfo wanted, LSItemInfoFlags* flags) {
  const OSStatus status = itemInformation(path, wanted, flags);
  if (status != fnfErr || !isLink(path)) return status;
  *flags = kLSItemInfoIsPlainFile | (isInvisibleName(path) ? kLSItemInfoIsInvisible : 0);
  return noErr;
}

}  // namespace ZtFoundation::detail
