// Operations with each of their system calls failing: the answer is what is on the disk, nothing else is lost or left
// over, and the same call succeeds afterwards.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/FileErrors.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/FolderTypes.h>
#include <ZtFoundation/platform/Number.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <ostream>

#include "platform/linux/SystemCallFaults.h"
#include "support/ExtendedAttribute.h"
#include "support/FileTree.h"
#include "support/QuickFolder.h"
#include "support/QuietStandardError.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"
#include "support/Storm.h"

namespace ZtFoundation::test {
namespace {

constexpr int kErrors[] = {EIO, ENOSPC, EACCES, EINVAL, EINTR, ENOSYS};
constexpr int kXML = 100;
constexpr int kBinary = 200;

Ref<NSFileManager> manager() { return NSFileManager::defaultManager(); }
Ref<NSData> newContents() { return NSData::dataWithBytes("new contents"); }

// What there is before each call, and a store of the file "settings".
struct Scene : ScratchFolder {
  Scene() {
    writeFile(*this / "file", "old");
    std::filesystem::create_directories(*this / "tree/inner");
    writeFile(*this / "tree/inner/small", "small");
    writeFile(*this / "tree/other", "other");
  }

  void openStore(const std::string& name, QvPropertyListFormat format) {
    store = QvPropertyList::initWithPath_format(string(name), format);
    store->setFormat(kXML);
    as<NSMutableDictionary>(store->values())->setObject_forKey("new", "key");
  }

  Ref<QvPropertyList> store;
  ScopedEnvironment environment;
};

// The items, what files hold, and what is locked.
using Items = std::map<std::string, std::string>;
constexpr const char* kFolder = "(a folder)";
constexpr const char* kLocked = " (locked)";
constexpr const char* kLock = "user.ZtFoundation.locked";

Items itemsIn(const std::string& root) {
  Items items;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    const std::string path = entry.path();
    std::string& text = items[path.substr(root.size())];
    text = entry.is_directory() ? kFolder : contentsOf(path).value_or("(unreadable)");
    if (attributeOf(path, kLock)) text.append(kLocked);
  }
  return items;
}

// Each item is as it was, or has a beginning of what it becomes, or goes and has lost its lock; and nothing is gone but
// what goes.
bool isOnItsWay(const Items& now, const Items& before, const Items& whole) {
  const auto isOld = [&](const auto& item) {
    return before.contains(item.first) && before.at(item.first) == item.second;
  };
  const auto isBegun = [&](const auto& item) {
    return whole.contains(item.first) && whole.at(item.first).starts_with(item.second);
  };
  const auto isUnlocked = [&](const auto& item) {
    return !whole.contains(item.first) && before.contains(item.first) && before.at(item.first) == item.second + kLocked;
  };
  return std::ranges::all_of(now, [&](const auto& item) { return isOld(item) || isBegun(item) || isUnlocked(item); }) &&
         std::ranges::all_of(before,
                             [&](const auto& item) { return now.contains(item.first) || !whole.contains(item.first); });
}

// What a call that fails may leave, and what one that succeeds has done.
enum class Rule {
  Whole,        // nothing, or all
  Begun,        // a beginning, from which the same call goes on
  BegunAside,   // a beginning, which the same call leaves alone
  BegunOrSome,  // a beginning, which may also be told as a success
};

struct Operation {
  friend void PrintTo(const Operation& operation, std::ostream* stream) { *stream << operation.name; }

