// Copies, moves and removals while system calls fail and processes are killed: the source is unharmed or moved as a
// whole, and there is no part of a copy.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/Values.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <span>

#include "platform/linux/SystemCallFaults.h"
#include "support/ChildProcess.h"
#include "support/ExtendedAttribute.h"
#include "support/FileTree.h"
#include "support/PrivateMounts.h"
#include "support/QuickFolder.h"
#include "support/QuietStandardError.h"
#include "support/Sanitizers.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"
#include "support/Storm.h"

namespace ZtFoundation::test {

/// Counts what it is told, and goes on after errors if it is to.
class Onlooker : public NSObject {
  ZT_OBJECT(Onlooker, NSObject)
 public:
  bool afterBytes(const Ref<NSFileManager>&, std::uint64_t done, std::uint64_t, const Ref<NSString>&) {
    bytes = done;
    return true;
  }
  bool afterItems(const Ref<NSFileManager>&, std::uint64_t, const Ref<NSString>&) { return true; }
  bool shouldProceed(const Ref<NSFileManager>&, const Ref<NSDictionary>& error) {
    failed.push_back(valueAt<NSString>(error, "Path")->utf8());
    return proceeds;
  }

  std::uint64_t bytes = 0;
  std::vector<std::string> failed;
  bool proceeds = false;
};

ZT_IMPLEMENT_CLASS(Onlooker, ZT_METHOD("fileManager:shouldProceedAfterError:", &Onlooker::shouldProceed),
                   ZT_METHOD("fileManager:shouldContinueAfterCopyingBytes:ofTotal:atPath:", &Onlooker::afterBytes),
                   ZT_METHOD("fileManager:shouldContinueAfterRemovingItems:atPath:", &Onlooker::afterItems));

namespace {

constexpr int kErrors[] = {EIO, ENOSPC, EACCES, EPERM, ENOTSUP, EINVAL, EMFILE, EDQUOT, EINTR, ENOMEM, ENOSYS};
// For what is tried with all of them without a handler.
constexpr int kFewErrors[] = {EIO, EACCES, EINTR};

Ref<NSString> stringOf(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }

bool watchedCopy(const std::string& from, const std::string& to, const Ref<NSObject>& handler) {
  return NSFileManager::defaultManager()->copyPath_toPath_handler(stringOf(from), stringOf(to), handler);
}
bool watchedMove(const std::string& from, const std::string& to, const Ref<NSObject>& handler) {
  return NSFileManager::defaultManager()->movePath_toPath_handler(stringOf(from), stringOf(to), handler);
}
bool watchedRemoval(const std::string& path, const Ref<NSObject>& handler) {
  return NSFileManager::defaultManager()->removeFileAtPath_handler(stringOf(path), handler);
}
bool copy(const std::string& from, const std::string& to) { return watchedCopy(from, to, nullptr); }
bool move(const std::string& from, const std::string& to) { return watchedMove(from, to, nullptr); }
bool removeItem(const std::string& path) { return watchedRemoval(path, nullptr); }

bool exists(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

// Quicker than contentsOf, for there is much to read.
std::string readWhole(const std::string& path, off_t size) {
  std::string contents(static_cast<std::size_t>(size), '\0');
  const int file = ::open(path.c_str(), O_RDONLY);
  EXPECT_EQ(::read(file, contents.data(), contents.size()), static_cast<ssize_t>(size));
  ::close(file);
  return contents;
}

// Whether permissions, times and attributes are looked at, too.
enum class Looking { AtContents, AtAll };

std::string describe(const std::string& path, Looking looking) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  std::string text = std::to_string(status.st_mode & S_IFMT);
  if (S_ISREG(status.st_mode)) text += readWhole(path, status.st_size);
  if (S_ISLNK(status.st_mode)) text += std::filesystem::read_symlink(path);
  if (looking == Looking::AtContents) return text;
  text += " " + std::to_string(status.st_mode) + " " + std::to_string(status.st_mtim.tv_sec) + "." +
          std::to_string(status.st_mtim.tv_nsec);
  char value[16];
  const ssize_t size = ::lgetxattr(path.c_str(), "user.zt.note", value, sizeof value);
  return size < 0 ? text : text.append(value, static_cast<std::size_t>(size));
}

// What is at a path, and in it.
std::map<std::string, std::string> snapshot(const std::string& root, Looking looking = Looking::AtAll) {
  std::map<std::string, std::string> all;
  if (!exists(root)) return all;
  all[""] = describe(root, looking);
  if (!std::filesystem::is_directory(std::filesystem::symlink_status(root))) return all;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    all[entry.path().string().substr(root.size())] = describe(entry.path(), looking);
  }
  return all;
}

// Bytes of the files below a path.
std::uint64_t sizeOfTree(const std::string& root) {
  std::uint64_t size = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.is_regular_file() && !entry.is_symlink()) size += entry.file_size();
  }
  return size;
}

