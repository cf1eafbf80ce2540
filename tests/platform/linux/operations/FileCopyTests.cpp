#include <ZtFoundation/Files.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <thread>

#include "support/AccessList.h"
#include "support/ChildProcess.h"
#include "support/ExtendedAttribute.h"
#include "support/PeakMemory.h"
#include "support/QuickFolder.h"
#include "support/Sanitizers.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Names = std::set<std::string>;

bool copy(const std::string& from, const std::string& to) {
  return NSFileManager::defaultManager()->copyPath_toPath_handler(
      NSString::stringWithFileSystemRepresentation(from), NSString::stringWithFileSystemRepresentation(to), nullptr);
}

struct stat statusOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status;
}

mode_t modeOf(const std::string& path) { return statusOf(path).st_mode & 07777U; }

void setTimes(const std::string& path, time_t accessed, time_t modified, long nanoseconds) {
  const timespec times[2] = {{accessed, nanoseconds}, {modified, nanoseconds + 1}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

void expectTimes(const std::string& path, time_t accessed, time_t modified, long nanoseconds) {
  const struct stat status = statusOf(path);
  EXPECT_EQ(status.st_atim.tv_sec, accessed) << path;
  EXPECT_EQ(status.st_atim.tv_nsec, nanoseconds) << path;
  EXPECT_EQ(status.st_mtim.tv_sec, modified) << path;
  EXPECT_EQ(status.st_mtim.tv_nsec, nanoseconds + 1) << path;
}

class FileCopyTests : public testing::Test {
 protected:
  FileCopyTests() { ::umask(022); }

  bool copyInside(const std::string& from, const std::string& to) { return copy(folder / from, folder / to); }
  void makeFolder(const std::string& name) { std::filesystem::create_directories(folder / name); }
  void write(const std::string& name, const std::string& contents) { writeFile(folder / name, contents); }
  std::optional<std::string> read(const std::string& name) { return contentsOf(folder / name); }
  bool exists(const std::string& name) { return ::access((folder / name).c_str(), F_OK) == 0; }

  ScratchFolder folder;
};

// --- Files

TEST_F(FileCopyTests, ContentsOfAnySizeAreCopied) {
  for (const std::size_t size : {0U, 1U, 4095U, 4096U, 262143U, 262144U, 262145U, 3000000U}) {
    std::string contents(size, '\0');
    for (std::size_t i = 0; i < size; ++i) contents[i] = static_cast<char>(i * 31 + i / 4096);
    write("from", contents);
    ASSERT_TRUE(copyInside("from", "to")) << size;
    EXPECT_TRUE(read("to") == contents) << size;
    EXPECT_TRUE(read("from") == contents) << size;
    ::unlink((folder / "to").c_str());
  }
}

TEST_F(FileCopyTests, ModeTimesAndAttributesAreKept) {
  if (!takesAttributes(folder.path())) GTEST_SKIP() << kNoAttributes;
  write("from", "text");
  ASSERT_EQ(::setxattr((folder / "from").c_str(), "user.zt.note", "kept", 4, 0), 0);
  ::chmod((folder / "from").c_str(), 02471);
  setTimes(folder / "from", 1000000000, 900000000, 123456789);
  ASSERT_TRUE(copyInside("from", "to"));
  EXPECT_EQ(modeOf(folder / "to"), 02471U);
  EXPECT_EQ(attributeOf(folder / "to", "user.zt.note"), "kept");
  expectTimes(folder / "to", 1000000000, 900000000, 123456789);
}

TEST_F(FileCopyTests, OwnerAndGroupAreKeptWhereTheProcessMay) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  write("from", "text");
  ASSERT_EQ(::chown((folder / "from").c_str(), 1234, 2345), 0);
  ::chmod((folder / "from").c_str(), 06750);
  ASSERT_TRUE(copyInside("from", "to"));
  EXPECT_EQ(statusOf(folder / "to").st_uid, 1234U);
  EXPECT_EQ(statusOf(folder / "to").st_gid, 2345U);
  EXPECT_EQ(modeOf(folder / "to"), 06750U);
}

TEST_F(FileCopyTests, WhoMayNotGiveFilesAwayPassesNoRightsOn) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  write("from", "text");
  ASSERT_EQ(::chown((folder / "from").c_str(), 1234, 2345), 0);
  ::chmod((folder / "from").c_str(), 06774);
  ::chmod(folder.path().c_str(), 0777);
  ASSERT_EQ(asOrdinaryUser([&] { return copyInside("from", "to") ? 0 : 1; }), 0);
  EXPECT_EQ(statusOf(folder / "to").st_uid, kOrdinaryUser);
  EXPECT_EQ(modeOf(folder / "to"), 0744U) << "neither the rights of the old group nor to act as another user";
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  ASSERT_EQ(::chown((folder / "pipe").c_str(), 1234, 2345), 0);
  ::chmod((folder / "pipe").c_str(), 0774);
  ASSERT_EQ(asOrdinaryUser([&] { return copyInside("pipe", "pipe copy") ? 0 : 1; }), 0);
  EXPECT_EQ(modeOf(folder / "pipe copy"), 0744U);
}

