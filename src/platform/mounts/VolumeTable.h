/// \file VolumeTable.h
/// The volumes at one moment.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/mounts/MountTable.h"
#include "platform/mounts/VolumeNumbers.h"

namespace ZtFoundation::mounts {

struct Volume {
  FSVolumeRefNum number = 0;
  Mount mount;
  bool mayBlock = false;  ///< a question to its root folder may wait for ever
};

class VolumeTable {
 public:
  VolumeTable() = default;
  VolumeTable(const std::vector<Mount>& mounts, VolumeNumbers& numbers);

  /// The start-up volume first, the others as they were mounted.
  const std::vector<Volume>& volumes() const { return volumes_; }

  // Null when there is none.
  const Volume* numbered(FSVolumeRefNum number) const;
  /// The one whose root is called exactly `path`.
  const Volume* rootedAt(const std::string& path) const;
  /// The volume that what is on the mount with the identifier belongs to.
  const Volume* ofMount(int id) const;
  /// The one with the longest root that `path` begins with. Links are not resolved.
  const Volume* above(std::string_view path) const;
  /// The same among those on the device, else any on it.
  const Volume* onDevice(dev_t device, std::string_view path) const;

 private:
  const Volume* holderOf(const Mount& mount, const std::vector<Mount>& all,
                         const std::vector<std::size_t>& wayDown) const;

  std::vector<Volume> volumes_;
  std::unordered_map<int, std::size_t> byMount_;
  std::unordered_map<std::string, std::size_t> byRoot_;
};

}  // namespace ZtFoundation::mounts
