// What a save leaves behind, as FileManager.h promises it.

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/FileManager.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include "support/AccessList.h"
#include "support/ChildProcess.h"
#include "support/ExtendedAttribute.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Names = std::set<std::string>;

bool save(const std::string& path, const std::string& contents) {
  return NSData::dataWithBytes(contents)->writeToFile_atomically(NSString::stringWithFileSystemRepresentation(path),
                                                                 true);
}

struct stat statusOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status;
}

unsigned modeOf(const std::string& path) { return statusOf(path).st_mode & 07777U; }

bool setAttribute(const std::string& path, const char* name, const std::string& value) {
  return ::setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

class UMask {
 public:
  explicit UMask(mode_t mask) : before_(::umask(mask)) {}
  UMask(const UMask&) = delete;
  UMask& operator=(const UMask&) = delete;
  ~UMask() { ::umask(before_); }

 private:
  mode_t before_;
};

class AtomicFileTests : public testing::Test {
 protected:
  ScratchFolder folder;
  const std::string file = folder / "settings";
};

// --- Contents and permissions

TEST_F(AtomicFileTests, ANewFileIsPrivateOrLess) {
  struct Case {
    mode_t umask;
    unsigned mode;
  };
  for (const auto& [umask, mode] : {Case{0, 0600}, Case{022, 0600}, Case{077, 0600}, Case{0277, 0400}}) {
    const UMask scope(umask);
    ASSERT_TRUE(save(file, "new"));
    EXPECT_EQ(modeOf(file), mode) << std::oct << umask;
    EXPECT_EQ(contentsOf(file), "new");
    ::unlink(file.c_str());
  }
}

TEST_F(AtomicFileTests, ContentsOfAnySizeAreWritten) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4096}, std::size_t{17} << 20}) {
    std::string contents(size, 'x');
    if (size > 0) contents.back() = '\0';
    ASSERT_TRUE(save(file, contents));
    EXPECT_TRUE(contentsOf(file) == contents) << size;
  }
  EXPECT_EQ(folder.names(), Names{"settings"});
}

TEST_F(AtomicFileTests, PermissionsOfAnExistingFileAreKept) {
  for (const unsigned mode : {0600U, 0640U, 0644U, 0666U, 0755U, 02770U, 04700U}) {
    writeFile(file, "old");
    ::chmod(file.c_str(), mode);
    ASSERT_TRUE(save(file, "new"));
    EXPECT_EQ(modeOf(file), mode) << std::oct << mode;
  }
  EXPECT_EQ(contentsOf(file), "new");
}

TEST_F(AtomicFileTests, TheFileIsReplacedAndNotWrittenInto) {
  writeFile(file, "old");
  const int reader = ::open(file.c_str(), O_RDONLY);
  ASSERT_TRUE(save(file, "new"));
  std::array<char, 8> buffer{};
  EXPECT_EQ(::read(reader, buffer.data(), buffer.size()), 3);
  ::close(reader);
  EXPECT_STREQ(buffer.data(), "old");
}

TEST_F(AtomicFileTests, OtherHardLinksKeepTheOldContents) {
  writeFile(file, "old");
  std::filesystem::create_hard_link(file, folder / "other");
  ASSERT_TRUE(save(file, "new"));
  EXPECT_EQ(contentsOf(file), "new");
  EXPECT_EQ(contentsOf(folder / "other"), "old");
}

TEST_F(AtomicFileTests, ExtendedAttributesAreKept) {
  writeFile(file, "old");
  if (!setAttribute(file, "user.zt.one", "1")) GTEST_SKIP() << "no extended attributes on this file system";
  ASSERT_TRUE(setAttribute(file, "user.zt.empty", ""));
  ASSERT_TRUE(setAttribute(file, "user.zt.long", std::string(500, 'y')));
  ASSERT_TRUE(save(file, "new"));
  EXPECT_EQ(attributeOf(file, "user.zt.one"), "1");
  EXPECT_EQ(attributeOf(file, "user.zt.empty"), "");
  EXPECT_EQ(attributeOf(file, "user.zt.long"), std::string(500, 'y'));
}

// Reading and writing for the owner and for user 1234, nothing for the group and all others.
std::string accessListForOneMore() {
  using enum AccessEntry::Who;
  return accessList({{Owner, 6}, {User, 6, 1234}, {Group, 0}, {Mask, 6}, {Others, 0}});
}