TEST_F(FileCopyTests, WithoutItsAccessListAPipeGivesNobodyMore) {
  using enum AccessEntry::Who;
  const std::string list = accessList({{Owner, 6}, {User, 6, 1234}, {Group, 0}, {Mask, 6}, {Others, 4}});
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  if (::setxattr((folder / "pipe").c_str(), kAccessList, list.data(), list.size(), 0) != 0) {
    GTEST_SKIP() << "no access lists on this file system";
  }
  ASSERT_TRUE(copyInside("pipe", "pipe copy"));
  EXPECT_EQ(attributeOf(folder / "pipe copy", kAccessList), std::nullopt);
  EXPECT_EQ(modeOf(folder / "pipe copy"), 0604U);
}

TEST_F(FileCopyTests, CapabilitiesAreKept) {
  write("from", "text");
  // Version 2, effective, CAP_NET_RAW permitted.
  const unsigned char capability[20] = {1, 0, 0, 2, 0, 0x20};
  if (::setxattr((folder / "from").c_str(), "security.capability", capability, sizeof capability, 0) != 0) {
    GTEST_SKIP() << "capabilities cannot be set here";
  }
  ASSERT_TRUE(copyInside("from", "to"));
  EXPECT_EQ(attributeOf(folder / "to", "security.capability"), attributeOf(folder / "from", "security.capability"));
}

TEST_F(FileCopyTests, HolesStayHoles) {
  const std::string from = folder / "from";
  const int file = ::open(from.c_str(), O_WRONLY | O_CREAT, 0644);
  ASSERT_EQ(::pwrite(file, "begin", 5, 1 << 20), 5);
  ASSERT_EQ(::pwrite(file, "end", 3, off_t{3} << 30), 3);  // beyond 2 GiB
  ASSERT_EQ(::ftruncate(file, off_t{5} << 30), 0);
  ::close(file);
  ASSERT_TRUE(copyInside("from", "to"));
  const struct stat status = statusOf(folder / "to");
  EXPECT_EQ(status.st_size, off_t{5} << 30);
  EXPECT_LE(status.st_blocks, statusOf(from).st_blocks + 64);
  const int copied = ::open((folder / "to").c_str(), O_RDONLY);
  char bytes[5];
  EXPECT_EQ(::pread(copied, bytes, 5, 1 << 20), 5);
  EXPECT_EQ(std::memcmp(bytes, "begin", 5), 0);
  EXPECT_EQ(::pread(copied, bytes, 3, off_t{3} << 30), 3);
  EXPECT_EQ(std::memcmp(bytes, "end", 3), 0);
  ::close(copied);
}

TEST_F(FileCopyTests, AFileOfHolesOnlyIsCopied) {
  write("from", "");
  ASSERT_EQ(::truncate((folder / "from").c_str(), 1 << 24), 0);
  ASSERT_TRUE(copyInside("from", "to"));
  EXPECT_EQ(statusOf(folder / "to").st_size, 1 << 24);
  EXPECT_EQ(statusOf(folder / "to").st_blocks, 0);
}

