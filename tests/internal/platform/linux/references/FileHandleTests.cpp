#include "platform/linux/references/FileHandle.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::FileDescriptor;
using detail::FileHandle;
using detail::handleOfItem;
using detail::openHandle;

class FileHandleTests : public testing::Test {
 protected:
  FileHandleTests() {
    writeFile(folder / "file", "text");
    std::filesystem::create_symlink("file", folder / "link");
  }
  void SetUp() override {
    if (!handleOfItem(folder / "file")) GTEST_SKIP() << "this file system has no handles";
  }
  static ino_t numberOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0);
    return status.st_ino;
  }

  ScratchFolder folder;
  const FileDescriptor volume{::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

TEST_F(FileHandleTests, AHandleLeadsToItsItem) {
  for (const char* name : {"file", "link"}) {
    const auto handle = handleOfItem(folder / name);
    ASSERT_TRUE(handle);
    const ino_t number = numberOf(folder / name);
    std::filesystem::rename(folder / name, folder / "moved");
    const FileDescriptor item = openHandle(volume.get(), *handle);
    if (!item) GTEST_SKIP() << "this process may not use handles";
    struct stat status {};
    ASSERT_EQ(::fstat(item.get(), &status), 0);
    EXPECT_EQ(status.st_ino, number);
    EXPECT_EQ(detail::rememberedPath(item.get()), std::filesystem::canonical(folder.path()).string() + "/moved");
    std::filesystem::rename(folder / "moved", folder / name);
  }
}

TEST_F(FileHandleTests, WhatHasGoneAndWhatIsNoHandleOpenNothing) {
  const auto handle = handleOfItem(folder / "file");
  ASSERT_TRUE(handle);
  std::filesystem::remove(folder / "file");
  EXPECT_FALSE(openHandle(volume.get(), *handle));
  EXPECT_FALSE(openHandle(volume.get(), FileHandle{77, std::string(300, 'x')}));
  EXPECT_FALSE(openHandle(volume.get(), FileHandle{handle->type, ""}));
  EXPECT_FALSE(openHandle(-1, *handle));
  EXPECT_EQ(handleOfItem(folder / "missing"), std::nullopt);
  EXPECT_EQ(detail::rememberedPath(-1), std::nullopt);
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const FileDescriptor reading(ends[0]), writing(ends[1]);
  EXPECT_EQ(detail::rememberedPath(ends[0]), std::nullopt) << "not in any folder";
}

TEST_F(FileHandleTests, OrdinaryUsersAskForHandlesAndCannotUseThem) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  const auto handle = handleOfItem(folder / "file");
  EXPECT_EQ(asOrdinaryUser([&] {
              if (handleOfItem(folder / "file") != handle) return 1;
              return openHandle(volume.get(), *handle) ? 2 : 0;
            }),
            0);
}

}  // namespace
}  // namespace ZtFoundation::test
