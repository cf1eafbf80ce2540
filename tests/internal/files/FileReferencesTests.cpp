#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>

#include "platform/services/Aliases.h"
#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using namespace JxFileSystemRepresentation;
using ZtFoundation::test::RecordingLog;

// --- Real items

class FileReferencesTests : public ::testing::Test {
 protected:
  FileReferencesTests() {
    writeFile(folder / "a b", "text");
    std::filesystem::create_directory(folder / "inner");
  }

  ScratchFolder folder;
  const Ref<NSString> path = folder.string("a b");
  const Ref<NSURL> url = NSURL::fileURLWithPath(path);
};

TEST_F(FileReferencesTests, ThereAndBackByReference) {
  FSRef ref;
  ASSERT_TRUE(pathStringToFSRef(path, &ref));
  EXPECT_TRUE(pathStringFromFSRef(&ref)->isEqual(path));
  EXPECT_TRUE(URLFromFSRef(&ref)->isEqual(url));
  FSRef byURL;
  ASSERT_TRUE(URLToFSRef(url, &byURL));
  EXPECT_EQ(byURL.identity(), ref.identity());
}

TEST_F(FileReferencesTests, AReferenceToAFolderGivesAURLThatNamesIt) {
  FSRef ref;
  ASSERT_TRUE(pathStringToFSRef(folder.string("inner/"), &ref));
  EXPECT_EQ(URLFromFSRef(&ref)->path()->utf8(), folder / "inner");
  EXPECT_TRUE(URLFromFSRef(&ref)->isFileURL());
}

TEST_F(FileReferencesTests, ThereAndBackByAlias) {
  AliasHandle aliases[4] = {};
  ASSERT_TRUE(pathStringToAlias(path, &aliases[0]));
  ASSERT_TRUE(pathStringToAliasMinimal(path, &aliases[1]));
  ASSERT_TRUE(URLToAlias(url, &aliases[2]));
  ASSERT_TRUE(URLToAliasMinimal(url, &aliases[3]));
  for (AliasHandle alias : aliases) {
    EXPECT_TRUE(pathStringFromAliasHandle(alias)->isEqual(path));
    EXPECT_TRUE(URLFromAliasHandle(alias)->isEqual(url));
  }
  std::filesystem::rename(folder / "a b", folder / "inner/moved");
  for (AliasHandle alias : aliases) {
    EXPECT_EQ(pathStringFromAliasHandle(alias)->utf8(), folder / "inner/moved");
    EXPECT_EQ(URLFromAliasHandle(alias)->path()->utf8(), folder / "inner/moved");
    DisposeHandle(alias);
  }
}

