/// \file StandInPlatform.h
/// The platform's calls about items, volumes and folders, noted instead of made.
#pragma once

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "platform/linux/volumes/Volumes.h"
#include "platform/services/FileCatalog.h"
#include "platform/services/FolderManager.h"
#include "platform/services/Service.h"

namespace ZtFoundation::test {

/// Every item exists, on volume -7. What a call does not ask for is filled with ones, which nobody may look at.
class StandInPlatform final : public FileCatalog, public NoVolumes, public FolderManager {
 public:
  std::vector<std::string> calls;         ///< each with its arguments
  std::map<std::string, OSErr> failures;  ///< what a call answers, by its name
  std::uint16_t nodeFlags = 0;
  std::uint16_t volumeFlags = 0;
  std::u16string volumeName = u"Startup";
  std::string folder = "/folders/found";
  bool hasURLs = true;
  std::string knownRoot;  ///< a path that is known to be the volume's root without asking the item

  // FileCatalog

  OSErr FSPathMakeRef(const Ref<NSString>& path, FSRef* ref, bool*) override {
    const std::string text = path ? path->utf8() : "(none)";
    const OSErr error = path ? note("FSPathMakeRef", text) : paramErr;
    if (error == noErr) *ref = FSRef({}, path);
    return error;
  }
  bool CFURLGetFSRef(const Ref<NSURL>&, FSRef*) override { return false; }
  Ref<NSURL> CFURLCreateFromFSRef(const FSRef* ref) override {
    note("CFURLCreateFromFSRef", ref->path()->utf8());
    return hasURLs ? NSURL::fileURLWithPath(ref->path()) : nullptr;
  }
  OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap wanted, FSCatalogInfo* info, FSSpec*) override {
    const OSErr error = note("FSGetCatalogInfo", ref->path()->utf8(), hexadecimal(wanted));
    if (error != noErr) return error;
    info->nodeFlags = (wanted & kFSCatInfoNodeFlags) != 0 ? nodeFlags : 0xFFFF;
    info->volume = (wanted & kFSCatInfoVolume) != 0 ? kVolume : FSVolumeRefNum{-1};
    return noErr;
  }
  OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap fields, const FSCatalogInfo* info) override {
    return note("FSSetCatalogInfo", ref->path()->utf8(), hexadecimal(fields), hexadecimal(info->nodeFlags));
  }
  OSErr FSCreateDirectoryUnicode(const FSRef*, const Ref<NSString>&) override { return paramErr; }
  OSErr FSRenameUnicode(const FSRef*, const Ref<NSString>&) override { return paramErr; }

  // Volumes

  OSErr FSGetVolumeInfo(FSVolumeRefNum volume, std::uint32_t index, FSVolumeRefNum* actual, FSVolumeInfoBitmap wanted,
                        FSVolumeInfo* info, HFSUniStr255* name, FSRef* root) override {
    const OSErr error =
        note(name != nullptr ? "FSGetVolumeInfo:name" : "FSGetVolumeInfo", volume, index, hexadecimal(wanted));
    if (error != noErr || root != nullptr) return error;
    if (actual != nullptr) *actual = kVolume;
    if (info != nullptr) info->flags = (wanted & kFSVolInfoFlags) != 0 ? volumeFlags : 0xFFFF;
    if (name != nullptr) putName(*name);
    return noErr;
  }

  FSVolumeRefNum volumeRootedAt(const Ref<NSString>& path) override {
    return path && path->isEqualToString(knownRoot) ? kVolume : kFSInvalidVolumeRefNum;
  }

  // FolderManager

  OSErr FSFindFolder(FSVolumeRefNum volumeOrDomain, OSType type, bool create, FSRef* found) override {
    const OSErr error = note("FSFindFolder", volumeOrDomain, hexadecimal(type), create ? "create" : "find");
    if (error == noErr) *found = FSRef({}, folder);
    return error;
  }
  Ref<NSString> homeFolder() override { return "/home"; }

 private:
  static constexpr FSVolumeRefNum kVolume = -7;

  static std::string hexadecimal(std::uint32_t value) {
    std::ostringstream text;
    text << "0x" << std::hex << value;
    return text.str();
  }
  void putName(HFSUniStr255& name) const {
    name.length = static_cast<std::uint16_t>(volumeName.size());
    std::copy_n(volumeName.begin(), std::min<std::size_t>(volumeName.size(), 255), name.unicode);
  }
  template <class... Arguments>
  OSErr note(const std::string& call, const Arguments&... arguments) {
    std::ostringstream text;
    text << call;
    ((text << " " << arguments), ...);
    calls.push_back(text.str());
    const auto failure = failures.find(call);
    return failure != failures.end() ? failure->second : OSErr{noErr};
  }

  ScopedService<FileCatalog> catalogScope_{*this};
  ScopedService<Volumes> volumesScope_{*this};
  ScopedService<FolderManager> foldersScope_{*this};
};

}  // namespace ZtFoundation::test
