// Making, changing, copying, moving and removing files with each of their allocations failing.
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Runtime.h>

#include <support/FailingAllocations.h>
#include <support/FileTree.h>
#include <support/PrivateMounts.h>
#include <support/QuietStandardError.h>

namespace ZtFoundation::test {
namespace {

// Is told of everything.
class Witness : public NSObject {
  ZT_OBJECT(Witness, NSObject)
 public:
  void willProcess(const Ref<NSFileManager>&, const Ref<NSString>&) {}
  bool shouldProceed(const Ref<NSFileManager>&, const Ref<NSDictionary>&) { return false; }
  bool afterBytes(const Ref<NSFileManager>&, std::uint64_t, std::uint64_t, const Ref<NSString>&) { return true; }
  bool afterItems(const Ref<NSFileManager>&, std::uint64_t, const Ref<NSString>&) { return true; }
};

ZT_REGISTER_CLASS(Witness, ZT_METHOD("fileManager:willProcessPath:", &Witness::willProcess),
                  ZT_METHOD("fileManager:shouldProceedAfterError:", &Witness::shouldProceed),
                  ZT_METHOD("fileManager:shouldContinueAfterCopyingBytes:ofTotal:atPath:", &Witness::afterBytes),
                  ZT_METHOD("fileManager:shouldContinueAfterRemovingItems:atPath:", &Witness::afterItems));

struct Changes {
  FileTree tree;
  Ref<NSString> file = FileTree::path("file.txt");
  Ref<NSString> folder = FileTree::path("folder");
  Ref<NSString> inner = FileTree::path("folder/inner.txt");
  Ref<NSString> link = FileTree::path("link.txt");
  Ref<NSString> locked = FileTree::path("locked.txt");
  Ref<NSString> missing = FileTree::path("a missing item.txt");
  Ref<NSString> deepMissing = FileTree::path("missing/folders/one in the other");
  Ref<NSString> name = "another name of the file";
  Ref<NSData> data = NSData::dataWithBytes("these are the new contents");
  Ref<NSDictionary> attributes = NSDictionary::of({{NSFilePosixPermissions, 0640}, {NSFileOwnerAccountName, "root"}});
  Ref<NSObject> witness = make<Witness>();
  Ref<NSFileManager> files = NSFileManager::defaultManager();

