/// \file VolumeNumbers.h
/// The numbers that volumes go by in this process.
#pragma once

#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <ZtFoundation/platform/FileReference.h>

#include "platform/mounts/MountTable.h"

namespace ZtFoundation::mounts {

/// Not for several threads at once.
class VolumeNumbers {
 public:
  /// Frees the numbers of what is not mounted any more. A start-up volume that no table has (its identifier is
  /// negative) keeps its own.
  void keepOnly(const std::vector<Mount>& mounts);
  /// The number of `mount`, from now on until it is unmounted. 0 when there are as many volumes as numbers.
  FSVolumeRefNum numberOf(const Mount& mount);

 private:
  // The kernel gives the identifier of a mount to a later one at once.
  using Key = std::tuple<int, dev_t, std::string, std::string, std::string>;
  static Key keyOf(const Mount& mount);
  FSVolumeRefNum unused();

  std::map<Key, FSVolumeRefNum> numbers_;
  std::set<FSVolumeRefNum> used_;
  FSVolumeRefNum last_ = 0;
};

}  // namespace ZtFoundation::mounts
