// Volumes that are really mounted, where nobody else sees them, as a host asks about them.

#include <ZtFoundation/Files.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

using namespace JxVolumeCatalogInformation;
using namespace QvFoundationExtensions;

#define SKIP_WITHOUT(mountPoint) \
  if ((mountPoint).empty()) GTEST_SKIP() << mounts_.whyNot()

Ref<NSString> string(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }
std::string bytes(const Ref<NSString>& path) { return path ? path->fileSystemRepresentation() : "none"; }

bool isListed(const std::string& root) {
  const Ref<NSArray> paths = volumePaths();
  return paths->containsObject(string(root));
}

class VolumesTests : public ::testing::Test {
 protected:
  // What the platform's log gets meanwhile.
  template <class Work>
  static std::string logOf(Work work) {
    ::testing::internal::CaptureStderr();
    work();
    return ::testing::internal::GetCapturedStderr();
  }

  test::PrivateMounts mounts_;
  const Ref<NSFileManager> files_ = NSFileManager::defaultManager();
};

TEST_F(VolumesTests, TheStartUpVolume) {
  const Ref<NSArray> paths = volumePaths();
  ASSERT_TRUE(paths);
  EXPECT_EQ(bytes(as<NSString>(paths->objectAtIndex(0))), "/");
  EXPECT_TRUE(isVolume("/"));
  EXPECT_FALSE(isVolume("/Volumes"));
  EXPECT_FALSE(isVolume("/proc"));
  EXPECT_FALSE(isUnmountableVolume("/"));
  EXPECT_FALSE(unmountVolume("/"));
  EXPECT_EQ(bytes(volumePath("/proc/self")), "/");
  EXPECT_LT(volumeRefWithPath(files_, "/"), 0);
  EXPECT_TRUE(isVolumeReadable("/proc/self"));
  EXPECT_EQ(isVolumeWritable("/proc/self"), JxFileAccessibility::isWritable("/"));
}

TEST_F(VolumesTests, AMemoryCard) {
  const std::string card = mounts_.disk({.type = "ext4", .name = "Card"});
  SKIP_WITHOUT(card);
  test::writeFile(card + "/Photo.jpg", "x");
  EXPECT_TRUE(isListed(card));
  EXPECT_TRUE(isVolume(string(card)));
  EXPECT_FALSE(isVolume(string(card + "/")));
  EXPECT_EQ(bytes(volumePath(string(card + "/Photo.jpg"))), card);
  EXPECT_EQ(bytes(volumePath(string(card))), card);
  EXPECT_EQ(bytes(volumePath(string(card + "/.."))), mounts_.store());
  EXPECT_TRUE(isUnmountableVolume(string(card)));
  EXPECT_FALSE(isUnmountableVolume(string(card + "/lost+found")));
  EXPECT_FALSE(isNetworkVolume(string(card)));
  EXPECT_FALSE(isNetworkVolumeAtPath(files_, string(card + "/Photo.jpg")));
  EXPECT_EQ(volumeRefWithPath(files_, string(card + "/Photo.jpg")), volumeRefWithPath(files_, string(card)));
  EXPECT_NE(volumeRefWithPath(files_, string(card)), volumeRefWithPath(files_, "/"));

  const int inUse = ::open((card + "/Photo.jpg").c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_FALSE(unmountVolume(string(card)));
  ::close(inUse);
  EXPECT_FALSE(unmountVolume(string(card + "/lost+found")));
  EXPECT_TRUE(unmountVolume(string(card)));
  EXPECT_FALSE(isListed(card));
  EXPECT_EQ(bytes(volumePath(string(card))), mounts_.store());
}

TEST_F(VolumesTests, Space) {
  const std::string tiny = mounts_.memory("tiny", "size=128k");
  SKIP_WITHOUT(tiny);
  test::writeFile(tiny + "/file", std::string(100 << 10, 'x'));
  std::uint64_t total = 0, free = 0;
  EXPECT_TRUE(volumeTotalSpace_freeSpace(string(tiny + "/file"), &total, &free));
  EXPECT_EQ(total, 128U << 10);
  EXPECT_EQ(free, 28U << 10);
  EXPECT_EQ(volumeTotalSpace(string(tiny)), total);
  EXPECT_EQ(volumeFreeSpace(string(tiny)), free);
  test::writeFile(tiny + "/rest", std::string(40 << 10, 'x'));
  EXPECT_EQ(volumeFreeSpace(string(tiny)), 0U);
}

TEST_F(VolumesTests, AccessToTheRootOfTheVolume) {
  const std::string memory = mounts_.memory("memory");
  SKIP_WITHOUT(memory);
  test::writeFile(memory + "/file", "x");
  const Ref<NSString> file = string(memory + "/file");
  EXPECT_TRUE(isVolumeReadable(file));
  EXPECT_TRUE(isVolumeWritable(file));
  EXPECT_EQ(test::asOrdinaryUser([&] { return isVolumeReadable(file) && !isVolumeWritable(file) ? 0 : 1; }), 0);
  mounts_.remountReadOnly(memory);
  EXPECT_TRUE(isVolumeReadable(file));
  EXPECT_FALSE(isVolumeWritable(file));
  EXPECT_FALSE(isVolumeReadable("/missing/item"));
  EXPECT_FALSE(isVolumeWritable("/missing/item"));
  EXPECT_FALSE(isVolumeReadable(nullptr));
  EXPECT_FALSE(isVolumeWritable(nullptr));
}

TEST_F(VolumesTests, MissingItems) {
  EXPECT_FALSE(volumePath("/missing/item"));
  EXPECT_EQ(volumeFreeSpace("/missing/item"), 0U);
  EXPECT_EQ(volumeTotalSpace("/missing/item"), 0U);
  EXPECT_FALSE(isUnmountableVolume("/missing/item"));
  EXPECT_FALSE(unmountVolume("/missing/item"));
  const std::string log = logOf([&] { EXPECT_EQ(volumeRefWithPath(files_, "/missing/item"), 0); });
  EXPECT_TRUE(log.ends_with("[NSFileManager volumeRefWithPath:] FSPathMakeRef failed with error: -43\n")) << log;
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
}

TEST_F(VolumesTests, ALocalDiskIsNoServer) {
  const std::string log = logOf([&] { EXPECT_FALSE(isWebDAVVolumeAtPath(files_, "/")); });
  EXPECT_NE(log.find("[NSFileManager volumeTypeWithPath:] FSGetVolumeMountInfoSize failed with error: -"),
            std::string::npos)
      << log;
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
  EXPECT_EQ(logOf([&] { EXPECT_FALSE(isNetworkVolumeAtPath(files_, "/")); }), "");
}

TEST_F(VolumesTests, NamesOfAnyBytes) {
  const std::string root = mounts_.isPossible() ? mounts_.memory("\xFF name\n") : std::string();
  SKIP_WITHOUT(root);
  EXPECT_TRUE(isListed(root));
  EXPECT_TRUE(isVolume(string(root)));
  test::writeFile(root + "/file", "x");
  EXPECT_EQ(bytes(volumePath(string(root + "/file"))), root);
  EXPECT_TRUE(unmountVolume(string(root)));
}

}  // namespace
}  // namespace ZtFoundation
