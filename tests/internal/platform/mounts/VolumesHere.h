// The volumes that the module finds, asked in short forms.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/linux/process/ModuleLoader.h"
#include "platform/linux/volumes/Volumes.h"

namespace ZtFoundation::test {

inline constexpr char kMountsModule[] = "libZtFoundationMounts.so";

class VolumesHere {
 public:
  explicit VolumesHere(const VolumeSources& sources = {}) {
    void* const entry = moduleFunction(kMountsModule, kVolumesFromEntry).address;
    if (entry == nullptr) throw std::runtime_error("the mounts module is missing");
    volumes_.reset(reinterpret_cast<VolumesFromEntry>(entry)(sources));
  }

  Volumes* operator->() const { return volumes_.get(); }

  /// In index order.
  std::vector<std::string> roots() const {
    std::vector<std::string> roots;
    FSRef root;
    for (std::uint32_t index = 1; volumes_->FSGetVolumeInfo(0, index, nullptr, 0, nullptr, nullptr, &root) == noErr;
         ++index) {
      roots.push_back(root.path()->fileSystemRepresentation());
    }
    return roots;
  }
  bool has(const std::string& root) const {
    const std::vector<std::string> all = roots();
    return std::find(all.begin(), all.end(), root) != all.end();
  }

  FSVolumeRefNum at(const std::string& root) const {
    return volumes_->volumeRootedAt(NSString::stringWithFileSystemRepresentation(root));
  }
  std::string rootOf(FSVolumeRefNum volume) const { return rootReference(volume).path()->fileSystemRepresentation(); }
  FSRef rootReference(FSVolumeRefNum volume) const {
    FSRef root;
    EXPECT_EQ(volumes_->FSGetVolumeInfo(volume, 0, nullptr, 0, nullptr, nullptr, &root), noErr);
    return root;
  }

  std::uint16_t flags(const std::string& root) const { return info(root, kFSVolInfoFlags).flags; }
  FSVolumeInfo info(const std::string& root, FSVolumeInfoBitmap wanted) const {
    FSVolumeInfo info;
    EXPECT_EQ(volumes_->FSGetVolumeInfo(at(root), 0, nullptr, wanted, &info, nullptr, nullptr), noErr) << root;
    return info;
  }
  std::string name(const std::string& root) const {
    HFSUniStr255 name;
    EXPECT_EQ(volumes_->FSGetVolumeInfo(at(root), 0, nullptr, 0, nullptr, &name, nullptr), noErr) << root;
    return NSString::stringWithUnits({name.unicode, name.length})->fileSystemRepresentation();
  }

  bool isServed(const std::string& root) const {
    GetVolParmsInfoBuffer parameters;
    EXPECT_EQ(volumes_->FSGetVolumeParms(at(root), &parameters, sizeof(parameters)), noErr) << root;
    return parameters.vMServerAdr != 0;
  }
  /// The four characters of the kind of server; empty for a local volume.
  std::string media(const std::string& root) const {
    std::size_t size = 0;
    VolMountInfoHeader header;
    if (volumes_->FSGetVolumeMountInfoSize(at(root), &size) != noErr) return {};
    EXPECT_EQ(size, sizeof(header));
    EXPECT_EQ(volumes_->FSGetVolumeMountInfo(at(root), &header, size), noErr);
    EXPECT_EQ(header.length, 6);
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(header.media >> shift);
    return text;
  }

 private:
  std::unique_ptr<Volumes> volumes_;
};

}  // namespace ZtFoundation::test
