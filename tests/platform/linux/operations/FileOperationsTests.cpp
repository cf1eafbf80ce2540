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
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

/// Notes what it is told and answers as it is told.
class Watcher : public NSObject {
  ZT_OBJECT(Watcher, NSObject)
 public:
  void willProcess(const Ref<NSFileManager>& manager, const Ref<NSString>& path) {
    EXPECT_TRUE(manager == NSFileManager::defaultManager());
    paths.insert(path->utf8());
    if (throwsAtPaths) throw NSException("Stop", "wanted");
  }
  bool shouldProceed(const Ref<NSFileManager>&, const Ref<NSDictionary>& error) {
    errors.push_back(error);
    return proceeds;
  }
  bool afterBytes(const Ref<NSFileManager>&, std::uint64_t done, std::uint64_t total, const Ref<NSString>& path) {
    EXPECT_LE(lastDone, done);
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

  ScratchFolder folder;
  Ref<NSFileManager> manager = NSFileManager::defaultManager();
  Ref<Watcher> watcher = make<Watcher>();
};

std::string textAt(const Ref<NSDictionary>& dictionary, const char* key) {
  return dictionary->get<std::string>(key).value_or("(none)");
}

TEST_F(FileOperationsTests, ACopyTellsItsItemsAndBytes) {
  EXPECT_TRUE(copy(watcher));
  const Names all{folder / "from", folder / "from/a", folder / "from/a/small", folder / "from/large",
                  folder / "from/pipe"};
  EXPECT_EQ(watcher->paths, all);
  EXPECT_EQ(watcher->lastTotal, (20U << 20) + 5U);
  EXPECT_EQ(watcher->lastDone, watcher->lastTotal);
  EXPECT_GE(watcher->calls, 4) << "within the large file, too";
  EXPECT_TRUE(watcher->errors.empty());
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
  });
  EXPECT_EQ(contentsOf(folder / "to/a/mine/deep/file"), "mine");
  EXPECT_EQ(contentsOf(folder / "to/a/other"), "other");
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
    return HasFailure() || contentsOf(folder / "mine/small") != "mine" ? 1 : 0;
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

TEST_F(FileOperationsTests, ACopyMayGoOnWithoutAnItem) {
  ::chmod((folder / "from/a/small").c_str(), 0);
  ::chmod(folder.path().c_str(), 0777);
  const auto work = [&]() -> int {
    if (copy(watcher) || folder.names().size() != 1) return 1;
    watcher->proceeds = true;
    watcher->errors.clear();
    watcher->lastDone = 0;
    if (!copy(watcher) || watcher->errors.size() != 1) return 2;
    if (textAt(watcher->errors[0], "Path") != folder / "from/a/small") return 3;
    if (textAt(watcher->errors[0], "ToPath") != folder / "to/a/small") return 4;
    const bool isPartial = std::filesystem::exists(folder / "to/large") && std::filesystem::exists(folder / "to/a") &&
                           !std::filesystem::exists(folder / "to/a/small");
    return isPartial ? 0 : 5;
  };
  EXPECT_EQ(asOrdinaryUser(work), 0);
}

TEST_F(FileOperationsTests, ARemovalMayGoOnWithoutAnItem) {
  std::filesystem::create_directories(folder / "open/closed/x");
  std::filesystem::create_directories(folder / "open/other");
  if (::geteuid() == 0) {
    for (const char* name : {"open", "open/closed", "open/closed/x", "open/other"}) {
      ASSERT_EQ(::chown((folder / name).c_str(), kOrdinaryUser, kOrdinaryUser), 0);
    }
  }
  ::chmod((folder / "open/closed").c_str(), 0500);
  ::chmod(folder.path().c_str(), 0777);
  watcher->proceeds = true;
  const auto work = [&]() -> int {
    if (!manager->removeFileAtPath_handler(folder.string("open"), watcher)) return 1;
    if (watcher->errors.size() != 1) return 2;  // that the folders around it stay is not told once more
    return std::filesystem::exists(folder / "open/closed/x") && !std::filesystem::exists(folder / "open/other") ? 0 : 3;
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