TEST_F(AtomicFileTests, TheAccessListIsKept) {
  writeFile(file, "old");
  const std::string list = accessListForOneMore();
  if (!setAttribute(file, kAccessList, list)) GTEST_SKIP() << "no access lists on this file system";
  const unsigned mode = modeOf(file);
  ASSERT_TRUE(save(file, "new"));
  EXPECT_EQ(attributeOf(file, kAccessList), list);
  EXPECT_EQ(modeOf(file), mode);
}

TEST_F(AtomicFileTests, AFileWithoutAccessListInheritsNone) {
  writeFile(file, "old");
  ::chmod(file.c_str(), 0660);
  if (!setAttribute(folder.path(), kDefaultAccessList, accessListForOneMore())) {
    GTEST_SKIP() << "no access lists on this file system";
  }
  ASSERT_TRUE(save(file, "new"));
  EXPECT_EQ(attributeOf(file, kAccessList), std::nullopt);
  EXPECT_EQ(modeOf(file), 0660U);
}

TEST_F(AtomicFileTests, OwnerAndGroupAreKeptByRoot) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  for (const auto& [user, group] : {std::pair(1234U, 2345U), {1234U, ::getegid()}, {::geteuid(), 2345U}}) {
    writeFile(file, "old");
    ASSERT_EQ(::chown(file.c_str(), user, group), 0);
    ::chmod(file.c_str(), 06755);
    ASSERT_TRUE(save(file, "new"));
    EXPECT_EQ(statusOf(file).st_uid, user);
    EXPECT_EQ(statusOf(file).st_gid, group);
    EXPECT_EQ(modeOf(file), 06755U);
  }
}

TEST_F(AtomicFileTests, WhatSpeaksOfTheOldContentsIsNotKept) {
  // Version 2, effective, CAP_NET_RAW permitted.
  const std::string capability("\1\0\0\2\0\x20\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20);
  const std::pair<const char*, std::string> attributes[] = {
      {"security.capability", capability}, {"security.ima", "\1hash"}, {"security.evm", "\1hash"}};
  for (const auto& [name, value] : attributes) {
    writeFile(file, "old");
    if (!setAttribute(file, name, value)) continue;  // not every system lets a process do that
    ASSERT_TRUE(save(file, "new")) << name;
    EXPECT_EQ(attributeOf(file, name), std::nullopt) << name;
  }
}

TEST_F(AtomicFileTests, NobodyGainsARightWhenOwnerAndGroupCannotBeKept) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can prepare another user's file";
  writeFile(file, "old");
  ASSERT_EQ(::chown(file.c_str(), 1234, 2345), 0);
  ::chmod(file.c_str(), 06762);
  ::chmod(folder.path().c_str(), 0777);
  ASSERT_EQ(asOrdinaryUser([&] { return ::chmod(folder.path().c_str(), 0777) == -1; }), 1);
  // Others may write but not read; the process must do both.
  EXPECT_EQ(asOrdinaryUser([&] { return save(file, "new"); }), 0);
  ::chmod(file.c_str(), 06776);
  EXPECT_EQ(asOrdinaryUser([&] { return save(file, "new"); }), 1);
  EXPECT_EQ(statusOf(file).st_uid, kOrdinaryUser);
  EXPECT_EQ(modeOf(file), 0766U) << "the group's right to execute belonged to another group";
  EXPECT_EQ(contentsOf(file), "new");
}

TEST_F(AtomicFileTests, WhomTheGroupKeptOutStaysOut) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can prepare another user's file";
  writeFile(file, "old");
  ASSERT_EQ(::chown(file.c_str(), 1234, 2345), 0);
  ::chmod(file.c_str(), 0606);
  ::chmod(folder.path().c_str(), 0777);
  EXPECT_EQ(asOrdinaryUser([&] { return save(file, "new"); }), 1);
  EXPECT_EQ(statusOf(file).st_gid, kOrdinaryUser);
  EXPECT_EQ(modeOf(file), 0600U) << "the old group's members are others now";
}

// --- Links

TEST_F(AtomicFileTests, ALinkStaysALinkAndItsDestinationIsReplaced) {
  std::filesystem::create_directory(folder / "real");
  std::filesystem::create_directory(folder / "links");
  const std::string real = folder / "real/file";
  writeFile(real, "old");
  struct Case {
    const char* link;
    std::string destination;
  };
  const Case cases[] = {{"absolute", real},
                        {"relative", "real/file"},
                        {"links/up", "../real/file"},
                        {"chain", "links/up"},
                        {"dotted", "./links/.././chain"}};
  for (const auto& [link, destination] : cases) std::filesystem::create_symlink(destination, folder / link);
  for (const auto& [link, destination] : cases) {
    ASSERT_TRUE(save(folder / link, link)) << link;
    EXPECT_EQ(std::filesystem::read_symlink(folder / link), destination) << link;
    EXPECT_EQ(contentsOf(real), link);
  }
  EXPECT_EQ(folder.names(), (Names{"absolute", "relative", "links", "chain", "dotted", "real"}));
}

