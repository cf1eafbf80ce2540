// A save while system calls fail, processes are killed, and others save too: the file is the old one or the new one.

#include <ZtFoundation/platform/Data.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>

#include "platform/linux/SystemCallFaults.h"
#include "support/AccessList.h"
#include "support/ChildProcess.h"
#include "support/ExtendedAttribute.h"
#include "support/FileTree.h"
#include "support/QuickFolder.h"
#include "support/Sanitizers.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"
#include "support/Storm.h"

namespace ZtFoundation::test {
namespace {

using Names = std::set<std::string>;

bool save(const std::string& path, const std::string& contents) {
  return NSData::dataWithBytes(contents)->writeToFile_atomically(NSString::stringWithFileSystemRepresentation(path),
                                                                 true);
}

unsigned modeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  return status.st_mode & 07777U;
}

// --- Failing system calls

struct Situation {
  const char* name;
  bool hasFile;
  bool isLink;
};

constexpr Situation kSituations[] = {{"new file", false, false},
                                     {"existing file", true, false},
                                     {"link to a file", true, true},
                                     {"link to nowhere", false, true}};

class Scene {
 public:
  explicit Scene(const Situation& situation) : situation_(situation) {
    if (situation.isLink) std::filesystem::create_symlink("settings", folder_ / "link");
    if (!situation.hasFile) return;
    writeFile(file(), "old contents");
    ::chmod(file().c_str(), 0640);
    ::setxattr(file().c_str(), "user.zt.kept", "1", 1, 0);
  }

  bool save(const std::string& contents) { return test::save(situation_.isLink ? folder_ / "link" : file(), contents); }

  std::string file() const { return folder_ / "settings"; }
  std::optional<std::string> oldContents() const {
    return situation_.hasFile ? std::optional<std::string>("old contents") : std::nullopt;
  }

  void expectNoLitter(bool fileExists) const {
    Names names;
    if (situation_.isLink) names.insert("link");
    if (fileExists) names.insert("settings");
    EXPECT_EQ(folder_.names(), names);
    if (situation_.isLink) {
      EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "link"));
    }
  }

  void expectMode() const { EXPECT_EQ(modeOf(file()), situation_.hasFile ? 0640U : 0600U); }

 private:
  Situation situation_;
  ScratchFolder folder_;
};

// Where the call comes first in a save over a file, counted from 0.
int firstOf(const std::string& call, Scene& scene) {
  FaultScript script({});
  EXPECT_TRUE(scene.save("new contents"));
  return static_cast<int>(std::ranges::find(script.calls(), call) - script.calls().begin());
}

int indexOf(const std::string& call) {
  Scene scene(kSituations[1]);
  return firstOf(call, scene);
}

// The same of later saves in the same folder, which do not look for abandoned files.
int indexOfLater(const std::string& call, Scene& scene) {
  EXPECT_TRUE(scene.save("old contents"));
  return firstOf(call, scene);
}

// Runs `action` before the call of that number, counted from 1.
void beforeCall(FaultScript& script, const std::string& call, int number, const std::function<void()>& action) {
  script.before(
      call, [&script, call, number, action] { number == 1 ? action() : beforeCall(script, call, number - 1, action); });
}

// Nothing is flushed.
void expectSaved(Scene& scene) {
  const FaultScript script({});
  EXPECT_TRUE(scene.save("new contents")) << "another time it is saved";
  EXPECT_EQ(contentsOf(scene.file()), "new contents");
  scene.expectNoLitter(true);
}

