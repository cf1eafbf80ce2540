#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/FileManager.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "internal/platform/linux/StandInVolumes.h"
#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

class DisplayNamesTests : public ::testing::Test {
 protected:
  std::string name(const std::string& path) {
    return files->displayNameAtPath(NSString::stringWithFileSystemRepresentation(path))->fileSystemRepresentation();
  }
  /// The components with "|" between them; "(none)" for none.
  std::string components(const std::string& path) {
    const Ref<NSArray> found = files->componentsToDisplayForPath(NSString::stringWithFileSystemRepresentation(path));
    return found ? found->componentsJoinedByString("|")->fileSystemRepresentation() : "(none)";
  }

  StandInVolumes volumes;
  Ref<NSFileManager> files = NSFileManager::defaultManager();
};

TEST_F(DisplayNamesTests, TheRootIsTheStartUpVolume) {
  for (const char* path : {"/", "//", "///"}) {
    EXPECT_EQ(name(path), "Startup");
    EXPECT_EQ(components(path), "Startup");
  }
  EXPECT_EQ(components("/dev/null"), "Startup|dev|null");
  volumes.volumes.clear();
  EXPECT_EQ(name("/"), "/") << "the volume cannot be asked";
  EXPECT_EQ(components("/dev"), "/|dev");
}

TEST_F(DisplayNamesTests, ANameOfAVolumeIsAsLongAsItSays) {
  volumes.add(StandInVolumes::kStartUp, "/", std::u16string(255, u'x'));
  EXPECT_EQ(name("/").size(), 255U);
  volumes.add(StandInVolumes::kStartUp, "/", u"");
  EXPECT_EQ(name("/"), "");
}

TEST_F(DisplayNamesTests, VolumesElsewhereInTheTreeAreFolders) {
  ScratchFolder folder;
  std::filesystem::create_directories(folder / "mount/x");
  volumes.add(-4, folder / "mount", u"Data");
  EXPECT_EQ(name(folder / "mount"), "mount");
  EXPECT_TRUE(components(folder / "mount/x").starts_with("Startup|"));
  EXPECT_TRUE(components(folder / "mount/x").ends_with("|mount|x"));
}

TEST_F(DisplayNamesTests, VolumesAreWhereDesktopsMountThem) {
  if (!mayChangeRoot()) GTEST_SKIP() << "this process may not change its root";
  const struct {
    const char* path;
    const char* expected;
  } cases[] = {{"/media/me/stick", "My Stick"},
               {"/run/media/me/stick", "My Stick"},
               {"/Volumes/stick", "My Stick"},
               {"/run/me/stick", "stick"},
               {"/home/media/me/stick", "stick"}};
  const ScratchFolder root;
  for (const auto& each : cases) {
    std::filesystem::create_directories(root.path() + each.path);
    volumes.add(-4, each.path, u"My Stick");
    EXPECT_EQ(inChild([&] {
                if (::chroot(root.path().c_str()) != 0 || ::chdir("/") != 0) return 1;
                if (name(each.path) != each.expected) return 2;
                NoVolumes none;
                const ScopedService<Volumes> scope(none);
                return name(each.path) == "stick" ? 0 : 3;
              }),
              0)
        << each.path;
  }
}

// A folder of the test's own in the place of /media.
class DisplayNamesOfMedia : public DisplayNamesTests {
 protected:
  void SetUp() override {
    if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
    if (!std::filesystem::is_directory("/media")) GTEST_SKIP() << "there is no /media";
    std::filesystem::create_directories(mounts.folder("media") + "/me/stick/Trips/2024");
    mounts.bind(mounts.folder("media"), "/media");
    volumes.add(-4, "/media/me/stick", u"My Stick");
  }

  PrivateMounts mounts;
};

TEST_F(DisplayNamesOfMedia, BeginWithTheVolume) {
  EXPECT_EQ(name("/media/me/stick"), "My Stick");
  for (const char* path : {"/media/me/stick/", "//media/me//stick", "/run/../media/me/stick", "/media/me/stick/."}) {
    EXPECT_EQ(name(path), "My Stick") << path;
  }
  EXPECT_EQ(components("/media/me/stick"), "My Stick");
  EXPECT_EQ(components("/media/me/stick/Trips/2024"), "My Stick|Trips|2024");
  EXPECT_EQ(components("/media/me/stick/Trips/../Trips"), "My Stick|Trips");
}

TEST_F(DisplayNamesOfMedia, AreThoseOfFoldersBesideVolumes) {
  EXPECT_EQ(name("/media"), "media");
  EXPECT_EQ(name("/media/me"), "me");
  EXPECT_EQ(components("/media/me"), "Startup|media|me");
  EXPECT_EQ(name("/media/me/stick/Trips"), "Trips");
  EXPECT_EQ(name("/media/me/missing"), "missing");
}

TEST_F(DisplayNamesOfMedia, DoNotDependOnHowThePathOfAVolumeIsWritten) {
  volumes.add(-5, "/media", u"All Media");
  for (const char* path : {"/media", "/media/", "//media"}) EXPECT_EQ(name(path), "media") << path;
  EXPECT_EQ(inChild([&] { return ::chdir("/media/me") == 0 && name("stick") == "My Stick" ? 0 : 1; }), 0);
}

// Its server would keep whoever asks waiting.
TEST_F(DisplayNamesOfMedia, AreToldWithoutAskingTheVolume) {
  volumes.add(-5, "/media/me/gone", u"Far Away");
  EXPECT_EQ(name("/media/me/gone"), "Far Away") << "though nothing is there";
}

}  // namespace
}  // namespace ZtFoundation::test
