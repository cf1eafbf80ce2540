#include "platform/linux/references/ItemNames.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <set>

#include "internal/platform/linux/references/CardOfACamera.h"
#include "platform/linux/files/FileDescriptor.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

// --- File systems that this machine may not have. The calls of the library come here first.

namespace {

int refusal = 0;       // how renaming without replacing is refused
int renames = 0;       // how often a new name was asked for
int links = 0;         // how often a second name was
std::string keptName;  // is told not to be taken away
int keptError = EPERM;
bool isKept = true;            // is not taken away either
bool isToldAfterwards = true;  // what is there then
bool refusesNames = false;
bool hasLinks = true;
bool tellsWhatIsTaken = true;
bool ignoresCase = false;  // new names are kept as they are given, which in this world are in lower case
bool remembersNames =
    false;  // a name that was taken is so for renaming without replacing, also when it has been given up
std::set<std::string> rememberedNames;

std::string lowerCase(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
  return name;
}

bool isThere(int folder, const std::string& name) {
  struct stat status;
  return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

int failing(int error) {
  errno = error;
  return -1;
}

}  // namespace

extern "C" int renameat2(int from, const char* old, int to, const char* name, unsigned flags) noexcept {
  ++renames;
  if (refusal != 0 && flags != 0) return failing(refusal);
  if (ignoresCase && isThere(to, lowerCase(name))) {
    rememberedNames.insert(name);
    return failing(EEXIST);
  }
  if (remembersNames && flags != 0 && rememberedNames.contains(name)) return failing(EEXIST);
  return static_cast<int>(::syscall(SYS_renameat2, from, old, to, name, flags));
}

extern "C" int linkat(int from, const char* old, int to, const char* name, int flags) noexcept {
  ++links;
  return hasLinks ? static_cast<int>(::syscall(SYS_linkat, from, old, to, name, flags)) : failing(EPERM);
}

extern "C" int unlinkat(int folder, const char* name, int flags) noexcept {
  if (name == keptName && isKept) return failing(keptError);
  const long result = ::syscall(SYS_unlinkat, folder, name, flags);
  if (name != keptName) return static_cast<int>(result);
  tellsWhatIsTaken = isToldAfterwards;
  return failing(keptError);
}

extern "C" int mkdirat(int folder, const char* name, mode_t mode) noexcept {
  return refusesNames ? failing(EINVAL) : static_cast<int>(::syscall(SYS_mkdirat, folder, name, mode));
}

extern "C" int statx(int folder, const char* path, int flags, unsigned mask, struct statx* status) noexcept {
  if (!tellsWhatIsTaken && (flags & AT_STATX_FORCE_SYNC) != 0) return failing(EIO);
  const long result = ::syscall(SYS_statx, folder, path, flags, mask, status);
  if (result == 0 || !ignoresCase || errno != ENOENT) return static_cast<int>(result);
  return static_cast<int>(::syscall(SYS_statx, folder, lowerCase(path).c_str(), flags, mask, status));
}

namespace ZtFoundation::test {
namespace {

using Names = std::set<std::string>;

class ItemNamesTests : public testing::Test {
 protected:
  ItemNamesTests() { writeFile(folder / "file", "text"); }
  ~ItemNamesTests() override {
    refusesNames = ignoresCase = remembersNames = false;
    refusal = 0;
    rememberedNames.clear();
    keptName.clear();
    keptError = EPERM;
    hasLinks = tellsWhatIsTaken = isKept = isToldAfterwards = true;
  }

  OSErr rename(const std::string& item, const std::string& name) {
    const auto place = detail::placeOfPath(folder / item);
    return place ? detail::renameItem(*place, name) : fnfErr;
  }

