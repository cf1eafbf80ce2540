// A signal that breaks into one call of an operation, whichever it is, changes nothing: the call is made again.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileErrors.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <vector>

#include "platform/linux/SystemCallFaults.h"
#include "support/QuickFolder.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"
#include "support/Storm.h"

namespace ZtFoundation::test {
namespace {

// Those that wait: for a device, a server or another process. Closing is no call to repeat.
const std::set<std::string> kInterruptible{"open",      "openat",          "read",       "pread", "write", "pwrite",
                                           "ftruncate", "copy_file_range", "getdents64", "fsync", "flock", "fgetxattr",
                                           "close",     "getxattrat",      "statvfs",    "syncfs"};

Ref<NSFileManager> manager() { return NSFileManager::defaultManager(); }

// Large enough for the kernel's own copy.
constexpr std::size_t kLarge = 300000;

void makeTree(const std::string& root) {
  std::filesystem::create_directories(root + "/folder/inner");
  writeFile(root + "/large", std::string(kLarge, 'l'));
  writeFile(root + "/folder/inner/small", "text");
  writeFile(root + "/holes", "text");
  std::filesystem::resize_file(root + "/holes", 1 << 17);
}

std::string folderOnAnotherDisk(const std::string& here) {
  const std::string other = here.starts_with("/dev/shm/") ? "/tmp" : folderInMemory();
  return ::access(other.c_str(), W_OK | X_OK) == 0 ? other : std::filesystem::path(here).parent_path().string();
}

// A folder with some items, and another one on another disk, where the machine has two.
struct Scene : ScratchFolder {
  Scene() {
    writeFile(*this / "file", "old");
    makeTree(*this / "tree");
    ScopedEnvironment where;
    where.set("TMPDIR", folderOnAnotherDisk(path()));
    there.emplace();
  }

  bool hasTwoDisks() const {
    struct stat first {
    }, second{};
    return ::stat(path().c_str(), &first) + ::stat(there->path().c_str(), &second) == 0 &&
           first.st_dev != second.st_dev;
  }

  std::optional<ScratchFolder> there;
};

bool always(const Scene&) { return true; }

bool addAndSave(const Ref<QvPropertyList>& store, const char* key) {
  as<NSMutableDictionary>(store->values())->setObject_forKey("value", key);
  return store->saveMergedChanges();
}

// Both have read the file before either of them changes it.
bool saveByTwo(const Ref<NSString>& path) {
  const Ref<QvPropertyList> first = QvPropertyList::initWithPath(path);
  const Ref<QvPropertyList> second = QvPropertyList::initWithPath(path);
  return addAndSave(first, "first") && addAndSave(second, "second");
}

enum class Need { Nothing, Attributes, TwoDisks };

struct Operation {
  friend void PrintTo(const Operation& operation, std::ostream* stream) { *stream << operation.name; }