TEST_F(AtomicFileTests, FoldersOnTheWayMayBeLinks) {
  std::filesystem::create_directory(folder / "real");
  std::filesystem::create_directory_symlink("real", folder / "linked");
  ASSERT_TRUE(save(folder / "linked/file", "new"));
  EXPECT_EQ(contentsOf(folder / "real/file"), "new");
}

TEST_F(AtomicFileTests, ALinkThatLeadsNowhereMakesItsDestination) {
  std::filesystem::create_symlink("missing", file);
  ASSERT_TRUE(save(file, "new"));
  EXPECT_TRUE(std::filesystem::is_symlink(file));
  EXPECT_EQ(contentsOf(folder / "missing"), "new");
  EXPECT_EQ(modeOf(folder / "missing"), 0600U);
}

TEST_F(AtomicFileTests, LinksThatEndInNoFileFail) {
  std::filesystem::create_directory(folder / "folder");
  for (const char* destination : {"settings", "nowhere/file", "folder", "folder/", "missing/", "."}) {
    std::filesystem::create_symlink(destination, file);
    EXPECT_FALSE(save(file, "new")) << destination;
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    ::unlink(file.c_str());
  }
  EXPECT_EQ(folder.names(), Names{"folder"});
}

TEST_F(AtomicFileTests, AChainMayBeAsLongAsTheKernelFollows) {
  writeFile(folder / "0", "old");
  for (int i = 1; i <= 41; ++i) std::filesystem::create_symlink(std::to_string(i - 1), folder / std::to_string(i));
  EXPECT_TRUE(save(folder / "40", "new"));
  EXPECT_EQ(contentsOf(folder / "0"), "new");
  EXPECT_FALSE(save(folder / "41", "newer"));
  EXPECT_EQ(contentsOf(folder / "0"), "new");
}

// --- What is no file to save to

TEST_F(AtomicFileTests, AFolderInTheFilesPlaceIsNotTouched) {
  std::filesystem::create_directory(file);
  for (const char* path : {"settings", "settings/", "settings/.", "settings/..", "settings//"}) {
    EXPECT_FALSE(save(folder / path, "new")) << path;
  }
  EXPECT_TRUE(std::filesystem::is_empty(file));
  EXPECT_EQ(folder.names(), Names{"settings"});
}

