#include "platform/services/Aliases.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <thread>

#include "internal/platform/linux/FolderReading.h"
#include "internal/platform/linux/references/CardOfACamera.h"
#include "platform/linux/references/AliasRecord.h"
#include "platform/services/FileCatalog.h"
#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

namespace fs = std::filesystem;

ino_t numberOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  return status.st_ino;
}

/// An alias and the bytes that it had at first.
class KeptAlias {
 public:
  KeptAlias() = default;
  explicit KeptAlias(AliasHandle handle) : bytes_(reinterpret_cast<const char*>(*handle), GetHandleSize(handle)) {
    DisposeHandle(handle);
  }
  const std::string& bytes() const { return bytes_; }
  /// A handle with these bytes; the caller disposes of it.
  AliasHandle handle() const {
    AliasHandle handle = nullptr;
    EXPECT_EQ(PtrToHand(bytes_.data(), &handle, bytes_.size()), noErr);
    return handle;
  }

 private:
  std::string bytes_;
};

KeptAlias keptAlias(const std::string& bytes) {
  AliasHandle handle = nullptr;
  EXPECT_EQ(PtrToHand(bytes.data(), &handle, bytes.size()), noErr);
  return KeptAlias(handle);
}

/// `alias` with some of what it says changed.
template <class Change>
KeptAlias forged(const KeptAlias& alias, Change change) {
  detail::AliasContents contents = detail::decodeAlias(alias.bytes()).value();
  change(contents);
  const std::string bytes = detail::encodeAlias(contents).value();
  return keptAlias(bytes);
}

KeptAlias onAnotherDevice(const KeptAlias& alias) {
  return forged(alias, [](detail::AliasContents& contents) {
    ++contents.item.identity.device;
    ++contents.volume.root.identity.device;
  });
}

KeptAlias fromSource(const KeptAlias& alias, const std::string& source) {
  return forged(alias, [&](detail::AliasContents& contents) { contents.volume.source = source; });
}

KeptAlias aliasOf(const std::string& path, bool minimal = false) {
  FSRef ref;
  AliasHandle handle = nullptr;
  Aliases& aliases = Aliases::production();
  EXPECT_EQ(FileCatalog::production().FSPathMakeRef(NSString::stringWithFileSystemRepresentation(path), &ref, nullptr),
            noErr);
  EXPECT_EQ(minimal ? aliases.FSNewAliasMinimal(&ref, &handle) : aliases.FSNewAlias(&ref, &handle), noErr) << path;
  return handle != nullptr ? KeptAlias(handle) : KeptAlias();
}

struct Resolved {
  OSErr error = noErr;
  std::string path;
  bool wasChanged = false;
  std::string bytes;  // of the alias afterwards
};

Resolved resolve(const KeptAlias& alias) {
  Resolved result;
  FSRef ref;
  const AliasHandle handle = alias.handle();
  result.error = Aliases::production().FSResolveAlias(handle, &ref, &result.wasChanged);
  if (!ref.isEmpty()) result.path = ref.path()->fileSystemRepresentation();
  result.bytes.assign(reinterpret_cast<const char*>(*handle), GetHandleSize(handle));
  DisposeHandle(handle);
  return result;
}

// --- On every file system, for every user, whether the kernel remembers names or not

class AliasesOn : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const std::string type = GetParam();
    root = type == "tmpfs" ? mounts.memory("tmpfs") : mounts.disk({.type = type});
    if (root.empty()) GTEST_SKIP() << mounts.whyNot();
    fs::create_directories(root + "/near/by");
    fs::create_directories(root + "/far/away/from/here");
    for (int i = 0; i < 50; ++i) fs::create_directories(root + "/other/" + std::to_string(i));
    openToAll();
    file = root + "/near/by/file";
    writeFile(file, "text");
  }

  void openToAll() const { ::chmod(root.c_str(), 0755); }

  /// What the aliases find, for root and others.
  void expectFound(const std::string& expected, const std::string& what) {
    for (const KeptAlias* alias : {&full, &minimal}) {
      const auto found = [&] { return resolve(*alias).path == expected ? 0 : 1; };
      EXPECT_EQ(inChild(found), 0) << what << ", root" << (alias == &full ? "" : ", minimal");
      EXPECT_EQ(asOrdinaryUser(found), 0) << what << ", ordinary user" << (alias == &full ? "" : ", minimal");
    }
  }
  /// The same when the kernel remembers no names.
  void expectFoundCold(const std::string& expected) {
    const auto found = [&] { return resolve(full).path == expected ? 0 : 1; };
    PrivateMounts::dropCaches(root);
    EXPECT_EQ(inChild(found), 0) << "root";
    PrivateMounts::dropCaches(root);
    EXPECT_EQ(asOrdinaryUser(found), 0) << "ordinary user";
  }
  void expectError(OSErr error) {
    for (const KeptAlias& alias : {full, minimal}) {
      const Resolved result = resolve(alias);
      EXPECT_EQ(result.error, error);
      EXPECT_EQ(result.path, "");
      EXPECT_EQ(result.bytes, alias.bytes()) << "it stays as it is";
      EXPECT_EQ(asOrdinaryUser([&] { return resolve(alias).error == error ? 0 : 1; }), 0);
    }
  }
  void makeAliases(const std::string& path) {
    full = aliasOf(path);
    minimal = aliasOf(path, true);
  }

  PrivateMounts mounts;
  std::string root;
  std::string file;
  KeptAlias full;
  KeptAlias minimal;
};