// Saves with one fault; answers which function failed, empty when there are not so many calls.
std::string saveWithFault(const Situation& situation, Fault fault) {
  Scene scene(situation);
  const std::size_t files = openDescriptors();
  bool saved;
  std::string faulted;
  {
    FaultScript script(fault);
    saved = scene.save("new contents");
    faulted = script.faulted();
  }
  SCOPED_TRACE(testing::Message() << situation.name << ": call " << fault.at << " (" << faulted << ") "
                                  << (fault.error != 0 ? std::strerror(fault.error) : "writes half"));
  EXPECT_EQ(contentsOf(scene.file()), saved ? "new contents" : scene.oldContents());
  scene.expectNoLitter(saved || situation.hasFile);
  if (saved || situation.hasFile) scene.expectMode();
  EXPECT_TRUE(saved || fault.error != 0) << "half a write is no failure";
  EXPECT_EQ(openDescriptors(), files);
  if (!saved) expectSaved(scene);
  return faulted;
}

TEST(AtomicFileFaultTests, AnyFailingCallLeavesTheOldFileOrTheNewOne) {
  int points = 0;
  for (const Situation& situation : kSituations) {
    for (const int error : {EIO, ENOSPC, EACCES, EPERM, ENOTSUP, EINVAL, EMFILE, EDQUOT, EINTR}) {
      int at = 0;
      while (!saveWithFault(situation, {at, error, false}).empty()) ++at;
      EXPECT_GT(at, 15) << "the calls did not come by here";
      points += at;
    }
  }
  report("failing call", "save of a file", points, "old or new contents, no litter");
}

TEST(AtomicFileFaultTests, ShortWritesAreContinued) {
  for (const Situation& situation : kSituations) {
    int writes = 0;
    std::string call;
    for (int at = 0; !(call = saveWithFault(situation, {at, 0, true})).empty(); ++at) writes += call == "write" ? 1 : 0;
    EXPECT_GT(writes, 0) << "nothing was written by here";
  }
}

// The outcome of each call that matters when it fails for good, and of each that may be repeated.
TEST(AtomicFileFaultTests, OnlyHarmlessFailuresAreSuccess) {
  const Names decisive{"write",     "fsync",     "renameat",     "fchmod", "getentropy", "flistxattr",
                       "fgetxattr", "fsetxattr", "fremovexattr", "fstat",  "fstatat",    "faccessat"};
  Names missing = decisive;
  if (!attributeOf(Scene(kSituations[1]).file(), "user.zt.kept")) missing.erase("fsetxattr");
  for (int at = 0;; ++at) {
    Scene scene(kSituations[1]);
    FaultScript script({at, EIO, false});
    const bool saved = scene.save("new contents");
    if (!script.wasReached()) break;
    missing.erase(script.faulted());
    if (decisive.contains(script.faulted())) {
      EXPECT_FALSE(saved) << script.faulted();
    }
    if (script.faulted() == "close") {
      EXPECT_TRUE(saved) << "all was flushed before";
    }
  }
  EXPECT_EQ(missing, Names());
}

TEST(AtomicFileFaultTests, InterruptedCallsAreRepeated) {
  const std::set<std::string> repeated{"openat", "write", "fsync", "flock"};
  for (int at = 0;; ++at) {
    Scene scene(kSituations[1]);
    FaultScript script({at, EINTR, false});
    const bool saved = scene.save("new contents");
    if (!script.wasReached()) break;
    if (repeated.contains(script.faulted())) {
      EXPECT_TRUE(saved) << script.faulted();
    }
  }
}

TEST(AtomicFileFaultTests, AttributesThatMayNotBeSetAreNoFailure) {
  for (const int error : {EPERM, EACCES, ENOTSUP}) {
    for (int at = 0;; ++at) {
      Scene scene(kSituations[1]);
      FaultScript script({at, error, false});
      const bool saved = scene.save("new contents");
      if (!script.wasReached()) break;
      const std::string faulted = script.faulted();
      if (faulted == "fsetxattr" || faulted == "fgetxattr" || faulted == "flistxattr") {
        EXPECT_TRUE(saved) << faulted;
      }
    }
  }
}