  const char* name;
  Rule rule;
  std::function<bool(const Scene&)> run;
  std::function<void(Scene&)> prepare = [](Scene&) {};
  std::function<void(const Scene&, bool success)> check = [](const Scene&, bool) {};
};

// What it cannot have, this test cannot be about.
void lockTree(Scene& scene) {
  if (::setxattr((scene / "tree").c_str(), kLock, "1", 1, 0) != 0) GTEST_SKIP() << kNoAttributes;
}

void chooseMusicFolder(Scene& scene) {
  scene.environment.set("HOME", scene.path());
  scene.environment.set("XDG_CONFIG_HOME", scene.path());
  writeFile(scene / "user-dirs.dirs", "XDG_MUSIC_DIR=\"$HOME/all/music\"\n");
}

void openNewStore(Scene& scene) { scene.openStore("made/at once/settings", kXML); }

void openOldStore(Scene& scene) {
  writeFile(scene / "settings", "{old = value;}");
  scene.openStore("settings", kBinary);
}

// The store of the file as others changed it.
void openSharedStore(Scene& scene) {
  openOldStore(scene);
  writeFile(scene / "settings", "{old = value; theirs = value;}");
}

void checkStore(const Scene& scene, bool success) {
  EXPECT_EQ(scene.store->hasUnsavedChanges(), !success);
  EXPECT_TRUE(valueAt<NSString>(scene.store->values(), "key")) << "what is to be saved stays";
}

Ref<NSDictionary> attributes() {
  return NSDictionary::dictionaryWithEntries({{NSFilePosixPermissions, 0707},
                                              {NSFileModificationDate, NSDate::dateWithTimeIntervalSince1970(1000)},
                                              {NSFileOwnerAccountName, "daemon"}});
}

void checkPermissions(const Scene& scene, bool success) {
  struct stat status {};
  EXPECT_TRUE(!success || (::stat((scene / "new").c_str(), &status) == 0 && (status.st_mode & 07777U) == 0707));
}

const Operation kOperations[] = {
    {"creation of a file with a status", Rule::Begun,
     [](const Scene& scene) {
       return JxFileOperation::createFileWithContents(scene.string("new"), newContents()) == noErr;
     }},
    {"new contents of a file with a status", Rule::Begun,
     [](const Scene& scene) {
       return JxFileOperation::createFileWithContents(scene.string("file"), newContents()) == noErr;
     }},
    {"creation of a file with a free name and a status", Rule::BegunAside,
     [](const Scene& scene) {
       return JxTalvoZtWdExensions::createFileWithContents_autoname(scene.string("file"), newContents(), true) == noErr;
     }},
    {"creation of a file with a name in the Finder's style", Rule::Whole,
     [](const Scene& scene) {
       return JxTalvoZtWdExensions::createUnusedFinderFile(scene.string("file"), newContents()) != nullptr;
     }},
    {"creation of a folder with a name in the Finder's style", Rule::Whole,
     [](const Scene& scene) {
       return JxTalvoZtWdExensions::createUnusedFinderFolder(scene.string("tree")) != nullptr;
     }},
    {"creation of a file with attributes", Rule::Begun,
     [](const Scene& scene) {
       return manager()->createFileAtPath_contents_attributes(scene.string("new"), newContents(), attributes());
     },
     [](Scene&) {}, checkPermissions},
    {"creation of a folder with attributes", Rule::Whole,
     [](const Scene& scene) { return manager()->createDirectoryAtPath_attributes(scene.string("new"), attributes()); },
     [](Scene&) {}, checkPermissions},
    {"creation of folders with a status", Rule::BegunOrSome,
     [](const Scene& scene) {
       return JxFileOperation::createDirectoryWithRecursively(scene.string("a/b/c"), true) == noErr;
     }},
    {"creation of a user's folder", Rule::Begun,
     [](const Scene&) {
       return QvFoundationExtensions::findFolderForType_inDomain_create(manager(), kMusicDocumentsFolderType,
                                                                        kUserDomain, true) != nullptr;
     },
     chooseMusicFolder},
    {"copy of a file with a status", Rule::Whole,
     [](const Scene& scene) {
       return JxFileOperation::copyFileTo(scene.string("file"), scene.string("new")) == noErr;
     }},
    {"copy of a file with a free name", Rule::Whole,
     [](const Scene& scene) {
       const auto file = scene.string("file");
       return JxTalvoZtWdExensions::copyFileTo_autoname(file, file, true) == noErr;
     }},
    {"rename", Rule::Whole,
     [](const Scene& scene) { return JxFileOperation::renameFileTo(scene.string("file"), "renamed") == noErr; }},
    {"removal of a locked folder with a status", Rule::Begun,
     [](const Scene& scene) { return JxFileOperation::removeFileForcefully(scene.string("tree"), true) == noErr; },
     lockTree},
    {"move on a disk", Rule::Whole,
     [](const Scene& scene) {
       return manager()->movePath_toPath_handler(scene.string("tree"), scene.string("new"), nullptr);
     }},
    {"links to the files of a folder", Rule::Whole,
     [](const Scene& scene) {
       return manager()->linkPath_toPath_handler(scene.string("tree"), scene.string("new"), nullptr);
     }},
    {"write in place", Rule::Begun,
     [](const Scene& scene) { return newContents()->writeToFile_atomically(scene.string("file"), false); }},
    {"save of settings in new folders", Rule::Begun, [](const Scene& scene) { return scene.store->saveChanges(); },
     openNewStore, checkStore},
    {"save of settings over a file", Rule::Whole, [](const Scene& scene) { return scene.store->saveChanges(); },
     openOldStore, checkStore},
    {"merged save of settings in new folders", Rule::Begun,
     [](const Scene& scene) { return scene.store->saveMergedChanges(); }, openNewStore, checkStore},
    {"merged save of settings over a file", Rule::Whole,
     [](const Scene& scene) { return scene.store->saveMergedChanges(); }, openSharedStore, checkStore},
};

const std::map<Rule, const char*> kOutcomes{
    {Rule::Whole, "all of it or nothing, as the answer says"},
    {Rule::Begun, "all of it, or a beginning that is told as a failure"},
    {Rule::BegunAside, "all of it, or a beginning that is told as a failure"},
    {Rule::BegunOrSome, "all of it or some, which another call makes good"},
};

class EachCallFaultTests : public testing::TestWithParam<Operation> {
 protected:
  EachCallFaultTests() {
    quick_.set("TMPDIR", quickFolder());
    ::umask(022);
    // What is found out once is found out.
    for (const bool isAgain : {false, true}) {
      Scene scene;
      operation.prepare(scene);
      if (IsSkipped()) return;
      before = itemsIn(scene.path());
      EXPECT_TRUE(operation.run(scene)) << isAgain;
      whole = itemsIn(scene.path());
    }
  }