TEST_P(AliasesOn, AnItemThatStayed) {
  makeAliases(file);
  expectFound(file, "stayed");
  EXPECT_FALSE(resolve(full).wasChanged);
  EXPECT_EQ(resolve(full).bytes, full.bytes());
}

TEST_P(AliasesOn, ANewName) {
  makeAliases(file);
  fs::rename(file, root + "/near/by/renamed");
  expectFound(root + "/near/by/renamed", "renamed");
  expectFoundCold(root + "/near/by/renamed");
}

TEST_P(AliasesOn, AMove) {
  makeAliases(file);
  fs::rename(file, root + "/far/away/from/here/file");
  expectFound(root + "/far/away/from/here/file", "moved");
  expectFoundCold(root + "/far/away/from/here/file");
}

TEST_P(AliasesOn, BothWithAnotherItemInTheOldPlace) {
  makeAliases(file);
  fs::rename(file, root + "/far/away/from/here/renamed");
  writeFile(file, "another");
  expectFound(root + "/far/away/from/here/renamed", "replaced");
  expectFoundCold(root + "/far/away/from/here/renamed");
}

TEST_P(AliasesOn, FoldersAboveThatMovedAndVanished) {
  makeAliases(file);
  fs::rename(root + "/near/by", root + "/far/by");
  expectFound(root + "/far/by/file", "parent moved");
  fs::remove_all(root + "/near");
  expectFound(root + "/far/by/file", "grandparent gone");
  makeAliases(root + "/far/by");
  fs::rename(root + "/far/by", root + "/away");
  expectFound(root + "/away", "a folder");
}

TEST_P(AliasesOn, RootNeedsNoSearchWhileTheKernelRemembersTheName) {
  makeAliases(file);
  folderReading.count = 0;
  EXPECT_EQ(resolve(full).path, file);
  fs::rename(file, root + "/far/away/from/here/renamed");
  EXPECT_EQ(resolve(full).path, root + "/far/away/from/here/renamed");
  EXPECT_EQ(folderReading.count, 0);
  EXPECT_EQ(resolve(minimal).path, root + "/far/away/from/here/renamed");
  EXPECT_GT(folderReading.count, 0);
}

TEST_P(AliasesOn, RootSearchesWhereTheFoldersHandleLeads) {
  makeAliases(file);
  fs::rename(root + "/near/by", root + "/far/away/from/here/by");
  fs::rename(root + "/far/away/from/here/by/file", root + "/far/away/from/here/by/renamed");
  PrivateMounts::dropCaches(root);
  folderReading.count = 0;
  EXPECT_EQ(resolve(full).path, root + "/far/away/from/here/by/renamed");
  EXPECT_LE(folderReading.count, 2);
}

TEST_P(AliasesOn, ALinkIsAnItem) {
  fs::create_symlink("nowhere", root + "/near/link");
  makeAliases(root + "/near/link");
  expectFound(root + "/near/link", "link");
  fs::rename(root + "/near/link", root + "/far/link");
  expectFound(root + "/far/link", "link");
}

TEST_P(AliasesOn, AnItemThatIsGone) {
  makeAliases(file);
  fs::remove(file);
  expectError(fnfErr);
}

TEST_P(AliasesOn, WhatAnEditorPutsInItsPlaceIsItsSuccessor) {
  makeAliases(file);
  writeFile(root + "/near/by/temporary", "edited");
  fs::rename(root + "/near/by/temporary", file);
  expectFound(file, "saved by an editor");
  const Resolved result = resolve(full);
  EXPECT_TRUE(result.wasChanged);
  EXPECT_EQ(detail::decodeAlias(result.bytes)->item.identity.number, numberOf(file));
}

TEST_P(AliasesOn, AnotherKindOfItemIsNoSuccessor) {
  makeAliases(file);
  fs::remove(file);
  fs::create_directory(file);
  expectError(fnfErr);
  fs::remove(file);
  fs::create_symlink("nowhere", file);
  expectError(fnfErr);
  fs::remove(file);
  fs::rename(root + "/near", root + "/elsewhere");
  fs::create_directory(root + "/other/by");
  writeFile(root + "/other/by/file", "over a link");
  fs::create_directory_symlink("other", root + "/near");
  expectError(fnfErr);
}

