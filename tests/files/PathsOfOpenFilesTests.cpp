#include <ZtFoundation/Files.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>

#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

class PathsOfOpenFilesTests : public testing::Test {
 protected:
  PathsOfOpenFilesTests() { writeFile(folder / "file", "contents"); }
  ~PathsOfOpenFilesTests() override {
    for (const int descriptor : opened) ::close(descriptor);
  }

  int open(const std::string& name, int flags = O_RDONLY) {
    opened.push_back(::open((folder / name).c_str(), flags | O_CLOEXEC, 0600));
    EXPECT_GE(opened.back(), 0) << name;
    return opened.back();
  }
  // "(none)" for none.
  static std::string pathOf(int descriptor) {
    const Ref<NSString> path =
        QvFoundationExtensions::pathForFileDescriptor(NSFileManager::defaultManager(), descriptor);
    return path ? path->fileSystemRepresentation() : "(none)";
  }
  // The same within the folder.
  std::string nameOf(int descriptor) const {
    const std::string bytes = pathOf(descriptor);
    const std::string start = std::filesystem::canonical(folder.path()).string() + "/";
    return bytes.starts_with(start) ? bytes.substr(start.size()) : bytes;
  }

  ScratchFolder folder;
  std::vector<int> opened;
};

TEST_F(PathsOfOpenFilesTests, AnOpenItemHasAPath) {
  std::filesystem::create_directory(folder / "sub");
  writeFile(folder / "sub/\xFF\xE3\x81\x82", "");
  EXPECT_EQ(nameOf(open("file")), "file");
  EXPECT_EQ(nameOf(open("file", O_WRONLY | O_APPEND)), "file");
  EXPECT_EQ(nameOf(open("sub", O_RDONLY | O_DIRECTORY)), "sub");
  EXPECT_EQ(nameOf(open("sub/\xFF\xE3\x81\x82")), "sub/\xFF\xE3\x81\x82");
  EXPECT_EQ(nameOf(open("new", O_RDWR | O_CREAT)), "new");
  EXPECT_EQ(nameOf(open("./sub/.././file")), "file");
}

TEST_F(PathsOfOpenFilesTests, LinksAreResolved) {
  std::filesystem::create_symlink("file", folder / "link");
  EXPECT_EQ(nameOf(open("link")), "file");
  EXPECT_EQ(nameOf(open("link", O_PATH | O_NOFOLLOW)), "link") << "the link itself is open";
}

TEST_F(PathsOfOpenFilesTests, AnItemThatMovesTakesItsPathAlong) {
  std::filesystem::create_directory(folder / "sub");
  const int file = open("file");
  std::filesystem::rename(folder / "file", folder / "sub/other");
  EXPECT_EQ(nameOf(file), "sub/other");
  std::filesystem::rename(folder / "sub", folder / "moved");
  EXPECT_EQ(nameOf(file), "moved/other");
}

TEST_F(PathsOfOpenFilesTests, APathMayLeadWhereTheProcessMayNotGo) {
  std::filesystem::create_directory(folder / "sub");
  writeFile(folder / "sub/file", "");
  const int file = open("sub/file");
  std::filesystem::permissions(folder.path(), std::filesystem::perms::none);
  const std::string expected = std::filesystem::canonical(folder.path()).string() + "/sub/file";
  EXPECT_EQ(asOrdinaryUser([&] { return pathOf(file) == expected ? 0 : 1; }), 0);
  std::filesystem::permissions(folder.path(), std::filesystem::perms::owner_all);
}

TEST_F(PathsOfOpenFilesTests, ALostNameIsNoPath) {
  const int file = open("file");
  std::filesystem::create_hard_link(folder / "file", folder / "second");
  std::filesystem::remove(folder / "file");
  EXPECT_EQ(nameOf(file), "(none)");
  writeFile(folder / "file", "another one");
  writeFile(folder / "file (deleted)", "yet another one");
  EXPECT_EQ(nameOf(file), "(none)") << "neither is the open file";
}