  ScratchFolder folder;
};

TEST_F(ItemNamesTests, WhatCanBeAName) {
  for (const char* name : {"a", "...", ".a", "a.", " ", "a:b", "\xFF"}) {
    EXPECT_EQ(detail::nameForItem(NSString::stringWithFileSystemRepresentation(name)), name);
  }
  for (const Ref<NSString>& name : {Ref<NSString>(), NSString::string(), Ref<NSString>("."), Ref<NSString>(".."),
                                    Ref<NSString>("a/b"), NSString::stringWithUnits(UnitView("a\0", 2))}) {
    EXPECT_EQ(detail::nameForItem(name), std::nullopt);
  }
}

TEST_F(ItemNamesTests, WhereTheFileSystemCannotRefuseToReplace) {
  constexpr struct {
    int refusal;
    bool links;
  } kKinds[] = {{EINVAL, true}, {EINVAL, false}, {ENOSYS, true}, {ENOTSUP, true}};
  for (const auto& kind : kKinds) {
    refusal = kind.refusal;
    hasLinks = kind.links;
    writeFile(folder / "other", "other");
    std::filesystem::create_directory(folder / "empty");
    std::filesystem::create_directory(folder / "folder");
    std::filesystem::create_symlink("nowhere", folder / "dangling");
    for (const char* taken : {"other", "empty", "dangling"}) EXPECT_EQ(rename("file", taken), dupFNErr) << taken;
    EXPECT_EQ(rename("folder", "empty"), dupFNErr);
    EXPECT_EQ(contentsOf(folder / "other"), "other");
    EXPECT_EQ(rename("file", "renamed"), noErr);
    EXPECT_EQ(rename("folder", "moved folder"), noErr);
    EXPECT_EQ(rename("dangling", "link"), noErr);
    EXPECT_EQ(folder.names(), (Names{"other", "empty", "renamed", "moved folder", "link"}));
    EXPECT_EQ(rename("renamed", "file"), noErr);
    for (const char* made : {"other", "empty", "moved folder", "link"}) std::filesystem::remove(folder / made);
  }
}

TEST_F(ItemNamesTests, WhoCannotKnowWhetherANameIsTakenDoesNotTakeIt) {
  writeFile(folder / "other", "other");
  refusal = EINVAL;
  hasLinks = tellsWhatIsTaken = false;
  EXPECT_EQ(rename("file", "other"), ioErr);
  EXPECT_EQ(contentsOf(folder / "other"), "other");
  EXPECT_EQ(contentsOf(folder / "file"), "text");
}

TEST_F(ItemNamesTests, AnItemThatCannotLoseItsNameGetsNoOther) {
  refusal = EINVAL;
  keptName = "file";
  EXPECT_EQ(rename("file", "renamed"), permErr);
  EXPECT_EQ(folder.names(), Names{"file"});
}

// What is removed by a server whose answer is lost is missing when it is asked again, or the call fails.
TEST_F(ItemNamesTests, AnItemDoesNotLoseBothNames) {
  constexpr struct {
    int error;
    bool isTold;
    OSErr answer;
  } kReplies[] = {{ENOENT, true, noErr}, {EIO, true, noErr}, {ETIMEDOUT, false, ioErr}};
  for (const auto& reply : kReplies) {
    SCOPED_TRACE(std::strerror(reply.error));
    refusal = EINVAL;
    keptName = "file";
    keptError = reply.error;
    isKept = false;
    isToldAfterwards = reply.isTold;
    EXPECT_EQ(rename("file", "renamed"), reply.answer);
    EXPECT_EQ(folder.names(), Names{"renamed"});
    tellsWhatIsTaken = true;
    std::filesystem::rename(folder / "renamed", folder / "file");
  }
}

// A server may know nothing of what root may do here, and would keep both names.
TEST_F(ItemNamesTests, RootGivesAnothersItemInAStickyFolderNoSecondName) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give items away";
  refusal = EINVAL;
  ::chmod(folder.path().c_str(), 01777);
  for (const std::string& item : {folder.path(), folder / "file"}) {
    ASSERT_EQ(::chown(item.c_str(), 65534, 65534), 0);
  }
  links = 0;
  EXPECT_EQ(rename("file", "renamed"), noErr);
  EXPECT_EQ(links, 0);
  EXPECT_EQ(folder.names(), Names{"renamed"});
}

// There is no way to take a second name away again.
TEST_F(ItemNamesTests, AnothersItemInAStickyFolderGetsNoSecondName) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be another user";
  refusal = EINVAL;
  ::chmod(folder.path().c_str(), 01777);
  ::chmod((folder / "file").c_str(), 0666);
  EXPECT_EQ(asOrdinaryUser([&] { return rename("file", "renamed") == noErr ? 1 : 0; }), 0);
  EXPECT_EQ(folder.names(), Names{"file"});
  EXPECT_EQ(asOrdinaryUser([&] {
              writeFile(folder / "own", "text");
              return rename("own", "renamed") == noErr ? 0 : 1;
            }),
            0);
  EXPECT_EQ(folder.names(), (Names{"file", "renamed"}));
}

TEST_F(ItemNamesTests, AChangeOfCaseAlone) {
  ignoresCase = true;
  EXPECT_EQ(rename("file", "FILE"), noErr);
  EXPECT_EQ(folder.names(), Names{"FILE"});
  EXPECT_EQ(contentsOf(folder / "FILE"), "text");
}

TEST_F(ItemNamesTests, ANameThatTheKernelOnlyRemembersIsNotTaken) {
  ignoresCase = remembersNames = true;
  for (const bool links : {true, false}) {
    hasLinks = links;
    EXPECT_EQ(rename("file", "FILE"), noErr);
    EXPECT_EQ(folder.names(), Names{"FILE"});
    EXPECT_EQ(contentsOf(folder / "FILE"), "text");
    std::filesystem::rename(folder / "FILE", folder / "file");
  }
  writeFile(folder / "other", "other");
  EXPECT_EQ(rename("file", "OTHER"), dupFNErr);
  EXPECT_EQ(folder.names(), (Names{"file", "other"}));
}

TEST_F(ItemNamesTests, AnotherItemInOtherCaseIsTaken) {
  writeFile(folder / "other", "other");
  ignoresCase = true;
  EXPECT_EQ(rename("file", "OTHER"), dupFNErr);
  EXPECT_EQ(folder.names(), (Names{"file", "other"}));
}

TEST_F(ItemNamesTests, WhileANameIsTakenTheItemKeepsItsOwn) {
  writeFile(folder / "other", "other");
  renames = 0;
  EXPECT_EQ(rename("file", "other"), dupFNErr);
  EXPECT_EQ(renames, 1) << "it is not even for a moment away";
}

TEST_F(ItemNamesTests, AnItemInTheWayOfAChangeOfCaseIsNotTouched) {
  const std::string between = std::string(".ztcase-").append(std::to_string(::getpid()));
  writeFile(folder / between, "somebody's");
  ignoresCase = true;
  EXPECT_EQ(rename("file", "FILE"), dupFNErr);
  EXPECT_EQ(folder.names(), (Names{"file", between}));
}

TEST_F(ItemNamesTests, ANameThatTheFileSystemCannotKeepIsABadName) {
  refusesNames = true;
  EXPECT_EQ(detail::makeFolderIn(*detail::placeOfPath(folder.path()), "a\"b"), bdNamErr);
}

TEST_F(ItemNamesTests, OnTheCardOfACamera) {
  PrivateMounts mounts;
  const CardOfACamera card(mounts);
  if (card.root.empty()) GTEST_SKIP() << "no root, no mount.exfat-fuse or no /dev/fuse here";
  writeFile(card.root + "/file", "text");
  writeFile(card.root + "/other", "other");
  if (!std::filesystem::exists(card.root + "/FILE")) GTEST_SKIP() << "this one heeds case";
  // An open item keeps its number, also when another test makes the system forget all it can.
  const auto renameThere = [&](const std::string& from, const std::string& to) {
    const std::string path = card.root + "/" + from;
    const detail::FileDescriptor kept(::open(path.c_str(), O_PATH | O_CLOEXEC));
    return detail::renameItem(*detail::placeOfPath(path), to);
  };
  EXPECT_EQ(renameThere("file", "other"), dupFNErr);
  EXPECT_EQ(renameThere("file", "OTHER"), dupFNErr);
  EXPECT_EQ(renameThere("file", "new"), noErr);
  EXPECT_EQ(renameThere("new", "NEW"), noErr);
  Names names;
  for (const auto& entry : std::filesystem::directory_iterator(card.root)) names.insert(entry.path().filename());
  EXPECT_EQ(names, (Names{"NEW", "other"}));
  EXPECT_EQ(contentsOf(card.root + "/NEW"), "text");
  EXPECT_EQ(contentsOf(card.root + "/other"), "other");
  EXPECT_NE(renameThere("other", "a\"b"), noErr) << "a name that this file system cannot keep";
}

TEST_F(ItemNamesTests, AnItemThatWasReplacedMeanwhileIsNotRenamed) {
  const auto place = detail::placeOfPath(folder / "file");
  std::filesystem::rename(folder / "file", folder / "moved");
  writeFile(folder / "file", "another");
  EXPECT_EQ(detail::renameItem(*place, "new"), fnfErr);
  const auto inner = detail::placeOfPath(folder.path());
  std::filesystem::rename(folder.path(), folder.path() + "-moved");
  std::filesystem::create_directory(folder.path());
  EXPECT_EQ(detail::makeFolderIn(*inner, "new"), dirNFErr);
  std::filesystem::remove(folder.path());
  std::filesystem::rename(folder.path() + "-moved", folder.path());
  EXPECT_EQ(folder.names(), (Names{"file", "moved"}));
}

TEST_F(ItemNamesTests, OnReadOnlyAndFullVolumes) {
  PrivateMounts mounts;
  const std::string small = mounts.memory("small", "size=64k,nr_inodes=3");
  if (small.empty()) GTEST_SKIP() << mounts.whyNot();
  const auto place = detail::placeOfPath(small);
  EXPECT_EQ(detail::makeFolderIn(*place, "a"), noErr);
  EXPECT_EQ(detail::makeFolderIn(*place, "b"), noErr);
  EXPECT_EQ(detail::makeFolderIn(*place, "c"), dskFulErr);
  EXPECT_EQ(detail::renameItem(*detail::placeOfPath(small), "new"), fBsyErr) << "a mount point";
  mounts.remountReadOnly(small);
  EXPECT_EQ(detail::makeFolderIn(*place, "d"), vLckdErr);
  EXPECT_EQ(detail::renameItem(*detail::placeOfPath(small + "/a"), "new"), vLckdErr);
}

}  // namespace
}  // namespace ZtFoundation::test