TEST_P(AliasesOn, ANumberThatIsUsedAgainIsNotTheItem) {
  makeAliases(file);
  const ino_t number = numberOf(file);
  fs::remove(file);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  const std::string heir = root + "/near/by/heir";
  for (int i = 0; i < 200 && (!fs::exists(heir) || numberOf(heir) != number); ++i) {
    const std::string candidate = root + "/near/by/" + std::to_string(i);
    writeFile(candidate, "");
    if (numberOf(candidate) == number) fs::rename(candidate, heir);
  }
  if (!fs::exists(heir)) GTEST_SKIP() << "this file system did not use the number again";
  expectError(fnfErr);
}

TEST_P(AliasesOn, AVolumeThatIsMountedElsewhereAndOneThatIsNot) {
  makeAliases(file);
  const std::string elsewhere = mounts.folder("else where");
  ASSERT_EQ(::mount(root.c_str(), elsewhere.c_str(), nullptr, MS_MOVE, nullptr), 0);
  mounts.unmountLater(elsewhere);
  fs::create_directories(root + "/near/by");
  writeFile(file, "on another volume");
  expectFound(elsewhere + "/near/by/file", "mounted elsewhere");
  EXPECT_TRUE(resolve(full).wasChanged);
  fs::rename(elsewhere + "/near/by/file", elsewhere + "/far/file");
  expectFound(elsewhere + "/far/file", "mounted elsewhere and moved");
  mounts.unmount(elsewhere);
  expectError(nsvErr);
}

TEST_P(AliasesOn, AVolumeThatWasUnmountedInBetween) {
  const std::string type = GetParam();
  if (type == "tmpfs") GTEST_SKIP() << "its items are gone then";
  makeAliases(file);
  fs::rename(file, root + "/far/file");
  mounts.unmount(root);
  expectError(nsvErr);
  const std::string image = mounts.store() + "/" + type + ".image";
  ASSERT_EQ(std::system(("PATH=$PATH:/sbin:/usr/sbin; mount -o loop '" + image + "' '" + root + "'").c_str()), 0);
  mounts.unmountLater(root);
  expectFound(root + "/far/file", "mounted again");
  EXPECT_EQ(resolve(fromSource(full, "/dev/other")).path, root + "/far/file") << "a device may have another name";
  EXPECT_EQ(resolve(fromSource(full, "server:/folder")).error, nsvErr);
}

TEST_P(AliasesOn, AVolumeWhoseDeviceHasAnotherNumber) {
  makeAliases(file);
  for (KeptAlias* alias : {&full, &minimal}) *alias = onAnotherDevice(*alias);
  expectFound(file, "stayed");
  EXPECT_FALSE(resolve(full).wasChanged);
  EXPECT_EQ(resolve(full).bytes, full.bytes()) << "it stays as it is";
  fs::rename(file, root + "/far/file");
  expectFound(root + "/far/file", "moved");
}

TEST_P(AliasesOn, OtherVolumesAreNotSearched) {
  makeAliases(file);
  const std::string inner = mounts.memory("inner");
  fs::create_directory(root + "/near/inner");
  mounts.bind(inner, root + "/near/inner");
  mounts.bind(root + "/far", root + "/other/0");
  fs::rename(file, root + "/far/file");
  expectFound(root + "/far/file", "not by way of the other mount");
}

TEST_P(AliasesOn, TheVolumesOwnRoot) {
  makeAliases(root);
  expectFound(root, "root");
}

INSTANTIATE_TEST_SUITE_P(FileSystems, AliasesOn, testing::Values("ext4", "xfs", "btrfs", "tmpfs"),
                         [](const auto& type) { return std::string(type.param); });

// --- Of volumes

/// Has the mount table of this process tell another type of what is mounted at `root`.
class PretendedType {
 public:
  PretendedType(PrivateMounts& mounts, const std::string& root, const std::string& type) : mounts_(mounts) {
    std::istringstream real(contentsOf(kTable).value());
    std::string table;
    for (std::string line; std::getline(real, line); table.append(line).append("\n")) {
      if (line.find(" " + root + " ") == std::string::npos) continue;
      const std::size_t start = line.find(" - ") + 3;
      line.replace(start, line.find(' ', start) - start, type);
    }
    writeFile(mounts.store() + "/table", table);
    mounts.bind(mounts.store() + "/table", kTable);
  }
  PretendedType(const PretendedType&) = delete;
  PretendedType& operator=(const PretendedType&) = delete;
  ~PretendedType() { mounts_.unmount(kTable, MNT_DETACH); }

