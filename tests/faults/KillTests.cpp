// Processes that are killed in the middle of what they do, and processes that do the same at once: what was there
// before is whole, and so is what an answer promised.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/FileErrors.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <ostream>
#include <random>
#include <vector>

#include "support/ChildProcess.h"
#include "support/QuickFolder.h"
#include "support/QuietStandardError.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"
#include "support/Storm.h"

namespace ZtFoundation::test {
namespace {

using Names = std::set<std::string>;

constexpr int kXML = 100;
constexpr int kBinary = 200;

Ref<NSString> stringOf(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }
Ref<NSFileManager> manager() { return NSFileManager::defaultManager(); }

bool exists(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

constexpr int kLeast = 3;  // however slow the machine is

// `while (killer.goesOn())`: sends SIGKILL to processes that do `work` again and again, at any time in it.
class Killer {
 public:
  bool goesOn() { return (storm_.goesOn() || met_ < kLeast) && !testing::Test::HasFatalFailure(); }

  template <class Work>
  void killDuring(Work work) {
    const pid_t child = startChild([&]() -> int {
      while (work()) {
      }
      return 1;
    });
    ::usleep(std::uniform_int_distribution<unsigned>(0, most_)(random_));
    ::kill(child, SIGKILL);
    ASSERT_EQ(signalThatEnded(child), SIGKILL) << "it failed before";
    ++killed_;
  }

  // Whether the last one left what only a process in the middle of its work leaves. If not, the next has more time.
  void note(bool wasInTheMiddle) {
    met_ += wasInTheMiddle ? 1 : 0;
    most_ = wasInTheMiddle ? kMost : most_ + most_ / 16;
  }

  int killed() const { return killed_; }

 private:
  static constexpr unsigned kMost = kIsSanitized ? 30000 : 8000;  // microseconds

  Storm storm_;
  std::mt19937 random_{20240229};
  unsigned most_ = kMost;
  int killed_ = 0;
  int met_ = 0;
};

class KillTests : public testing::Test {
 protected:
  // What syncs to a disk makes few rounds in the time.
  KillTests() { inMemory_.set("TMPDIR", folderInMemory()); }

  void tell(const char* operation, const Killer& killer, const char* outcome) {
    report("kill", operation, killer.killed(), outcome);
  }

 private:
  ScopedEnvironment inMemory_;
};

// --- Settings

// Settings that are only whole as a whole: each of the values is the number.
Ref<NSDictionary> settings(int number) {
  const Ref<NSMutableDictionary> section = NSMutableDictionary::dictionary();
  for (int key = 0; key < 50; ++key) {
    section->setObject_forKey(stringOf(std::to_string(number)), stringOf("Key" + std::to_string(key)));
  }
  return NSDictionary::dictionaryWithObject_forKey(section, "Section");
}

Ref<QvPropertyList> storeAt(const std::string& path, QvPropertyListFormat format) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(stringOf(path), format);
  store->setFormat(format);
  return store;
}

struct Saving {
  friend void PrintTo(const Saving& saving, std::ostream* stream) { *stream << saving.name; }

  std::string name;
  QvPropertyListFormat format;
  bool (QvPropertyList::*save)();
};

bool saveSettings(const std::string& path, const Saving& saving, int number) {
  const Ref<QvPropertyList> store = storeAt(path, saving.format);
  store->setValues(settings(number));
  return ((*store).*saving.save)();
}

// The number of the settings in the file, 0 where there is no file, -1 for anything else.
int savedNumber(const std::string& path, QvPropertyListFormat format) {
  if (!exists(path)) return 0;
  const Ref<QvPropertyList> store = storeAt(path, format);
  const Ref<NSDictionary> all = as<NSDictionary>(store->values());
  const Ref<NSDictionary> section = as<NSDictionary>(all->objectForKey("Section"));
  const Ref<NSString> first = section ? as<NSString>(section->objectForKey("Key0")) : nullptr;
  const int number = first ? first->intValue() : 0;
  return number > 0 && isEqual(all, settings(number)) ? number : -1;
}

class KilledStoreTests : public KillTests, public testing::WithParamInterface<Saving> {};

TEST_P(KilledStoreTests, LeavesOldOrNewSettings) {
  const QuietStandardError quiet;
  const ScratchFolder folder;
  const std::string path = folder / "made/at/once/settings";
  Killer killer;
  int last = 0;
  while (killer.goesOn()) {
    if (killer.killed() % 20 == 0) {
      std::filesystem::remove_all(folder / "made");
      last = 0;
    }
    killer.killDuring([&, next = last]() mutable { return saveSettings(path, GetParam(), ++next); });
    const int found = savedNumber(path, GetParam().format);
    ASSERT_GE(found, last) << "round " << killer.killed();
    killer.note(found > last);
    last = found;
  }
  ASSERT_TRUE(saveSettings(path, GetParam(), last + 1));
  EXPECT_EQ(savedNumber(path, GetParam().format), last + 1);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "made/at/once"), {}), 1)
      << "the next save takes away what killed ones left";
  tell(("save of settings as " + GetParam().name).c_str(), killer,
       "old or new settings, no litter after the next save");
}