  std::string describe() const { return tree.describe(); }
};

// Operations that answer a status raise nothing. Their -108 is turned into what the others end in, so that the same is
// checked of both.
template <class Operation>
auto answering(Operation operation) {
  return [operation](Changes& c) -> OSStatus {
    OSStatus status = noErr;
    try {
      status = operation(c);
    } catch (const std::bad_alloc&) {
      return -1;
    }
    if (status == memFullErr) throw std::bad_alloc();
    return status;
  };
}

class AllocationFailureFileOperations : public testing::Test {
 private:
  QuietStandardError quiet_;
  FileTree tree_;
};

TEST_F(AllocationFailureFileOperations, Statuses) {
  using namespace JxFileOperation;
  using namespace JxTalvoZtWdExensions;
  const EachOf<Changes> each;
  each("JxFileOperation::createFileWithContents",
       answering([](Changes& c) { return createFileWithContents(c.missing, c.data); }));
  each("JxFileOperation::createFileWithContents (replacing)",
       answering([](Changes& c) { return createFileWithContents(c.file, c.data); }));
  each("JxFileOperation::copyFileTo", answering([](Changes& c) { return copyFileTo(c.file, c.missing); }));
  each("JxFileOperation::createDirectoryWithRecursively",
       answering([](Changes& c) { return createDirectoryWithRecursively(c.missing, false); }));
  // Folders made so far stay.
  each("JxFileOperation::createDirectoryWithRecursively (several)",
       answering([](Changes& c) { return createDirectoryWithRecursively(c.deepMissing, true); }),
       {.leaves = Leaves::Part});
  each("JxFileOperation::renameFileTo", answering([](Changes& c) { return renameFileTo(c.file, c.name); }));
  each("JxFileOperation::removeFileForcefully",
       answering([](Changes& c) { return removeFileForcefully(c.file, false); }));
  // The lock is taken away first.
  each("JxFileOperation::removeFileForcefully (locked)",
       answering([](Changes& c) { return removeFileForcefully(c.locked, true); }), {.leaves = Leaves::Part});
  each("JxTalvoZtWdExensions::createFileWithContents_autoname",
       answering([](Changes& c) { return createFileWithContents_autoname(c.file, c.data, true); }));
  each("JxTalvoZtWdExensions::copyFileTo_autoname",
       answering([](Changes& c) { return copyFileTo_autoname(c.file, c.inner, true); }));
}

TEST_F(AllocationFailureFileOperations, Making) {
  const EachOf<Changes> each;
  each("NSFileManager::createDirectoryAtPath_attributes",
       [](Changes& c) { return c.files->createDirectoryAtPath_attributes(c.missing, c.attributes); });
  each("NSFileManager::createFileAtPath_contents_attributes",
       [](Changes& c) { return c.files->createFileAtPath_contents_attributes(c.missing, c.data, c.attributes); });
  each("NSFileManager::createFileAtPath_contents_attributes (replacing)",
       [](Changes& c) { return c.files->createFileAtPath_contents_attributes(c.link, c.data, nullptr); });
  each("QvFoundationExtensions::createDirectoryAtPath_attributes_recursively", [](Changes& c) {
    return QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(c.files, c.missing, c.attributes, true);
  });
  // Folders made so far stay.
  each("QvFoundationExtensions::createDirectoryAtPath_attributes_recursively (several)",
       [](Changes& c) {
         return QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(c.files, c.deepMissing, nullptr,
                                                                                     true);
       },
       {.leaves = Leaves::Part});
  each("NSData::writeToFile_atomically", [](Changes& c) { return c.data->writeToFile_atomically(c.file, true); });
  each("NSData::writeToFile_atomically (new)",
       [](Changes& c) { return c.data->writeToFile_atomically(c.missing, true); });
  each("NSData::writeToFile_atomically (in place)",
       [](Changes& c) { return c.data->writeToFile_atomically(c.file, false); });
}

TEST_F(AllocationFailureFileOperations, FoldersUnderFreeNames) {
  using namespace JxTalvoZtWdExensions;
  const EachOf<Changes> each;
  each("JxTalvoZtWdExensions::createUnusedFinderFolder", [](Changes& c) { return createUnusedFinderFolder(c.folder); });
}

TEST_F(AllocationFailureFileOperations, Locking) {
  const EachOf<Changes> each;
  each("JxFileCatalogInformation::setFinderLock",
       [](Changes& c) { JxFileCatalogInformation::setFinderLock(c.file, true); });
  each("JxFileCatalogInformation::setFinderLock (away)",
       [](Changes& c) { JxFileCatalogInformation::setFinderLock(c.locked, false); });
  each("QvFoundationExtensions::lockFileAtPath",
       [](Changes& c) { return QvFoundationExtensions::lockFileAtPath(c.files, c.file); });
  each("QvFoundationExtensions::unlockFileAtPath",
       [](Changes& c) { return QvFoundationExtensions::unlockFileAtPath(c.files, c.locked); });
}

TEST_F(AllocationFailureFileOperations, SingleItems) {
  const EachOf<Changes> each;
  each("NSFileManager::copyPath_toPath_handler",
       [](Changes& c) { return c.files->copyPath_toPath_handler(c.file, c.missing, nullptr); });
  each("NSFileManager::copyPath_toPath_handler (told)",
       [](Changes& c) { return c.files->copyPath_toPath_handler(c.file, c.missing, c.witness); });
  each("NSFileManager::copyPath_toPath_handler (link)",
       [](Changes& c) { return c.files->copyPath_toPath_handler(c.link, c.missing, nullptr); });
  each("NSFileManager::copyPath_toPath_handler (taken)",
       [](Changes& c) { return c.files->copyPath_toPath_handler(c.file, c.inner, c.witness); });
  each("NSFileManager::linkPath_toPath_handler",
       [](Changes& c) { return c.files->linkPath_toPath_handler(c.file, c.missing, c.witness); });
  each("NSFileManager::movePath_toPath_handler",
       [](Changes& c) { return c.files->movePath_toPath_handler(c.file, c.missing, nullptr); });
  each("NSFileManager::movePath_toPath_handler (told)",
       [](Changes& c) { return c.files->movePath_toPath_handler(c.folder, c.missing, c.witness); });
  each("NSFileManager::removeFileAtPath_handler",
       [](Changes& c) { return c.files->removeFileAtPath_handler(c.file, nullptr); });
  each("NSFileManager::removeFileAtPath_handler (locked)",
       [](Changes& c) { return c.files->removeFileAtPath_handler(c.locked, c.witness); });
  // That it is gone is told afterwards.
  each("NSFileManager::removeFileAtPath_handler (told)",
       [](Changes& c) { return c.files->removeFileAtPath_handler(c.file, c.witness); }, {.leaves = Leaves::PartOrAll});
}

TEST_F(AllocationFailureFileOperations, FilesUnderFreeNames) {
  const EachOf<Changes> each;
  // What was begun is taken back. Where memory is still missing then, the hidden file may stay.
  each("JxTalvoZtWdExensions::createUnusedFinderFile",
       [](Changes& c) { return JxTalvoZtWdExensions::createUnusedFinderFile(c.file, c.data) != nullptr; },
       {.leaves = Leaves::Rest});
}

// What was begun is taken back. Where memory is still missing then, some of it may stay.
TEST_F(AllocationFailureFileOperations, CopiesOfFolders) {
  const EachOf<Changes> each;
  each("NSFileManager::copyPath_toPath_handler (folder)",
       [](Changes& c) { return c.files->copyPath_toPath_handler(c.folder, c.missing, nullptr); },
       {.leaves = Leaves::Rest});
  each("NSFileManager::copyPath_toPath_handler (folder, told)",
       [](Changes& c) { return c.files->copyPath_toPath_handler(c.folder, c.missing, c.witness); },
       {.leaves = Leaves::Rest});
  each("NSFileManager::linkPath_toPath_handler (folder)",
       [](Changes& c) { return c.files->linkPath_toPath_handler(c.folder, c.missing, nullptr); },
       {.leaves = Leaves::Rest});
}

// --- Removals of folders, moves to another volume

template <class State>
using Operation = std::function<bool(State&)>;

// What is left after each allocation has failed, alone and with all after it.
template <class State, class Check>
void checkAfterEachFailure(const char* name, const Operation<State>& operation, Check check) {
  if (std::getenv(allocations::kFirstUseVariable) != nullptr) return;  // the library is not to be used in this process
  for (const Failing mode : {Failing::One, Failing::AllFrom}) {
    for (std::size_t at = 1;; ++at) {
      State state;
      const allocations::Run run = allocations::run(name, state, operation, at, mode, 0);
      SCOPED_TRACE(testing::Message() << name << ", allocation " << at
                                      << (mode == Failing::One ? "" : " and all after"));
      check(state, run.end == allocations::Run::End::NoMemory, mode);
      if (run.count.failed == 0 || testing::Test::HasFailure()) break;
    }
  }
}

// What is gone is gone, and nothing outside of the folder is touched. That the last item is gone is told afterwards.
TEST_F(AllocationFailureFileOperations, RemovalsOfFolders) {
  const Operation<Changes> remove = [](Changes& c) { return c.files->removeFileAtPath_handler(c.folder, c.witness); };
  const char* const name = "NSFileManager::removeFileAtPath_handler (folder)";
  EachOf<Changes>()(name, remove, {.leaves = Leaves::PartOrAll});
  const auto outside = [] {
    std::filesystem::remove_all(FileTree::root() + "/folder");
    return describeTree(FileTree::root());
  };
  const FileTree whole;
  const std::string others = outside();
  checkAfterEachFailure(name, remove, [&](const Changes&, bool, Failing) { EXPECT_EQ(outside(), others); });
}

// A folder and the place on another volume that it moves to.
struct ToMove : Changes {
  inline static std::string target;
  static std::string source() { return FileTree::root() + "/folder"; }

