// Disks that are full, of bytes or of items, and disks that take no writing: what was there stays, nothing is left
// over, and the answer says so.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/FileErrors.h>
#include <ZtFoundation/platform/Number.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <ostream>

#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"
#include "support/Storm.h"

namespace ZtFoundation::test {
namespace {

constexpr std::size_t kPage = 4096;  // what a file of one byte takes in memory
constexpr std::size_t kSize = 5 * kPage + 100;
constexpr int kFiles = 3;

Ref<NSString> stringOf(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }
Ref<NSFileManager> manager() { return NSFileManager::defaultManager(); }

bool exists(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

using Items = std::map<std::string, std::string>;

// Everything below `root`, with its contents.
Items snapshot(const std::string& root) {
  Items all;
  if (!exists(root)) return all;
  all[""] = std::filesystem::is_directory(root) ? "folder" : contentsOf(root).value_or("?");
  if (all[""] != "folder") return all;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    all[entry.path().string().substr(root.size())] =
        entry.is_directory() ? "folder" : contentsOf(entry.path()).value_or("?");
  }
  return all;
}

bool contains(const Items& items, const Items::value_type& item) {
  const auto found = items.find(item.first);
  return found != items.end() && found->second == item.second;
}

// Whether `now` is what there was `before`, with a beginning of what makes it `whole`.
bool isOnItsWay(const Items& now, const Items& before, const Items& whole) {
  const auto isBegun = [&](const auto& item) {
    const auto end = whole.find(item.first);
    return end != whole.end() && end->second.starts_with(item.second);
  };
  return std::ranges::all_of(before, [&](const auto& item) { return contains(now, item); }) &&
         std::ranges::all_of(now, [&](const auto& item) { return contains(before, item) || isBegun(item); });
}

std::string newContents() { return std::string(kSize, 'n'); }
std::string oldContents() { return std::string(kSize, 'o'); }

void makeTree(const std::string& root) {
  std::filesystem::create_directories(root + "/folder/inner");
  for (int i = 0; i < kFiles; ++i) writeFile(root + "/folder/" + std::to_string(i), oldContents());
  writeFile(root + "/folder/inner/last", "last");
}

using Save = bool (QvPropertyList::*)();

bool store(const std::string& path, QvPropertyListFormat format, Save save = &QvPropertyList::saveChanges) {
  const Ref<QvPropertyList> list = QvPropertyList::initWithPath_format(stringOf(path), format);
  const Ref<NSMutableDictionary> section = NSMutableDictionary::dictionary();
  section->setObject_forKey(stringOf(newContents()), "Key");
  const Ref<NSMutableDictionary> all = NSMutableDictionary::dictionary();
  all->setObject_forKey(section, "Section");
  list->setValues(all);
  list->setFormat(format);  // whatever was there
  return (list.get()->*save)();
}

bool storedIsWhole(const std::string& path, QvPropertyListFormat format) {
  const Ref<QvPropertyList> list = QvPropertyList::initWithPath_format(stringOf(path), format);
  const Ref<NSDictionary> all = as<NSDictionary>(list->values());
  const Ref<NSDictionary> section = as<NSDictionary>(all->objectForKey("Section"));
  return section && isEqual(section->objectForKey("Key"), stringOf(newContents()));
}

// --- Operations: what each does on a disk, from the folder `source` on another one

struct Place {
  std::string disk;
  std::string source;
  std::string file() const { return disk + "/file"; }
};

enum class Failure {
  LeavesNothing,    // what was there is there, and nothing else
  LeavesWhatIsDone  // as well as folders made so far, and beginnings of files
};

struct Operation {
  friend void PrintTo(const Operation& operation, std::ostream* stream) { *stream << operation.name; }