 private:
  static constexpr char kTable[] = "/proc/self/mountinfo";
  PrivateMounts& mounts_;
};

class AliasesOfVolumes : public testing::Test {
 protected:
  void SetUp() override {
    if (root.empty()) GTEST_SKIP() << mounts.whyNot();
    fs::create_directories(root + "/near/by");
    fs::create_directory(root + "/far");
    writeFile(file, "text");
  }

  PrivateMounts mounts;
  const std::string root = mounts.memory("outer/volume");
  const std::string file = root + "/near/by/file";
};

TEST_F(AliasesOfVolumes, InSeveralPlacesTheOldOneCounts) {
  const std::string second = mounts.bind(root, mounts.folder("second"));
  const std::string third = mounts.bind(root, mounts.folder("third"));
  for (const bool minimal : {false, true}) {
    const std::string places[] = {root, second, third};
    KeptAlias aliases[3];
    for (int i = 0; i < 3; ++i) aliases[i] = aliasOf(places[i] + "/near/by/file", minimal);
    fs::rename(file, root + "/far/moved");
    for (int i = 0; i < 3; ++i) EXPECT_EQ(resolve(aliases[i]).path, places[i] + "/far/moved");
    fs::rename(root + "/far/moved", file);
  }
}

TEST_F(AliasesOfVolumes, AnotherTypeOrSourceIsAnotherVolume) {
  const KeptAlias alias = aliasOf(file);
  fs::rename(file, root + "/far/moved");
  EXPECT_EQ(resolve(alias).path, root + "/far/moved");
  const auto ofAnotherType = [](detail::AliasContents& contents) { contents.volume.type = "ramfs"; };
  EXPECT_EQ(resolve(forged(alias, ofAnotherType)).error, nsvErr);
  for (const char* source : {"other", "/dev/sda1", ""}) EXPECT_EQ(resolve(fromSource(alias, source)).error, nsvErr);
}

// As a server's folder that is mounted there today, and may keep the process waiting.
TEST_F(AliasesOfVolumes, AnItemThatStayedIsNotLookedForOnAnotherVolume) {
  const KeptAlias alias = aliasOf(file);
  EXPECT_EQ(resolve(alias).path, file);
  for (const char* source : {"other", "server:/folder"}) EXPECT_EQ(resolve(fromSource(alias, source)).error, nsvErr);
  const PretendedType type(mounts, root, "nfs4");
  EXPECT_EQ(resolve(alias).error, nsvErr);
}

TEST_F(AliasesOfVolumes, WhatLiesOverTheFolderIsNoSuccessor) {
  const KeptAlias alias = aliasOf(file);
  fs::remove(file);
  mounts.mountAt(root + "/near/by", "tmpfs", "tmpfs", 0, "mode=755");
  writeFile(file, "on another volume");
  EXPECT_EQ(resolve(alias).error, fnfErr);
  mounts.unmount(root + "/near/by");
  writeFile(file, "on this volume");
  EXPECT_EQ(resolve(alias).path, file);
}

TEST_F(AliasesOfVolumes, WhatCouldNotBeLookedForHasNoSuccessor) {
  const KeptAlias alias = aliasOf(file);
  writeFile(root + "/other", "another");
  fs::rename(root + "/other", file);
  folderReading.fails = true;
  EXPECT_EQ(resolve(alias).error, fnfErr);
  folderReading.fails = false;
  EXPECT_EQ(resolve(alias).path, file);
}

TEST_F(AliasesOfVolumes, TheNearestOfSeveralNamesIsFound) {
  const KeptAlias alias = aliasOf(file, true);
  for (const char* name : {"/near/by/other", "/near/other", "/other"}) fs::create_hard_link(file, root + name);
  fs::remove(file);
  EXPECT_EQ(resolve(alias).path, root + "/near/by/other");
  fs::remove_all(root + "/near/by");
  EXPECT_EQ(resolve(alias).path, root + "/near/other");
  fs::remove_all(root + "/near");
  EXPECT_EQ(resolve(alias).path, root + "/other");
}

// Whatever an alias says.
TEST_F(AliasesOfVolumes, ASearchStaysOnTheVolume) {
  fs::remove_all(root + "/near");
  mounts.mountAt(root + "/far", "tmpfs", "tmpfs", 0, "mode=755");
  fs::create_directory(root + "/far/inner");
  const KeptAlias alias = forged(aliasOf(root, true), [](detail::AliasContents& contents) { contents.item.kind = 8; });
  folderReading.count = 0;
  EXPECT_EQ(resolve(alias).error, fnfErr);
  EXPECT_EQ(folderReading.count, 2) << "what the root holds, and that there is no more";
}

