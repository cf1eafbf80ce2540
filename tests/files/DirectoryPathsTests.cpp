#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>

namespace ZtFoundation::test {
namespace {

TEST(DirectoryPathsTests, OnlyTheExactPathsAreSpecial) {
  using namespace QvPathExtensions;
  EXPECT_EQ(QvRootDirectoryPath, "/");
  EXPECT_EQ(QvVolumesDirectoryPath, "/Volumes");
  EXPECT_TRUE(isRootDirectoryPath("/"));
  EXPECT_TRUE(isVolumesDirectoryPath("/Volumes"));
  for (const char* const path : {"", "//", "/.", ".", "/Volumes/", "/volumes", "/Volumes/Disk", "Volumes"}) {
    EXPECT_FALSE(isRootDirectoryPath(path)) << path;
    EXPECT_FALSE(isVolumesDirectoryPath(path)) << path;
  }
  EXPECT_FALSE(isRootDirectoryPath("/Volumes"));
  EXPECT_FALSE(isVolumesDirectoryPath("/"));
  EXPECT_TRUE(isRootDirectoryPath(NSMutableString::stringWithString("/")));
  EXPECT_FALSE(isRootDirectoryPath(nullptr));
  EXPECT_FALSE(isVolumesDirectoryPath(nullptr));
}

}  // namespace
}  // namespace ZtFoundation::test
