/// \file StandInVolumes.h
/// Volumes that are where a test wants them.
#pragma once

#include <algorithm>
#include <map>
#include <string>

#include "platform/linux/volumes/Volumes.h"
#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"

namespace ZtFoundation::test {

/// The start-up volume, number -2, and whatever `add` adds. An item is on the volume with the longest root that its
/// path begins with.
class StandInVolumes final : public NoVolumes {
 public:
  struct Volume {
    std::string root;
    std::u16string name;
  };

  void add(FSVolumeRefNum number, const std::string& root, const std::u16string& name) {
    volumes[number] = {root, name};
  }

  OSErr FSGetVolumeInfo(FSVolumeRefNum volume, std::uint32_t index, FSVolumeRefNum*, FSVolumeInfoBitmap, FSVolumeInfo*,
                        HFSUniStr255* name, FSRef* root) override {
    const auto found = volumes.find(volume == 0 && index == 1 ? kStartUp : volume);
    if (found == volumes.end()) return nsvErr;
    if (name != nullptr) {
      name->length = static_cast<std::uint16_t>(found->second.name.size());
      std::ranges::copy(found->second.name, name->unicode);
    }
    if (root == nullptr) return noErr;
    return service<FileCatalog>().FSPathMakeRef(NSString::stringWithFileSystemRepresentation(found->second.root), root,
                                                nullptr);
  }
  FSVolumeRefNum volumeHolding(const FSRef& item) override {
    const std::string path = item.path()->fileSystemRepresentation() + "/";
    FSVolumeRefNum holding = kStartUp;
    for (const auto& [number, volume] : volumes) {
      if (path.starts_with(volume.root + "/") && volume.root.size() > volumes[holding].root.size()) holding = number;
    }
    return holding;
  }
  FSVolumeRefNum volumeRootedAt(const Ref<NSString>& path) override {
    const auto found =
        std::ranges::find(volumes, path->fileSystemRepresentation(), [](const auto& each) { return each.second.root; });
    return found != volumes.end() ? found->first : kFSInvalidVolumeRefNum;
  }

  static constexpr FSVolumeRefNum kStartUp = -2;
  std::map<FSVolumeRefNum, Volume> volumes{{kStartUp, {"/", u"Startup"}}};

 private:
  ScopedService<Volumes> scope_{*this};
};

}  // namespace ZtFoundation::test