TEST_F(FileCopyTests, FilesOfTheKernelHaveContentsWithoutASize) {
  ASSERT_TRUE(copy("/proc/self/status", folder / "to"));
  EXPECT_NE(read("to")->find("Name:"), std::string::npos);
}

TEST_F(FileCopyTests, NothingIsEverReplaced) {
  write("from", "new");
  write("to", "old");
  std::filesystem::create_symlink("nowhere", folder / "link");
  makeFolder("folder");
  ASSERT_EQ(::link((folder / "from").c_str(), (folder / "other name").c_str()), 0);
  for (const char* to : {"to", "link", "folder", "from", "other name", "./from", "folder/..", "folder/."}) {
    EXPECT_FALSE(copyInside("from", to)) << to;
  }
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  for (const char* from : {"link", "pipe"}) EXPECT_FALSE(copyInside(from, "to")) << from;
  EXPECT_EQ(modeOf(folder / "to"), 0644U);
  EXPECT_EQ(read("to"), "old");
  EXPECT_EQ(read("from"), "new");
  EXPECT_FALSE(exists("nowhere"));
  EXPECT_EQ(folder.names(), (Names{"folder", "from", "link", "other name", "pipe", "to"}));
}

TEST_F(FileCopyTests, WhatCannotBeCopiedLeavesNothing) {
  makeFolder("folder");
  write("from", "text");
  EXPECT_FALSE(copyInside("missing", "to"));
  EXPECT_FALSE(copyInside("from", "missing/to"));
  EXPECT_FALSE(copyInside("from", "from/to"));
  EXPECT_FALSE(copyInside("from", std::string(300, 'n')));
  EXPECT_FALSE(copy("", folder / "to"));
  EXPECT_FALSE(copy(folder / "from", ""));
  EXPECT_FALSE(NSFileManager::defaultManager()->copyPath_toPath_handler(nullptr, folder.string("to"), nullptr));
  EXPECT_FALSE(NSFileManager::defaultManager()->copyPath_toPath_handler(folder.string("from"), nullptr, nullptr));
  EXPECT_FALSE(copyInside("from", std::string("to\0x", 4)));
  EXPECT_EQ(folder.names(), (Names{"folder", "from"}));
}

TEST_F(FileCopyTests, ASourceThatMayNotBeReadIsAFailure) {
  write("from", "secret");
  ::chmod((folder / "from").c_str(), 0);
  ::chmod(folder.path().c_str(), 0777);
  EXPECT_EQ(asOrdinaryUser([&] { return copyInside("from", "to") ? 1 : 0; }), 0);
  EXPECT_EQ(folder.names(), Names{"from"});
}

TEST_F(FileCopyTests, AFileThatGrowsIsCopiedAsFarAsItWent) {
  const std::string from = folder / "from";
  write("from", std::string(1 << 20, 'a'));
  std::atomic<bool> isDone = false;
  std::thread writer([&] {
    const int file = ::open(from.c_str(), O_WRONLY | O_APPEND);
    while (!isDone && ::lseek(file, 0, SEEK_END) < 1 << 26) {
      const std::string more(4096, 'b');
      [[maybe_unused]] const ssize_t written = ::write(file, more.data(), more.size());
    }
    ::close(file);
  });
  EXPECT_TRUE(copyInside("from", "to"));
  isDone = true;
  writer.join();
  const auto copied = read("to");
  EXPECT_GE(copied->size(), 1U << 20);
  EXPECT_EQ(copied->find_first_not_of("ab"), std::string::npos);
}

