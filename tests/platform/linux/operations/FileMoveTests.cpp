#include <ZtFoundation/Files.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "platform/linux/SystemCallFaults.h"
#include "support/ChildProcess.h"
#include "support/QuickFolder.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Names = std::set<std::string>;

class FileMoveTests : public testing::Test {
 protected:
  FileMoveTests() {
    ::umask(022);
    std::filesystem::create_directories(folder / "folder/inner");
    writeFile(folder / "file", "text");
    std::filesystem::create_symlink("file", folder / "link");
  }

  bool move(const std::string& from, const std::string& to) {
    return NSFileManager::defaultManager()->movePath_toPath_handler(folder.string(from), folder.string(to), nullptr);
  }

  ScratchFolder folder;
};

TEST_F(FileMoveTests, ItemsGetTheirNewPlace) {
  EXPECT_TRUE(move("file", "folder/moved"));
  EXPECT_TRUE(move("link/", "moved link"));
  EXPECT_TRUE(move("folder/", "moved/"));
  EXPECT_EQ(folder.names(), (Names{"moved", "moved link"}));
  EXPECT_EQ(contentsOf(folder / "moved/moved"), "text");
  EXPECT_EQ(std::filesystem::read_symlink(folder / "moved link"), "file") << "the link itself";
}

TEST_F(FileMoveTests, NothingIsReplaced) {
  writeFile(folder / "other", "other");
  std::filesystem::create_directory(folder / "empty");
  for (const char* to : {"other", "link", "empty", "file", "folder/."}) EXPECT_FALSE(move("file", to)) << to;
  for (const char* to : {"other", "empty", "folder", "link"}) EXPECT_FALSE(move("folder", to)) << to;
  EXPECT_EQ(contentsOf(folder / "other"), "other");
  EXPECT_EQ(folder.names(), (Names{"empty", "file", "folder", "link", "other"}));
}

TEST_F(FileMoveTests, WhatCannotBeMovedStays) {
  EXPECT_FALSE(move("missing", "to"));
  EXPECT_FALSE(move("file", "missing/to"));
  EXPECT_FALSE(move("folder", "folder/inner/to")) << "into itself";
  EXPECT_FALSE(move("file", std::string(300, 'n')));
  EXPECT_FALSE(NSFileManager::defaultManager()->movePath_toPath_handler(nullptr, folder.string("to"), nullptr));
  EXPECT_FALSE(NSFileManager::defaultManager()->movePath_toPath_handler(folder.string("file"), nullptr, nullptr));
  ::chmod((folder / "folder").c_str(), 0755);
  ::chmod(folder.path().c_str(), 0755);
  if (::geteuid() == 0) {
    EXPECT_EQ(asOrdinaryUser([&] { return move("file", "to") ? 1 : 0; }), 0);
  }
  EXPECT_EQ(folder.names(), (Names{"file", "folder", "link"}));
  EXPECT_TRUE(std::filesystem::is_empty(folder / "folder/inner"));
}

TEST_F(FileMoveTests, LocksAreHeeded) {
  using JxFileCatalogInformation::setFinderLock;
  writeFile(folder / "folder/inside", "");
  setFinderLock(folder.string("file"), true);
  setFinderLock(folder.string("folder"), true);
  if (!JxFileCatalogInformation::isLockedByFinder(folder.string("file"))) GTEST_SKIP() << "no locks here";
  EXPECT_FALSE(move("file", "to"));
  EXPECT_FALSE(move("folder", "to"));
  EXPECT_FALSE(move("folder/inside", "to")) << "a locked folder loses nothing";
  EXPECT_FALSE(move("link", "folder/to")) << "and gains nothing";
  setFinderLock(folder.string("folder"), false);
  EXPECT_TRUE(move("folder", "to"));
  EXPECT_FALSE(move("file", "to/file"));
}

// --- To another volume, where the item is copied and then removed

// Until the clock by which file systems date their changes goes on.
void waitForTheNextTick() {
  const auto now = [] {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &time);
    return std::pair(time.tv_sec, time.tv_nsec);
  };
  for (const auto before = now(); now() == before;) ::usleep(500);
}

class FileMoveToAnotherVolumeTests : public testing::Test {
 protected:
  void SetUp() override {
    ::umask(022);
    ScopedEnvironment inMemory;
    inMemory.set("TMPDIR", folderInMemory());
    other.emplace();
    struct stat first {};
    struct stat second {};
    ASSERT_EQ(::stat(folder.path().c_str(), &first) + ::stat(other->path().c_str(), &second), 0);
    if (first.st_dev == second.st_dev) GTEST_SKIP() << "/dev/shm is the same file system";
    std::filesystem::create_directories(folder / "place/from/inner");
    for (const char* name : {"from/file", "from/inner/file", "file"}) writeOld(name, "text");
  }

  std::string operator/(const std::string& name) const { return folder / "place/" + name; }

  // Of a time long past, so that each change shows.
  void writeOld(const std::string& name, const std::string& contents) {
    writeFile(*this / name, contents);
    const timespec times[2] = {{1000000000, 1}, {900000000, 2}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (*this / name).c_str(), times, 0), 0);
  }

  // `meanwhile` happens when the copy is complete.
  bool move(const std::string& name, const std::function<void()>& meanwhile) {
    bool isDone = false;
    FaultScript script({});
    script.before("syncfs", [&] {
      meanwhile();
      isDone = true;
    });
    const bool result = NSFileManager::defaultManager()->movePath_toPath_handler(folder.string("place/" + name),
                                                                                 other->string("to"), nullptr);
    EXPECT_TRUE(isDone);
    return result;
  }

  ScratchFolder folder;
  std::optional<ScratchFolder> other;
};

