// The steps of operations whose answers come from the platform's calls: in which order, with what, and what becomes of
// their errors.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <new>

#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"
#include "support/ReplacedMethod.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Calls = std::vector<std::string>;

/// Knows paths instead of files; notes what is made and renamed.
class PathCatalog final : public FileCatalog {
 public:
  std::set<std::string> existing;
  std::map<std::string, OSErr> errors;  // of making the folder of that name; dupFNErr: it is there by now
  OSErr renameAnswer = noErr;
  std::uint16_t nodeFlags = 0;
  bool hasNoMemory = false;
  Calls calls;

  OSErr FSPathMakeRef(const Ref<NSString>& path, FSRef* ref, bool*) override {
    if (!path || !existing.contains(path->utf8())) return fnfErr;
    *ref = FSRef({}, path);
    return noErr;
  }
  bool CFURLGetFSRef(const Ref<NSURL>& url, FSRef* ref) override {
    return FSPathMakeRef(url->path(), ref, nullptr) == noErr;
  }
  Ref<NSURL> CFURLCreateFromFSRef(const FSRef*) override { return nullptr; }
  OSErr FSGetCatalogInfo(const FSRef*, FSCatalogInfoBitmap, FSCatalogInfo* info, FSSpec*) override {
    info->nodeFlags = nodeFlags;
    return noErr;
  }
  OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap, const FSCatalogInfo* info) override {
    calls.push_back(ref->path()->utf8().append(" = ").append(std::to_string(info->nodeFlags)));
    return noErr;
  }
  OSErr FSCreateDirectoryUnicode(const FSRef* parent, const Ref<NSString>& name) override {
    calls.push_back(parent->path()->utf8().append(" | ").append(name->utf8()));
    const auto error = errors.find(name->utf8());
    if (error != errors.end() && error->second != dupFNErr) return error->second;
    existing.insert(parent->path()->stringByAppendingPathComponent(name)->utf8());
    return error != errors.end() ? dupFNErr : noErr;
  }
  OSErr FSRenameUnicode(const FSRef* ref, const Ref<NSString>& name) override {
    if (hasNoMemory) throw std::bad_alloc();
    calls.push_back(ref->path()->utf8().append(" > ").append(name->utf8()));
    return renameAnswer;
  }
};

class FileOperationStepsTests : public testing::Test {
 protected:
  FileOperationStepsTests() { catalog.existing = {"/", "/a", "a"}; }

  PathCatalog catalog;
  ScopedService<FileCatalog> scope{catalog};
};

TEST_F(FileOperationStepsTests, FoldersAreMadeFromTheOutermostIn) {
  EXPECT_EQ(JxFileOperation::createDirectoryWithRecursively("/a/b/c:d", true), noErr);
  EXPECT_EQ(catalog.calls, (Calls{"/a | b", "/a/b | c:d"}));
  catalog.calls.clear();
  EXPECT_EQ(JxFileOperation::createDirectoryWithRecursively("a/e", false), noErr);
  EXPECT_EQ(catalog.calls, Calls{"a | e"});
}

TEST_F(FileOperationStepsTests, TheFirstErrorEndsTheMaking) {
  catalog.errors["c"] = vLckdErr;
  EXPECT_EQ(JxFileOperation::createDirectoryWithRecursively("/a/b/c/d", true), vLckdErr);
  EXPECT_EQ(catalog.calls, (Calls{"/a | b", "/a/b | c"}));
}

TEST_F(FileOperationStepsTests, AFolderThatAnotherMakesMeanwhileEndsTheMakingToo) {
  catalog.errors["c"] = dupFNErr;
  EXPECT_EQ(JxFileOperation::createDirectoryWithRecursively("/a/b/c/d", true), dupFNErr);
  EXPECT_EQ(catalog.calls, (Calls{"/a | b", "/a/b | c"}));
}

TEST_F(FileOperationStepsTests, AFolderWithoutAParentIsPassedOver) {
  EXPECT_EQ(JxFileOperation::createDirectoryWithRecursively("missing/x", true), dupFNErr);
  EXPECT_EQ(catalog.calls, Calls{}) << "not even the first: nothing above it can be referred to";
}

TEST_F(FileOperationStepsTests, NewNamesAndAnswersPassAsTheyStand) {
  for (const OSErr answer : {noErr, dupFNErr, fLckdErr, bdNamErr, memFullErr, ioErr}) {
    catalog.renameAnswer = answer;
    EXPECT_EQ(JxFileOperation::renameFileTo("/a", "x/y:z"), answer);
  }
  EXPECT_EQ(catalog.calls.front(), "/a > x/y:z");
  catalog.calls.clear();
  EXPECT_EQ(JxFileOperation::renameFileTo("/a", ""), paramErr);
  EXPECT_EQ(JxFileOperation::renameFileTo("/missing", "x"), paramErr);
  EXPECT_EQ(catalog.calls, Calls{});
  catalog.hasNoMemory = true;
  EXPECT_EQ(JxFileOperation::renameFileTo("/a", "x"), memFullErr);
}

// --- Removal asks the default manager

bool refuse(NSFileManager&, const Ref<NSString>&, const Ref<NSObject>& handler) {
  EXPECT_FALSE(handler);
  return false;
}

TEST_F(FileOperationStepsTests, OnlyWhatIsLockedIsUnlockedForRemoval) {
  ScratchFolder folder;
  const std::string file = folder / "file";
  catalog.existing.insert(file);
  for (const std::uint16_t flags : {std::uint16_t{0x10}, std::uint16_t{0x11}}) {
    writeFile(file, "text");
    catalog.nodeFlags = flags;
    EXPECT_EQ(JxFileOperation::removeFileForcefully(file, true), noErr);
    EXPECT_EQ(catalog.calls, flags == 0x10 ? Calls() : Calls{file + " = 16"});
  }
}

TEST(FileRemovalStepsTests, ARemovalThatIsRefusedIsParamErr) {
  const ReplacedMethod<&refuse> replaced(NSFileManager::classObject(), ZT_SELECTOR("removeFileAtPath:handler:"));
  ScratchFolder folder;
  writeFile(folder / "file", "text");
  EXPECT_EQ(JxFileOperation::removeFileForcefully(folder.string("file"), false), paramErr);
  EXPECT_EQ(contentsOf(folder / "file"), "text");
}

}  // namespace
}  // namespace ZtFoundation::test