TEST_F(FileCopyTests, AFileThatShrinksIsCopiedAsFarAsItIs) {
  write("from", std::string(1 << 22, 'a'));
  std::atomic<bool> isDone = false;
  std::thread writer([&] {
    for (off_t size = 1 << 22; !isDone; size = size > 8192 ? size / 2 : 1 << 22) {
      ASSERT_EQ(::truncate((folder / "from").c_str(), size), 0);
    }
  });
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(copyInside("from", "to"));
    EXPECT_LE(statusOf(folder / "to").st_size, 1 << 22);
    ::unlink((folder / "to").c_str());
  }
  isDone = true;
  writer.join();
}

TEST_F(FileCopyTests, AFileThatAnotherProcessHasLeasedIsCopiedWhenThatGivesItUp) {
  makeFolder("from");
  write("from/file", "text");
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t holder = startChild([&]() -> int {
    sigset_t asked;
    sigemptyset(&asked);
    sigaddset(&asked, SIGIO);
    ::sigprocmask(SIG_BLOCK, &asked, nullptr);
    const int file = ::open((folder / "from/file").c_str(), O_RDWR);
    const bool isLeased = ::fcntl(file, F_SETLEASE, F_WRLCK) == 0;
    if (::write(ready[1], isLeased ? "y" : "n", 1) != 1) return 1;
    const timespec limit{10, 0};
    const bool isAsked = isLeased && ::sigtimedwait(&asked, nullptr, &limit) == SIGIO;
    ::fcntl(file, F_SETLEASE, F_UNLCK);
    return isAsked ? 0 : 1;
  });
  char answer = 'n';
  ASSERT_EQ(::read(ready[0], &answer, 1), 1);
  const bool isCopied = answer == 'y' && copyInside("from", "to");
  const int result = waitForChild(holder);
  for (const int end : ready) ::close(end);
  if (answer != 'y') GTEST_SKIP() << "no leases here";
  EXPECT_EQ(result, 0) << "it was not asked";
  EXPECT_TRUE(isCopied);
  EXPECT_EQ(read("to/file"), "text");
}

// --- Other items

TEST_F(FileCopyTests, LinksAreCopiedAsLinks) {
  write("target", "text");
  std::filesystem::create_symlink("target", folder / "link");
  std::filesystem::create_symlink(std::string(4000, 'x'), folder / "long");
  setTimes(folder / "link", 1000000000, 900000000, 5);
  ASSERT_TRUE(copyInside("link", "copy"));
  ASSERT_TRUE(copyInside("long", "long copy"));
  ASSERT_TRUE(copyInside("link/", "copy with slash"));
  expectTimes(folder / "copy", 1000000000, 900000000, 5);
  EXPECT_EQ(std::filesystem::read_symlink(folder / "copy"), "target");
  EXPECT_EQ(std::filesystem::read_symlink(folder / "copy with slash"), "target");
  EXPECT_EQ(std::filesystem::read_symlink(folder / "long copy").string().size(), 4000U);
}

TEST_F(FileCopyTests, PipesAndSocketsAreMadeAnew) {
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0642), 0);
  ::chmod((folder / "pipe").c_str(), 0642);
  setTimes(folder / "pipe", 1000000000, 900000000, 7);
  ASSERT_EQ(::mknod((folder / "socket").c_str(), S_IFSOCK | 0600, 0), 0);
  ASSERT_TRUE(copyInside("pipe", "pipe copy"));
  ASSERT_TRUE(copyInside("socket", "socket copy"));
  EXPECT_TRUE(S_ISFIFO(statusOf(folder / "pipe copy").st_mode));
  EXPECT_TRUE(S_ISSOCK(statusOf(folder / "socket copy").st_mode));
  EXPECT_EQ(modeOf(folder / "pipe copy"), 0642U);
  expectTimes(folder / "pipe copy", 1000000000, 900000000, 7);
}

TEST_F(FileCopyTests, DevicesAreMadeAnewWhereTheProcessMay) {
  if (::mknod((folder / "null").c_str(), S_IFCHR | 0600, makedev(1, 3)) != 0)
    GTEST_SKIP() << "no right to make devices";
  ASSERT_TRUE(copyInside("null", "copy"));
  EXPECT_EQ(statusOf(folder / "copy").st_rdev, makedev(1, 3));
  ::chmod(folder.path().c_str(), 0777);
  EXPECT_EQ(asOrdinaryUser([&] { return copyInside("null", "not allowed") ? 1 : 0; }), 0);
  EXPECT_FALSE(exists("not allowed"));
}

