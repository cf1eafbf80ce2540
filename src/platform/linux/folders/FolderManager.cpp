#include <ZtFoundation/platform/FolderTypes.h>

#include <algorithm>
#include <array>

#include "platform/linux/folders/BaseDirectories.h"
#include "platform/linux/folders/Folders.h"
#include "platform/linux/folders/UserDirectories.h"
#include "platform/linux/folders/VolumeFolders.h"
#include "platform/services/FileCatalog.h"
#include "platform/services/FolderManager.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

using detail::Directory;
using detail::FolderPlace;
using Directories = std::vector<std::string>;

Directories systemCaches() { return {"/var/cache"}; }
Directories systemTemporary() { return {"/tmp"}; }

/// Where folders of a type are.
struct FolderType {
  OSType type;
  Directory (*base)();
  const char* name;                        // in the base; empty for the base itself
  const char* userEntry = nullptr;         // what the user's own choice is called
  Directories (*systemBases)() = nullptr;  // those of the other domains
};

constexpr auto kFolderTypes = std::to_array<FolderType>({
    {kDesktopFolderType, detail::homeDirectory, "Desktop", "XDG_DESKTOP_DIR"},
    {kDocumentsFolderType, detail::homeDirectory, "Documents", "XDG_DOCUMENTS_DIR"},
    {kPictureDocumentsFolderType, detail::homeDirectory, "Pictures", "XDG_PICTURES_DIR"},
    {kMusicDocumentsFolderType, detail::homeDirectory, "Music", "XDG_MUSIC_DIR"},
    {kMovieDocumentsFolderType, detail::homeDirectory, "Videos", "XDG_VIDEOS_DIR"},
    {kDownloadsFolderType, detail::homeDirectory, "Downloads", "XDG_DOWNLOAD_DIR"},
    {kCurrentUserFolderType, detail::homeDirectory, ""},
    {kPreferencesFolderType, detail::configHome, "", nullptr, detail::configDirectories},
    {kCachedDataFolderType, detail::cacheHome, "", nullptr, systemCaches},
    {kApplicationSupportFolderType, detail::dataHome, "", nullptr, detail::dataDirectories},
    {kTrashFolderType, detail::dataHome, "Trash"},
    {kFontsFolderType, detail::dataHome, "fonts", nullptr, detail::dataDirectories},
    {kApplicationsFolderType, detail::dataHome, "applications", nullptr, detail::dataDirectories},
    {kTemporaryFolderType, detail::temporaryDirectory, "", nullptr, systemTemporary},
});

const FolderType* folderType(OSType type) {
  const auto* const found = std::ranges::find(kFolderTypes, type, &FolderType::type);
  return found != kFolderTypes.end() ? found : nullptr;
}

std::string folderIn(const std::string& base, const FolderType& type) {
  return *type.name != '\0' ? detail::inDirectory(base, type.name) : base;
}

OSErr findChosenFolder(const FolderType& type, Directory* folder) {
  return type.userEntry != nullptr ? detail::findChosenUserDirectory(type.userEntry, folder) : OSErr{noErr};
}

OSErr findDefaultFolder(const FolderType& type, Directory* folder) {
  const Directory base = type.base();
  if (!base) return detail::errorOfHomeDirectory();
  *folder = folderIn(*base, type);
  return noErr;
}

// What cannot be read now is no reason for another folder, which might even be made.
OSErr findUserFolder(const FolderType& type, Directory* folder) {
  if (const OSErr error = findChosenFolder(type, folder); error != noErr) return error;
  if (!*folder) return findDefaultFolder(type, folder);
  if (*folder == detail::homeDirectory()) folder->reset();
  return noErr;
}

// The first of the given bases that has the folder, else the first.
Directory systemFolder(const FolderType& type, bool lastFirst) {
  if (type.systemBases == nullptr) return std::nullopt;
  Directories folders = type.systemBases();
  if (lastFirst) std::ranges::reverse(folders);
  std::ranges::transform(folders, folders.begin(), [&](const std::string& base) { return folderIn(base, type); });
  const auto found = std::ranges::find_if(folders, detail::isFolder);
  return found != folders.end() ? *found : folders.front();
}

std::vector<FolderPlace> only(const Directory& folder) {
  return folder ? std::vector{FolderPlace{*folder}} : std::vector<FolderPlace>();
}

bool isUserDomain(FSVolumeRefNum domain) {
  return domain == kOnSystemDisk || domain == kOnAppropriateDisk || domain == kUserDomain;
}

bool isSystemDomain(FSVolumeRefNum domain) {
  return domain == kLocalDomain || domain == kNetworkDomain || domain == kSystemDomain;
}

// In the order in which they come into question.
OSErr findPlaces(FSVolumeRefNum volumeOrDomain, const FolderType& type, std::vector<FolderPlace>* places) {
  if (isSystemDomain(volumeOrDomain)) {
    *places = only(systemFolder(type, volumeOrDomain == kSystemDomain));
    return noErr;
  }
  Directory ofUser;
  if (const OSErr error = findUserFolder(type, &ofUser); error != noErr) return error;
  if (!isUserDomain(volumeOrDomain)) return detail::findPlacesOnVolume(volumeOrDomain, type.type, ofUser, places);
  *places = only(ofUser);
  return noErr;
}

class LinuxFolderManager final : public FolderManager {
 public:
  OSErr FSFindFolder(FSVolumeRefNum volumeOrDomain, OSType type, bool create, FSRef* folder) override {
    const FolderType* const known = folderType(type);
    if (known == nullptr) return fnfErr;
    std::vector<FolderPlace> places;
    OSErr error = findPlaces(volumeOrDomain, *known, &places);
    if (error != noErr) return error;
    error = fnfErr;
    for (const FolderPlace& place : places) {
      error = detail::provideFolder(place, create);
      if (error == noErr) return makeReference(place.path, folder);
    }
    return error;
  }

  Ref<NSString> homeFolder() override {
    const Directory home = detail::homeDirectory();
    return home ? NSString::stringWithFileSystemRepresentation(*home) : nullptr;
  }

 private:
  static OSErr makeReference(const std::string& path, FSRef* folder) {
    return service<FileCatalog>().FSPathMakeRef(NSString::stringWithFileSystemRepresentation(path), folder, nullptr);
  }
};

}  // namespace

FolderManager& FolderManager::production() {
  static FolderManager& manager = *new LinuxFolderManager;
  return manager;
}

}  // namespace ZtFoundation