TEST_P(KilledStoreTests, ManySaveAtOnce) {
  const QuietStandardError quiet;
  const ScratchFolder folder;
  const std::string path = folder / "settings";
  ASSERT_TRUE(saveSettings(path, GetParam(), 1));
  constexpr int kProcesses = 5;
  std::vector<pid_t> writers;
  for (int each = 1; each <= kProcesses; ++each) {
    writers.push_back(startChild([&, each]() -> int {
      Storm storm;
      while (storm.goesOn()) {
        if (!saveSettings(path, GetParam(), each * 1000000 + storm.rounds())) return 1;
      }
      return 0;
    }));
  }
  int reads = 0;
  for (Storm storm; storm.goesOn(); ++reads) ASSERT_GT(savedNumber(path, GetParam().format), 0);
  for (const pid_t writer : writers) EXPECT_EQ(waitForChild(writer), 0);
  EXPECT_GT(savedNumber(path, GetParam().format), 1000000);
  EXPECT_EQ(folder.names(), Names{"settings"});
  report("at once", "five processes save settings as " + GetParam().name, reads,
         "each read finds the settings of one of them, whole");
}

INSTANTIATE_TEST_SUITE_P(Savings, KilledStoreTests,
                         testing::Values(Saving{"XML", kXML, &QvPropertyList::saveChanges},
                                         Saving{"binary", kBinary, &QvPropertyList::saveChanges},
                                         Saving{"INI text", QvPropertyListINIFormat, &QvPropertyList::saveChanges},
                                         Saving{"XML, merged", kXML, &QvPropertyList::saveMergedChanges}));

TEST_F(KillTests, OfThoseWhoMergeNoneLosesAKey) {
  const ScratchFolder folder;
  const std::string path = folder / "settings";
  constexpr int kProcesses = 4;
  constexpr int kKeys = kIsSanitized ? 10 : 40;
  std::vector<pid_t> writers;
  for (int process = 0; process < kProcesses; ++process) {
    writers.push_back(startChild([&, process]() -> int {
      const Ref<QvPropertyList> store = storeAt(path, kXML);
      for (int key = 0; key < kKeys; ++key) {
        const std::string name = std::to_string(process) + "-" + std::to_string(key);
        as<NSMutableDictionary>(store->values())->setObject_forKey("value", stringOf(name));
        if (!store->saveMergedChanges()) return 1;
      }
      return 0;
    }));
  }
  for (const pid_t writer : writers) EXPECT_EQ(waitForChild(writer), 0);
  EXPECT_EQ(as<NSDictionary>(storeAt(path, kXML)->values())->count(), unsigned{kProcesses * kKeys});
  EXPECT_EQ(folder.names(), Names{"settings"});
  report("at once", "four processes bring their keys together in one file", kProcesses * kKeys, "none is lost");
}

// --- Copies, moves, removals

constexpr int kFiles = 40;
constexpr std::size_t kLarge = 1 << 20;

std::string makeLargeText() {
  std::string text(kLarge, ' ');
  for (std::size_t i = 0; i < kLarge; ++i) text[i] = static_cast<char>('a' + i % 23);
  return text;
}

const std::string& largeText() {
  static const std::string text = makeLargeText();
  return text;
}