// --- Folders

TEST_F(FileCopyTests, FoldersAreCopiedWithAllThatIsInThem) {
  makeFolder("from/empty");
  makeFolder("from/a/b");
  write("from/a/file", "one");
  write("from/a/b/file", "two");
  std::filesystem::create_symlink("/", folder / "from/a/root");
  std::filesystem::create_symlink("a", folder / "from/to folder");
  ASSERT_TRUE(copyInside("from/", "to/"));
  EXPECT_EQ(read("to/a/file"), "one");
  EXPECT_EQ(read("to/a/b/file"), "two");
  EXPECT_TRUE(exists("to/empty"));
  EXPECT_EQ(std::filesystem::read_symlink(folder / "to/a/root"), "/");
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "to/to folder"));
  EXPECT_EQ(read("from/a/b/file"), "two");
}

TEST_F(FileCopyTests, FoldersKeepModeTimesAndAttributes) {
  if (!takesAttributes(folder.path())) GTEST_SKIP() << kNoAttributes;
  makeFolder("from/a");
  write("from/a/file", "");
  ::chmod((folder / "from/a").c_str(), 01555);
  ::chmod((folder / "from").c_str(), 02711);
  ASSERT_EQ(::setxattr((folder / "from").c_str(), "user.zt.note", "kept", 4, 0), 0);
  setTimes(folder / "from/a", 1000000000, 900000000, 11);
  setTimes(folder / "from", 1000000001, 900000001, 13);
  ASSERT_TRUE(copyInside("from", "to"));
  expectTimes(folder / "to", 1000000001, 900000001, 13);
  expectTimes(folder / "to/a", 1000000000, 900000000, 11);
  EXPECT_EQ(modeOf(folder / "to"), 02711U);
  EXPECT_EQ(modeOf(folder / "to/a"), 01555U);
  EXPECT_EQ(attributeOf(folder / "to", "user.zt.note"), "kept");
}

TEST_F(FileCopyTests, WhatTheNewPlaceWouldAddToTheRightsIsNotAdded) {
  // A default list as setfacl makes it: the owner and user 1234 may do everything.
  const unsigned char list[] = {2, 0,   0,   0,   1,   0,   7,  0, 255, 255, 255, 255, 2,   0,  7,
                                0, 210, 4,   0,   0,   4,   0,  0, 0,   255, 255, 255, 255, 16, 0,
                                7, 0,   255, 255, 255, 255, 32, 0, 0,   0,   255, 255, 255, 255};
  makeFolder("from/a");
  write("from/a/file", "secret");
  ::chmod((folder / "from/a/file").c_str(), 0640);
  makeFolder("place");
  if (::setxattr((folder / "place").c_str(), "system.posix_acl_default", list, sizeof list, 0) != 0) {
    GTEST_SKIP() << "no access control lists here";
  }
  ASSERT_TRUE(copyInside("from", "place/to"));
  for (const char* item : {"place/to", "place/to/a", "place/to/a/file"}) {
    EXPECT_EQ(attributeOf(folder / item, "system.posix_acl_access"), std::nullopt) << item;
    EXPECT_EQ(attributeOf(folder / item, "system.posix_acl_default"), std::nullopt) << item;
  }
  EXPECT_EQ(modeOf(folder / "place/to/a/file"), 0640U);
  ASSERT_TRUE(copyInside("place", "place 2")) << "a list of its own is kept";
  EXPECT_NE(attributeOf(folder / "place 2", "system.posix_acl_default"), std::nullopt);
}

