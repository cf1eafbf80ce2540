#include "platform/services/SaveLocks.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "support/ChildProcess.h"
#include "support/FolderLock.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

TEST(SaveLocks, AreHeldUntilTheyGo) {
  const ScratchFolder folder;
  {
    const auto lock = service<SaveLocks>().lock(folder.string("missing"));
    ASSERT_TRUE(lock);
    EXPECT_FALSE(isFree(folder.path()));
  }
  EXPECT_TRUE(isFree(folder.path()));
  EXPECT_TRUE(folder.names().empty());
}

TEST(SaveLocks, LinksLeadToTheFolderThatCounts) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder / "there");
  std::filesystem::create_symlink("there/file", folder / "link");
  const auto lock = service<SaveLocks>().lock(folder.string("link"));
  ASSERT_TRUE(lock);
  EXPECT_TRUE(isFree(folder.path()));
  EXPECT_FALSE(isFree(folder / "there"));
}

// What was open before, of this process or of who started it, does not count.
TEST(SaveLocks, AreNotPassedToPrograms) {
  const ScratchFolder folder;
  std::set<int> before;
  for (int descriptor = 0; descriptor < 1024; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0) before.insert(descriptor);
  }
  const auto lock = service<SaveLocks>().lock(folder.string("file"));
  bool isSeen = false;
  for (int descriptor = 0; descriptor < 1024; ++descriptor) {
    const int flags = before.contains(descriptor) ? -1 : ::fcntl(descriptor, F_GETFD);
    isSeen |= flags >= 0;
    EXPECT_TRUE(flags < 0 || (flags & FD_CLOEXEC) != 0);
  }
  EXPECT_TRUE(isSeen);
}

TEST(SaveLocks, AreNotPassedToForkedProcesses) {
  const ScratchFolder folder;
  auto lock = service<SaveLocks>().lock(folder.string("file"));
  ASSERT_TRUE(lock);
  const pid_t child = startChild([] { return ::pause(); });
  lock.reset();
  EXPECT_TRUE(isFree(folder.path()));
  ::kill(child, SIGKILL);
  waitForChild(child);
}

TEST(SaveLocks, OnlyWhatIsCertainlyNotThereIsMissing) {
  const ScratchFolder folder;
  std::filesystem::create_symlink("nowhere", folder / "link");
  std::filesystem::create_symlink("loop", folder / "loop");
  writeFile(folder / "file", "");
  for (const char* name : {"missing", "link"}) EXPECT_TRUE(service<SaveLocks>().isFileMissing(folder.string(name)));
  for (const char* name : {"file", "loop", "file/in"}) {
    EXPECT_FALSE(service<SaveLocks>().isFileMissing(folder.string(name))) << name;
  }
  EXPECT_FALSE(service<SaveLocks>().isFileMissing(nullptr));
}

TEST(SaveLocks, WithoutAFolderThereIsNone) {
  const ScratchFolder folder;
  writeFile(folder / "plain", "");
  for (const Ref<NSString>& path : {Ref<NSString>(), folder.string("missing/file"), folder.string("plain/file"),
                                    Ref<NSString>(""), folder.string(std::string("a\0b", 3))}) {
    EXPECT_FALSE(service<SaveLocks>().lock(path));
  }
}

}  // namespace
}  // namespace ZtFoundation::test