TEST_F(AliasesOfVolumes, ALinkOnTheOldWayLeadsNoSearchToAnotherVolume) {
  const std::string other = mounts.memory("other");
  fs::create_directories(other + "/by/deep");
  const KeptAlias alias = aliasOf(file, true);
  fs::rename(root + "/near", root + "/moved");
  fs::rename(root + "/moved/by/file", root + "/moved/by/renamed");
  const auto foldersRead = [&] {
    folderReading.count = 0;
    EXPECT_EQ(resolve(alias).path, root + "/moved/by/renamed");
    return folderReading.count;
  };
  const int withoutLink = foldersRead();
  fs::create_directory_symlink(other, root + "/near");
  EXPECT_EQ(foldersRead(), withoutLink);
}

TEST_F(AliasesOfVolumes, TheRootOfAVolumeMayBeTheRootOfAProcess) {
  fs::create_directory(root + "/proc");
  mounts.bind("/proc", root + "/proc");
  const KeptAlias ofFile = aliasOf(file), ofRoot = aliasOf(root, true);
  const auto work = [&]() -> int {
    if (::chroot(root.c_str()) != 0 || ::chdir("/") != 0) return 1;
    if (resolve(ofFile).path != "/near/by/file" || resolve(ofRoot).path != "/") return 2;
    const KeptAlias full = aliasOf("/near/by/file"), minimal = aliasOf("/near/by/file", true);
    writeFile("/alias of file", full.bytes());
    writeFile("/alias of root", aliasOf("/").bytes());
    fs::rename("/near/by/file", "/far/file");
    for (const KeptAlias* alias : {&full, &minimal, &ofFile}) {
      if (resolve(*alias).path != "/far/file") return 3;
    }
    fs::rename("/far/file", "/near/by/file");
    return 0;
  };
  ASSERT_EQ(inChild(work), 0);
  EXPECT_EQ(resolve(keptAlias(contentsOf(root + "/alias of file").value())).path, file);
  writeFile(root + "/new", "edited");
  fs::rename(root + "/new", file);
  EXPECT_EQ(resolve(keptAlias(contentsOf(root + "/alias of file").value())).path, file) << "its successor";
  EXPECT_EQ(resolve(keptAlias(contentsOf(root + "/alias of root").value())).path, root);
}

void expectFoundByNumberWhereThatSaysSomething(PrivateMounts& mounts, const std::string& root, bool hasBirth) {
  struct Kind {
    const char* type;
    bool isFoundByDate;
    bool isFoundByNumber;
  };
  writeFile(root + "/file", "text");
  for (const Kind& kind : {Kind{"ext4", true, true}, Kind{"fusectl", true, true}, Kind{"vfat", true, false},
                           Kind{"msdos", true, false}, Kind{"exfat", true, false}, Kind{"fuseblk", true, false},
                           Kind{"fuse", false, false}, Kind{"fuse.sshfs", false, false}}) {
    const PretendedType type(mounts, root, kind.type);
    const KeptAlias alias = aliasOf(root + "/file");
    const bool isFound = hasBirth ? kind.isFoundByDate : kind.isFoundByNumber;
    fs::rename(root + "/file", root + "/moved");
    EXPECT_EQ(resolve(alias).path, isFound ? root + "/moved" : "") << kind.type;
    fs::rename(root + "/moved", root + "/file");
  }
}

TEST_F(AliasesOfVolumes, NumbersWithDatesSaySomethingButToUserPrograms) {
  if (!detail::decodeAlias(aliasOf(file).bytes())->item.identity.hasBirth) GTEST_SKIP() << "no dates of birth here";
  expectFoundByNumberWhereThatSaysSomething(mounts, root, true);
}

TEST(AliasesWithoutDatesTests, NumbersSaySomethingWhereFileSystemsKeepThem) {
  PrivateMounts mounts;
  const std::string root = mounts.disk({.type = "ext4", .format = "-I 128"});
  if (root.empty()) GTEST_SKIP() << mounts.whyNot();
  expectFoundByNumberWhereThatSaysSomething(mounts, root, false);
}

// --- On any

class AliasesTests : public testing::Test {
 protected:
  AliasesTests() { writeFile(folder / "file", "text"); }

  ScratchFolder folder;
  const std::string path = folder / "file";
};

TEST_F(AliasesTests, TheAliasIsBroughtUpToDate) {
  for (const bool minimal : {false, true}) {
    const KeptAlias alias = aliasOf(path, minimal);
    const std::size_t size = alias.bytes().size();
    fs::rename(path, folder / "a longer name");
    const Resolved first = resolve(alias);
    EXPECT_TRUE(first.wasChanged);
    EXPECT_EQ(first.path, folder / "a longer name");
    EXPECT_EQ(first.bytes.size(), size + std::string("a longer name").size() - std::string("file").size());
    AliasHandle updated = nullptr;
    ASSERT_EQ(PtrToHand(first.bytes.data(), &updated, first.bytes.size()), noErr);
    const Resolved second = resolve(KeptAlias(updated));
    EXPECT_FALSE(second.wasChanged);
    EXPECT_EQ(second.path, folder / "a longer name");
    fs::rename(folder / "a longer name", path);
  }
}