TEST(AtomicFileFaultTests, AnAttributeThatIsTooLargeIsLeftOut) {
  if (!attributeOf(Scene(kSituations[1]).file(), "user.zt.kept")) {
    GTEST_SKIP() << "no extended attributes on this file system";
  }
  for (const auto& [call, error, isSaved] : {std::tuple("fsetxattr", E2BIG, true),
                                             {"fsetxattr", ERANGE, true},
                                             {"fsetxattr", ENOSPC, true},
                                             {"fsetxattr", EDQUOT, false},
                                             {"fgetxattr", E2BIG, true}}) {
    Scene scene(kSituations[1]);
    ASSERT_TRUE(scene.save("old contents"));
    int at = -1;
    FaultScript probe({});
    probe.before("write",
                 [&, call = call] { probe.before(call, [&] { at = static_cast<int>(probe.calls().size()); }); });
    ASSERT_TRUE(scene.save("old contents"));
    FaultScript script({at, error, false});
    EXPECT_EQ(scene.save("new contents"), isSaved) << call << std::strerror(error);
    EXPECT_EQ(script.faulted(), call);
    EXPECT_EQ(attributeOf(scene.file(), "user.zt.kept").has_value(), !isSaved);
  }
}

// The mask of the list is where the group's rights are shown.
TEST(AtomicFileFaultTests, NobodyGainsARightWhenTheAccessListCannotBeKept) {
  using enum AccessEntry::Who;
  const std::string list = accessList({{Owner, 6}, {User, 6, 1234}, {Group, 0}, {Mask, 6}, {Others, 4}});
  for (const int error : {EPERM, EACCES, ENOTSUP, ENOSYS, EINVAL, E2BIG, ENOSPC}) {
    Scene scene(kSituations[1]);
    ::removexattr(scene.file().c_str(), "user.zt.kept");
    if (::setxattr(scene.file().c_str(), kAccessList, list.data(), list.size(), 0) != 0) {
      GTEST_SKIP() << "no access lists on this file system";
    }
    FaultScript script({indexOfLater("fsetxattr", scene), error, false});
    EXPECT_TRUE(scene.save("new contents")) << std::strerror(error);
    EXPECT_EQ(script.faulted(), "fsetxattr");
    EXPECT_EQ(attributeOf(scene.file(), kAccessList), std::nullopt);
    EXPECT_EQ(modeOf(scene.file()), 0604U) << std::strerror(error);
  }
}

TEST(AtomicFileFaultTests, AnAccessListThatIsNotThereNeedNotBeRemoved) {
  for (const int error : {ENODATA, ENOTSUP, ENOSYS, EINVAL, EPERM, EACCES}) {
    Scene scene(kSituations[1]);
    FaultScript script({indexOf("fremovexattr"), error, false});
    EXPECT_TRUE(scene.save("new contents")) << std::strerror(error);
    EXPECT_EQ(script.faulted(), "fremovexattr");
  }
}

TEST(AtomicFileFaultTests, AnAccessListThatStaysIsAFailure) {
  using enum AccessEntry::Who;
  const std::string list = accessList({{Owner, 6}, {User, 6, 1234}, {Group, 0}, {Mask, 6}, {Others, 0}});
  Scene scene(kSituations[1]);
  const std::string folder = std::filesystem::path(scene.file()).parent_path();
  if (::setxattr(folder.c_str(), kDefaultAccessList, list.data(), list.size(), 0) != 0) {
    GTEST_SKIP() << "no access lists on this file system";
  }
  FaultScript script({indexOf("fremovexattr"), EPERM, false});
  EXPECT_FALSE(scene.save("new contents"));
  EXPECT_EQ(script.faulted(), "fremovexattr");
  EXPECT_EQ(contentsOf(scene.file()), "old contents");
}