  const char* name;
  int calls;  // there are that many at least, so that they do come by here
  std::function<bool(const Scene&)> run;
  std::function<bool(const Scene&)> check = always;
  Need need = Need::Nothing;
};

const Operation kOperations[] = {
    {"save over a file", 5,
     [](const ScratchFolder& folder) {
       return NSData::dataWithBytes("new")->writeToFile_atomically(folder.string("file"), true);
     },
     [](const ScratchFolder& folder) { return contentsOf(folder / "file") == "new"; }},
    {"save of a new file", 5,
     [](const ScratchFolder& folder) {
       return NSData::dataWithBytes("new")->writeToFile_atomically(folder.string("new"), true);
     }},
    {"save where a killed process has left a file", 5,
     [](const ScratchFolder& folder) {
       const std::string left = folder / std::string(".ztsave-").append(32, '0');
       writeFile(left, "");
       return NSData::dataWithBytes("new")->writeToFile_atomically(folder.string("new"), true) &&
              !std::filesystem::exists(left);
     }},
    {"write in place", 3,
     [](const ScratchFolder& folder) {
       return NSData::dataWithBytes("new")->writeToFile_atomically(folder.string("file"), false) &&
              NSData::dataWithBytes("new")->writeToFile_atomically(folder.string("new"), false);
     }},
    {"read", 3,
     [](const ScratchFolder& folder) {
       const Ref<NSData> data = NSData::dataWithContentsOfFile(folder.string("file"));
       return data && data->view() == "old";
     }},
    {"list of a folder", 3,
     [](const ScratchFolder& folder) {
       const Ref<NSArray> names = manager()->directoryContentsAtPath(folder.string("tree"));
       return names && names->count() == 3;
     }},
    {"creation of a file", 3,
     [](const ScratchFolder& folder) {
       return manager()->createFileAtPath_contents_attributes(folder.string("new"), NSData::dataWithBytes("new"),
                                                              nullptr);
     }},
    {"creation of folders", 2,
     [](const ScratchFolder& folder) {
       return QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(manager(), folder.string("a/b/c"),
                                                                                   nullptr, true);
     }},
    {"copy of a folder", 20,
     [](const ScratchFolder& folder) {
       return manager()->copyPath_toPath_handler(folder.string("tree"), folder.string("copy"), nullptr);
     },
     [](const ScratchFolder& folder) { return contentsOf(folder / "copy/large") == std::string(kLarge, 'l'); }},
    {"move", 5,
     [](const ScratchFolder& folder) {
       return manager()->movePath_toPath_handler(folder.string("tree"), folder.string("moved"), nullptr);
     }},
    {"move to another disk", 20,
     [](const Scene& scene) {
       return manager()->movePath_toPath_handler(scene.string("tree"), scene.there->string("moved"), nullptr);
     },
     [](const Scene& scene) {
       return scene.names().size() == 1 && contentsOf(*scene.there / "moved/large") == std::string(kLarge, 'l');
     },
     Need::TwoDisks},
    {"merged saves of settings", 20, [](const ScratchFolder& folder) { return saveByTwo(folder.string("settings")); },
     [](const ScratchFolder& folder) {
       const auto values = QvPropertyList::initWithPath(folder.string("settings"))->values();
       return isEqual(values, NSDictionary::of({{"first", "value"}, {"second", "value"}}));
     }},
    {"removal", 10,
     [](const ScratchFolder& folder) { return manager()->removeFileAtPath_handler(folder.string("tree"), nullptr); },
     [](const ScratchFolder& folder) { return folder.names().size() == 1; }},
    {"lock and unlock", 5,
     [](const ScratchFolder& folder) {
       const Ref<NSString> file = folder.string("file");
       return QvFoundationExtensions::lockFileAtPath(manager(), file) &&
              QvFoundationExtensions::isFileLockedAtPath(manager(), file) &&
              QvFoundationExtensions::unlockFileAtPath(manager(), file) &&
              !QvFoundationExtensions::isFileLockedAtPath(manager(), file);
     },
     always, Need::Attributes},
    {"rename", 3,
     [](const ScratchFolder& folder) {
       return JxFileOperation::renameFileTo(folder.string("file"), "renamed") == noErr;
     }},
    {"free name of a folder with many", 1,
     [](const ScratchFolder& folder) {
       for (int i = 1; i < 100; ++i) std::filesystem::create_directory(folder / "tree_" + std::to_string(i));
       const auto path = JxTalvoZtWdExensions::unusedTalvoPathForDirectory(folder.string("tree"), true);
       return isEqual(path, folder.string("tree_100"));
     }},
    {"alias of an item that moves", 3,
     [](const ScratchFolder& folder) {
       AliasHandle alias = nullptr;
       const bool isMade = JxFileSystemRepresentation::pathStringToAliasMinimal(folder.string("file"), &alias);
       std::filesystem::rename(folder / "file", folder / "tree/moved");
       const auto path = JxFileSystemRepresentation::pathStringFromAliasHandle(alias);
       DisposeHandle(alias);
       return isMade && isEqual(path, folder.string("tree/moved"));
     }},
    {"may it be deleted", 1,
     [](const ScratchFolder& folder) { return JxFileAccessibility::isDeletable(folder.string("file")); }},
    {"space of a volume", 1,
     [](const ScratchFolder& folder) {
       return JxVolumeCatalogInformation::volumeTotalSpace(folder.string("file")) > 0;
     }},
    {"display name", 1,
     [](const ScratchFolder& folder) {
       return JxTalvoZtWdExensions::displayPathWithSeparetor(folder.string("file"), "/") != nullptr;
     }},
};

class InterruptedCallTests : public testing::TestWithParam<Operation> {
 protected:
  InterruptedCallTests() { quick_.set("TMPDIR", quickFolder()); }

  void SetUp() override {
    const Need need = GetParam().need;
    if (need == Need::Attributes && !takesAttributes(quickFolder())) GTEST_SKIP() << kNoAttributes;
    if (need == Need::TwoDisks && !Scene().hasTwoDisks()) GTEST_SKIP() << "this machine has one file system";
  }

 private:
  ScopedEnvironment quick_;
};

TEST_P(InterruptedCallTests, AreMadeAgain) {
  const Operation& operation = GetParam();
  // Whether the answer is right with the call `at` interrupted, or none.
  const auto runWith = [&](int at, std::vector<std::string>& calls) {
    const Scene scene;
    bool isRight;
    {
      const FaultScript script({at, EINTR, false});
      isRight = operation.run(scene);
      calls = script.calls();
    }
    return isRight && operation.check(scene);
  };
  std::vector<std::string> calls;
  std::vector<std::string> again;
  ASSERT_TRUE(runWith(-1, calls)) << "without a signal";
  ASSERT_TRUE(runWith(-1, calls)) << "nor when all is known that is found out once";
  int interrupted = 0;
  for (std::size_t at = 0; at < calls.size(); ++at) {
    if (!kInterruptible.contains(calls[at])) continue;
    ++interrupted;
    EXPECT_TRUE(runWith(static_cast<int>(at), again)) << "call " << at << ", " << calls[at];
    ASSERT_EQ(again.at(at), calls[at]) << "another call than the one that was meant";
  }
  EXPECT_GE(interrupted, operation.calls);
  report("interrupted call", operation.name, interrupted, "made again: success");
}

INSTANTIATE_TEST_SUITE_P(Operations, InterruptedCallTests, testing::ValuesIn(kOperations), [](const auto& operation) {
  std::string name = operation.param.name;
  for (char& character : name) {
    if (::isalnum(character) == 0) character = '_';
  }
  return name;
});

}  // namespace
}  // namespace ZtFoundation::test