TEST_F(AliasesTests, TheHostsOwnTypeSurvives) {
  AliasHandle handle = aliasOf(path).handle();
  EXPECT_EQ((*handle)->userType, 0U);
  EXPECT_EQ((*handle)->aliasSize, GetHandleSize(handle));
  (*handle)->userType = 0x70646F63;
  fs::rename(path, folder / "renamed");
  FSRef ref;
  bool wasChanged = false;
  EXPECT_EQ(Aliases::production().FSResolveAlias(handle, &ref, &wasChanged), noErr);
  EXPECT_TRUE(wasChanged);
  EXPECT_EQ((*handle)->userType, 0x70646F63U);
  EXPECT_EQ((*handle)->aliasSize, GetHandleSize(handle));
  DisposeHandle(handle);
}

TEST_F(AliasesTests, AnItemThatStayedNeedsNoLookAtTheVolumes) {
  const KeptAlias alias = aliasOf(path);
  if (!detail::decodeAlias(alias.bytes())->item.identity.hasBirth) GTEST_SKIP() << "no dates of birth here";
  const std::string expected = fs::canonical(path).string();
  EXPECT_EQ(inChild([&] {
              const rlimit none{0, 0};
              if (::setrlimit(RLIMIT_NOFILE, &none) != 0) return 1;
              return resolve(alias).path == expected ? 0 : 2;
            }),
            0);
}

TEST_F(AliasesTests, ItemsAreFoundWhereFoldersDoNotTellKinds) {
  const KeptAlias alias = aliasOf(path, true);
  fs::create_directories(folder / "a/b");
  fs::rename(path, folder / "a/b/moved");
  folderReading.tellsKinds = false;
  EXPECT_EQ(resolve(alias).path, fs::canonical(folder.path()).string() + "/a/b/moved");
  folderReading.tellsKinds = true;
}

TEST_F(AliasesTests, AMinimalAliasIsSmaller) {
  const KeptAlias full = aliasOf(path);
  const KeptAlias minimal = aliasOf(path, true);
  EXPECT_LE(minimal.bytes().size(), full.bytes().size());
  EXPECT_FALSE(detail::decodeAlias(minimal.bytes())->handle);
  if (!detail::handleOfItem(path)) GTEST_SKIP() << "this file system has no handles";
  EXPECT_LT(minimal.bytes().size(), full.bytes().size());
}

TEST_F(AliasesTests, LinksOnTheWayAreLeftBehind) {
  fs::create_directory(folder / "inner");
  writeFile(folder / "inner/file", "text");
  fs::create_directory_symlink("inner", folder / "link");
  const KeptAlias alias = aliasOf(folder / "link/file");
  EXPECT_EQ(resolve(alias).path, fs::canonical(folder / "inner/file").string());
}

TEST_F(AliasesTests, LinksThatCameToStandOnTheWayAreLeftBehind) {
  fs::create_directories(folder / "near/by");
  fs::rename(path, folder / "near/by/file");
  const KeptAlias full = aliasOf(folder / "near/by/file"), minimal = aliasOf(folder / "near/by/file", true);
  fs::rename(folder / "near", folder / "moved");
  fs::create_directory_symlink("moved", folder / "near");
  const std::string now = fs::canonical(folder / "moved/by").string();
  const auto expectFound = [&](const std::string& expected) {
    for (const KeptAlias* alias : {&full, &minimal}) {
      const Resolved result = resolve(*alias);
      EXPECT_EQ(result.path, expected);
      EXPECT_TRUE(result.wasChanged);
      EXPECT_EQ(detail::decodeAlias(result.bytes)->path, expected);
    }
  };
  expectFound(now + "/file");
  fs::rename(now + "/file", now + "/renamed");
  expectFound(now + "/renamed");
}

TEST_F(AliasesTests, AnotherProcessReadsItBack) {
  writeFile(folder / "alias", aliasOf(path).bytes());
  fs::create_directory(folder / "inner");
  fs::rename(path, folder / "inner/renamed");
  EXPECT_EQ(inChild([&] {
              const std::string bytes = contentsOf(folder / "alias").value();
              AliasHandle handle = nullptr;
              if (PtrToHand(bytes.data(), &handle, bytes.size()) != noErr) return 1;
              return resolve(KeptAlias(handle)).path == folder / "inner/renamed" ? 0 : 2;
            }),
            0);
}