TEST(AtomicFileFaultTests, AttributesThatChangeMeanwhileAreReadAsTheyAre) {
  struct Case {
    const char* call;
    int number;  // 1: before the size is asked for, 2: before the value is
    std::optional<std::string> value;
    const char* another;
  };
  const Case cases[] = {
      {"fgetxattr", 2, std::string(300, 'l'), "user.zt.kept"}, {"fgetxattr", 2, "", "user.zt.kept"},
      {"fgetxattr", 1, std::nullopt, "user.zt.kept"},          {"fgetxattr", 2, std::nullopt, "user.zt.kept"},
      {"flistxattr", 2, "another", "user.zt.another"},         {"flistxattr", 2, std::nullopt, "user.zt.kept"}};
  for (const auto& [call, number, value, name] : cases) {
    Scene scene(kSituations[1]);
    if (!attributeOf(scene.file(), "user.zt.kept")) GTEST_SKIP() << "no extended attributes on this file system";
    FaultScript script({});
    const auto change = [&, value = value, name = name] {
      if (value) {
        ::setxattr(scene.file().c_str(), name, value->data(), value->size(), 0);
      } else {
        ::removexattr(scene.file().c_str(), name);
      }
    };
    // The locks have been asked for by then.
    script.before("write", [&, call = call, number = number] { beforeCall(script, call, number, change); });
    EXPECT_TRUE(scene.save("new contents")) << call << number;
    EXPECT_EQ(attributeOf(scene.file(), name), value) << call << number;
  }
}

// The contents of another user's file are replaced, not its owner: the group is given alone then, where that may be.
TEST(AtomicFileFaultTests, WhereTheOwnerCannotBeGivenTheGroupIs) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can prepare another user's file";
  for (const auto& [error, isSaved] : {std::pair(EPERM, true), {EINVAL, true}, {EIO, false}}) {
    Scene scene(kSituations[1]);
    ASSERT_EQ(::chown(scene.file().c_str(), 1234, 2345) + ::chmod(scene.file().c_str(), 06770), 0);
    ASSERT_TRUE(scene.save("old contents"));
    int owner = -1;
    FaultScript probe({});
    probe.before("fchown", [&] { owner = static_cast<int>(probe.calls().size()); });
    ASSERT_TRUE(scene.save("old contents"));
    FaultScript script({owner, error, false});
    EXPECT_EQ(scene.save("new contents"), isSaved) << std::strerror(error);
    EXPECT_EQ(script.faulted(), "fchown");
    struct stat status;
    ASSERT_EQ(::stat(scene.file().c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, isSaved ? ::geteuid() : 1234U);
    EXPECT_EQ(status.st_gid, 2345U);
    EXPECT_EQ(status.st_mode & 07777U, isSaved ? 02770U : 06770U) << "not the right to act as the old owner";
  }
}

TEST(AtomicFileFaultTests, ANameThatAnotherFileHasIsNotUsed) {
  Scene scene(kSituations[1]);
  FaultScript script({indexOf("getentropy") + 1, EEXIST, false});
  EXPECT_TRUE(scene.save("new contents"));
  EXPECT_EQ(script.faulted(), "openat");
  EXPECT_EQ(contentsOf(scene.file()), "new contents");
  scene.expectNoLitter(true);
}

TEST(AtomicFileFaultTests, WhatBecomesADeviceMeanwhileStays) {
  Scene scene(kSituations[1]);
  FaultScript script({});
  script.before("faccessat", [&] {
    std::filesystem::remove(scene.file());
    ASSERT_EQ(::mkfifo(scene.file().c_str(), 0600), 0);
  });
  EXPECT_FALSE(scene.save("new contents"));
  EXPECT_TRUE(std::filesystem::is_fifo(scene.file()));
}

// Another thread may have opened something in between, under the same number.
TEST(AtomicFileFaultTests, TheListOfTheFolderIsClosedOnce) {
  Scene scene(kSituations[1]);
  int opened = -1;
  FaultScript script({});
  script.before("closedir",
                [&] { script.before("close", [&] { opened = ::open("/dev/null", O_RDONLY | O_CLOEXEC); }); });
  EXPECT_TRUE(scene.save("new contents"));
  EXPECT_GE(::fcntl(opened, F_GETFD), 0);
  ::close(opened);
}