  const char* name;
  bool hasOldFile;
  Failure failure;
  std::function<bool(const Place&)> run;      // whether it answered success
  std::function<bool(const Place&)> isWhole;  // whether everything is there that a success promises
  bool takesBytes = true;
};

bool hasTree(const std::string& path, const Place& place) { return snapshot(path) == snapshot(place.source + "/tree"); }

const Operation kOperations[] = {
    {"save of a new file", false, Failure::LeavesNothing,
     [](const Place& place) {
       return NSData::dataWithString(newContents())->writeToFile_atomically(stringOf(place.file()), true);
     },
     [](const Place& place) { return contentsOf(place.file()) == newContents(); }},
    {"save over a file", true, Failure::LeavesNothing,
     [](const Place& place) {
       return NSData::dataWithString(newContents())->writeToFile_atomically(stringOf(place.file()), true);
     },
     [](const Place& place) { return contentsOf(place.file()) == newContents(); }},
    {"settings as INI text", true, Failure::LeavesNothing,
     [](const Place& place) { return store(place.file(), QvPropertyListINIFormat); },
     [](const Place& place) { return storedIsWhole(place.file(), QvPropertyListINIFormat); }},
    {"settings as XML", true, Failure::LeavesNothing, [](const Place& place) { return store(place.file(), 100); },
     [](const Place& place) { return storedIsWhole(place.file(), 100); }},
    {"merged save of settings", false, Failure::LeavesNothing,
     [](const Place& place) { return store(place.file(), 100, &QvPropertyList::saveMergedChanges); },
     [](const Place& place) { return storedIsWhole(place.file(), 100); }},
    {"settings in a new folder", false, Failure::LeavesWhatIsDone,
     [](const Place& place) { return store(place.disk + "/new/folder/file", 200); },
     [](const Place& place) { return storedIsWhole(place.disk + "/new/folder/file", 200); }},
    {"copy of a file", false, Failure::LeavesNothing,
     [](const Place& place) {
       return manager()->copyPath_toPath_handler(stringOf(place.source + "/file"), stringOf(place.file()), nullptr);
     },
     [](const Place& place) { return contentsOf(place.file()) == oldContents(); }},
    {"copy of a folder", false, Failure::LeavesNothing,
     [](const Place& place) {
       return manager()->copyPath_toPath_handler(stringOf(place.source + "/tree"), stringOf(place.file()), nullptr);
     },
     [](const Place& place) { return hasTree(place.file(), place); }},
    {"copy with a status", false, Failure::LeavesNothing,
     [](const Place& place) {
       return JxFileOperation::copyFileTo(stringOf(place.source + "/file"), stringOf(place.file())) == noErr;
     },
     [](const Place& place) { return contentsOf(place.file()) == oldContents(); }},
    {"move of a folder from another disk", false, Failure::LeavesNothing,
     [](const Place& place) {
       return manager()->movePath_toPath_handler(stringOf(place.source + "/moved"), stringOf(place.file()), nullptr);
     },
     [](const Place& place) { return hasTree(place.file(), place) && !exists(place.source + "/moved"); }},
    {"creation of folders", false, Failure::LeavesWhatIsDone,
     [](const Place& place) {
       return QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(
           manager(), stringOf(place.disk + "/a/b/c/d"), nullptr, true);
     },
     [](const Place& place) { return exists(place.disk + "/a/b/c/d"); }, false},
    {"creation of folders with a status", false, Failure::LeavesWhatIsDone,
     [](const Place& place) {
       return JxFileOperation::createDirectoryWithRecursively(stringOf(place.disk + "/a/b/c/d"), true) == noErr;
     },
     [](const Place& place) { return exists(place.disk + "/a/b/c/d"); }, false},
    {"link to a file", false, Failure::LeavesNothing,
     [](const Place& place) {
       return manager()->linkPath_toPath_handler(stringOf(place.disk + "/full"), stringOf(place.file()), nullptr);
     },
     [](const Place& place) { return std::filesystem::equivalent(place.disk + "/full", place.file()); }, false},
    {"write in place", false, Failure::LeavesWhatIsDone,
     [](const Place& place) {
       return NSData::dataWithString(newContents())->writeToFile_atomically(stringOf(place.file()), false);
     },
     [](const Place& place) { return contentsOf(place.file()) == newContents(); }},
    {"creation of a file", false, Failure::LeavesWhatIsDone,
     [](const Place& place) {
       return JxFileOperation::createFileWithContents(stringOf(place.file()), NSData::dataWithString(newContents())) ==
              noErr;
     },
     [](const Place& place) { return contentsOf(place.file()) == newContents(); }},
    {"creation of a file with a free name", true, Failure::LeavesWhatIsDone,
     [](const Place& place) {
       return JxTalvoZtWdExensions::createFileWithContents_autoname(
                  stringOf(place.file()), NSData::dataWithString(newContents()), true) == noErr;
     },
     [](const Place& place) {
       return contentsOf(place.file()) == oldContents() && contentsOf(place.disk + "/file_1") == newContents();
     }},
    {"creation of a file with a name in the Finder's style", true, Failure::LeavesNothing,
     [](const Place& place) {
       return JxTalvoZtWdExensions::createUnusedFinderFile(stringOf(place.file()),
                                                           NSData::dataWithString(newContents())) != nullptr;
     },
     [](const Place& place) {
       return contentsOf(place.file()) == oldContents() && contentsOf(place.disk + "/file 1") == newContents();
     }},
    {"alias, saved", false, Failure::LeavesNothing,
     [](const Place& place) {
       AliasHandle alias = nullptr;
       if (!JxFileSystemRepresentation::pathStringToAlias(stringOf(place.source + "/file"), &alias)) return false;
       const Ref<NSData> bytes = NSData::dataWithBytes_length(*alias, GetHandleSize(alias));
       const bool isSaved = bytes->writeToFile_atomically(stringOf(place.file()), true);
       DisposeHandle(alias);
       return isSaved;
     },
     [](const Place& place) { return contentsOf(place.file()).value_or("").size() > 20; }},
};

class FullDiskTests : public testing::TestWithParam<Operation> {
 protected:
  void SetUp() override {
    if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
    place.source = mounts.folder("source");
    writeFile(place.source + "/file", oldContents());
    makeTree(place.source + "/tree");
    mountDisk("size=1m");
    EXPECT_TRUE(GetParam().run(place));
    whole = snapshot(place.disk);
    mounts.unmount(place.disk);
  }