// Quicker than contentsOf, for there is much to read; "?" when there is no such file.
std::string readWhole(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return "?";
  std::string contents(kLarge + 1, '\0');
  contents.resize(static_cast<std::size_t>(::read(file, contents.data(), contents.size())));
  ::close(file);
  return contents;
}

void makeTree(const std::string& root) {
  std::filesystem::create_directories(root + "/folder/inner");
  writeFile(root + "/large", largeText());
  for (int i = 0; i < kFiles; ++i) writeFile(root + "/folder/inner/" + std::to_string(i), "text");
}

bool isTree(const std::string& root) {
  bool isWhole = readWhole(root + "/large") == largeText();
  for (int i = 0; i < kFiles; ++i)
    isWhole = isWhole && readWhole(root + "/folder/inner/" + std::to_string(i)) == "text";
  return isWhole;
}

bool remove(const std::string& path) { return manager()->removeFileAtPath_handler(stringOf(path), nullptr); }

TEST_F(KillTests, ACopyOfAFileIsABeginningOfIt) {
  const ScratchFolder folder;
  const std::string& text = largeText();
  writeFile(folder / "from", text);
  ::chmod((folder / "from").c_str(), 0644);
  Killer killer;
  while (killer.goesOn()) {
    killer.killDuring([&] {
      return manager()->copyPath_toPath_handler(folder.string("from"), folder.string("to"), nullptr) &&
             remove(folder / "to");
    });
    ASSERT_TRUE(readWhole(folder / "from") == text);
    killer.note(exists(folder / "to"));
    if (!exists(folder / "to")) continue;
    const std::string copy = readWhole(folder / "to");
    ASSERT_TRUE(text.starts_with(copy));
    struct stat status;
    ASSERT_EQ(::stat((folder / "to").c_str(), &status), 0);
    ASSERT_TRUE(copy.size() == text.size() || (status.st_mode & 07777U) == 0600) << "only its owner sees a beginning";
    ASSERT_FALSE(manager()->copyPath_toPath_handler(folder.string("from"), folder.string("to"), nullptr));
    ASSERT_TRUE(remove(folder / "to"));
  }
  EXPECT_LE(folder.names().size(), 2U);
  tell("copy of a file and its removal", killer,
       "source whole; of the copy nothing, a beginning for its owner only, or all");
}

TEST_F(KillTests, AFileThatIsWrittenInPlaceHoldsABeginning) {
  const ScratchFolder folder;
  const std::string& text = largeText();
  const Ref<NSData> contents = NSData::dataWithBytes(text);
  writeFile(folder / "kept", "kept");
  const auto write = [&, path = folder.string("file")] {
    return manager()->createFileAtPath_contents_attributes(path, contents, nullptr) &&
           JxFileOperation::createFileWithContents(path, contents) == noErr &&
           contents->writeToFile_atomically(path, false);
  };
  ASSERT_TRUE(write());
  Killer killer;
  while (killer.goesOn()) {
    killer.killDuring([&] { return write() && remove(folder / "file"); });
    const bool isThere = exists(folder / "file");
    const std::string found = isThere ? readWhole(folder / "file") : "";
    ASSERT_TRUE(text.starts_with(found));
    killer.note(isThere && found != text);
    ASSERT_TRUE(write());
    ASSERT_TRUE(readWhole(folder / "file") == text);
  }
  EXPECT_EQ(readWhole(folder / "kept"), "kept");
  EXPECT_EQ(folder.names(), (Names{"file", "kept"}));
  tell("creation of a file and writing in place", killer, "a beginning or all; the next call writes all");
}

TEST_F(KillTests, AFileUnderAFreeNameIsWhole) {
  const ScratchFolder folder;
  const int nameless = ::open(folder.path().c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, 0600);
  if (nameless < 0) GTEST_SKIP() << "no files without a name on this file system";
  ::close(nameless);
  const std::string& text = largeText();
  const Ref<NSData> contents = NSData::dataWithBytes(text);
  Killer killer;
  while (killer.goesOn()) {
    killer.killDuring([&, last = Ref<NSString>()]() mutable {
      const Ref<NSString> path = JxTalvoZtWdExensions::createUnusedFinderFile(folder.string("file"), contents);
      const bool isRemoved = !last || remove(last->fileSystemRepresentation());
      last = path;
      return path && isRemoved;
    });
    killer.note(!folder.names().empty());
    for (const std::string& name : folder.names()) {
      ASSERT_TRUE(readWhole(folder / name) == text);
      ASSERT_TRUE(remove(folder / name));
    }
  }
  tell("creation of a file with a free name", killer, "nothing, or all");
}