TEST_F(PathsOfOpenFilesTests, ANameMayEndLikeALostOne) {
  const int file = open("file (deleted)", O_RDWR | O_CREAT);
  EXPECT_EQ(nameOf(file), "file (deleted)");
  std::filesystem::create_symlink("file", folder / "link (deleted)");
  EXPECT_EQ(nameOf(open("link (deleted)", O_PATH | O_NOFOLLOW)), "link (deleted)");
  std::filesystem::remove(folder / "file (deleted)");
  EXPECT_EQ(nameOf(file), "(none)");
}

TEST_F(PathsOfOpenFilesTests, WhatIsNoItemHasNoPath) {
  int ends[4];
  ASSERT_EQ(::pipe(ends), 0);
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends + 2), 0);
  opened.insert(opened.end(), ends, ends + 4);
  opened.push_back(::memfd_create("memory", MFD_CLOEXEC));
  for (const int descriptor : opened) EXPECT_EQ(nameOf(descriptor), "(none)");
}

TEST_F(PathsOfOpenFilesTests, APathThatIsTooLongToBeToldIsNone) {
  const std::string name(250, 'd');
  int inside = open(".");
  for (int depth = 0; depth < 17; ++depth) {
    ASSERT_EQ(::mkdirat(inside, name.c_str(), 0700), 0);
    opened.push_back(::openat(inside, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    inside = opened.back();
    ASSERT_GE(inside, 0);
  }
  EXPECT_EQ(nameOf(inside), "(none)");
}

// The kernel's names of items on mounts that are gone begin at the mount.
TEST_F(PathsOfOpenFilesTests, WhatIsOnNoMountHasNoPath) {
  PrivateMounts mounts;
  const std::string card = mounts.memory("card");
  if (card.empty()) GTEST_SKIP() << mounts.whyNot();
  const std::string same = folder / "file";
  std::filesystem::create_directories((card + same).substr(0, (card + same).rfind('/')));
  writeFile(card + same, "on the card");
  opened.push_back(::open((card + same).c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(nameOf(opened.back()), card + same);
  mounts.unmount(card, MNT_DETACH);
  EXPECT_EQ(nameOf(opened.back()), "(none)");
}

TEST_F(PathsOfOpenFilesTests, WhatAMountHidesHasNoPath) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  std::filesystem::create_directory(folder / "sub");
  writeFile(folder / "sub/file", "");
  const int hidden = open("sub/file");
  const int item = open("sub");
  mounts.mountAt(folder / "sub", "hiding", "tmpfs", 0, "");
  EXPECT_EQ(nameOf(hidden), "(none)");
  EXPECT_EQ(nameOf(item), "(none)");
  writeFile(folder / "sub/file", "");
  EXPECT_EQ(nameOf(hidden), "(none)");
  EXPECT_EQ(nameOf(open("sub/file")), "sub/file");
  EXPECT_EQ(nameOf(open("sub")), "sub");
}

TEST_F(PathsOfOpenFilesTests, TheRootNeedBeNoMount) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  std::filesystem::create_directory(folder / "proc");
  mounts.bind("/proc", folder / "proc");
  EXPECT_EQ(inChild([&] {
              if (::chroot(folder.path().c_str()) != 0) return 1;
              return pathOf(::open("/file", O_RDONLY | O_CLOEXEC)) == "/file" ? 0 : 2;
            }),
            0);
}

TEST_F(PathsOfOpenFilesTests, ADescriptorThatIsNotOpenHasNoPath) {
  const int closed = open("file");
  opened.pop_back();
  ::close(closed);
  for (const int descriptor : {closed, -1, -100, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(nameOf(descriptor), "(none)") << descriptor;
  }
}

TEST_F(PathsOfOpenFilesTests, NobodyToAskGivesNone) {
  EXPECT_FALSE(QvFoundationExtensions::pathForFileDescriptor(nullptr, open("file")));
}

}  // namespace
}  // namespace ZtFoundation::test