TEST(AtomicFileFaultTests, AFolderThatCannotBeFlushedAtAllIsNoFailure) {
  for (const int error : {EINVAL, ENOTSUP}) {
    int flushes = 0;
    for (int at = 0;; ++at) {
      Scene scene(kSituations[1]);
      FaultScript script({at, error, false});
      const bool saved = scene.save("new contents");
      if (!script.wasReached()) break;
      if (script.faulted() != "fsync") continue;
      ++flushes;
      EXPECT_TRUE(saved);
    }
    EXPECT_EQ(flushes, 2);
  }
}

TEST(AtomicFileFaultTests, EverythingIsFlushedBeforeAndAfterTheRename) {
  Scene scene(kSituations[1]);
  FaultScript script({});
  ASSERT_TRUE(scene.save("new contents"));
  std::vector<std::string> steps;
  for (const std::string& call : script.calls()) {
    if (call == "write" || call == "fsync" || call == "renameat" || call == "unlinkat") steps.push_back(call);
  }
  EXPECT_EQ(steps, (std::vector<std::string>{"write", "fsync", "renameat", "fsync"}));
}

TEST(AtomicFileFaultTests, AFolderThatMayNotBeReadIsFlushedAsWell) {
  Scene scene(kSituations[1]);
  FaultScript script({indexOf("readlinkat") + 1, EACCES, false});
  ASSERT_TRUE(scene.save("new contents"));
  EXPECT_EQ(script.faulted(), "openat");
  std::vector<std::string> steps;
  for (const std::string& call : script.calls()) {
    if (call == "fsync" || call == "renameat" || call == "syncfs") steps.push_back(call);
  }
  EXPECT_EQ(steps, (std::vector<std::string>{"fsync", "renameat", "syncfs"}));
}

TEST(AtomicFileFaultTests, AFileThatAnotherProcessReplacedIsNotUndone) {
  Scene scene(kSituations[1]);
  int folderFlush = -1;
  {
    Scene probe(kSituations[1]);
    FaultScript script({});
    ASSERT_TRUE(probe.save("new contents"));
    for (std::size_t i = 0; i < script.calls().size(); ++i) {
      if (script.calls()[i] == "fsync") folderFlush = static_cast<int>(i);
    }
  }
  int flushes = 0;
  FaultScript script({folderFlush, EIO, false});
  const auto replaceByAnother = [&] {
    writeFile(scene.file() + ".other", "another's");
    std::filesystem::rename(scene.file() + ".other", scene.file());
    ++flushes;
  };
  // The action runs before the first flush; the second is the folder's, so it is armed again from there.
  script.before("fsync", [&] { script.before("fsync", replaceByAnother); });
  EXPECT_FALSE(scene.save("new contents"));
  EXPECT_EQ(flushes, 1);
  EXPECT_EQ(contentsOf(scene.file()), "another's");
}

// Else the process that made it a moment ago could take it for its own in between, and save nothing.
TEST(AtomicFileFaultTests, AnAbandonedFileIsLockedUntilItIsRemoved) {
  Scene scene(kSituations[1]);
  const std::string abandoned =
      std::filesystem::path(scene.file()).parent_path() / std::string(".ztsave-").append(32, 'a');
  writeFile(abandoned, "");
  bool isLocked = false;
  FaultScript script({});
  script.before("unlinkat", [&] {
    const int file = ::open(abandoned.c_str(), O_RDWR | O_CLOEXEC);
    isLocked = ::flock(file, LOCK_EX | LOCK_NB) != 0;
    ::close(file);
  });
  EXPECT_TRUE(scene.save("new contents"));
  EXPECT_TRUE(isLocked);
  EXPECT_FALSE(std::filesystem::exists(abandoned));
}

// --- Several processes

constexpr std::size_t kVersionSize = 20000;

