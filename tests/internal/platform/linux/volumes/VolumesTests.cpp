// Where volumes come from, and what there is without the module.

#include "platform/linux/volumes/Volumes.h"

#include <gtest/gtest.h>

#include <string>

namespace ZtFoundation {
namespace {

TEST(VolumesTests, TheModuleKnowsTheStartUpVolume) {
  FSRef root;
  ASSERT_EQ(Volumes::production().FSGetVolumeInfo(0, 1, nullptr, kFSVolInfoNone, nullptr, nullptr, &root), noErr);
  EXPECT_EQ(root.path()->fileSystemRepresentation(), "/");
  EXPECT_EQ(&Volumes::production(), &volumesInModule("libZtFoundationMounts.so"));
}

TEST(VolumesTests, WithoutTheModuleEveryCallFails) {
  Volumes& none = volumesInModule("libZtFoundationNothing.so");
  FSRef root;
  std::size_t size = 7;
  GetVolParmsInfoBuffer parameters;
  EXPECT_EQ(none.FSGetVolumeInfo(0, 1, nullptr, kFSVolInfoNone, nullptr, nullptr, &root), nsvErr);
  EXPECT_TRUE(root.isEmpty());
  EXPECT_EQ(none.volumeHolding(FSRef({}, "/")), kFSInvalidVolumeRefNum);
  EXPECT_EQ(none.volumeRootedAt("/"), kFSInvalidVolumeRefNum);
  EXPECT_EQ(none.FSGetVolumeParms(-1, &parameters, sizeof(parameters)), nsvErr);
  EXPECT_EQ(none.FSGetVolumeMountInfoSize(-1, &size), nsvErr);
  EXPECT_EQ(size, 7U);
  EXPECT_EQ(none.FSGetVolumeMountInfo(-1, &parameters, sizeof(parameters)), nsvErr);
  EXPECT_EQ(none.FSUnmountVolumeSync(-1), nsvErr);
  EXPECT_TRUE(none.mountedRemovableMedia().empty());
  EXPECT_FALSE(none.unmountAndEjectDeviceAtPath("/"));
}

}  // namespace
}  // namespace ZtFoundation