TEST_F(FileReferencesTests, AMissingItemHasNoRecord) {
  const RecordingLog log;
  const Ref<NSString> missing = folder.string("missing");
  const Ref<NSString> paths[] = {missing, nullptr, "", folder.string("a b/x"), folder.string("a b/")};
  const Ref<NSURL> urls[] = {NSURL::fileURLWithPath(missing), nullptr, NSURL::URLWithString("http://example.org/etc")};
  FSRef ref;
  FSSpec description;
  AliasHandle alias = nullptr;
  for (const Ref<NSString>& each : paths) {
    EXPECT_FALSE(pathStringToFSRef(each, &ref) || pathStringToAlias(each, &alias) ||
                 pathStringToAliasMinimal(each, &alias) || pathStringToFSSpec(each, &description));
  }
  for (const Ref<NSURL>& each : urls) {
    EXPECT_FALSE(URLToFSRef(each, &ref) || URLToAlias(each, &alias) || URLToAliasMinimal(each, &alias) ||
                 URLToFSSpec(each, &description));
  }
  EXPECT_TRUE(ref.isEmpty());
  EXPECT_EQ(alias, nullptr);
  EXPECT_EQ(std::int32_t{description.parID}, 0);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(FileReferencesTests, NoPointerNoAnswer) {
  EXPECT_EQ(pathStringFromFSRef(nullptr), nullptr);
  EXPECT_EQ(pathStringFromAliasHandle(nullptr), nullptr);
  EXPECT_EQ(URLFromFSRef(nullptr), nullptr);
  EXPECT_EQ(URLFromAliasHandle(nullptr), nullptr);
  EXPECT_FALSE(pathStringToFSRef(path, nullptr));
  EXPECT_FALSE(pathStringToAlias(path, nullptr));
  EXPECT_FALSE(pathStringToAliasMinimal(path, nullptr));
  EXPECT_FALSE(pathStringToFSSpec(path, nullptr));
  EXPECT_FALSE(URLToFSRef(url, nullptr));
  EXPECT_FALSE(URLToAlias(url, nullptr));
  EXPECT_FALSE(URLToAliasMinimal(url, nullptr));
  EXPECT_FALSE(URLToFSSpec(url, nullptr));
  const FSRef empty;
  EXPECT_EQ(pathStringFromFSRef(&empty), nullptr);
  EXPECT_EQ(URLFromFSRef(&empty), nullptr);
}

TEST_F(FileReferencesTests, FileDescriptions) {
  struct stat parent {};
  ASSERT_EQ(::stat(folder.path().c_str(), &parent), 0);
  if (parent.st_ino > 0x7FFFFFFF) GTEST_SKIP() << "large numbers on this file system";
  FSSpec byPath;
  FSSpec byURL;
  if (!pathStringToFSSpec(path, &byPath)) GTEST_SKIP() << "the folder is on no volume";
  ASSERT_TRUE(URLToFSSpec(url, &byURL));
  EXPECT_LT(byPath.vRefNum, 0);
  EXPECT_EQ(static_cast<ino_t>(byPath.parID), parent.st_ino);
  EXPECT_EQ(std::memcmp(byPath.name, "\3a b", 4), 0);
  EXPECT_EQ(std::memcmp(&byPath, &byURL, sizeof byPath), 0);
  writeFile(folder / std::string(64, 'x'), "text");
  EXPECT_FALSE(pathStringToFSSpec(folder.string(std::string(64, 'x')), &byPath));
}

// --- What is asked of the platform, and what its failures do

class NotingPlatform final : public FileCatalog, public Aliases {
 public:
  OSErr FSPathMakeRef(const Ref<NSString>&, FSRef*, bool*) override { return answer("FSPathMakeRef"); }
  bool CFURLGetFSRef(const Ref<NSURL>& url, FSRef* ref) override {
    asked = url;
    if (answer("CFURLGetFSRef") != noErr) return false;
    *ref = FSRef({}, "/made");
    return true;
  }
  Ref<NSURL> CFURLCreateFromFSRef(const FSRef* ref) override {
    if (answer("CFURLCreateFromFSRef " + ref->path()->utf8()) != noErr) return nullptr;
    return NSURL::URLWithString("file://localhost/the%20item/");
  }
  OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap wanted, FSCatalogInfo* info, FSSpec* spec) override {
    EXPECT_EQ(info, nullptr);
    EXPECT_NE(spec, nullptr);
    return answer("FSGetCatalogInfo " + ref->path()->utf8() + " " + std::to_string(wanted));
  }
  OSErr FSSetCatalogInfo(const FSRef*, FSCatalogInfoBitmap, const FSCatalogInfo*) override { return answer("set"); }
  OSErr FSCreateDirectoryUnicode(const FSRef*, const Ref<NSString>&) override { return answer("create"); }
  OSErr FSRenameUnicode(const FSRef*, const Ref<NSString>&) override { return answer("rename"); }
  OSErr FSNewAlias(const FSRef* ref, AliasHandle*) override { return answer("FSNewAlias " + ref->path()->utf8()); }
  OSErr FSNewAliasMinimal(const FSRef* ref, AliasHandle*) override {
    return answer("FSNewAliasMinimal " + ref->path()->utf8());
  }
  OSErr FSResolveAlias(AliasHandle, FSRef* target, bool*) override {
    *target = FSRef({}, "/resolved");
    return answer("FSResolveAlias");
  }

  std::vector<std::string> calls;
  std::size_t failing = 99;  // the call that fails, counted from 0
  Ref<NSURL> asked;

 private:
  OSErr answer(const std::string& call) {
    calls.push_back(call);
    return calls.size() == failing + 1 ? fnfErr : noErr;
  }
  ScopedService<FileCatalog> catalogScope_{*this};
  ScopedService<Aliases> aliasesScope_{*this};
};

struct Step {
  const char* name;
  bool (*run)();
  std::vector<std::string> calls;
};

AliasHandle someAlias() {
  static AliasRecord record{};
  static AliasRecord* pointer = &record;
  return &pointer;
}