TEST_F(KillTests, ACopyOfAFolderHoldsNothingElse) {
  const ScratchFolder folder;
  makeTree(folder / "from");
  Killer killer;
  while (killer.goesOn()) {
    killer.killDuring([&] {
      return manager()->copyPath_toPath_handler(folder.string("from"), folder.string("to"), nullptr) &&
             remove(folder / "to");
    });
    ASSERT_TRUE(isTree(folder / "from"));
    killer.note(exists(folder / "to") && !isTree(folder / "to"));
    if (!exists(folder / "to")) continue;
    struct stat status;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder / "to")) {
      const std::string twin = (folder / "from") + entry.path().string().substr((folder / "to").size());
      ASSERT_TRUE(exists(twin)) << twin;
      if (entry.is_directory()) continue;
      const std::string whole = readWhole(twin), copy = readWhole(entry.path());
      ASSERT_TRUE(whole.starts_with(copy)) << twin;
      if (copy.size() == whole.size()) continue;
      ASSERT_EQ(::stat((folder / "to").c_str(), &status), 0);
      ASSERT_EQ(status.st_mode & 07777U, 0700U) << "only its owner sees a part";
    }
    ASSERT_TRUE(remove(folder / "to"));
  }
  EXPECT_EQ(folder.names(), Names{"from"});
  tell("copy of a folder and its removal", killer,
       "source whole; of the copy some, which one removal takes away, or all");
}

TEST_F(KillTests, AMoveToAnotherDiskHasAWholeOneOnEitherSide) {
  ScopedEnvironment onDisk;
  const ScratchFolder here;
  onDisk.set("TMPDIR", "/tmp");
  const ScratchFolder there;
  struct stat first, second;
  ASSERT_EQ(::stat(here.path().c_str(), &first) + ::stat(there.path().c_str(), &second), 0);
  if (first.st_dev == second.st_dev) GTEST_SKIP() << "/tmp and /dev/shm are the same file system";
  Killer killer;
  while (killer.goesOn()) {
    makeTree(here / "tree");
    killer.killDuring([&] {
      return manager()->movePath_toPath_handler(here.string("tree"), there.string("tree"), nullptr) &&
             manager()->movePath_toPath_handler(there.string("tree"), here.string("tree"), nullptr);
    });
    ASSERT_TRUE(isTree(here / "tree") || isTree(there / "tree")) << "round " << killer.killed();
    killer.note(exists(here / "tree") && exists(there / "tree"));
    if (exists(there / "tree")) {
      ASSERT_TRUE(remove(there / "tree"));
    }
    if (exists(here / "tree")) {
      ASSERT_TRUE(remove(here / "tree"));
    }
  }
  tell("move to another disk and back", killer, "the source or the copy is whole; removals take away the rest");
}

TEST_F(KillTests, AMoveOnADiskIsDoneOrNot) {
  const ScratchFolder folder;
  makeTree(folder / "a");
  Killer killer;
  while (killer.goesOn()) {
    const std::string name = *folder.names().begin();
    const std::string other = name == "a" ? "b" : "a";
    killer.killDuring([&] {
      return manager()->movePath_toPath_handler(folder.string(name), folder.string(other), nullptr) &&
             manager()->movePath_toPath_handler(folder.string(other), folder.string(name), nullptr);
    });
    ASSERT_EQ(folder.names().size(), 1U);
    ASSERT_TRUE(isTree(folder / *folder.names().begin()));
    killer.note(exists(folder / other));
  }
  tell("move on one disk and back", killer, "under the old name or the new one, whole");
}

