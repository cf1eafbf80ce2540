// Volumes with each allocation failing that a question about them or an unmounting makes.
#include <sys/stat.h>

#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <ZtFoundation/Files.h>

#include <support/ChildProcess.h>
#include <support/FailingAllocations.h>
#include <support/FileTree.h>
#include <support/PrivateMounts.h>
#include <support/QuietStandardError.h>
#include <support/Sanitizers.h>

namespace ZtFoundation::test {
namespace {

struct Mounted {
  Ref<NSString> item = FileTree::path("file.txt");
  Ref<NSString> root = "/";
  Ref<NSFileManager> files = NSFileManager::defaultManager();
  std::string describe() const { return describeProcess(); }
};

// The table of mounts has changed each time, so it is read anew. A process that ends leaves no mount to the others.
struct JustMounted : Mounted {
  JustMounted() = default;
  JustMounted(const JustMounted&) = delete;
  JustMounted& operator=(const JustMounted&) = delete;
  ~JustMounted() { mounts().unmount(point_); }

  static PrivateMounts& mounts() {
    static PrivateMounts mounts;
    return mounts;
  }

 private:
  static std::string nextPoint() {
    static unsigned count = 0;
    return mounts().memory(++count % 2 == 0 ? "here" : "or rather here");
  }

  std::string point_ = nextPoint();
};

class AllocationFailureVolumes : public testing::Test {
 private:
  QuietStandardError quiet_;
  FileTree tree_;
};

TEST_F(AllocationFailureVolumes, Questions) {
  using namespace JxVolumeCatalogInformation;
  const EachOf<Mounted> each;
  each("JxVolumeCatalogInformation::volumePaths", [](Mounted&) { return volumePaths() != nullptr; });
  each("JxVolumeCatalogInformation::volumePath", [](Mounted& m) { return volumePath(m.item); });
  each("JxVolumeCatalogInformation::isVolume", [](Mounted& m) { return isVolume(m.root); });
  each("JxVolumeCatalogInformation::isVolumeReadable", [](Mounted& m) { return isVolumeReadable(m.item); });
  each("JxVolumeCatalogInformation::isVolumeWritable", [](Mounted& m) { return isVolumeWritable(m.item); });
  each("JxVolumeCatalogInformation::isNetworkVolume", [](Mounted& m) { return isNetworkVolume(m.root); });
  each("JxVolumeCatalogInformation::isUnmountableVolume", [](Mounted& m) { return isUnmountableVolume(m.root); });
  each("JxVolumeCatalogInformation::volumeTotalSpace_freeSpace", [](Mounted& m) {
    std::uint64_t total = 0;
    std::uint64_t free = 0;
    return volumeTotalSpace_freeSpace(m.item, &total, &free) && total >= free;
  });
  each("JxVolumeCatalogInformation::volumeTotalSpace", [](Mounted& m) { return volumeTotalSpace(m.item) > 0; });
  each("JxVolumeCatalogInformation::volumeFreeSpace", [](Mounted& m) { return volumeFreeSpace(m.item) > 0; });
  each("QvFoundationExtensions::volumeRefWithPath",
       [](Mounted& m) { return QvFoundationExtensions::volumeRefWithPath(m.files, m.item) < 0; });
  each("QvFoundationExtensions::volumeTypeWithPath",
       [](Mounted& m) { return QvFoundationExtensions::volumeTypeWithPath(m.files, m.item); });
  each("QvFoundationExtensions::isNetworkVolumeAtPath",
       [](Mounted& m) { return QvFoundationExtensions::isNetworkVolumeAtPath(m.files, m.item); });
  each("QvFoundationExtensions::isAppleShareVolumeAtPath",
       [](Mounted& m) { return QvFoundationExtensions::isAppleShareVolumeAtPath(m.files, m.item); });
  each("QvFoundationExtensions::isWebDAVVolumeAtPath",
       [](Mounted& m) { return QvFoundationExtensions::isWebDAVVolumeAtPath(m.files, m.item); });
}

// What is known of the mounts is kept.
TEST_F(AllocationFailureVolumes, AfterAChange) {
  if (!JustMounted::mounts().isPossible()) GTEST_SKIP() << JustMounted::mounts().whyNot();
  const EachOf<JustMounted> each;
  each("JxVolumeCatalogInformation::volumePaths (changed)",
       [](JustMounted&) { return JxVolumeCatalogInformation::volumePaths()->count(); },
       {.keepsMemory = true, .dense = kIsSanitized ? 200 : 2000});
  each("JxVolumeCatalogInformation::volumePath (changed)",
       [](JustMounted& m) { return JxVolumeCatalogInformation::volumePath(m.item); }, {.keepsMemory = true});
  each("JxVolumeCatalogInformation::isVolume (changed)",
       [](JustMounted&) {
         return JxVolumeCatalogInformation::isVolume("/") && !JxVolumeCatalogInformation::isVolume("/none");
       },
       {.keepsMemory = true});
}

// A volume that is mounted for each run.
struct ToUnmount {
  PrivateMounts& mounts = JustMounted::mounts();
  std::string point = mounts.memory("to unmount");
  Ref<NSString> path = NSString::stringWithFileSystemRepresentation(point);
  ToUnmount() = default;
  ToUnmount(const ToUnmount&) = delete;
  ToUnmount& operator=(const ToUnmount&) = delete;
  ~ToUnmount() {
    if (isThere()) mounts.unmount(point);
  }
  bool isThere() const { return deviceOf(point) != deviceOf(point + "/.."); }
  std::string describe() const { return isThere() ? "mounted" : "unmounted"; }

 private:
  static dev_t deviceOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_dev;
  }
};

// Memory may run out when the volume is gone, while the table of mounts is looked at again. Then there is none any more
// for the same call.
TEST_F(AllocationFailureVolumes, Unmounting) {
  if (!JustMounted::mounts().isPossible()) GTEST_SKIP() << JustMounted::mounts().whyNot();
  const ToUnmount first;
  ASSERT_TRUE(JxVolumeCatalogInformation::unmountVolume(first.path));
  const std::size_t descriptors = openDescriptors();  // with the table of mounts, which stays open
  const EachOf<ToUnmount> each;
  each("JxVolumeCatalogInformation::unmountVolume",
       [](ToUnmount& volume) { return JxVolumeCatalogInformation::unmountVolume(volume.path); },
       {.leaves = Leaves::PartOrAll, .keepsMemory = true});
  EXPECT_EQ(openDescriptors(), descriptors);
}

struct Anywhere {
  std::string describe() const { return describeProcess(); }
};

// An ordinary user unmounts by programs, which tell here that he may not.
TEST_F(AllocationFailureVolumes, UnmountingByPrograms) {
  if (!JustMounted::mounts().isPossible()) GTEST_SKIP() << JustMounted::mounts().whyNot();
  const ToUnmount volume;
  const auto work = [&] {
    EachOf<Anywhere>()("JxVolumeCatalogInformation::unmountVolume (by programs)",
                       [&](Anywhere&) { return JxVolumeCatalogInformation::unmountVolume(volume.path); },
                       {.keepsMemory = true});
    return HasFailure();
  };
  EXPECT_EQ(asOrdinaryUser(work), 0);
}

}  // namespace
}  // namespace ZtFoundation::test