TEST_F(FileCopyTests, FilesWithSeveralNamesKeepThem) {
  makeFolder("from/a/b");
  write("from/one", "text");
  ASSERT_EQ(::link((folder / "from/one").c_str(), (folder / "from/a/two").c_str()), 0);
  ASSERT_EQ(::link((folder / "from/one").c_str(), (folder / "from/a/b/three").c_str()), 0);
  ASSERT_EQ(::link((folder / "from/one").c_str(), (folder / "outside").c_str()), 0);
  ASSERT_TRUE(copyInside("from", "to"));
  const struct stat one = statusOf(folder / "to/one");
  EXPECT_EQ(one.st_nlink, 3U) << "the name outside belongs to the source";
  EXPECT_EQ(statusOf(folder / "to/a/two").st_ino, one.st_ino);
  EXPECT_EQ(statusOf(folder / "to/a/b/three").st_ino, one.st_ino);
  EXPECT_NE(one.st_ino, statusOf(folder / "from/one").st_ino);
}

TEST_F(FileCopyTests, SoDoLinksAndPipes) {
  makeFolder("from/a");
  ASSERT_EQ(::mkfifo((folder / "from/pipe").c_str(), 0600), 0);
  std::filesystem::create_symlink("nowhere", folder / "from/link");
  for (const std::string name : {"pipe", "link"}) {
    ASSERT_EQ(::link((folder / "from/" + name).c_str(), (folder / "from/a/" + name).c_str()), 0);
  }
  ASSERT_TRUE(copyInside("from", "to"));
  for (const std::string name : {"pipe", "link"}) {
    const struct stat status = statusOf(folder / "to/" + name);
    EXPECT_EQ(status.st_nlink, 2U) << name;
    EXPECT_EQ(statusOf(folder / "to/a/" + name).st_ino, status.st_ino) << name;
  }
}

TEST_F(FileCopyTests, AFolderIsNotCopiedIntoItself) {
  makeFolder("from/a/b");
  std::filesystem::create_symlink("from/a", folder / "shortcut");
  for (const char* to : {"from/copy", "from/a/copy", "from/a/b/copy", "shortcut/copy", "from/../from/copy"}) {
    EXPECT_FALSE(copyInside("from", to)) << to;
  }
  EXPECT_FALSE(copy("/", folder / "root"));
  EXPECT_FALSE(copy(folder / "from/.", folder / "from/copy"));
  EXPECT_EQ(folder.names(), (Names{"from", "shortcut"}));
  EXPECT_FALSE(exists("from/copy"));
  EXPECT_TRUE(copyInside("from", "from copy")) << "the same beginning of the name is no reason";
}

TEST_F(FileCopyTests, DeepFoldersAreCopiedInFewDescriptors) {
  constexpr int kDepth = 10000;
  ScopedEnvironment inMemory;
  inMemory.set("TMPDIR", folderInMemory());
  ScratchFolder deep;
  const auto work = [&]() -> int {
    const rlimit few{64, 64};
    if (::setrlimit(RLIMIT_NOFILE, &few) != 0 || ::chdir(deep.path().c_str()) != 0) return 1;
    ::mkdir("from", 0755);
    if (::chdir("from") != 0) return 2;
    for (int i = 1; i < kDepth; ++i) {
      if (::mkdir("d", 0755) != 0 || ::chdir("d") != 0) return 3;
    }
    writeFile("bottom", "text");
    if (::chdir(deep.path().c_str()) != 0 || !copy("from", "to")) return 4;
    if (::chdir("to") != 0) return 5;
    for (int i = 1; i < kDepth; ++i) {
      if (::chdir("d") != 0) return 6;
    }
    if (contentsOf("bottom") != "text" || ::chdir("/") != 0) return 7;
    const Ref<NSFileManager> manager = NSFileManager::defaultManager();
    return manager->removeFileAtPath_handler(deep.string("to"), nullptr) &&
                   manager->removeFileAtPath_handler(deep.string("from"), nullptr)
               ? 0
               : 8;
  };
  EXPECT_EQ(inChild(work), 0);
  EXPECT_EQ(deep.names(), Names{});
}