TEST_F(AliasesTests, WhatIsNoAliasIsAParameterError) {
  FSRef ref;
  bool wasChanged = true;
  Aliases& aliases = Aliases::production();
  EXPECT_EQ(aliases.FSResolveAlias(nullptr, &ref, &wasChanged), paramErr);
  for (std::string bytes : {std::string(), std::string("x"), std::string(100, '\0'), aliasOf(path).bytes() + "x"}) {
    AliasHandle handle = nullptr;
    ASSERT_EQ(PtrToHand(bytes.data(), &handle, bytes.size()), noErr);
    EXPECT_EQ(aliases.FSResolveAlias(handle, &ref, &wasChanged), paramErr);
    DisposeHandle(handle);
  }
  EXPECT_TRUE(ref.isEmpty());
  EXPECT_TRUE(wasChanged);
}

TEST_F(AliasesTests, MissingArguments) {
  FSRef ref;
  AliasHandle handle = nullptr;
  Aliases& aliases = Aliases::production();
  ASSERT_EQ(FileCatalog::production().FSPathMakeRef(folder.string("file"), &ref, nullptr), noErr);
  EXPECT_EQ(aliases.FSNewAlias(nullptr, &handle), paramErr);
  EXPECT_EQ(aliases.FSNewAlias(&ref, nullptr), paramErr);
  EXPECT_EQ(aliases.FSNewAliasMinimal(nullptr, &handle), paramErr);
  EXPECT_EQ(aliases.FSNewAliasMinimal(&ref, nullptr), paramErr);
  const FSRef empty;
  EXPECT_EQ(aliases.FSNewAlias(&empty, &handle), fnfErr);
  EXPECT_EQ(handle, nullptr);
  const AliasHandle good = aliasOf(path).handle();
  EXPECT_EQ(aliases.FSResolveAlias(good, nullptr, nullptr), paramErr);
  EXPECT_EQ(aliases.FSResolveAlias(good, &ref, nullptr), noErr) << "nobody needs to know";
  DisposeHandle(good);
}

TEST(AliasesOnOverlaysTests, AnItemOfALowerLayerIsItsOwnSuccessor) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  const std::string lower = mounts.folder("lower");
  fs::create_directory(lower + "/inner");
  writeFile(lower + "/inner/file", "text");
  const std::string root = mounts.overlay(lower);
  if (root.empty()) GTEST_SKIP() << mounts.whyNot();
  const std::string file = root + "/inner/file";
  const KeptAlias alias = aliasOf(file);
  EXPECT_EQ(resolve(alias).path, file);
  writeFile(file, "changed");
  EXPECT_EQ(resolve(alias).path, file);
  const KeptAlias later = aliasOf(file);
  fs::rename(file, root + "/moved");
  EXPECT_EQ(resolve(later).path, root + "/moved");
}

// --- Items that look like the right one

// On a volume of its own, all of which is searched.
TEST_F(AliasesOfVolumes, AnItemOfAnotherKindIsNotTheItemWhateverItsNumber) {
  constexpr std::uint8_t kSocket = 12;
  const KeptAlias alias = forged(aliasOf(file), [](detail::AliasContents& contents) { contents.item.kind = kSocket; });
  EXPECT_EQ(resolve(alias).error, fnfErr);
  fs::rename(file, root + "/moved");
  EXPECT_EQ(resolve(alias).error, fnfErr);
}

TEST(AliasesWithoutDatesTests, TheHandleTellsALaterItemOfTheSameNumber) {
  PrivateMounts mounts;
  const std::string root = mounts.disk({.type = "ext4", .format = "-I 128"});
  if (root.empty()) GTEST_SKIP() << mounts.whyNot();
  writeFile(root + "/file", "text");
  const KeptAlias alias = aliasOf(root + "/file");
  const KeptAlias minimal = aliasOf(root + "/file", true);
  ASSERT_FALSE(detail::decodeAlias(alias.bytes())->item.identity.hasBirth);
  EXPECT_EQ(resolve(onAnotherDevice(alias)).path, root + "/file");
  fs::rename(root + "/file", root + "/moved");
  EXPECT_EQ(resolve(alias).path, root + "/moved");
  EXPECT_EQ(resolve(minimal).path, root + "/moved");
  EXPECT_EQ(resolve(onAnotherDevice(alias)).path, root + "/moved");
  EXPECT_EQ(resolve(onAnotherDevice(minimal)).path, root + "/moved");
  const ino_t number = numberOf(root + "/moved");
  fs::remove(root + "/moved");
  writeFile(root + "/later", "text");
  if (numberOf(root + "/later") != number) GTEST_SKIP() << "this file system did not use the number again";
  EXPECT_EQ(resolve(alias).error, fnfErr);
}

