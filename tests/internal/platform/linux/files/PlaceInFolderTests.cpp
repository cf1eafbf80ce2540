#include "platform/linux/files/PlaceInFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::PlaceInFolder;

bool isFolderAt(const PlaceInFolder& place, const std::string& path) {
  struct stat open {};
  struct stat there {};
  return ::fstat(place.folder.get(), &open) == 0 && ::stat(path.c_str(), &there) == 0 && open.st_dev == there.st_dev &&
         open.st_ino == there.st_ino;
}

class PlaceInFolderTests : public testing::Test {
 protected:
  PlaceInFolderTests() {
    std::filesystem::create_directory(folder / "inner");
    std::filesystem::create_symlink("inner/file", folder / "link");
    std::filesystem::create_symlink("loop", folder / "loop");
    writeFile(folder / "plain", "");
  }

  ScratchFolder folder;
};

TEST_F(PlaceInFolderTests, IsTheNameInItsFolder) {
  const struct {
    std::string path;
    std::string folder;
    const char* name;
  } cases[] = {{folder / "inner/file", folder / "inner", "file"},
               {folder / "inner/", folder.path(), "inner"},
               {folder / "inner//", folder.path(), "inner"},
               {folder / "inner/.", folder / "inner", "."},
               {folder / "inner/..", folder / "inner", ".."},
               {folder / "link", folder.path(), "link"},
               {"here", ".", "here"},
               {"here/", ".", "here"},
               {"/", "/", "."},
               {"//", "/", "."},
               {"/name", "/", "name"}};
  for (const auto& each : cases) {
    const PlaceInFolder place = detail::placeOf(each.path);
    EXPECT_TRUE(isFolderAt(place, each.folder)) << each.path;
    EXPECT_EQ(place.name, each.name) << each.path;
  }
}

TEST_F(PlaceInFolderTests, WithoutAFolderThereIsNone) {
  const std::pair<std::string, int> cases[] = {
      {"", ENOENT}, {folder / "missing/file", ENOENT}, {folder / "plain/file", ENOTDIR}, {folder / "loop/file", ELOOP}};
  for (const auto& [path, error] : cases) {
    errno = 0;
    EXPECT_FALSE(detail::placeOf(path)) << path;
    EXPECT_EQ(errno, error) << path;
  }
}

TEST_F(PlaceInFolderTests, LinksLeadToTheEnd) {
  for (const char* name : {"link", "inner/file"}) {
    const PlaceInFolder place = detail::endOfLinks(folder / name);
    EXPECT_TRUE(isFolderAt(place, folder / "inner")) << name;
    EXPECT_EQ(place.name, "file") << name;
  }
  for (const std::string& name : {std::string(), std::string("inner/"), std::string("loop"), std::string("plain/file"),
                                  std::string("missing/file"), std::string(256, 'n')}) {
    EXPECT_FALSE(detail::endOfLinks(folder / name)) << name;
  }
}

// Who saves into a folder for all could else be led to any file of his.
TEST_F(PlaceInFolderTests, LinksOfOthersInAFolderForAllAreNotFollowed) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make another user's links";
  constexpr uid_t kStranger = 1234, kOwner = 2345;
  const std::string shared = folder / "shared";
  std::filesystem::create_directory(shared);
  std::filesystem::create_symlink("../inner/file", shared + "/link");
  const struct {
    mode_t mode;
    uid_t linksOwner;
    uid_t foldersOwner;
    bool isFollowed;
  } cases[] = {{01777, kStranger, kOwner, false}, {01777, 0, kOwner, true},         {01777, kOwner, kOwner, true},
               {0777, kStranger, kOwner, true},   {01775, kStranger, kOwner, true}, {01777, kStranger, 0, false}};
  for (const auto& [mode, linksOwner, foldersOwner, isFollowed] : cases) {
    ASSERT_EQ(::lchown((shared + "/link").c_str(), linksOwner, linksOwner), 0);
    ASSERT_EQ(::chown(shared.c_str(), foldersOwner, foldersOwner) + ::chmod(shared.c_str(), mode), 0);
    errno = 0;
    EXPECT_EQ(static_cast<bool>(detail::endOfLinks(shared + "/link")), isFollowed) << std::oct << mode << linksOwner;
    EXPECT_EQ(errno, isFollowed ? errno : EACCES);
  }
}

}  // namespace
}  // namespace ZtFoundation::test
