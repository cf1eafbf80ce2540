// Who watches copies and removals, and the listing of folders.

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <utility>

#include "platform/linux/SystemCallFaults.h"
#include "support/ChildProcess.h"
#include "support/QuickFolder.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

/// Notes what it is told and answers as it is told.
class Watcher : public NSObject {
  ZT_OBJECT(Watcher, NSObject)
 public:
  void willProcess(const Ref<NSFileManager>& manager, const Ref<NSString>& path) {
    EXPECT_TRUE(manager == NSFileManager::defaultManager());
    paths.insert(path->utf8());
    if (atPath) atPath(path->utf8());
    if (throwsAtPaths) throw NSException("Stop", "wanted");
  }
  bool shouldProceed(const Ref<NSFileManager>&, const Ref<NSDictionary>& error) {
    errors.push_back(error);
    return proceeds;
  }
  bool afterBytes(const Ref<NSFileManager>&, std::uint64_t done, std::uint64_t total, const Ref<NSString>& path) {
    EXPECT_LE(lastDone, done);
    EXPECT_LE(done, total);
    lastDone = done;
    lastTotal = total;
    lastPath = path->utf8();
    ++calls;
    if (meanwhile) meanwhile();
    if (throws) throw NSException("Stop", "wanted");
    return calls < limit;
  }
  bool afterItems(const Ref<NSFileManager>&, std::uint64_t done, const Ref<NSString>& path) {
    lastDone = done;
    lastPath = path->utf8();
    return static_cast<int>(done) < limit;
  }

  std::set<std::string> paths;
  std::vector<Ref<NSDictionary>> errors;
  bool proceeds = false;
  bool throws = false;
  bool throwsAtPaths = false;
  std::function<void()> meanwhile;
  std::function<void(const std::string&)> atPath;
  int limit = 1000000;
  int calls = 0;
  std::uint64_t lastDone = 0;
  std::uint64_t lastTotal = 0;
  std::string lastPath;
};

ZT_IMPLEMENT_CLASS(Watcher, ZT_METHOD("fileManager:willProcessPath:", &Watcher::willProcess),
                   ZT_METHOD("fileManager:shouldProceedAfterError:", &Watcher::shouldProceed),
                   ZT_METHOD("fileManager:shouldContinueAfterCopyingBytes:ofTotal:atPath:", &Watcher::afterBytes),
                   ZT_METHOD("fileManager:shouldContinueAfterRemovingItems:atPath:", &Watcher::afterItems));

namespace {

using Names = std::set<std::string>;

class FileOperationsTests : public testing::Test {
 protected:
  FileOperationsTests() {
    ::umask(022);
    std::filesystem::create_directories(folder / "from/a");
    writeFile(folder / "from/large", std::string(20 << 20, 'x'));
    writeFile(folder / "from/a/small", "12345");
    ::mkfifo((folder / "from/pipe").c_str(), 0600);
  }

  bool copy(const Ref<NSObject>& handler) {
    return manager->copyPath_toPath_handler(folder.string("from"), folder.string("to"), handler);
  }

  Names namesIn(const std::string& name) const {
    Names names;
    for (const auto& entry : std::filesystem::directory_iterator(folder / name)) names.insert(entry.path().filename());
    return names;
  }

