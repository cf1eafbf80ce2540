#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>

#include "internal/files/StandInPlatform.h"
#include "support/ChildProcess.h"
#include "support/RecordingLog.h"

namespace ZtFoundation::test {
namespace {

using QvFoundationExtensions::rootVolumeName;
using Lines = std::vector<std::string>;

// The name is kept for the life of the process, so each test has a process of its own.
class RootVolumeNameTests : public ::testing::Test {
 protected:
  template <class Test>
  void inProcessOfItsOwn(Test test) {
    EXPECT_EQ(inChild([&] {
                test();
                return ::testing::Test::HasFailure();
              }),
              0);
  }

  StandInPlatform platform;
  ::ZtFoundation::test::RecordingLog log;
  Ref<NSFileManager> files = NSFileManager::defaultManager();
};

TEST_F(RootVolumeNameTests, IsThatOfTheFirstVolume) {
  inProcessOfItsOwn([&] {
    EXPECT_EQ(rootVolumeName(files)->utf8(), "Startup");
    EXPECT_EQ(platform.calls, (Lines{"FSGetVolumeInfo 0 1 0x0", "FSGetVolumeInfo:name -7 0 0x0"}));
  });
}

TEST_F(RootVolumeNameTests, IsKept) {
  inProcessOfItsOwn([&] {
    const Ref<NSString> first = rootVolumeName(files);
    platform.volumeName = u"Renamed";
    EXPECT_EQ(rootVolumeName(files), first) << "the very object";
    EXPECT_EQ(rootVolumeName(ZtFoundation::make<NSFileManager>()), first);
    EXPECT_EQ(platform.calls.size(), 2U);
  });
}

TEST_F(RootVolumeNameTests, IsAskedForAgainAfterAFailure) {
  inProcessOfItsOwn([&] {
    platform.failures["FSGetVolumeInfo"] = nsvErr;
    EXPECT_FALSE(rootVolumeName(files));
    EXPECT_EQ(platform.calls.size(), 1U);
    platform.failures = {{"FSGetVolumeInfo:name", ioErr}};
    EXPECT_FALSE(rootVolumeName(files));
    EXPECT_EQ(platform.calls.size(), 3U);
    platform.failures.clear();
    EXPECT_EQ(rootVolumeName(files)->utf8(), "Startup");
    EXPECT_EQ(log.lines(), Lines{});
  });
}

TEST_F(RootVolumeNameTests, HasAsManyUnitsAsItSays) {
  inProcessOfItsOwn([&] {
    platform.volumeName = std::u16string(u"\xD834\0\u65E5", 3);
    EXPECT_EQ(rootVolumeName(files)->utf16(), platform.volumeName);
  });
  inProcessOfItsOwn([&] {
    platform.volumeName = u"";
    ASSERT_TRUE(rootVolumeName(files));
    EXPECT_EQ(rootVolumeName(files)->length(), 0U);
  });
  inProcessOfItsOwn([&] {
    platform.volumeName = std::u16string(300, u'x');
    EXPECT_EQ(rootVolumeName(files)->length(), 255U) << "there is room for no more";
  });
}

TEST_F(RootVolumeNameTests, NoneFails) {
  inProcessOfItsOwn([&] {
    EXPECT_FALSE(rootVolumeName(nullptr));
    EXPECT_EQ(platform.calls, Lines{});
    rootVolumeName(files);
    EXPECT_FALSE(rootVolumeName(nullptr));
  });
}

}  // namespace
}  // namespace ZtFoundation::test