  Ref<NSString> to = NSString::stringWithFileSystemRepresentation(target);

  ToMove() { std::filesystem::remove_all(target); }
  bool isThere() const { return std::filesystem::exists(target); }
  std::string describe() const { return Changes::describe() + (isThere() ? describeTree(target) : "not there"); }
};

// The item is whole at one of its places, or at both. A copy that is not taken back is in the way of the same call.
TEST_F(AllocationFailureFileOperations, MovesToAnotherVolume) {
  PrivateMounts mounts;
  if (!mounts.isPossible()) GTEST_SKIP() << mounts.whyNot();
  ToMove::target = mounts.memory("another volume") + "/moved";
  const Operation<ToMove> move = [](ToMove& m) { return m.files->movePath_toPath_handler(m.folder, m.to, m.witness); };
  const char* const name = "NSFileManager::movePath_toPath_handler (volumes)";
  EachOf<ToMove>()(name, move, {.leaves = Leaves::Anything});
  const FileTree whole;
  const std::string contents = describeTree(ToMove::source());
  const auto isWholeAt = [&](const std::string& place) {
    return std::filesystem::exists(place) && describeTree(place) == contents;
  };
  const std::size_t descriptors = openDescriptors();
  checkAfterEachFailure(name, move, [&](ToMove& m, bool hasFailed, Failing mode) {
    const bool isCopied = isWholeAt(ToMove::target);
    EXPECT_TRUE(isCopied || isWholeAt(ToMove::source()));
    EXPECT_TRUE(isCopied || hasFailed);
    EXPECT_TRUE(isCopied == m.isThere() || mode == Failing::AllFrom);
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_TRUE(m.isThere() || (move(m) && isWholeAt(ToMove::target)));
  });
}

}  // namespace
}  // namespace ZtFoundation::test