// Whether the item is the one at `path`, or in it.
bool isAtOrIn(const std::string& path, const std::string& item) { return item == path || item.starts_with(path + "/"); }

// With an attribute where there are any.
void makeTree(const std::string& root) {
  std::filesystem::create_directories(root + "/folder/inner");
  writeFile(root + "/empty", "");
  writeFile(root + "/small", "small");
  writeFile(root + "/folder/large", std::string(300000, 'x'));
  writeFile(root + "/folder/inner/noted", "noted");
  ::setxattr((root + "/folder/inner/noted").c_str(), "user.zt.note", "kept", 4, 0);
  writeFile(root + "/holes", "begin");
  std::filesystem::resize_file(root + "/holes", 1 << 17);
  EXPECT_EQ(::link((root + "/small").c_str(), (root + "/folder/second name").c_str()), 0);
  std::filesystem::create_symlink("small", root + "/link");
  EXPECT_EQ(::mkfifo((root + "/pipe").c_str(), 0600), 0);
  ::chmod((root + "/small").c_str(), 0640);
  ::chmod((root + "/folder/inner").c_str(), 0711);
  const timespec times[2] = {{1000000000, 1}, {900000000, 2}};
  for (const char* item : {"/small", "/link", "/pipe", "/folder/inner", "/folder"}) {
    EXPECT_EQ(::utimensat(AT_FDCWD, (root + item).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
  }
}

class FileOperationFaultTests : public testing::Test {
 protected:
  FileOperationFaultTests() {
    quick_.set("TMPDIR", quickFolder());
    ::umask(022);
  }

  // Runs `work` with one fault after another until there are no more calls to fail; `check` gets its answer and the
  // fault.
  template <class Prepare, class Work, class Check>
  void failEachCall(const char* operation, const char* outcome, Prepare prepare, Work work, Check check,
                    std::span<const int> errors = kErrors) {
    int points = 0;
    for (const int error : errors) {
      for (int at = 0;; ++at) {
        prepare();
        const std::size_t files = openDescriptors();
        bool success;
        std::string faulted;
        {
          FaultScript script({at, error, false});
          success = work();
          faulted = script.faulted();
        }
        SCOPED_TRACE(testing::Message() << "call " << at << " (" << faulted << "): " << std::strerror(error));
        EXPECT_EQ(openDescriptors(), files);
        check(success, error);
        if (HasFailure()) return;
        if (faulted.empty()) {
          EXPECT_TRUE(success);
          EXPECT_GT(at, 20) << "the calls did not come by here";
          points += at;
          break;
        }
      }
    }
    report("failing call", operation, points, outcome);
  }

 private:
  ScopedEnvironment quick_;
};

// Where among the calls of `work`, which succeeds, those of the function `name` come.
template <class Work>
std::vector<int> callsOf(const std::string& name, Work work) {
  const FaultScript script({});
  EXPECT_TRUE(work());
  std::vector<int> found;
  for (std::size_t at = 0; at < script.calls().size(); ++at) {
    if (script.calls()[at] == name) found.push_back(static_cast<int>(at));
  }
  return found;
}

// Errors for which what belongs to an item may be left out.
bool isRefusal(int error) {
  return error == EACCES || error == EPERM || error == ENOTSUP || error == EINVAL || error == ENOSYS;
}

// Errors that a large attribute may meet while the device has room, too.
bool mayLeaveOut(int error) { return isRefusal(error) || error == ENOSPC; }

class CopyFaultTests : public FileOperationFaultTests {
 protected:
  CopyFaultTests() {
    makeTree(from);
    before = snapshot(from);
    contents = snapshot(from, Looking::AtContents);
  }

  void prepare() {
    std::filesystem::remove_all(to);
    onlooker = make<Onlooker>();
  }

  void checkCopy(bool success, int error) {
    EXPECT_TRUE(snapshot(from) == before);
    if (success) {
      EXPECT_TRUE(mayLeaveOut(error) ? snapshot(to, Looking::AtContents) == contents : snapshot(to) == before);
    }
    EXPECT_EQ(folder.names().size(), success ? 2U : 1U);
    EXPECT_TRUE(success || copy(from, to)) << "again";
  }

  ScratchFolder folder;
  const std::string from = folder / "from";
  const std::string to = folder / "to";
  std::map<std::string, std::string> before;
  std::map<std::string, std::string> contents;
  Ref<Onlooker> onlooker;
};

TEST_F(CopyFaultTests, ACopyIsWholeOrNotThereAndItsSourceUnharmed) {
  failEachCall(
      "copy of a folder", "all of it or nothing, source whole", [&] { prepare(); }, [&] { return copy(from, to); },
      [&](bool success, int error) { checkCopy(success, error); });
}

// What cannot be measured beforehand is copied nevertheless.
TEST_F(CopyFaultTests, SoIsACopyWhoseBytesAreCounted) {
  const auto check = [&](bool success, int error) {
    checkCopy(success, error);
    EXPECT_TRUE(!success || onlooker->bytes == sizeOfTree(from)) << onlooker->bytes;
  };
  failEachCall(
      "copy of a folder with a handler", "all of it or nothing, source whole", [&] { prepare(); },
      [&] { return watchedCopy(from, to, onlooker); }, check, kFewErrors);
}

TEST_F(CopyFaultTests, ACopyThatGoesOnAfterAnErrorLacksWhatIsTold) {
  const auto isTold = [&](const std::string& item) {
    return std::ranges::any_of(onlooker->failed, [&](const auto& path) { return isAtOrIn(path, from + item); });
  };
  int incomplete = 0;
  const auto check = [&](bool success, int) {
    incomplete += success && !onlooker->failed.empty() ? 1 : 0;
    EXPECT_TRUE(snapshot(from) == before);
    const auto made = snapshot(to, Looking::AtContents);
    EXPECT_TRUE(success || made.empty());
    for (const auto& [item, text] : contents) {
      EXPECT_TRUE(!success || (made.contains(item) ? made.at(item) == text : isTold(item))) << item;
    }
    EXPECT_TRUE(std::ranges::all_of(made, [&](const auto& item) { return contents.contains(item.first); }));
  };
  const auto prepareToGoOn = [&] {
    prepare();
    onlooker->proceeds = true;
  };
  failEachCall(
      "copy of a folder that goes on after an error", "what is told is missing, all else is whole", prepareToGoOn,
      [&] { return watchedCopy(from, to, onlooker); }, check, kFewErrors);
  EXPECT_GT(incomplete, 20);
}

TEST_F(FileOperationFaultTests, ANewFileIsWholeOrAFailure) {
  ScratchFolder folder;
  const Ref<NSData> contents = NSData::dataWithBytes("some contents");
  const auto create = [&] {
    return NSFileManager::defaultManager()->createFileAtPath_contents_attributes(folder.string("file"), contents,
                                                                                 nullptr);
  };
  const auto calls = [&] {
    const FaultScript script({});
    EXPECT_TRUE(create());
    return script.calls();
  }();
  ASSERT_EQ(calls.back(), "close");
  int points = 0;
  for (const int error : kErrors) {
    for (std::size_t at = 0; at < calls.size(); ++at, ++points) {
      std::filesystem::remove(folder / "file");
      const std::size_t files = openDescriptors();
      bool success;
      {
        const FaultScript script({static_cast<int>(at), error, false});
        success = create();
      }
      SCOPED_TRACE(testing::Message() << "call " << at << " (" << calls[at] << "): " << std::strerror(error));
      EXPECT_EQ(openDescriptors(), files);
      EXPECT_TRUE(!success || contentsOf(folder / "file") == "some contents");
      if (calls[at] == "write" || at + 1 == calls.size()) {
        EXPECT_EQ(success, error == EINTR);
      }
      EXPECT_TRUE(create()) << "again";
      EXPECT_EQ(contentsOf(folder / "file"), "some contents");
    }
  }
  report("failing call", "creation of a file", points, "whole, or a failure");
}

TEST_F(FileOperationFaultTests, ShortWritesAreContinued) {
  ScratchFolder folder;
  makeTree(folder / "from");
  int writes = 0;
  for (int at = 0;; ++at) {
    std::filesystem::remove_all(folder / "to");
    FaultScript script({at, 0, true});
    EXPECT_TRUE(copy(folder / "from", folder / "to"));
    if (!script.wasReached()) break;
    if (script.faulted() != "pwrite") continue;
    ++writes;
    EXPECT_EQ(snapshot(folder / "to"), snapshot(folder / "from"));
  }
  if (writes == 0) GTEST_SKIP() << "the file system shares the contents of copies; nothing is written";
}

// Some file systems take only small blocks for the names; a folder that has been removed meanwhile has none.
TEST_F(FileOperationFaultTests, TheNamesInAFolderAreReadWholeOrNotAtAll) {
  ScratchFolder folder;
  writeFile(folder / "a", "");
  writeFile(folder / "b", "");
  const auto list = [&] { return NSFileManager::defaultManager()->directoryContentsAtPath(folder.string("")); };
  FaultScript probe({});
  ASSERT_EQ(list()->count(), 2U);
  const auto read = static_cast<int>(std::ranges::find(probe.calls(), "getdents64") - probe.calls().begin());
  for (const auto& [error, names] : {std::pair(EINVAL, 2), {EINTR, 2}, {ENOENT, 0}, {EIO, -1}}) {
    FaultScript script({read, error, false});
    const Ref<NSArray> found = list();
    EXPECT_EQ(script.faulted(), "getdents64");
    EXPECT_EQ(found ? static_cast<int>(found->count()) : -1, names) << std::strerror(error);
  }
}

class RemovalFaultTests : public FileOperationFaultTests {
 protected:
  RemovalFaultTests() {
    makeTree(folder / "kept");
    kept = snapshot(folder / "kept");
  }

  void prepare() {
    std::filesystem::remove_all(tree);
    makeTree(tree);
    std::filesystem::create_symlink(folder / "kept", tree + "/to kept");
    onlooker = make<Onlooker>();
    onlooker->proceeds = true;
  }

  void checkRepetition() {
    EXPECT_TRUE(!exists(tree) || removeItem(tree));
    EXPECT_TRUE(snapshot(folder / "kept") == kept);
  }

  ScratchFolder folder;
  const std::string tree = folder / "tree";
  std::map<std::string, std::string> kept;
  Ref<Onlooker> onlooker;
};

TEST_F(RemovalFaultTests, ARemovalThatFailsCanBeMadeAgain) {
  const auto check = [&](bool success, int) {
    EXPECT_EQ(exists(tree), !success);
    checkRepetition();
  };
  failEachCall(
      "removal of a folder", "can be made again, touches nothing else", [&] { prepare(); },
      [&] { return removeItem(tree); }, check);
}

TEST_F(RemovalFaultTests, ARemovalThatGoesOnAfterAnErrorLeavesWhatIsTold) {
  const auto isTold = [&](const std::string& item) {
    return std::ranges::any_of(onlooker->failed,
                               [&](const auto& path) { return isAtOrIn(path, item) || isAtOrIn(item, path); });
  };
  int incomplete = 0;
  const auto check = [&](bool success, int) {
    incomplete += success && !onlooker->failed.empty() ? 1 : 0;
    EXPECT_TRUE(success || exists(tree));
    for (const auto& [item, text] : snapshot(tree, Looking::AtContents)) {
      EXPECT_TRUE(!success || isTold(tree + item)) << item;
    }
    checkRepetition();
  };
  failEachCall(
      "removal of a folder that goes on after an error", "what is told is left, touches nothing else",
      [&] { prepare(); }, [&] { return watchedRemoval(tree, onlooker); }, check, kFewErrors);
  EXPECT_GT(incomplete, 20);
}

TEST_F(FileOperationFaultTests, FoldersAreMadeFromTheFirstOn) {
  ScratchFolder folder;
  int points = 0;
  const auto create = [&] {
    return QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(NSFileManager::defaultManager(),
                                                                                folder.string("a/b/c"), nullptr, true);
  };
  for (const int error : kErrors) {
    bool isReached = true;
    for (int at = 0; isReached; ++at, ++points) {
      std::filesystem::remove_all(folder / "a");
      const std::size_t files = openDescriptors();
      bool success;
      std::string faulted;
      {
        FaultScript script({at, error, false});
        success = create();
        faulted = script.faulted();
        isReached = script.wasReached();
      }
      SCOPED_TRACE(testing::Message() << faulted << ": " << std::strerror(error));
      EXPECT_EQ(openDescriptors(), files);
      EXPECT_EQ(exists(folder / "a/b/c"), success);
      EXPECT_TRUE(faulted != "mkdir" || !success);
      EXPECT_TRUE(create()) << "goes on where it ended";
    }
  }
  EXPECT_GT(points, 100);
  report("failing call", "creation of folders", points, "all, or a failure that can be made good");
}

TEST_F(FileOperationFaultTests, AnItemIsLockedOrNotAsTheAnswerSays) {
  if (!takesAttributes(quickFolder())) GTEST_SKIP() << kNoAttributes;
  // The others say that there is no lock.
  constexpr int kFailures[] = {EIO, ENOSPC, EMFILE, EDQUOT, ENOMEM, EINVAL};
  const QuietStandardError quiet;
  ScratchFolder folder;
  int points = 0;
  const Ref<NSString> file = folder.string("file");
  writeFile(folder / "file", "text");
  const auto manager = NSFileManager::defaultManager();
  const auto change = [&](bool locks) {
    return locks ? QvFoundationExtensions::lockFileAtPath(manager, file)
                 : QvFoundationExtensions::unlockFileAtPath(manager, file);
  };
  const auto isLocked = [&] { return QvFoundationExtensions::isFileLockedAtPath(manager, file); };
  const int firstQuestion = [&] {
    FaultScript script({});
    isLocked();
    const auto& calls = script.calls();
    return static_cast<int>(std::find(calls.begin(), calls.end(), "getxattr") - calls.begin());
  }();
  for (const bool locks : {true, false}) {
    for (const int error : kFailures) {
      bool isReached = true;
      for (int at = 0; isReached; ++at, ++points) {
        change(!locks);
        const std::size_t files = openDescriptors();
        bool success;
        {
          FaultScript script({at, error, false});
          success = change(locks);
          isReached = script.wasReached();
        }
        EXPECT_EQ(openDescriptors(), files) << at;
        // An item whose first question fails counts as one that is locked already.
        if (success && !(locks && at <= firstQuestion)) {
          EXPECT_EQ(isLocked(), locks) << at;
        }
        EXPECT_TRUE(change(locks)) << at;
        EXPECT_EQ(isLocked(), locks) << at << " again";
      }
    }
  }
  change(false);
  report("failing call", "lock and unlock", points, "as the answer says");
}

TEST_F(FileOperationFaultTests, AnotherItemThatGetsThePathIsNotLocked) {
  ScratchFolder folder;
  for (const char* name : {"item", "victim"}) {
    std::filesystem::create_directory(folder / name);
    writeFile(folder / name + "/file", "text");
  }
  const auto replace = [&] {
    std::filesystem::rename(folder / "item", folder / "away");
    std::filesystem::create_symlink("victim", folder / "item");
  };
  FaultScript script({});
  script.before("openat", [&] { script.before("openat", replace); });  // after the question for the lock
  JxFileCatalogInformation::setFinderLock(folder.string("item/file"), true);
  ASSERT_TRUE(exists(folder / "away")) << "the calls did not come by here";
  EXPECT_FALSE(JxFileCatalogInformation::isLockedByFinder(folder.string("victim/file")));
}

TEST_F(FileOperationFaultTests, ALockHoldsThoughTheQuestionForItFails) {
  if (!takesAttributes(quickFolder())) GTEST_SKIP() << kNoAttributes;
  ScratchFolder folder;
  const auto prepare = [&] {
    for (const char* path : {"tree", "tree/locked"}) {
      ::removexattr((folder / path).c_str(), "user.ZtFoundation.locked");
    }
    std::filesystem::remove_all(folder / "tree");
    std::filesystem::create_directories(folder / "tree/locked");
    writeFile(folder / "tree/file", "text");
    writeFile(folder / "tree/locked/file", "text");
    for (const char* path : {"tree/file", "tree/locked"}) {
      EXPECT_EQ(::setxattr((folder / path).c_str(), "user.ZtFoundation.locked", "1", 1, 0), 0);
    }
  };
  for (const int error : {EIO, EMFILE, ENOMEM, EINTR, ENOSYS}) {
    for (const char* path : {"tree", "tree/file", "tree/locked", "tree/locked/file"}) {
      for (int at = 0;; ++at) {
        prepare();
        bool isRemoved;
        std::string faulted;
        {
          const FaultScript script({at, error, false});
          isRemoved = removeItem(folder / path);
          faulted = script.faulted();
        }
        EXPECT_FALSE(isRemoved);
        SCOPED_TRACE(testing::Message() << path << " " << at << " (" << faulted << "): " << std::strerror(error));
        EXPECT_TRUE(exists(folder / "tree/file"));
        EXPECT_TRUE(exists(folder / "tree/locked/file"));
        if (HasFailure()) return;
        if (faulted.empty()) break;
      }
    }
  }
}

class MoveFaultTests : public FileOperationFaultTests {
 protected:
  void SetUp() override {
    if (folderInMemory() != "/dev/shm") GTEST_SKIP() << "no folder in memory";
    ScopedEnvironment where;
    where.set("TMPDIR", "/dev/shm");
    here.emplace();
    where.set("TMPDIR", "/tmp");
    there.emplace();
    struct stat first {};
    struct stat second {};
    ASSERT_EQ(::stat(here->path().c_str(), &first) + ::stat(there->path().c_str(), &second), 0);
    if (first.st_dev == second.st_dev) GTEST_SKIP() << "/tmp and /dev/shm are the same file system";
    from = *here / "from";
    to = *there / "to";
    makeSource(*here / "model");
    whole = snapshot(*here / "model", Looking::AtContents);
  }

  static void makeSource(const std::string& root) {
    std::filesystem::create_directories(root + "/folder");
    writeFile(root + "/folder/file", "text");
    writeFile(root + "/other", "other");
  }

  void prepare() {
    std::filesystem::remove_all(from);
    std::filesystem::remove_all(to);
    makeSource(from);
  }

  // What has arrived as a whole need not be moved again.
  void check(bool success) {
    const bool isSourceWhole = snapshot(from, Looking::AtContents) == whole;
    const bool isCopyWhole = snapshot(to, Looking::AtContents) == whole;
    EXPECT_TRUE(isCopyWhole || (isSourceWhole && !exists(to)));
    EXPECT_EQ(success, isCopyWhole && !exists(from));
    const FaultScript script({});  // nothing is flushed
    EXPECT_TRUE(isCopyWhole || move(from, to)) << "again";
  }

  std::optional<ScratchFolder> here;
  std::optional<ScratchFolder> there;
  std::string from;
  std::string to;
  std::map<std::string, std::string> whole;
};

TEST_F(MoveFaultTests, AMoveToAnotherVolumeLosesNothing) {
  failEachCall(
      "move to another disk", "source or copy whole", [&] { prepare(); }, [&] { return move(from, to); },
      [&](bool success, int) { check(success); });
  prepare();
  const int flush = callsOf("syncfs", [&] { return move(from, to); }).at(0);
  prepare();
  {
    const FaultScript script({flush, EIO, false});
    EXPECT_FALSE(move(from, to));
  }
  EXPECT_EQ(snapshot(from, Looking::AtContents), whole) << "the copy may not be on its disk";
}

TEST_F(MoveFaultTests, NorDoesOneWithAHandler) {
  failEachCall(
      "move to another disk with a handler", "source or copy whole", [&] { prepare(); },
      [&] { return watchedMove(from, to, make<Onlooker>()); }, [&](bool success, int) { check(success); }, kFewErrors);
}

TEST_F(FileOperationFaultTests, AMoveInsideAVolumeReplacesNothing) {
  ScratchFolder folder;
  for (const bool isFolder : {false, true}) {
    for (const int error : {EINVAL, ENOSYS, ENOTSUP, EIO}) {
      std::filesystem::remove_all(folder / "from");
      std::filesystem::remove_all(folder / "to");
      isFolder ? makeTree(folder / "from") : writeFile(folder / "from", "text");
      const auto before = snapshot(folder / "from");
      int rename = 0;
      {
        FaultScript probe({});
        EXPECT_FALSE(move(folder / "from", folder / "missing/to"));
        ASSERT_TRUE(move(folder / "from", folder / "to"));
        while (probe.calls()[static_cast<std::size_t>(rename)] != "renameat2") ++rename;
      }
      ASSERT_TRUE(move(folder / "to", folder / "from"));
      FaultScript script({rename, error, false});
      EXPECT_FALSE(move(folder / "from", folder / "missing/to"));
      const bool moved = move(folder / "from", folder / "to");
      EXPECT_EQ(script.faulted(), "renameat2");
      EXPECT_EQ(moved, error != EIO) << "a file system without the flag has another way";
      EXPECT_EQ(snapshot(moved ? folder / "to" : folder / "from"), before);
      EXPECT_EQ(folder.names().size(), 1U);
    }
  }
}

TEST_F(FileOperationFaultTests, WithoutTheFlagAMoveReplacesNothingEither) {
  for (const bool isFolder : {false, true}) {
    const auto make = [&](const std::string& path) {
      isFolder ? static_cast<void>(std::filesystem::create_directory(path)) : writeFile(path, "text");
    };
    ScratchFolder folder;
    make(folder / "from");
    const int rename = callsOf("renameat2", [&] { return move(folder / "from", folder / "to"); }).at(0);
    make(folder / "from");
    if (!isFolder) writeFile(folder / "to", "old");
    {
      FaultScript script({rename, EINVAL, false});
      EXPECT_FALSE(move(folder / "from", folder / "to"));
      EXPECT_EQ(script.faulted(), "renameat2");
    }
    EXPECT_EQ(folder.names().size(), 2U);
    EXPECT_TRUE(isFolder || contentsOf(folder / "to") == "old");
    std::filesystem::remove(folder / "to");
    {
      FaultScript script({rename, EINVAL, false});
      script.before("renameat2", [&] { std::filesystem::remove(folder / "from"); });
      EXPECT_FALSE(move(folder / "from", folder / "to"));
    }
    EXPECT_TRUE(folder.names().empty()) << "what kept the name for it is taken away";
  }
}

TEST_F(FileOperationFaultTests, WhatACopyCannotBeGivenIsLeftOut) {
  if (!takesAttributes(quickFolder())) GTEST_SKIP() << kNoAttributes;
  ScratchFolder folder;
  writeFile(folder / "file", "text");
  ::chmod((folder / "file").c_str(), 0640);
  const std::array attributes{"user.zt.note", "user.zt.other"};
  for (const char* name : attributes) ASSERT_EQ(::setxattr((folder / "file").c_str(), name, "kept", 4, 0), 0);
  std::filesystem::create_symlink("file", folder / "link");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  const struct {
    const char* item;
    const char* call;
  } cases[] = {{"file", "fsetxattr"}, {"file", "futimens"}, {"link", "fchownat"}, {"link", "utimensat"},
               {"pipe", "fchownat"},  {"pipe", "fchmodat"}, {"pipe", "utimensat"}};
  int points = 0;
  for (const auto& [item, call] : cases) {
    const int at = callsOf(call, [&, from = folder / item] { return copy(from, folder / "to"); }).at(0);
    std::filesystem::remove(folder / "to");
    for (const int error : kErrors) {
      SCOPED_TRACE(testing::Message() << item << ", " << call << ": " << std::strerror(error));
      bool success;
      {
        const FaultScript script({at, error, false});
        success = copy(folder / item, folder / "to");
        EXPECT_EQ(script.faulted(), call);
      }
      EXPECT_EQ(success, call == std::string("fsetxattr") ? mayLeaveOut(error) : isRefusal(error));
      EXPECT_EQ(exists(folder / "to"), success);
      if (success && item == std::string("file")) {
        const std::ptrdiff_t given = std::ranges::count_if(
            attributes, [&](const char* name) { return attributeOf(folder / "to", name) == "kept"; });
        EXPECT_EQ(given, call == std::string("fsetxattr") ? 1 : 2) << "each is left out for itself";
        EXPECT_EQ(std::filesystem::status(folder / "to").permissions(), std::filesystem::perms(0640));
      }
      std::filesystem::remove(folder / "to");
      ++points;
    }
  }
  report("failing call", "what a copy is given", points, "left out where it is refused, else nothing of the copy");
}

TEST_F(FileOperationFaultTests, AFileSystemNeedNotTellWhatTheItemsAre) {
  if (!takesAttributes(quickFolder())) GTEST_SKIP() << kNoAttributes;
  ScratchFolder folder;
  makeTree(folder / "from");
  const auto before = snapshot(folder / "from");
  ASSERT_EQ(::setxattr((folder / "from/small").c_str(), "user.ZtFoundation.locked", "1", 1, 0), 0);
  {
    FaultScript script({});
    script.hideTypes();
    EXPECT_TRUE(copy(folder / "from", folder / "to"));
    EXPECT_FALSE(removeItem(folder / "to")) << "a lock is seen";
  }
  EXPECT_TRUE(exists(folder / "to/small"));
  std::filesystem::remove_all(folder / "to");
  ASSERT_EQ(::removexattr((folder / "from/small").c_str(), "user.ZtFoundation.locked"), 0);
  FaultScript script({});
  script.hideTypes();
  EXPECT_TRUE(copy(folder / "from", folder / "to"));
  EXPECT_TRUE(snapshot(folder / "to") == before);
  EXPECT_TRUE(removeItem(folder / "to"));
  EXPECT_EQ(folder.names().size(), 1U);
}

TEST_F(FileOperationFaultTests, AKernelNeedNotTellWhereSomethingIsMounted) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  const std::string tree = mounts.folder("tree");
  std::filesystem::create_directories(tree + "/a/b");
  FaultScript script({});
  script.hideMounts();
  const std::string mounted = mounts.memory("tree/mounted");
  writeFile(mounted + "/file", "text");
  EXPECT_FALSE(removeItem(tree));
  EXPECT_TRUE(exists(mounted + "/file"));
  EXPECT_TRUE(copy(tree, mounts.store() + "/copy"));
  EXPECT_EQ(contentsOf(mounts.store() + "/copy/mounted/file"), "text");
  mounts.unmount(mounted);
  EXPECT_TRUE(removeItem(tree));
}

TEST_F(FileOperationFaultTests, WhatMayBeMountedStays) {
  ScratchFolder folder;
  const auto work = [&] { return removeItem(folder / "empty"); };
  std::filesystem::create_directory(folder / "empty");
  const int asking = callsOf("statx", work).back() + 1;  // an older kernel is asked once more
  std::filesystem::create_directory(folder / "empty");
  FaultScript script({asking, EIO, false});
  script.hideMounts();
  EXPECT_FALSE(work());
  EXPECT_EQ(script.faulted(), "statx");
}

TEST_F(FileOperationFaultTests, OnlyWhoMayNotReadAFolderRemovesItUnread) {
  ScratchFolder folder;
  const auto work = [&] { return removeItem(folder / "empty"); };
  std::filesystem::create_directory(folder / "empty");
  const int reading = callsOf("getdents64", work).at(0);
  for (const int error : {EACCES, EIO}) {
    std::filesystem::create_directory(folder / "empty");
    const FaultScript script({reading, error, false});
    EXPECT_EQ(work(), error == EACCES) << std::strerror(error);
    EXPECT_EQ(exists(folder / "empty"), error != EACCES);
  }
}

// Folders far above are closed meanwhile.
class DeepFolderFaultTests : public FileOperationFaultTests {
 protected:
  static constexpr int kDepth = 30;

  void makeDeepTree() {
    std::string path = folder / "tree";
    for (int depth = 0; depth < kDepth; ++depth) path.append("/d");
    std::filesystem::create_directories(path);
  }

  // Calls of a function by which `work` finds its way back from the deepest folder, where its call `deepest` is made.
  template <class Work>
  std::vector<int> waysBack(const char* name, int deepest, Work work) {
    std::vector<int> calls = callsOf(name, work);
    std::erase_if(calls, [deepest](int call) { return call < deepest; });
    return calls;
  }

  ScratchFolder folder;
};

TEST_F(DeepFolderFaultTests, ACopyThatLosesItsWayLeavesNothing) {
  makeDeepTree();
  const auto work = [&] { return copy(folder / "tree", folder / "to"); };
  const int deepest = callsOf("fremovexattr", work).at(kDepth);  // one for each new folder
  std::size_t points = 0;
  for (const char* name : {"openat", "statx"}) {
    std::filesystem::remove_all(folder / "to");
    const auto calls = waysBack(name, deepest, work);
    EXPECT_GT(calls.size(), 8U) << name;
    points += calls.size();
    std::filesystem::remove_all(folder / "to");
    for (const int call : calls) {
      {
        const FaultScript script({call, EIO, false});
        EXPECT_FALSE(work()) << name << " " << call;
      }
      EXPECT_EQ(folder.names().size(), 1U) << name << " " << call;
    }
  }
  report("failing call", "way back in the copy of a deep folder", static_cast<long>(points), "nothing of the copy");
}

TEST_F(DeepFolderFaultTests, ARemovalThatLosesItsWayFails) {
  const auto work = [&] { return removeItem(folder / "tree"); };
  makeDeepTree();
  const int deepest = callsOf("unlinkat", work).at(0);
  std::size_t points = 0;
  for (const char* name : {"openat", "statx"}) {
    makeDeepTree();
    const auto calls = waysBack(name, deepest, work);
    EXPECT_GT(calls.size(), 4U) << name;
    points += calls.size();
    for (const int call : calls) {
      makeDeepTree();
      {
        const FaultScript script({call, EIO, false});
        EXPECT_FALSE(work()) << name << " " << call;
      }
      EXPECT_TRUE(exists(folder / "tree"));
    }
  }
  report("failing call", "way back in the removal of a deep folder", static_cast<long>(points), "a failure");
}

TEST_F(DeepFolderFaultTests, ARemovalDoesNotGoBackToWhereAFolderHasBeenMoved) {
  makeDeepTree();
  std::filesystem::create_directories(folder / "kept/d");
  FaultScript script({});
  script.before("unlinkat", [&] { std::filesystem::rename(folder / "tree/d/d/d", folder / "kept/d/d"); });
  EXPECT_FALSE(removeItem(folder / "tree"));
  EXPECT_TRUE(exists(folder / "kept/d"));
  EXPECT_TRUE(exists(folder / "tree/d/d"));
}

TEST_F(FileOperationFaultTests, AKilledProcessLeavesTheSourceWhole) {
  ScratchFolder folder;
  makeTree(folder / "from");
  for (int i = 0; i < 300; ++i) writeFile(folder / std::to_string(i).insert(0, "from/folder/"), "text");
  const auto before = snapshot(folder / "from");
  std::mt19937 random(20240229);
  constexpr unsigned kMost = kIsSanitized ? 60000 : 6000;  // microseconds
  constexpr int kLeast = 4;
  unsigned most = kMost;  // longer as long as none has begun
  int partial = 0;
  for (int round = 0; round < 60 || partial < kLeast; ++round) {
    const pid_t child = startChild([&]() -> int { return copy(folder / "from", folder / "to") ? 0 : 1; });
    ::usleep(std::uniform_int_distribution<unsigned>(0, most)(random));
    ::kill(child, SIGKILL);
    const int status = statusOfChild(child);
    ASSERT_TRUE(status == 0 || WTERMSIG(status) == SIGKILL) << status;
    ASSERT_EQ(snapshot(folder / "from"), before) << "after round " << round;
    if (status == 0) {
      EXPECT_EQ(snapshot(folder / "to"), before);
    }
    partial += status != 0 && exists(folder / "to") ? 1 : 0;
    most = exists(folder / "to") ? kMost : most + most / 16;
    std::filesystem::remove_all(folder / "to");
  }
}

}  // namespace
}  // namespace ZtFoundation::test