  // False when there is no such call.
  bool failCall(int at, int error) {
    Scene scene;
    operation.prepare(scene);
    const std::size_t files = openDescriptors();
    bool success;
    std::string faulted;
    {
      const FaultScript script({at, error, false});
      success = operation.run(scene);
      faulted = script.faulted();
    }
    SCOPED_TRACE(testing::Message() << "call " << at << " (" << faulted << "): " << std::strerror(error));
    EXPECT_EQ(openDescriptors(), files);
    const bool hasNoPermissions = error == ENOSYS && faulted.ends_with("chmod");  // the file system
    if (!hasNoPermissions) operation.check(scene, success);
    const Items now = itemsIn(scene.path());
    checkItems(success, now);
    if (now != whole) checkRepetition(scene);
    return !faulted.empty();
  }

  void checkItems(bool success, const Items& now) const {
    const bool mayBeSome = success ? operation.rule == Rule::BegunOrSome : operation.rule != Rule::Whole;
    EXPECT_TRUE(mayBeSome ? isOnItsWay(now, before, whole) : now == (success ? whole : before));
  }

  void checkRepetition(const Scene& scene) const {
    EXPECT_TRUE(operation.run(scene)) << "again";
    EXPECT_TRUE(operation.rule == Rule::BegunAside || itemsIn(scene.path()) == whole);
    operation.check(scene, true);
  }

  const Operation& operation = GetParam();
  Items before;
  Items whole;

 private:
  const QuietStandardError quiet_;
  ScopedEnvironment quick_;
};

TEST_P(EachCallFaultTests, TheAnswerIsWhatIsOnTheDisk) {
  int points = 0;
  for (const int error : kErrors) {
    int at = 0;
    while (failCall(at, error) && !HasFailure()) ++at;
    if (HasFailure()) break;
    EXPECT_GT(at, 3) << "the calls did not come by here";
    points += at;
  }
  report("failing call", operation.name, points, kOutcomes.at(operation.rule));
}

INSTANTIATE_TEST_SUITE_P(Operations, EachCallFaultTests, testing::ValuesIn(kOperations), [](const auto& operation) {
  std::string name = operation.param.name;
  std::ranges::replace_if(
      name, [](unsigned char character) { return std::isalnum(character) == 0; }, '_');
  return name;
});

}  // namespace
}  // namespace ZtFoundation::test