FSRef given() { return FSRef({}, "/given"); }

const Step kSteps[] = {
    {"path from reference",
     [] {
       const FSRef ref = given();
       return pathStringFromFSRef(&ref) != nullptr;
     },
     {"CFURLCreateFromFSRef /given"}},
    {"URL from reference",
     [] {
       const FSRef ref = given();
       return URLFromFSRef(&ref) != nullptr;
     },
     {"CFURLCreateFromFSRef /given"}},
    {"path from alias",
     [] { return pathStringFromAliasHandle(someAlias()) != nullptr; },
     {"FSResolveAlias", "CFURLCreateFromFSRef /resolved"}},
    {"URL from alias",
     [] { return URLFromAliasHandle(someAlias()) != nullptr; },
     {"FSResolveAlias", "CFURLCreateFromFSRef /resolved"}},
    {"path to reference",
     [] {
       FSRef ref;
       return pathStringToFSRef("/p", &ref);
     },
     {"CFURLGetFSRef"}},
    {"URL to reference",
     [] {
       FSRef ref;
       return URLToFSRef(NSURL::fileURLWithPath("/p"), &ref);
     },
     {"CFURLGetFSRef"}},
    {"path to alias",
     [] {
       AliasHandle alias;
       return pathStringToAlias("/p", &alias);
     },
     {"CFURLGetFSRef", "FSNewAlias /made"}},
    {"path to minimal alias",
     [] {
       AliasHandle alias;
       return pathStringToAliasMinimal("/p", &alias);
     },
     {"CFURLGetFSRef", "FSNewAliasMinimal /made"}},
    {"URL to alias",
     [] {
       AliasHandle alias;
       return URLToAlias(NSURL::fileURLWithPath("/p"), &alias);
     },
     {"CFURLGetFSRef", "FSNewAlias /made"}},
    {"URL to minimal alias",
     [] {
       AliasHandle alias;
       return URLToAliasMinimal(NSURL::fileURLWithPath("/p"), &alias);
     },
     {"CFURLGetFSRef", "FSNewAliasMinimal /made"}},
    {"path to description",
     [] {
       FSSpec description;
       return pathStringToFSSpec("/p", &description);
     },
     {"CFURLGetFSRef", "FSGetCatalogInfo /made 0"}},
    {"URL to description",
     [] {
       FSSpec description;
       return URLToFSSpec(NSURL::fileURLWithPath("/p"), &description);
     },
     {"CFURLGetFSRef", "FSGetCatalogInfo /made 0"}},
};

TEST(FileReferencesStepsTests, EachStepIsTakenAndItsFailureIsTheAnswer) {
  for (const Step& step : kSteps) {
    {
      NotingPlatform platform;
      EXPECT_TRUE(step.run()) << step.name;
      EXPECT_EQ(platform.calls, step.calls) << step.name;
    }
    for (std::size_t failing = 0; failing < step.calls.size(); ++failing) {
      NotingPlatform platform;
      platform.failing = failing;
      EXPECT_FALSE(step.run()) << step.name << ", call " << failing;
      EXPECT_EQ(platform.calls.size(), failing + 1) << step.name;
    }
  }
}

TEST(FileReferencesStepsTests, URLsGoToThePlatformAsTheyAre) {
  NotingPlatform platform;
  FSRef ref;
  const Ref<NSURL> page = NSURL::URLWithString("http://example.org/a");
  EXPECT_TRUE(URLToFSRef(page, &ref));
  EXPECT_EQ(platform.asked.get(), page.get());
  EXPECT_TRUE(pathStringToFSRef("/a b", &ref));
  EXPECT_EQ(platform.asked->absoluteString()->utf8(), "file:///a%20b");
}

TEST(FileReferencesStepsTests, AURLFromAReferenceHasTheStandardForm) {
  NotingPlatform platform;
  const FSRef ref = given();
  EXPECT_EQ(pathStringFromFSRef(&ref)->utf8(), "/the item");
  EXPECT_EQ(URLFromFSRef(&ref)->absoluteString()->utf8(), "file:///the%20item");
  EXPECT_EQ(URLFromAliasHandle(someAlias())->absoluteString()->utf8(), "file:///the%20item");
}

}  // namespace
}  // namespace ZtFoundation::test