TEST_F(AtomicFileTests, SpecialFilesAreNotReplaced) {
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  const int events = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ::inotify_add_watch(events, file.c_str(), IN_OPEN);
  EXPECT_FALSE(save(file, "new"));
  EXPECT_TRUE(S_ISFIFO(statusOf(file).st_mode));
  std::array<char, 1024> event;
  EXPECT_LT(::read(events, event.data(), event.size()), 0) << "opening alone may have effects";
  ::close(events);
  if (::mknod((folder / "null").c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0) {
    EXPECT_FALSE(save(folder / "null", "new"));
    EXPECT_TRUE(S_ISCHR(statusOf(folder / "null").st_mode));
  }
}

TEST_F(AtomicFileTests, PathsThatNameNothingFail) {
  const Ref<NSData> data = NSData::dataWithBytes("new");
  EXPECT_FALSE(data->writeToFile_atomically(nullptr, true));
  EXPECT_FALSE(data->writeToFile_atomically("", true));
  EXPECT_FALSE(data->writeToFile_atomically("/", true));
  EXPECT_FALSE(save(folder / "missing/file", "new"));
  writeFile(file, "old");
  EXPECT_FALSE(save(folder / "settings/file", "new"));
  EXPECT_FALSE(save(folder / std::string("sett\0ings", 9), "new"));
  EXPECT_FALSE(save(folder / std::string(256, 'n'), "new"));
  EXPECT_EQ(folder.names(), Names{"settings"});
}

TEST_F(AtomicFileTests, NamesOfAnyBytesAndTheGreatestLengthWork) {
  for (const std::string& name :
       {std::string("\xFF\xC3z"), std::string(255, 'n'), std::string("-"), std::string(" ")}) {
    ASSERT_TRUE(save(folder / name, "new")) << name;
    EXPECT_EQ(contentsOf(folder / name), "new") << name;
  }
  EXPECT_EQ(folder.names().size(), 4U);
}

TEST_F(AtomicFileTests, ARelativePathCountsFromTheCurrentFolder) {
  const int status = inChild([&] { return ::chdir(folder.path().c_str()) == 0 && save("here", "new"); });
  EXPECT_EQ(status, 1);
  EXPECT_EQ(contentsOf(folder / "here"), "new");
}

// --- The right to replace

TEST_F(AtomicFileTests, AFileThatMayNotBeWrittenIsNotReplaced) {
  ::chmod(folder.path().c_str(), 0777);
  writeFile(file, "old");
  for (const unsigned mode : {0444U, 0400U, 0200U, 0U}) {
    ::chmod(file.c_str(), mode);
    if (::geteuid() == 0 && ::chown(file.c_str(), kOrdinaryUser, kOrdinaryUser) != 0) GTEST_SKIP();
    EXPECT_EQ(asOrdinaryUser([&] { return save(file, "new"); }), 0) << std::oct << mode;
    EXPECT_EQ(modeOf(file), mode);
  }
  ::chmod(file.c_str(), 0600);
  EXPECT_EQ(contentsOf(file), "old");
}

TEST_F(AtomicFileTests, AFolderThatMayNotBeWrittenKeepsItsFiles) {
  writeFile(file, "old");
  ::chmod(file.c_str(), 0666);
  ::chmod(folder.path().c_str(), 0555);
  EXPECT_EQ(asOrdinaryUser([&] { return save(file, "new"); }), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return save(folder / "other", "new"); }), 0);
  ::chmod(folder.path().c_str(), 0755);
  EXPECT_EQ(contentsOf(file), "old");
  EXPECT_EQ(folder.names(), Names{"settings"});
}

TEST_F(AtomicFileTests, AFolderThatMayBeWrittenNeedNotBeReadable) {
  ::chmod(folder.path().c_str(), 0755);
  const std::string box = folder / "box";
  std::filesystem::create_directory(box);
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(box.c_str(), kOrdinaryUser, kOrdinaryUser), 0);
  }
  ::chmod(box.c_str(), 0300);
  for (const char* contents : {"new", "newer"}) {
    EXPECT_EQ(asOrdinaryUser([&] { return save(box + "/file", contents); }), 1);
    EXPECT_EQ(asOrdinaryUser([&] { return contentsOf(box + "/file") == contents; }), 1);
  }
  ::chmod(box.c_str(), 0700);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(box), {}), 1);
}

TEST_F(AtomicFileTests, AnotherUsersFileInAStickyFolderStays) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can prepare another user's file";
  ::chmod(folder.path().c_str(), 01777);
  writeFile(file, "old");
  ::chmod(file.c_str(), 0666);
  EXPECT_EQ(asOrdinaryUser([&] { return save(file, "new"); }), 0);
  EXPECT_EQ(contentsOf(file), "old");
  EXPECT_EQ(folder.names(), Names{"settings"});
}

// --- What killed processes leave

std::string abandonedName(char digit) { return ".ztsave-" + std::string(32, digit); }

TEST_F(AtomicFileTests, TheNextSaveRemovesWhatAKilledOneLeft) {
  writeFile(folder / abandonedName('a'), "half");
  writeFile(folder / abandonedName('7'), "half");
  ASSERT_TRUE(save(file, "new"));
  EXPECT_EQ(folder.names(), Names{"settings"});
}

TEST_F(AtomicFileTests, FilesOfASaveInProgressStay) {
  const std::string busy = abandonedName('b');
  writeFile(folder / busy, "half");
  const int holder = ::open((folder / busy).c_str(), O_RDWR);
  ASSERT_EQ(::flock(holder, LOCK_EX), 0);
  ASSERT_TRUE(save(file, "new"));
  EXPECT_EQ(folder.names(), (Names{"settings", busy}));
  ::close(holder);
  EXPECT_EQ(inChild([&] { return save(file, "newer"); }), 1);
  EXPECT_EQ(folder.names(), Names{"settings"}) << "another process looks for them";
}