  void mountDisk(const std::string& options) {
    place.disk = mounts.memory("disk", options);
    std::filesystem::remove_all(place.source + "/moved");
    makeTree(place.source + "/moved");
    writeFile(place.disk + "/full", std::string(kPage, 'f'));
    if (GetParam().hasOldFile) writeFile(place.file(), oldContents());
  }

  // One attempt; true when it was a success.
  bool attempt() {
    const Items before = snapshot(place.disk);
    const Items source = snapshot(place.source);
    const bool success = GetParam().run(place);
    success ? checkSuccess() : checkFailure(before, source);
    return success;
  }

  void checkSuccess() const {
    EXPECT_TRUE(GetParam().isWhole(place));
    EXPECT_TRUE(snapshot(place.disk) == whole) << "nothing else";
  }

  void checkFailure(const Items& before, const Items& source) const {
    const bool leavesNothing = GetParam().failure == Failure::LeavesNothing;
    const Items now = snapshot(place.disk);
    EXPECT_TRUE(leavesNothing ? now == before : isOnItsWay(now, before, whole));
    EXPECT_TRUE(snapshot(place.source) == source);
  }

  PrivateMounts mounts;
  Place place;
  Items whole;  // what is on a disk with enough room afterwards
};

// Disks from none left to enough left: the first ones are too small, the last is not.
TEST_P(FullDiskTests, AnswersFailureAsLongAsThereIsNoRoom) {
  int failures = 0;
  int pages = GetParam().hasOldFile ? 7 : 1;
  for (;; ++pages) {
    SCOPED_TRACE(testing::Message() << pages << " pages");
    mountDisk("size=" + std::to_string(static_cast<std::size_t>(pages) * kPage) + ",nr_inodes=100");
    const bool success = attempt();
    mounts.unmount(place.disk);
    if (HasFailure() || success) break;
    ++failures;
    ASSERT_LT(pages, 60);
  }
  EXPECT_EQ(failures > 0, GetParam().takesBytes);
  report("no bytes left", GetParam().name, pages, "failure until there was room, nothing lost");
}

TEST_P(FullDiskTests, AnswersFailureAsLongAsThereMayBeNoMoreItems) {
  int failures = 0;
  int items = GetParam().hasOldFile ? 3 : 2;
  for (;; ++items) {
    SCOPED_TRACE(testing::Message() << items << " items");
    mountDisk("size=1m,nr_inodes=" + std::to_string(items));
    const bool success = attempt();
    mounts.unmount(place.disk);
    if (HasFailure() || success) break;
    ++failures;
    ASSERT_LT(items, 30);
  }
  EXPECT_GT(failures, 0);
  report("no items left", GetParam().name, items, "failure until there was room, nothing lost");
}

TEST_P(FullDiskTests, AnswersFailureWhereNothingMayBeWritten) {
  mountDisk("size=1m");
  mounts.remountReadOnly(place.disk);
  const Items before = snapshot(place.disk);
  EXPECT_FALSE(attempt());
  EXPECT_TRUE(snapshot(place.disk) == before);
  report("read-only", GetParam().name, 1, "failure, nothing changed");
}

INSTANTIATE_TEST_SUITE_P(Operations, FullDiskTests, testing::ValuesIn(kOperations), [](const auto& operation) {
  std::string name = operation.param.name;
  for (char& character : name) {
    if (::isalnum(character) == 0) character = '_';
  }
  return name;
});

// --- Processes that may write only short files

// What the signal ends leaves no core.
bool allowOnlyShortFiles() {
  rlimit limit{};
  if (::prctl(PR_SET_DUMPABLE, 0) != 0 || ::getrlimit(RLIMIT_FSIZE, &limit) != 0) return false;
  limit.rlim_cur = kPage;
  return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

TEST(FileSizeLimitTests, SavesAndCopiesLeaveWhatWasThereWhereTheSignalIsIgnored) {
  const ScratchFolder folder;
  writeFile(folder / "source", oldContents());
  writeFile(folder / "file", "old");
  const auto before = snapshot(folder.path());
  const auto work = [&]() -> int {
    ::signal(SIGXFSZ, SIG_IGN);
    if (!allowOnlyShortFiles()) return 1;
    const Ref<NSString> source = folder.string("source");
    if (NSData::dataWithString(newContents())->writeToFile_atomically(folder.string("file"), true)) return 2;
    if (store(folder / "file", 100)) return 3;
    if (manager()->copyPath_toPath_handler(source, folder.string("copy"), nullptr)) return 4;
    if (JxFileOperation::copyFileTo(source, folder.string("copy")) == noErr) return 5;
    if (snapshot(folder.path()) != before) return 6;
    return NSData::dataWithBytes("new")->writeToFile_atomically(folder.string("file"), true) ? 0 : 7;
  };
  EXPECT_EQ(inChild(work), 0);
  EXPECT_EQ(contentsOf(folder / "file"), "new");
}

TEST(FileSizeLimitTests, TheSignalEndsOtherProcesses) {
  const ScratchFolder folder;
  const auto work = [&]() -> int {
    ::signal(SIGXFSZ, SIG_DFL);  // whoever started the tests may ignore it
    if (!allowOnlyShortFiles()) return 1;
    NSData::dataWithString(newContents())->writeToFile_atomically(folder.string("file"), true);
    return 2;
  };
  EXPECT_EQ(signalThatEnded(startChild(work)), SIGXFSZ);
  EXPECT_FALSE(exists(folder / "file"));
}

// --- What the answers are

class FullDiskStatusTests : public testing::Test {
 protected:
  void SetUp() override {
    if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
    writeFile(mounts.folder("source") + "/file", oldContents());
    source = stringOf(mounts.folder("source") + "/file");
  }
  Ref<NSString> on(const std::string& disk, const char* name) { return stringOf(disk + "/" + name); }

  PrivateMounts mounts;
  Ref<NSString> source;
};

TEST_F(FullDiskStatusTests, OfADiskWithoutRoom) {
  const std::string disk = mounts.memory("full", "size=8k,nr_inodes=100");
  const Ref<NSData> contents = NSData::dataWithString(newContents());
  EXPECT_EQ(JxFileOperation::createFileWithContents(on(disk, "a"), contents), dskFulErr);
  EXPECT_EQ(JxTalvoZtWdExensions::createFileWithContents_autoname(on(disk, "a"), contents, true), dskFulErr);
  EXPECT_EQ(JxFileOperation::copyFileTo(source, on(disk, "a")), dskFulErr);
  EXPECT_EQ(JxTalvoZtWdExensions::copyFileTo_autoname(source, on(disk, "a"), true), dskFulErr);
  EXPECT_TRUE(std::filesystem::is_empty(disk));
}

TEST_F(FullDiskStatusTests, OfADiskThatTakesNoMoreItems) {
  const std::string disk = mounts.memory("few", "size=1m,nr_inodes=2");
  writeFile(disk + "/file", "old");
  EXPECT_EQ(JxFileOperation::createFileWithContents(on(disk, "a"), nullptr), paramErr);
  EXPECT_EQ(JxFileOperation::copyFileTo(source, on(disk, "a")), paramErr);
  EXPECT_EQ(JxFileOperation::createDirectoryWithRecursively(on(disk, "a"), false), dskFulErr);
  EXPECT_EQ(JxFileOperation::renameFileTo(on(disk, "file"), stringOf("renamed")), noErr);
  EXPECT_EQ(JxFileOperation::removeFileForcefully(on(disk, "renamed"), false), noErr) << "what is full can be emptied";
  EXPECT_EQ(JxFileOperation::createFileWithContents(on(disk, "a"), nullptr), noErr);
}

TEST_F(FullDiskStatusTests, OfADiskThatTakesNoWriting) {
  const std::string disk = mounts.memory("locked", "size=1m");
  writeFile(disk + "/file", "old");
  std::filesystem::create_directories(disk + "/folder/inner");
  mounts.remountReadOnly(disk);
  const auto before = snapshot(disk);
  const Ref<NSData> contents = NSData::dataWithBytes("new");
  EXPECT_EQ(JxFileOperation::createFileWithContents(on(disk, "file"), contents), afpAccessDenied);
  EXPECT_EQ(JxTalvoZtWdExensions::createFileWithContents_autoname(on(disk, "file"), contents, true), afpAccessDenied);
  EXPECT_EQ(JxFileOperation::copyFileTo(source, on(disk, "a")), paramErr);
  EXPECT_EQ(JxFileOperation::createDirectoryWithRecursively(on(disk, "a/b"), true), vLckdErr);
  EXPECT_EQ(JxFileOperation::renameFileTo(on(disk, "file"), stringOf("renamed")), vLckdErr);
  EXPECT_EQ(JxFileOperation::removeFileForcefully(on(disk, "file"), true), paramErr);
  EXPECT_EQ(JxFileOperation::removeFileForcefully(on(disk, "folder"), true), paramErr);
  EXPECT_FALSE(
      manager()->movePath_toPath_handler(on(disk, "file"), stringOf(mounts.folder("source") + "/moved"), nullptr));
  EXPECT_FALSE(exists(mounts.folder("source") + "/moved")) << "a copy of what cannot be moved is not left";
  JxFileCatalogInformation::setFinderLock(on(disk, "file"), true);
  EXPECT_FALSE(JxFileCatalogInformation::isLockedByFinder(on(disk, "file")));
  EXPECT_TRUE(QvFoundationExtensions::isVolumeLockedAtPath(manager(), on(disk, "file")));
  EXPECT_FALSE(JxFileAccessibility::isDeletable(on(disk, "file")));
  EXPECT_TRUE(snapshot(disk) == before);
}

// A free name is free where nothing can be made, too.
TEST_F(FullDiskStatusTests, FreeNamesNeedNoRoom) {
  const std::string full = mounts.memory("full", "size=4k,nr_inodes=2");
  const std::string locked = mounts.memory("locked", "size=1m");
  for (const std::string& disk : {full, locked}) writeFile(disk + "/file.txt", "");
  mounts.remountReadOnly(locked);
  for (const std::string& disk : {full, locked}) {
    EXPECT_EQ(JxTalvoZtWdExensions::unusedTalvoFilePath(on(disk, "file.txt"))->utf8(), disk + "/file_1.txt");
    EXPECT_EQ(JxTalvoZtWdExensions::unusedFinderFilePath(on(disk, "file.txt"))->utf8(), disk + "/file 1.txt");
    AliasHandle alias = nullptr;
    ASSERT_TRUE(JxFileSystemRepresentation::pathStringToAlias(on(disk, "file.txt"), &alias));
    EXPECT_EQ(JxFileSystemRepresentation::pathStringFromAliasHandle(alias)->utf8(), disk + "/file.txt");
    DisposeHandle(alias);
  }
}

}  // namespace
}  // namespace ZtFoundation::test
