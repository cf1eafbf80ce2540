#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

class VisibilityTests : public testing::Test {
 protected:
  static bool isVisible(const Ref<NSString>& path) {
    return QvFoundationExtensions::isVisibleFileAtPath(NSFileManager::defaultManager(), path);
  }
  /// Runs `work` where the folder is "/".
  template <class Work>
  int asRoot(Work work) const {
    return inChild([&]() -> int {
      if (::chroot(folder.path().c_str()) != 0 || ::chdir("/") != 0) return 100;
      return static_cast<int>(work());
    });
  }

  ScratchFolder folder;
};

TEST_F(VisibilityTests, ADotHidesAName) {
  writeFile(folder / "plain", "");
  writeFile(folder / ".dotted", "");
  std::filesystem::create_directory(folder / ".folder");
  writeFile(folder / ".folder/plain", "");
  std::filesystem::create_symlink(".dotted", folder / "link");
  std::filesystem::create_symlink("nowhere", folder / ".broken");
  EXPECT_TRUE(isVisible(folder.string("plain")));
  EXPECT_FALSE(isVisible(folder.string(".dotted")));
  EXPECT_FALSE(isVisible(folder.string(".folder")));
  EXPECT_TRUE(isVisible(folder.string(".folder/plain")));
  EXPECT_TRUE(isVisible(folder.string("link"))) << "its own name counts";
  EXPECT_FALSE(isVisible(folder.string(".broken")));
  EXPECT_TRUE(isVisible(folder.string(".missing")));
}

TEST_F(VisibilityTests, AListInTheRootHidesWhatLiesThere) {
  for (const char* const name : {"usr", "etc", "usr/usr"}) std::filesystem::create_directory(folder / name);
  if (asRoot([] { return 0; }) != 0) GTEST_SKIP() << "only root can make another folder the root";
  EXPECT_EQ(asRoot([&] { return isVisible("/usr") && isVisible("/etc") ? 1 : 0; }), 1);
  writeFile(folder / ".hidden", "bin\nusr\n");
  EXPECT_EQ(asRoot([&] { return !isVisible("/usr") && isVisible("/etc") && isVisible("/usr/usr") ? 1 : 0; }), 1);
  writeFile(folder / ".hidden", "bin\r\nusr\r\n");
  EXPECT_EQ(asRoot([&] { return isVisible("/usr") ? 1 : 0; }), 1);
}

}  // namespace
}  // namespace ZtFoundation::test