TEST_F(FileMoveToAnotherVolumeTests, WhatIsNewInTheSourceStays) {
  EXPECT_FALSE(move("from", [&] { writeFile(*this / "from/inner/new", "new"); }));
  EXPECT_EQ(contentsOf(*this / "from/inner/new"), "new");
  EXPECT_EQ(contentsOf(*other / "to/inner/file"), "text") << "the copy is whole";
  std::filesystem::remove_all(*other / "to");
  EXPECT_FALSE(move("from", [&] { std::filesystem::create_directory(*this / "from/inner/empty"); }));
  EXPECT_TRUE(std::filesystem::exists(*this / "from/inner/empty"));
}

TEST_F(FileMoveToAnotherVolumeTests, WhatIsChangedInTheSourceStays) {
  const auto saveAsEditorsDo = [&](const std::string& name) {
    writeFile(*this / "saved", "newer");
    std::filesystem::rename(*this / "saved", *this / name);
  };
  const struct {
    const char* what;
    std::function<void(const std::string&)> change;
  } cases[] = {
      {"longer", [&](const std::string& name) { writeOld(name, "longer"); }},
      {"later", [&](const std::string& name) { writeFile(*this / name, "new!"); }},
      {"another file", saveAsEditorsDo},
      {"with the old time",
       [&](const std::string& name) {
         waitForTheNextTick();
         writeOld(name, "new!");
       }},
  };
  for (const auto& one : cases) {
    for (const char* item : {"file", "from"}) {
      SCOPED_TRACE(testing::Message() << item << ", " << one.what);
      const std::string changed = item == std::string("file") ? "file" : "from/inner/file";
      std::filesystem::create_directories(*this / "from/inner");
      writeOld(changed, "text");
      std::optional<std::string> contents;
      EXPECT_FALSE(move(item, [&] {
        one.change(changed);
        contents = contentsOf(*this / changed);
      }));
      EXPECT_EQ(contentsOf(*this / changed), contents);
      EXPECT_EQ(contentsOf(*other / (item == changed ? "to" : "to/inner/file")), "text") << "the copy stays";
      std::filesystem::remove_all(*other / "to");
    }
  }
}

TEST_F(FileMoveToAnotherVolumeTests, ALaterChangeOfOneOfSeveralNamesShows) {
  ASSERT_EQ(::link((*this / "file").c_str(), (*this / "name").c_str()), 0);
  EXPECT_FALSE(move("file", [&] { writeFile(*this / "name", "new!"); }));
  EXPECT_EQ(contentsOf(*this / "file"), "new!");
}

TEST_F(FileMoveToAnotherVolumeTests, AllNamesOfAFileGo) {
  for (const char* name : {"from/second", "from/inner/third"}) {
    ASSERT_EQ(::link((*this / "from/file").c_str(), (*this / name).c_str()), 0);
  }
  std::filesystem::create_symlink("nowhere", *this / "from/link");
  ASSERT_EQ(::mkfifo((*this / "from/pipe").c_str(), 0600), 0);
  EXPECT_TRUE(move("from", [] {}));
  EXPECT_FALSE(std::filesystem::exists(*this / "from"));
  EXPECT_EQ(std::filesystem::hard_link_count(*other / "to/second"), 3U);
}

TEST_F(FileMoveToAnotherVolumeTests, WhatOthersRemoveFirstDoesNotEndTheMove) {
  EXPECT_TRUE(move("from", [&] { std::filesystem::remove(*this / "from/inner/file"); }));
  EXPECT_FALSE(std::filesystem::exists(*this / "from"));
}

TEST_F(FileMoveToAnotherVolumeTests, TheSourceIsFoundAlthoughAFolderAboveIsRenamed) {
  EXPECT_TRUE(move("from", [&] {
    std::filesystem::rename(folder / "place", folder / "renamed");
    std::filesystem::create_directories(folder / "place/from/inner");
    for (const char* name : {"from/file", "from/inner/file"}) writeOld(name, "text");
  }));
  EXPECT_FALSE(std::filesystem::exists(folder / "renamed/from"));
  EXPECT_EQ(contentsOf(*this / "from/inner/file"), "text");
}

TEST_F(FileMoveToAnotherVolumeTests, AFolderThatCannotBeFlushedGetsNothing) {
  ::chmod(other->path().c_str(), 0777);
  ::chmod(folder.path().c_str(), 0777);
  const auto work = [&]() -> int {
    std::filesystem::create_directory(folder / "own");
    writeFile(folder / "own/file", "text");
    ::mkdir((*other / "drop").c_str(), 0300);
    const bool isMoved = NSFileManager::defaultManager()->movePath_toPath_handler(folder.string("own/file"),
                                                                                  other->string("drop/to"), nullptr);
    return !isMoved && ::access((*other / "drop/to").c_str(), F_OK) != 0 ? 0 : 1;
  };
  EXPECT_EQ(asOrdinaryUser(work), 0);
  EXPECT_EQ(contentsOf(folder / "own/file"), "text");
}

}  // namespace
}  // namespace ZtFoundation::test