// A text that is only whole as a whole: its number and as many of one letter as it takes.
std::string version(unsigned number) {
  std::string text = std::to_string(number) + " ";
  return text + std::string(kVersionSize - text.size(), static_cast<char>('a' + number % 26));
}

// The number of the version, -1 for anything that is none.
long numberOf(const std::optional<std::string>& contents) {
  if (!contents || contents->size() != kVersionSize) return -1;
  const unsigned long number = std::strtoul(contents->c_str(), nullptr, 10);
  return version(static_cast<unsigned>(number)) == *contents ? static_cast<long>(number) : -1;
}

TEST(AtomicFileFaultTests, AKilledProcessLeavesAWholeFile) {
  ScratchFolder folder;
  const std::string file = folder / "settings";
  ASSERT_TRUE(save(file, version(0)));
  std::mt19937 random(20240229);
  unsigned most = 2000;  // microseconds; longer as long as too few processes get as far as a save
  long last = 0;
  int newer = 0;
  constexpr int kLeast = 10;
  Storm storm(kIsSanitized ? 0.5 : 1);
  while (storm.goesOn() || newer < kLeast) {
    const pid_t child = startChild([&]() -> int {
      for (auto number = static_cast<unsigned>(last + 1);; ++number) save(file, version(number));
    });
    ::usleep(std::uniform_int_distribution<unsigned>(0, most)(random));
    ::kill(child, SIGKILL);
    ASSERT_EQ(signalThatEnded(child), SIGKILL);
    const long found = numberOf(contentsOf(file));
    ASSERT_GE(found, last) << "after round " << storm.rounds();
    newer += found > last ? 1 : 0;
    most = found > last ? most - most / 8 : most + most / 16;
    last = found;
    ASSERT_LE(folder.names().size(), 2U) << "what one round leaves is removed by the next";
  }
  ASSERT_EQ(inChild([&] { return save(file, version(1)); }), 1);
  EXPECT_EQ(folder.names(), Names{"settings"});
  report("kill", "save of a file", storm.rounds(), "old or new contents, no litter after the next save");
}

// A process that saves that many versions, from one on.
pid_t startSaving(const std::string& file, unsigned from, unsigned count) {
  return startChild([&]() -> int {
    for (unsigned number = from; number < from + count; ++number) {
      if (!save(file, version(number))) return 1;
    }
    return 0;
  });
}

bool isRunning(pid_t child) {
  siginfo_t end{};
  return ::waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOHANG | WNOWAIT) == 0 && end.si_pid == 0;
}

// Adds the number of each version that is there while two processes save theirs.
void saveByTwo(const std::string& file, std::set<long>& seen) {
  constexpr unsigned kSaves = 300;
  const pid_t first = startSaving(file, 1000, kSaves);
  const pid_t second = startSaving(file, 5000, kSaves);
  while (isRunning(first) || isRunning(second)) seen.insert(numberOf(contentsOf(file)));
  EXPECT_EQ(waitForChild(first), 0);
  EXPECT_EQ(waitForChild(second), 0);
  const long last = numberOf(contentsOf(file));
  EXPECT_TRUE(last == 1299 || last == 5299) << last;
}

TEST(AtomicFileFaultTests, TwoProcessesThatSaveAtOnceNeverMix) {
  ScopedEnvironment quick;  // where flushing takes no time, they meet more often
  quick.set("TMPDIR", folderInMemory());
  ScratchFolder folder;
  const std::string file = folder / "settings";
  ASSERT_TRUE(save(file, version(0)));
  std::set<long> seen;
  // However slow the machine is, some of each are met.
  const auto hasSeen = [&](long from) { return seen.lower_bound(from) != seen.lower_bound(from + 1000); };
  while (!HasFailure() && !(hasSeen(1000) && hasSeen(5000))) saveByTwo(file, seen);
  EXPECT_FALSE(seen.contains(-1)) << "neither an old one nor a new one";
  EXPECT_EQ(folder.names(), Names{"settings"});
}

}  // namespace
}  // namespace ZtFoundation::test