// Else a save would take the longer the more files are in the folder.
TEST_F(AtomicFileTests, AProcessLooksIntoAFolderOnceInAWhile) {
  std::filesystem::create_directory(folder / "another");
  const int events = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ::inotify_add_watch(events, folder.path().c_str(), IN_ACCESS | IN_ONLYDIR);
  const auto wasRead = [&] {
    alignas(inotify_event) std::array<char, 4096> event;
    return ::read(events, event.data(), event.size()) > 0;
  };
  EXPECT_FALSE(wasRead());
  ASSERT_TRUE(save(file, "new"));
  EXPECT_TRUE(wasRead());
  int looks = 0;
  for (int i = 0; i < 10; ++i) looks += save(file, "newer") && wasRead();
  EXPECT_EQ(looks, 0);
  writeFile(folder / "another/" + abandonedName('a'), "half");
  ASSERT_TRUE(save(folder / "another/file", "new"));
  EXPECT_FALSE(std::filesystem::exists(folder / "another/" + abandonedName('a'))) << "each folder for itself";
  ::close(events);
}

TEST_F(AtomicFileTests, OnlyOwnTemporaryFilesAreRemoved) {
  Names names{"settings"};
  const std::string stems[] = {".ztsave-", ".ztsave-" + std::string(31, 'a'), ".ztsave-" + std::string(33, 'a'),
                               ".ztsave-" + std::string(31, 'a') + "A", "ztsave-" + std::string(33, 'a')};
  for (const std::string& name : stems) {
    writeFile(folder / name, "precious");
    names.insert(name);
  }
  names.insert(abandonedName('c'));
  std::filesystem::create_directory(folder / abandonedName('c'));
  names.insert(abandonedName('d'));
  std::filesystem::create_symlink(stems[0], folder / abandonedName('d'));
  names.insert(abandonedName('e'));
  ASSERT_EQ(::mkfifo((folder / abandonedName('e')).c_str(), 0600), 0);
  if (::geteuid() == 0) {
    names.insert(abandonedName('f'));
    writeFile(folder / abandonedName('f'), "another user's");
    ASSERT_EQ(::chown((folder / abandonedName('f')).c_str(), 1234, 1234), 0);
  }
  ASSERT_TRUE(save(file, "new"));
  EXPECT_EQ(folder.names(), names);
}

TEST_F(AtomicFileTests, ASaveLeavesNothingOpen) {
  const auto countOpen = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
  };
  writeFile(folder / abandonedName('a'), "half");
  const auto before = countOpen();
  ASSERT_TRUE(save(file, "new"));
  ASSERT_TRUE(save(file, "newer"));
  ASSERT_FALSE(save(folder / "missing/file", "new"));
  ASSERT_FALSE(save(folder.path(), "new"));
  EXPECT_EQ(countOpen(), before);
}

// --- A full device

// A small file system that only a child process sees.
template <class Work>
int onSmallDevice(const ScratchFolder& folder, Work work) {
  constexpr int kCannotMount = 252;
  return inChild([&]() -> int {
    const bool isMounted = ::unshare(CLONE_NEWNS) == 0 &&
                           ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                           ::mount("zt-test", folder.path().c_str(), "tmpfs", 0, "size=256k,nr_inodes=12") == 0;
    return isMounted ? static_cast<int>(work()) : kCannotMount;
  });
}

bool hasOnlyFile(const ScratchFolder& folder, const std::string& contents) {
  return folder.names() == Names{"settings"} && contentsOf(folder / "settings") == contents;
}

TEST_F(AtomicFileTests, AFullDeviceKeepsTheOldFile) {
  const std::string old(100 << 10, 'o');
  const int status = onSmallDevice(folder, [&]() -> int {
    if (!save(file, old)) return 1;
    if (save(file, std::string(200 << 10, 'n'))) return 2;
    if (!hasOnlyFile(folder, old)) return 3;
    if (!save(file, "small") || !hasOnlyFile(folder, "small")) return 4;
    return 0;
  });
  if (status == 252) GTEST_SKIP() << "this process may not mount anything";
  EXPECT_EQ(status, 0);
}

TEST_F(AtomicFileTests, ADeviceWithoutRoomForAnotherFileKeepsTheOldOne) {
  const int status = onSmallDevice(folder, [&]() -> int {
    if (!save(file, "old")) return 1;
    Names names{"settings"};
    for (int i = 0; std::ofstream(folder / std::to_string(i)).is_open(); ++i) names.insert(std::to_string(i));
    if (save(file, "new")) return 2;
    return folder.names() == names && contentsOf(file) == "old" ? 0 : 3;
  });
  if (status == 252) GTEST_SKIP() << "this process may not mount anything";
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace ZtFoundation::test