TEST_F(KillTests, ARemovalCanBeMadeAgain) {
  const ScratchFolder folder;
  makeTree(folder / "kept");
  Killer killer;
  while (killer.goesOn()) {
    killer.killDuring([&] {
      return manager()->copyPath_toPath_handler(folder.string("kept"), folder.string("copy"), nullptr) &&
             ::symlink((folder / "kept").c_str(), (folder / "copy/link").c_str()) == 0 &&
             ::rename((folder / "copy").c_str(), (folder / "tree").c_str()) == 0 && remove(folder / "tree");
    });
    killer.note(exists(folder / "tree") && !isTree(folder / "tree"));
    for (const char* left : {"copy", "tree"}) {
      if (!exists(folder / left)) continue;
      ASSERT_TRUE(remove(folder / left));
    }
    ASSERT_EQ(folder.names(), Names{"kept"});
    ASSERT_TRUE(isTree(folder / "kept"));
  }
  tell("removal of what was copied", killer, "the next removal takes away the rest, and nothing else");
}

TEST_F(KillTests, CreationOfFoldersCanGoOn) {
  const ScratchFolder folder;
  const std::string path = folder / "a/b/c/d/e/f/g/h/i/j/k/l/m/n/o/p";
  Killer killer;
  const auto create = [&] {
    return QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(manager(), stringOf(path), nullptr,
                                                                                true);
  };
  while (killer.goesOn()) {
    killer.killDuring([&] { return create() && remove(folder / "a"); });
    killer.note(exists(folder / "a") && !exists(path));
    ASSERT_TRUE(create());
    ASSERT_TRUE(std::filesystem::is_directory(path));
    ASSERT_TRUE(remove(folder / "a"));
  }
  tell("creation and removal of folders", killer, "some of them, from the first; the next creation goes on");
}

// --- At once

TEST_F(KillTests, ManyCreateTheSameFolders) {
  const ScratchFolder folder;
  constexpr int kProcesses = 4;
  int rounds = 0;
  for (Storm storm; storm.goesOn(); ++rounds) {
    const std::string path = folder / std::to_string(rounds) + "/b/c/d/e/f";
    std::vector<pid_t> makers;
    for (int each = 0; each < kProcesses; ++each) {
      makers.push_back(startChild([&]() -> int {
        // Documented: false where another process made a folder in between. Asked again it goes on.
        for (int attempt = 0; attempt < 100; ++attempt) {
          if (QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(manager(), stringOf(path), nullptr,
                                                                                   true))
            return 0;
        }
        return 1;
      }));
    }
    for (const pid_t maker : makers) ASSERT_EQ(waitForChild(maker), 0);
    ASSERT_TRUE(std::filesystem::is_directory(path));
  }
  report("at once", "four processes create the same folders", rounds, "all have them, some after a second call");
}

// Each takes the free name that it finds and moves a file of its own there, which never replaces another one.
TEST_F(KillTests, ManyTakeFreeNames) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder / "shared");
  constexpr int kProcesses = 4;
  constexpr int kEach = kIsSanitized ? 10 : 30;
  std::vector<pid_t> writers;
  for (int process = 0; process < kProcesses; ++process) {
    writers.push_back(startChild([&, process]() -> int {
      for (int number = 0; number < kEach; ++number) {
        const std::string own = folder / (std::to_string(process) + "-" + std::to_string(number));
        writeFile(own, own);
        bool isMoved = false;
        for (int attempt = 0; attempt < 1000 && !isMoved; ++attempt) {
          const auto name = JxTalvoZtWdExensions::unusedTalvoFilePath(folder.string("shared/file"));
          isMoved = manager()->movePath_toPath_handler(stringOf(own), name, nullptr);
        }
        if (!isMoved) return 1;
      }
      return 0;
    }));
  }
  for (const pid_t writer : writers) EXPECT_EQ(waitForChild(writer), 0);
  std::set<std::string> contents;
  for (const auto& entry : std::filesystem::directory_iterator(folder / "shared"))
    contents.insert(readWhole(entry.path()));
  EXPECT_EQ(contents.size(), static_cast<std::size_t>(kProcesses) * kEach);
  report("at once", "four processes move files to free names", kProcesses * kEach, "each file has a name of its own");
}

}  // namespace
}  // namespace ZtFoundation::test