TEST_F(FileCopyTests, ManyFilesWithSeveralNamesInADeepFolderTakeLittleMemory) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers keep memory of their own";
  constexpr int kDepth = 200;
  constexpr int kFiles = 400;
  ScopedEnvironment inMemory;
  inMemory.set("TMPDIR", folderInMemory());
  ScratchFolder deep;
  const auto work = [&]() -> int {
    if (::chdir(deep.path().c_str()) != 0 || ::mkdir("from", 0755) != 0 || ::chdir("from") != 0) return 1;
    const std::string name(250, 'd');
    for (int i = 0; i < kDepth; ++i) {
      if (::mkdir(name.c_str(), 0755) != 0 || ::chdir(name.c_str()) != 0) return 2;
    }
    for (int i = 0; i < kFiles; ++i) {
      const std::string file = std::to_string(i);
      writeFile(file, "");
      if (::link(file.c_str(), (file + "b").c_str()) != 0) return 3;
    }
    bool isCopied = false;
    const std::size_t memory = support::peakMemoryOf([&] { isCopied = copy(deep / "from", deep / "to"); });
    const Ref<NSFileManager> manager = NSFileManager::defaultManager();
    for (const char* tree : {"from", "to"}) manager->removeFileAtPath_handler(deep.string(tree), nullptr);
    if (!isCopied) return 4;
    return memory < (std::size_t{8} << 20) ? 0 : 5;  // their paths alone would be 20 MB
  };
  EXPECT_EQ(inChild(work), 0);
  EXPECT_EQ(deep.names(), Names{});
}

TEST_F(FileCopyTests, APartialCopyIsRemoved) {
  makeFolder("from/read only");
  write("from/read only/file", "text");
  write("from/unreadable", "secret");
  ::chmod((folder / "from/unreadable").c_str(), 0);
  ::chmod((folder / "from/read only").c_str(), 0555);
  makeFolder("from/closed");
  makeFolder("from/closed/a");
  ::chmod((folder / "from/closed").c_str(), 0500);
  ::chmod(folder.path().c_str(), 0777);
  EXPECT_EQ(asOrdinaryUser([&] { return copyInside("from", "to") ? 1 : 0; }), 0);
  EXPECT_EQ(folder.names(), Names{"from"});
}

TEST_F(FileCopyTests, ALockedItemStaysLockedInTheCopy) {
  makeFolder("from");
  write("from/file", "text");
  JxFileCatalogInformation::setFinderLock(folder.string("from/file"), true);
  JxFileCatalogInformation::setFinderLock(folder.string("from"), true);
  if (!JxFileCatalogInformation::isLockedByFinder(folder.string("from"))) GTEST_SKIP() << "no locks here";
  ASSERT_TRUE(copyInside("from", "to"));
  EXPECT_TRUE(JxFileCatalogInformation::isLockedByFinder(folder.string("to")));
  EXPECT_TRUE(JxFileCatalogInformation::isLockedByFinder(folder.string("to/file")));
  EXPECT_FALSE(copyInside("from/file", "to/more")) << "a locked folder gains nothing";
  EXPECT_EQ(read("to/file"), "text");
}

// --- Races

TEST_F(FileCopyTests, AFolderThatBecomesALinkIsNotFollowed) {
  makeFolder("secret");
  write("secret/file", "secret");
  makeFolder("from/a");
  write("from/a/file", "open");
  std::atomic<bool> isDone = false;
  std::thread swapper([&] {
    std::filesystem::create_symlink("../secret", folder / "link");
    while (!isDone) {
      ::renameat2(AT_FDCWD, (folder / "link").c_str(), AT_FDCWD, (folder / "from/a").c_str(), RENAME_EXCHANGE);
    }
  });
  for (int i = 0; i < 300; ++i) {
    const std::string to = std::to_string(i).insert(0, "to");
    if (copyInside("from", to) && !std::filesystem::is_symlink(folder / (to + "/a"))) {
      EXPECT_EQ(read(to + "/a/file"), "open");
    }
  }
  isDone = true;
  swapper.join();
}

}  // namespace
}  // namespace ZtFoundation::test