TEST(AliasesWithoutDatesTests, SourceAndIdentifierTellAnotherVolumeInTheSamePlace) {
  PrivateMounts mounts;
  const std::string root = mounts.disk({.type = "ext4", .format = "-I 128"});
  if (root.empty()) GTEST_SKIP() << mounts.whyNot();
  writeFile(root + "/file", "text");
  const KeptAlias alias = aliasOf(root + "/file");
  ASSERT_NE(detail::decodeAlias(alias.bytes())->volume.identifier, 0U);
  const auto ofAnotherIdentifier = [](detail::AliasContents& contents) { ++contents.volume.identifier; };
  EXPECT_EQ(resolve(alias).path, root + "/file");
  EXPECT_EQ(resolve(forged(alias, ofAnotherIdentifier)).error, nsvErr);
  EXPECT_EQ(resolve(fromSource(alias, "/dev/other")).error, nsvErr);
}

TEST(AliasesOnSnapshotsTests, ACopyInASnapshotIsNotTheItem) {
  PrivateMounts mounts;
  if (!PrivateMounts::hasProgram("btrfs")) GTEST_SKIP() << "no btrfs program here";
  const std::string root = mounts.disk({.type = "btrfs"});
  if (root.empty()) GTEST_SKIP() << mounts.whyNot();
  fs::create_directories(root + "/near/far");
  writeFile(root + "/near/file", "text");
  const std::string command =
      "PATH=$PATH:/sbin:/usr/sbin; btrfs subvolume snapshot '" + root + "' '" + root + "/near/copy' >/dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0);
  const std::string copy = root + "/near/copy/near/file";
  ASSERT_EQ(numberOf(copy), numberOf(root + "/near/file"));
  for (const bool minimal : {false, true}) {
    const KeptAlias alias = aliasOf(root + "/near/file", minimal);
    const KeptAlias ofCopy = aliasOf(copy, minimal);
    fs::create_directories(root + "/away/from/here/and/there");
    fs::rename(root + "/near/file", root + "/away/from/here/and/there/file");
    EXPECT_EQ(resolve(alias).path, root + "/away/from/here/and/there/file");
    EXPECT_EQ(resolve(ofCopy).path, copy);
    fs::rename(root + "/away/from/here/and/there/file", root + "/near/file");
  }
  const KeptAlias alias = aliasOf(root + "/near/file");
  const KeptAlias ofCopy = forged(aliasOf(copy), [](detail::AliasContents& contents) {
    contents.item.identity.device += 1000;  // snapshots have the numbers that are free
  });
  fs::rename(copy, root + "/near/copy/moved");
  EXPECT_EQ(resolve(ofCopy).path, root + "/near/copy/moved");
  fs::rename(root + "/near/copy/moved", copy);
  fs::remove(root + "/near/file");
  EXPECT_EQ(resolve(alias).error, fnfErr);
}

TEST(AliasesWithoutNumbersTests, OnlyThePathCounts) {
  PrivateMounts mounts;
  const CardOfACamera card(mounts);
  if (card.root.empty()) GTEST_SKIP() << "no root, no mount.exfat-fuse or no /dev/fuse here";
  writeFile(card.root + "/file", "text");
  writeFile(card.root + "/other", "other");
  const KeptAlias alias = aliasOf(card.root + "/file");
  if (detail::decodeAlias(alias.bytes())->item.identity.hasBirth) GTEST_SKIP() << "this one keeps dates of birth";
  EXPECT_EQ(resolve(alias).path, card.root + "/file");
  const KeptAlias renumbered = forged(alias, [&](detail::AliasContents& contents) {
    contents.item.identity.number = numberOf(card.root + "/other");
    contents.handle = detail::handleOfItem(card.root + "/other");
  });
  EXPECT_EQ(resolve(renumbered).path, card.root + "/file");
  fs::remove(card.root + "/file");
  EXPECT_EQ(resolve(renumbered).error, fnfErr);
}

// benchmarks/AliasSearch.cpp measures a volume of 200,000 items.
TEST(AliasSearchTests, ASearchOfManyItemsIsQuick) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers are slow";
  PrivateMounts mounts;
  const std::string root = mounts.memory("many");
  if (root.empty()) GTEST_SKIP() << mounts.whyNot();
  for (int outer = 0; outer < 40; ++outer) {
    const std::string inner = root + "/" + std::to_string(outer);
    fs::create_directory(inner);
    for (int i = 0; i < 500; ++i) fs::create_symlink("x", inner + "/" + std::to_string(i));
  }
  writeFile(root + "/file", "text");
  const KeptAlias alias = aliasOf(root + "/file");
  fs::remove(root + "/file");
  EXPECT_EQ(resolve(alias).error, fnfErr);
  const std::clock_t start = std::clock();
  EXPECT_EQ(resolve(alias).error, fnfErr);
  EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 0.1) << "20,000 items";
}

}  // namespace
}  // namespace ZtFoundation::test