  ScratchFolder folder;
  Ref<NSFileManager> manager = NSFileManager::defaultManager();
  Ref<Watcher> watcher = make<Watcher>();
};

std::string textAt(const Ref<NSDictionary>& dictionary, const char* key) {
  return dictionary->get<std::string>(key).value_or("(none)");
}

TEST_F(FileOperationsTests, ACopyTellsItsItemsAndBytes) {
  std::filesystem::create_symlink("nowhere", folder / "from/a/link");
  EXPECT_TRUE(copy(watcher));
  const Names all{folder / "from",         folder / "from/a",     folder / "from/a/link",
                  folder / "from/a/small", folder / "from/large", folder / "from/pipe"};
  EXPECT_EQ(watcher->paths, all);
  EXPECT_EQ(watcher->lastTotal, (20U << 20) + 5U) << "of files only";
  EXPECT_EQ(watcher->lastDone, watcher->lastTotal);
  EXPECT_GE(watcher->calls, 5) << "within the large file, too";
  EXPECT_LE(watcher->calls, 6) << "but not at each step there";
  EXPECT_TRUE(watcher->errors.empty());
}

// Whether the kernel copies inside one file system, or all goes through memory to another.
TEST_F(FileOperationsTests, ALongFileIsToldInParts) {
  ScopedEnvironment inMemory;
  inMemory.set("TMPDIR", folderInMemory());
  const ScratchFolder other;
  const Ref<NSString> copied = other.string("copied");
  for (const Ref<NSString>& from : {folder.string("from/large"), copied}) {
    const Ref<Watcher> cancelling = make<Watcher>();
    cancelling->limit = 1;
    EXPECT_FALSE(manager->copyPath_toPath_handler(from, other.string("cancelled"), cancelling));
    EXPECT_EQ(cancelling->calls, 1) << "nothing is asked after a no";
    EXPECT_FALSE(std::filesystem::exists(other / "cancelled"));
    const Ref<Watcher> one = make<Watcher>();
    const Ref<NSString> to = from == copied ? other.string("again") : copied;
    EXPECT_TRUE(manager->copyPath_toPath_handler(from, to, one));
    EXPECT_EQ(one->calls, 3) << "after 8, 16 and 20 MiB";
    EXPECT_EQ(one->lastDone, 20U << 20);
    EXPECT_EQ(std::filesystem::file_size(to->fileSystemRepresentation()), 20U << 20);
  }
}

TEST_F(FileOperationsTests, HolesCountAsBytes) {
  std::filesystem::create_directory(folder / "holes");
  for (const char* name : {"holes/one", "holes/two"}) {
    writeFile(folder / name, "");
    std::filesystem::resize_file(folder / name, 9 << 20);
  }
  EXPECT_TRUE(manager->copyPath_toPath_handler(folder.string("holes"), folder.string("to"), watcher));
  EXPECT_EQ(watcher->lastTotal, 18U << 20);
  EXPECT_EQ(watcher->lastDone, 18U << 20);
  const Ref<Watcher> cancelling = make<Watcher>();
  cancelling->limit = 1;
  EXPECT_FALSE(manager->copyPath_toPath_handler(folder.string("holes"), folder.string("cancelled"), cancelling));
  EXPECT_EQ(cancelling->calls, 1) << "nothing is asked after a no";
  EXPECT_FALSE(std::filesystem::exists(folder / "cancelled"));
}

TEST_F(FileOperationsTests, AnyHandlerWillDo) {
  EXPECT_TRUE(copy(make<NSObject>()));
  EXPECT_TRUE(manager->removeFileAtPath_handler(folder.string("to"), make<NSObject>()));
  EXPECT_FALSE(manager->removeFileAtPath_handler(folder.string("to"), make<NSObject>()));
}

TEST_F(FileOperationsTests, ACancelledCopyLeavesNothing) {
  for (int limit = 1; limit <= 4; ++limit) {
    const Ref<Watcher> one = make<Watcher>();
    one->limit = limit;
    one->proceeds = true;
    EXPECT_FALSE(copy(one));
    EXPECT_EQ(one->calls, limit) << "nothing is asked after a no";
    EXPECT_TRUE(one->errors.empty()) << "cancelling is no error";
    EXPECT_EQ(folder.names(), Names{"from"});
  }
}

TEST_F(FileOperationsTests, ACancelledCopyOfOneFileLeavesNothing) {
  watcher->limit = 1;
  EXPECT_FALSE(manager->copyPath_toPath_handler(folder.string("from/large"), folder.string("to"), watcher));
  EXPECT_EQ(folder.names(), Names{"from"});
  EXPECT_EQ(watcher->lastTotal, 20U << 20);
  EXPECT_EQ(watcher->lastPath, folder / "from/large");
}

TEST_F(FileOperationsTests, ACopyOfOneItemThatIsCancelledInTheEndLeavesNothing) {
  std::filesystem::create_symlink("nowhere", folder / "from/link");
  for (const char* name : {"from/a/small", "from/pipe", "from/link"}) {
    const Ref<Watcher> one = make<Watcher>();
    one->limit = 1;
    const Ref<Watcher> linking = make<Watcher>();
    linking->limit = 1;
    EXPECT_FALSE(manager->copyPath_toPath_handler(folder.string(name), folder.string("to"), one)) << name;
    EXPECT_FALSE(manager->linkPath_toPath_handler(folder.string(name), folder.string("to"), linking));
    one->limit = 1000;
    one->throws = true;
    EXPECT_THROW(manager->copyPath_toPath_handler(folder.string(name), folder.string("to"), one), NSException);
    EXPECT_EQ(folder.names(), Names{"from"}) << name;
  }
  EXPECT_EQ(contentsOf(folder / "from/a/small"), "12345");
}

// What is in the unfinished copy when it is cancelled, and is not of it.
class FileOperationUndoTests : public FileOperationsTests {
 protected:
  // Cancels the copy of "from" once something is at `path` in it, and `intrude` has been there.
  template <class Intrude>
  void cancelAfter(const std::string& path, Intrude intrude) {
    watcher->meanwhile = [&, path, intrude] {
      if (!std::filesystem::exists(folder / path)) return;
      intrude();
      watcher->limit = 0;
    };
    EXPECT_FALSE(copy(watcher));
    EXPECT_EQ(watcher->limit, 0);
  }
};

TEST_F(FileOperationUndoTests, WhatOthersPutIntoACopyStays) {
  std::filesystem::create_directories(folder / "mine/deep");
  writeFile(folder / "mine/deep/file", "mine");
  cancelAfter("to/a/small", [&] {
    std::filesystem::rename(folder / "mine", folder / "to/a/mine");
    writeFile(folder / "to/a/other", "other");
    std::filesystem::create_directory(folder / "to/a/empty");
  });
  EXPECT_EQ(contentsOf(folder / "to/a/mine/deep/file"), "mine");
  EXPECT_EQ(contentsOf(folder / "to/a/other"), "other");
  struct stat status {};
  EXPECT_EQ(::stat((folder / "to/a/empty").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0755U) << "with its permissions";
  std::filesystem::remove(folder / "to/a/empty");
  std::filesystem::remove_all(folder / "to/a/mine");
  std::filesystem::remove(folder / "to/a/other");
  EXPECT_TRUE(std::filesystem::is_empty(folder / "to/a")) << "all else is gone";
  std::filesystem::remove(folder / "to/a");
  EXPECT_TRUE(std::filesystem::is_empty(folder / "to"));
}

TEST_F(FileOperationUndoTests, AnotherFolderInThePlaceOfTheCopyStays) {
  cancelAfter("to/a/small", [&] {
    std::filesystem::rename(folder / "to", folder / "away");
    std::filesystem::create_directories(folder / "to/a");
    writeFile(folder / "to/a/small", "mine");
  });
  EXPECT_EQ(contentsOf(folder / "to/a/small"), "mine");
  struct stat status {};
  EXPECT_EQ(::stat((folder / "to").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0755U) << "with its permissions";
}

TEST_F(FileOperationUndoTests, AFileInThePlaceOfAFolderStays) {
  for (const char* path : {"to/a", "to"}) {
    writeFile(folder / "mine", "mine");
    watcher = make<Watcher>();
    cancelAfter("to/a/small", [&] {
      std::filesystem::rename(folder / path, folder / "away");
      std::filesystem::rename(folder / "mine", folder / path);
    });
    EXPECT_EQ(contentsOf(folder / path), "mine") << path;
    for (const char* name : {"away", "to"}) std::filesystem::remove_all(folder / name);
  }
}

TEST_F(FileOperationUndoTests, AnotherItemInThePlaceOfAFinishedOneStays) {
  std::filesystem::create_symlink("nowhere", folder / "from/link");
  const auto cancelled = [&](auto operation, const char* name) {
    writeFile(folder / "mine", "mine");
    const Ref<Watcher> one = make<Watcher>();
    one->meanwhile = [&] { std::filesystem::rename(folder / "mine", folder / "to"); };
    one->limit = 1;
    EXPECT_FALSE((manager.get()->*operation)(folder.string(name), folder.string("to"), one));
    return contentsOf(folder / "to");
  };
  for (const char* name : {"from/a/small", "from/pipe", "from/link"}) {
    EXPECT_EQ(cancelled(&NSFileManager::copyPath_toPath_handler, name), "mine") << name;
    std::filesystem::remove(folder / "to");
    EXPECT_EQ(cancelled(&NSFileManager::linkPath_toPath_handler, name), "mine") << name;
    std::filesystem::remove(folder / "to");
  }
}

TEST_F(FileOperationUndoTests, FoldersOfTheCopyThatMayNotBeChangedGo) {
  ::chmod(folder.path().c_str(), 0777);
  const auto isUndone = [&](mode_t mode) {
    const Ref<Watcher> one = make<Watcher>();
    one->meanwhile = [&] {
      for (const char* made : {"to/folder/inner", "to/folder"}) ::chmod((folder / made).c_str(), mode);
    };
    one->limit = 1;
    return !manager->copyPath_toPath_handler(folder.string("own"), folder.string("to"), one) && one->calls == 1 &&
           !std::filesystem::exists(folder / "to");
  };
  const auto work = [&]() -> int {
    std::filesystem::create_directories(folder / "own/folder/inner");
    writeFile(folder / "own/folder/inner/file", "text");
    return isUndone(0) && isUndone(0500) && isUndone(0300) ? 0 : 1;
  };
  EXPECT_EQ(asOrdinaryUser(work), 0);
}

TEST_F(FileOperationUndoTests, AnotherFileInThePlaceOfAnUnfinishedOneStays) {
  writeFile(folder / "mine", "mine");
  watcher->meanwhile = [&] { std::filesystem::rename(folder / "mine", folder / "to"); };
  watcher->limit = 1;
  EXPECT_FALSE(manager->copyPath_toPath_handler(folder.string("from/large"), folder.string("to"), watcher));
  EXPECT_EQ(contentsOf(folder / "to"), "mine");
}

TEST_F(FileOperationUndoTests, WhatIsMountedOnACopyStays) {
  std::filesystem::create_directories(folder / "mine");
  writeFile(folder / "mine/small", "mine");
  const auto work = [&]() -> int {
    if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return 77;
    bool isMounted = false;
    cancelAfter("to/a/small", [&] {
      isMounted = ::mount((folder / "mine").c_str(), (folder / "to/a").c_str(), nullptr, MS_BIND, nullptr) == 0;
    });
    if (!isMounted) return 77;
    const auto mode = std::filesystem::status(folder / "mine").permissions();
    return HasFailure() || contentsOf(folder / "mine/small") != "mine" || mode != std::filesystem::perms{0755} ? 1 : 0;
  };
  const int result = inChild(work);
  if (result == 77) GTEST_SKIP() << "no right to mount";
  EXPECT_EQ(result, 0);
}

TEST_F(FileOperationsTests, WhatAHandlerThrowsPassesThroughAndLeavesNothing) {
  watcher->throws = true;
  EXPECT_THROW(copy(watcher), NSException);
  EXPECT_EQ(folder.names(), Names{"from"});
}

TEST_F(FileOperationsTests, AMoveThatCannotBeToldIsTakenBack) {
  watcher->throwsAtPaths = true;
  EXPECT_THROW(manager->movePath_toPath_handler(folder.string("from"), folder.string("to"), watcher), NSException);
  EXPECT_EQ(folder.names(), Names{"from"});
  EXPECT_EQ(contentsOf(folder / "from/a/small"), "12345");
}

TEST_F(FileOperationsTests, AnErrorIsToldWithItsPaths) {
  writeFile(folder / "to", "old");
  EXPECT_FALSE(copy(watcher));
  ASSERT_EQ(watcher->errors.size(), 1U);
  EXPECT_EQ(textAt(watcher->errors[0], "Error"), "File exists");
  EXPECT_EQ(textAt(watcher->errors[0], "Path"), folder / "from");
  EXPECT_EQ(textAt(watcher->errors[0], "ToPath"), folder / "to");
  EXPECT_FALSE(manager->copyPath_toPath_handler(folder.string("missing"), folder.string("new"), watcher));
  EXPECT_FALSE(manager->movePath_toPath_handler(folder.string("missing"), folder.string("new"), watcher));
  EXPECT_FALSE(manager->removeFileAtPath_handler(folder.string("missing"), watcher));
  ASSERT_EQ(watcher->errors.size(), 4U);
  EXPECT_EQ(textAt(watcher->errors[2], "ToPath"), folder / "new");
  EXPECT_EQ(textAt(watcher->errors[3], "ToPath"), "(none)");
  watcher->proceeds = true;
  EXPECT_TRUE(manager->removeFileAtPath_handler(folder.string("missing"), watcher));
}

// What cannot be done, and the only thing that is told of it; not that an item is processed, unless it was begun.
TEST_F(FileOperationsTests, EachErrorIsToldAsItIs) {
  std::filesystem::create_directory(folder / "from/a/b");
  const auto copying = &NSFileManager::copyPath_toPath_handler;
  const auto moving = &NSFileManager::movePath_toPath_handler;
  const struct {
    bool (NSFileManager::*operation)(const Ref<NSString>&, const Ref<NSString>&, const Ref<NSObject>&);
    const char* from;
    const char* to;
    const char* error;
    bool isBegun = false;
  } cases[] = {
      {copying, "missing/x", "to", "No such file or directory"},
      {copying, "from/large/x", "to", "Not a directory"},
      {copying, "from", "missing/to", "No such file or directory"},
      {copying, "from", "from/large/to", "Not a directory"},
      {copying, "from", "from/to", "Invalid argument"},
      {copying, "from", "from/a/b/to", "Invalid argument"},
      {copying, "from/a/small", "from/large", "File exists", true},
      {moving, "missing/x", "to", "No such file or directory"},
      {moving, "from/large/x", "to", "Not a directory"},
      {moving, "from", "missing/to", "No such file or directory"},
      {moving, "from", "from/large/to", "Not a directory"},
      {moving, "from", "from/a/b/to", "Invalid argument"},
      {moving, "from/a/small", "from/large", "File exists"},
  };
  for (const auto& [operation, from, to, error, isBegun] : cases) {
    SCOPED_TRACE(testing::Message() << from << " to " << to);
    const Ref<Watcher> one = make<Watcher>();
    EXPECT_FALSE((manager.get()->*operation)(folder.string(from), folder.string(to), one));
    ASSERT_EQ(one->errors.size(), 1U);
    EXPECT_EQ(textAt(one->errors[0], "Error"), error);
    EXPECT_EQ(textAt(one->errors[0], "Path"), folder / from);
    EXPECT_EQ(textAt(one->errors[0], "ToPath"), folder / to);
    EXPECT_EQ(one->paths, isBegun ? Names{folder / from} : Names{});
  }
  const struct {
    const char* path;
    const char* error;
  } removals[] = {{"missing/x", "No such file or directory"}, {"from/large/x", "Not a directory"}};
  for (const auto& [path, error] : removals) {
    const Ref<Watcher> one = make<Watcher>();
    EXPECT_FALSE(manager->removeFileAtPath_handler(folder.string(path), one)) << path;
    ASSERT_EQ(one->errors.size(), 1U) << path;
    EXPECT_EQ(textAt(one->errors[0], "Error"), error);
    EXPECT_EQ(one->paths, Names{});
  }
  EXPECT_EQ(folder.names(), Names{"from"});
}

TEST_F(FileOperationsTests, AnErrorAtTheEndOfAFolderIsToldWithItsPath) {
  std::filesystem::create_directories(folder / "outer/inner");
  const auto copyOuter = [&](const Ref<NSObject>& handler) {
    return manager->copyPath_toPath_handler(folder.string("outer"), folder.string("to"), handler);
  };
  std::vector<int> endings;
  {
    const FaultScript probe({});
    ASSERT_TRUE(copyOuter(watcher));
    for (std::size_t at = 0; at < probe.calls().size(); ++at) {
      if (probe.calls()[at] == "futimens") endings.push_back(static_cast<int>(at));
    }
  }
  std::filesystem::remove_all(folder / "to");
  ASSERT_EQ(endings.size(), 2U);
  const struct {
    int ending;
    const char* inFolder;
  } cases[] = {{endings[0], "/inner"}, {endings[1], ""}};
  for (const auto& [ending, inFolder] : cases) {
    const Ref<Watcher> one = make<Watcher>();
    {
      const FaultScript script({ending, EIO, false});
      EXPECT_FALSE(copyOuter(one));
    }
    ASSERT_EQ(one->errors.size(), 1U);
    EXPECT_EQ(textAt(one->errors[0], "Error"), "Input/output error");
    EXPECT_EQ(textAt(one->errors[0], "Path"), folder / "outer" + inFolder);
    EXPECT_EQ(textAt(one->errors[0], "ToPath"), folder / "to" + inFolder);
    EXPECT_EQ(folder.names(), (Names{"from", "outer"}));
  }
}

TEST_F(FileOperationsTests, AFullDiskIsToldAsSuch) {
  const auto copySmall = [&](const Ref<NSObject>& handler) {
    return manager->copyPath_toPath_handler(folder.string("from/a/small"), folder.string("to"), handler);
  };
  int writing = 0;
  {
    const FaultScript probe({});
    ASSERT_TRUE(copySmall(make<Watcher>()));
    while (probe.calls().at(static_cast<std::size_t>(writing)) != "pwrite") ++writing;
  }
  std::filesystem::remove(folder / "to");
  {
    const FaultScript script({writing, ENOSPC, false});
    EXPECT_FALSE(copySmall(watcher));
  }
  ASSERT_EQ(watcher->errors.size(), 1U);
  EXPECT_EQ(textAt(watcher->errors[0], "Error"), "No space left on device");
  EXPECT_EQ(folder.names(), Names{"from"});
}

// --- What others do meanwhile

TEST_F(FileOperationsTests, WhatOthersRemoveFirstDoesNotEndARemoval) {
  for (const bool removesFolders : {false, true}) {
    for (const char* name : {"tree/a", "tree/b", "tree/c"}) {
      std::filesystem::create_directories(folder / name);
      writeFile(folder / name + "/file", "text");
    }
    for (const char* name : {"tree/1", "tree/2", "tree/3"}) writeFile(folder / name, "text");
    bool isFirst = true;
    watcher->atPath = [&](const std::string& path) {
      if (path == folder / "tree" || std::filesystem::is_directory(path) != removesFolders) return;
      if (std::exchange(isFirst, false)) std::filesystem::remove_all(path);
    };
    EXPECT_TRUE(manager->removeFileAtPath_handler(folder.string("tree"), watcher));
    EXPECT_FALSE(isFirst);
    EXPECT_EQ(folder.names(), Names{"from"});
  }
  writeFile(folder / "file", "text");
  watcher->atPath = [](const std::string& path) { std::filesystem::remove(path); };
  EXPECT_FALSE(manager->removeFileAtPath_handler(folder.string("file"), watcher)) << "the item itself";
  ASSERT_EQ(watcher->errors.size(), 1U);
  EXPECT_EQ(textAt(watcher->errors[0], "Error"), "No such file or directory");
}

TEST_F(FileOperationsTests, ACopyThatIsMovedIntoItsSourceEnds) {
  std::filesystem::create_directory(folder / "from/a/b");
  int told = 0;
  watcher->atPath = [&](const std::string& path) {
    if (++told > 100) throw NSException("Endless", "a copy of the copy");
    if (path == folder / "from/a") std::filesystem::rename(folder / "to", folder / "from/a/b/to");
  };
  EXPECT_FALSE(copy(watcher));
  ASSERT_EQ(watcher->errors.size(), 1U);
  EXPECT_EQ(textAt(watcher->errors[0], "Error"), "Too many levels of symbolic links");
  EXPECT_EQ(textAt(watcher->errors[0], "Path"), folder / "from/a/b/to");
}

TEST_F(FileOperationsTests, AnItemThatBecomesAnotherIsNotTakenForIt) {
  const std::string item = folder / "changing/item";
  const std::function<void()> makeFile = [&] { writeFile(item, "text"); };
  const std::function<void()> makePipe = [&] { ASSERT_EQ(::mkfifo(item.c_str(), 0600), 0); };
  const std::function<void()> makeFolder = [&] { std::filesystem::create_directory(item); };
  const struct {
    const std::function<void()>& first;
    const std::function<void()>& then;
  } cases[] = {{makeFile, makePipe}, {makePipe, makeFile}, {makePipe, makeFolder}};
  for (const auto& [first, then] : cases) {
    std::filesystem::create_directory(folder / "changing");
    first();
    const Ref<Watcher> one = make<Watcher>();
    one->atPath = [&, &change = then](const std::string& path) {
      if (path != item) return;
      std::filesystem::remove(item);
      change();
    };
    EXPECT_FALSE(manager->copyPath_toPath_handler(folder.string("changing"), folder.string("to"), one));
    ASSERT_EQ(one->errors.size(), 1U);
    EXPECT_EQ(textAt(one->errors[0], "Error"), "Stale file handle");
    EXPECT_FALSE(std::filesystem::exists(folder / "to"));
    std::filesystem::remove_all(folder / "changing");
  }
}

TEST_F(FileOperationsTests, AnotherFileInThePlaceOfACopyGetsNoSecondName) {
  std::filesystem::create_directory(folder / "names");
  writeFile(folder / "names/one", "text");
  writeFile(folder / "mine", "mine");
  ASSERT_EQ(::link((folder / "names/one").c_str(), (folder / "names/two").c_str()), 0);
  std::vector<std::string> copied;
  watcher->atPath = [&](const std::string& path) {
    if (path == folder / "names") return;
    copied.push_back(std::filesystem::path(path).filename());
    if (copied.size() == 2) std::filesystem::rename(folder / "mine", folder / "to/" + copied[0]);
  };
  EXPECT_TRUE(manager->copyPath_toPath_handler(folder.string("names"), folder.string("to"), watcher));
  ASSERT_EQ(copied.size(), 2U);
  EXPECT_EQ(contentsOf(folder / "to/" + copied[0]), "mine");
  EXPECT_EQ(contentsOf(folder / "to/" + copied[1]), "text");
}

// --- Going on

TEST_F(FileOperationsTests, ACopyMayGoOnWithoutAnItem) {
  ::chmod((folder / "from/a/small").c_str(), 0);
  ::chmod(folder.path().c_str(), 0777);
  const auto work = [&]() -> int {
    if (copy(watcher) || folder.names().size() != 1) return 1;
    watcher->proceeds = true;
    watcher->errors.clear();
    watcher->lastDone = 0;
    if (!copy(watcher) || watcher->errors.size() != 1) return 2;
    if (textAt(watcher->errors[0], "Error") != "Permission denied") return 6;
    if (textAt(watcher->errors[0], "Path") != folder / "from/a/small") return 3;
    if (textAt(watcher->errors[0], "ToPath") != folder / "to/a/small") return 4;
    const bool isPartial = std::filesystem::exists(folder / "to/large") && std::filesystem::exists(folder / "to/a") &&
                           !std::filesystem::exists(folder / "to/a/small");
    return isPartial ? 0 : 5;
  };
  EXPECT_EQ(asOrdinaryUser(work), 0);
}

TEST_F(FileOperationsTests, ARemovalMayGoOnWithoutAnItem) {
  // Others before and after it, whatever the order of the file system is.
  for (const char* name : {"open", "open/a", "open/b", "open/c", "open/closed", "open/closed/x", "open/d", "open/e"}) {
    std::filesystem::create_directory(folder / name);
    if (::geteuid() == 0) {
      ASSERT_EQ(::chown((folder / name).c_str(), kOrdinaryUser, kOrdinaryUser), 0);
    }
  }
  ::chmod((folder / "open/closed").c_str(), 0500);
  ::chmod(folder.path().c_str(), 0777);
  watcher->proceeds = true;
  const auto work = [&]() -> int {
    if (!manager->removeFileAtPath_handler(folder.string("open"), watcher)) return 1;
    if (watcher->errors.size() != 1) return 2;  // that the folders around it stay is not told once more
    if (!std::filesystem::exists(folder / "open/closed/x")) return 3;
    return namesIn("open") == Names{"closed"} ? 0 : 4;
  };
  EXPECT_EQ(asOrdinaryUser(work), 0);
}

TEST_F(FileOperationsTests, ARemovalGoesOnBesideALockedFolderAndNotInIt) {
  for (const char* name : {"open", "open/locked"}) std::filesystem::create_directory(folder / name);
  for (const char* name : {"open/a", "open/b", "open/locked/file", "open/y", "open/z"})
    writeFile(folder / name, "text");
  if (::setxattr((folder / "open/locked").c_str(), "user.ZtFoundation.locked", "1", 1, 0) != 0) {
    GTEST_SKIP() << "no locks here";
  }
  watcher->proceeds = true;
  EXPECT_TRUE(manager->removeFileAtPath_handler(folder.string("open"), watcher));
  ASSERT_EQ(watcher->errors.size(), 1U);
  EXPECT_EQ(textAt(watcher->errors[0], "Error"), "Operation not permitted");
  EXPECT_EQ(textAt(watcher->errors[0], "Path"), folder / "open/locked");
  EXPECT_EQ(namesIn("open"), Names{"locked"});
  EXPECT_EQ(namesIn("open/locked"), Names{"file"});
}

TEST_F(FileOperationsTests, ARemovalGoesOnBesideAFolderThatCannotBeRead) {
  const auto makeOpen = [&] {
    for (const char* name : {"open/a", "open/b", "open/c"}) std::filesystem::create_directories(folder / name);
  };
  const auto removeOpen = [&] { return manager->removeFileAtPath_handler(folder.string("open"), watcher); };
  std::vector<int> readings;
  makeOpen();
  {
    const FaultScript probe({});
    ASSERT_TRUE(removeOpen());
    for (std::size_t at = 0; at < probe.calls().size(); ++at) {
      if (probe.calls()[at] == "getdents64") readings.push_back(static_cast<int>(at));
    }
  }
  readings.erase(readings.begin(), readings.begin() + 2);  // those of the folder around them
  ASSERT_GE(readings.size(), 3U);
  watcher->proceeds = true;
  for (const int reading : readings) {
    makeOpen();
    watcher->errors.clear();
    {
      const FaultScript script({reading, EIO, false});
      EXPECT_TRUE(removeOpen());
    }
    ASSERT_EQ(watcher->errors.size(), 1U);
    EXPECT_EQ(textAt(watcher->errors[0], "Error"), "Input/output error");
    EXPECT_EQ(namesIn("open"), Names{std::filesystem::path(textAt(watcher->errors[0], "Path")).filename()});
  }
}

TEST_F(FileOperationsTests, AFolderThatMayNotBeReadIsToldBeforeItsError) {
  std::filesystem::create_directories(folder / "closed/x");
  ::chmod((folder / "closed").c_str(), 0);
  ::chmod(folder.path().c_str(), 0777);
  const auto isTold = [&] {
    return watcher->paths == Names{folder / "closed"} && watcher->errors.size() == 1 &&
           textAt(watcher->errors[0], "Error") == "Permission denied" &&
           textAt(watcher->errors[0], "Path") == folder / "closed";
  };
  const auto work = [&]() -> int {
    if (manager->copyPath_toPath_handler(folder.string("closed"), folder.string("to"), watcher) || !isTold()) return 1;
    watcher->paths.clear();
    watcher->errors.clear();
    return manager->removeFileAtPath_handler(folder.string("closed"), watcher) || !isTold() ? 2 : 0;
  };
  EXPECT_EQ(asOrdinaryUser(work), 0);
  ::chmod((folder / "closed").c_str(), 0700);
  EXPECT_EQ(folder.names(), (Names{"closed", "from"}));
}

TEST_F(FileOperationsTests, AMoveToAnotherVolumeRemovesNothingThatItCouldNotCopy) {
  ScopedEnvironment inMemory;
  inMemory.set("TMPDIR", folderInMemory());
  const ScratchFolder other;
  struct stat first {};
  struct stat second {};
  ASSERT_EQ(::stat(folder.path().c_str(), &first) + ::stat(other.path().c_str(), &second), 0);
  if (first.st_dev == second.st_dev) GTEST_SKIP() << "/dev/shm is the same file system";
  for (const std::string& place : {folder.path(), other.path()}) ::chmod(place.c_str(), 0777);
  const auto work = [&]() -> int {
    std::filesystem::create_directory(folder / "own");
    for (const char* name : {"own/open", "own/secret"}) writeFile(folder / name, "text");
    ::chmod((folder / "own/secret").c_str(), 0);
    for (const bool proceeds : {false, true}) {
      watcher->errors.clear();
      watcher->proceeds = proceeds;
      if (manager->movePath_toPath_handler(folder.string("own"), other.string("to"), watcher)) return 1;
      if (watcher->errors.size() != 1) return 2;  // that the whole failed is not told once more
      if (textAt(watcher->errors[0], "Path") != folder / "own/secret") return 3;
      if (namesIn("own") != Names{"open", "secret"}) return 4;
    }
    return 0;
  };
  EXPECT_EQ(asOrdinaryUser(work), 0);
}

TEST_F(FileOperationsTests, ARemovalTellsItsItemsAndEnds) {
  watcher->limit = 2;
  EXPECT_FALSE(manager->removeFileAtPath_handler(folder.string("from"), watcher));
  EXPECT_EQ(watcher->lastDone, 2U);
  EXPECT_TRUE(std::filesystem::exists(folder / "from"));
  const Ref<Watcher> again = make<Watcher>();
  EXPECT_TRUE(manager->removeFileAtPath_handler(folder.string("from"), again));
  EXPECT_EQ(again->lastDone, 3U);
  EXPECT_EQ(again->lastPath, folder / "from");
  Names all = watcher->paths;
  all.insert(again->paths.begin(), again->paths.end());
  EXPECT_EQ(all, (Names{folder / "from", folder / "from/a", folder / "from/a/small", folder / "from/large",
                        folder / "from/pipe"}));
}

TEST_F(FileOperationsTests, AMoveIsTold) {
  EXPECT_TRUE(manager->movePath_toPath_handler(folder.string("from"), folder.string("to"), watcher));
  EXPECT_EQ(watcher->paths, Names{folder / "from"});
  EXPECT_EQ(folder.names(), Names{"to"});
}

TEST_F(FileOperationsTests, LinkingMakesFoldersWithTheSameFiles) {
  EXPECT_TRUE(manager->linkPath_toPath_handler(folder.string("from"), folder.string("to"), nullptr));
  EXPECT_EQ(std::filesystem::hard_link_count(folder / "to/a/small"), 2U);
  EXPECT_TRUE(std::filesystem::equivalent(folder / "from/large", folder / "to/large"));
  EXPECT_TRUE(manager->linkPath_toPath_handler(folder.string("from/large"), folder.string("large"), nullptr));
  EXPECT_EQ(std::filesystem::hard_link_count(folder / "large"), 3U);
  EXPECT_FALSE(manager->linkPath_toPath_handler(folder.string("from/large"), folder.string("large"), nullptr));
}

TEST_F(FileOperationsTests, TheMessagesOfTheManagerReachThem) {
  EXPECT_TRUE(send<bool>(manager, ZT_SELECTOR("copyPath:toPath:handler:"), folder.string("from"), folder.string("b"),
                         Ref<NSObject>()));
  EXPECT_TRUE(send<bool>(manager, ZT_SELECTOR("linkPath:toPath:handler:"), folder.string("b"), folder.string("c"),
                         Ref<NSObject>()));
  EXPECT_TRUE(send<bool>(manager, ZT_SELECTOR("movePath:toPath:handler:"), folder.string("c"), folder.string("d"),
                         Ref<NSObject>()));
  EXPECT_TRUE(send<bool>(manager, ZT_SELECTOR("removeFileAtPath:handler:"), folder.string("b"), Ref<NSObject>()));
  EXPECT_EQ(send<Ref<NSArray>>(manager, ZT_SELECTOR("directoryContentsAtPath:"), folder.string(""))->count(), 2U);
  EXPECT_EQ(folder.names(), (Names{"d", "from"}));
}

TEST_F(FileOperationsTests, AFolderListsWhatIsInIt) {
  writeFile(folder / "from/\xFF", "");
  std::filesystem::create_symlink("from", folder / "link");
  Names names;
  const Ref<NSArray> listed = manager->directoryContentsAtPath(folder.string("link"));
  for (const auto& name : each<NSString>(listed)) names.insert(name->fileSystemRepresentation());
  EXPECT_EQ(names, (Names{"\xFF", "a", "large", "pipe"}));
  EXPECT_FALSE(manager->directoryContentsAtPath(folder.string("from/large")));
  EXPECT_FALSE(manager->directoryContentsAtPath(folder.string("missing")));
  EXPECT_FALSE(manager->directoryContentsAtPath(nullptr));
}

}  // namespace
}  // namespace ZtFoundation::test
