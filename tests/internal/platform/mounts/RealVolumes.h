// Volumes that are really mounted, where nobody else sees them.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "VolumesHere.h"
#include "support/PrivateMounts.h"

namespace ZtFoundation::test {

#define SKIP_WITHOUT(mountPoint) \
  if ((mountPoint).empty()) GTEST_SKIP() << mounts_.whyNot()

inline Ref<NSString> stringOf(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }

/// As the catalog would make it.
inline FSRef referenceTo(const std::string& path) {
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0) return {};
  FSRef::Identity identity;
  identity.device = status.st_dev;
  identity.number = status.st_ino;
  return FSRef(identity, stringOf(path));
}

class RealVolumes : public ::testing::Test {
 protected:
  /// The root of the volume that the item is on.
  std::string holderOf(const std::string& path) const {
    const FSVolumeRefNum volume = volumes_->volumeHolding(referenceTo(path));
    return volume != 0 ? volumes_.rootOf(volume) : "";
  }
  /// Where something can be mounted; "" where nothing can.
  std::string place() const { return mounts_.isPossible() ? mounts_.folder("place") : std::string(); }

  test::PrivateMounts mounts_;
  VolumesHere volumes_;
};

}  // namespace ZtFoundation::test
