#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/services/FileCatalog.h"
#include "platform/services/LaunchServices.h"
#include "platform/services/Service.h"
#include "support/RecordingLog.h"

namespace ZtFoundation::test {

using Steps = std::vector<std::string>;

/// Keeps "/.hidden" in memory and notes what it is asked.
class HidingManager : public NSFileManager {
  ZT_OBJECT(HidingManager, NSFileManager)
 public:
  bool fileExistsAtPath(const Ref<NSString>& path) override {
    steps->push_back("exists " + path->utf8());
    return isThere;
  }
  Ref<NSData> contentsAtPath(const Ref<NSString>& path) override {
    steps->push_back("read " + path->utf8());
    return contents ? NSData::dataWithBytes(*contents) : nullptr;
  }

  Steps* steps = nullptr;
  bool isThere = true;
  std::optional<std::string> contents;
};

ZT_IMPLEMENT_CLASS(HidingManager);

namespace {

using QvFoundationExtensions::isVisibleFileAtPath;
using QvFoundationExtensions::isVisibleFileAtURL;

class FakeCatalog : public FileCatalog {
 public:
  explicit FakeCatalog(Steps& steps) : steps_(steps) {}

  OSErr FSPathMakeRef(const Ref<NSString>& path, FSRef* ref, bool*) override {
    steps_.push_back("reference " + (path ? path->utf8() : "none"));
    if (!path || error != noErr) return path ? error : paramErr;
    *ref = FSRef({}, path);
    return noErr;
  }
  bool CFURLGetFSRef(const Ref<NSURL>&, FSRef*) override { return unexpected(false); }
  Ref<NSURL> CFURLCreateFromFSRef(const FSRef*) override { return unexpected(nullptr); }
  OSErr FSGetCatalogInfo(const FSRef*, FSCatalogInfoBitmap, FSCatalogInfo*, FSSpec*) override {
    return unexpected(paramErr);
  }
  OSErr FSSetCatalogInfo(const FSRef*, FSCatalogInfoBitmap, const FSCatalogInfo*) override {
    return unexpected(paramErr);
  }
  OSErr FSCreateDirectoryUnicode(const FSRef*, const Ref<NSString>&) override { return unexpected(paramErr); }
  OSErr FSRenameUnicode(const FSRef*, const Ref<NSString>&) override { return unexpected(paramErr); }

  OSErr error = noErr;

 private:
  template <class T>
  static T unexpected(T answer) {
    ADD_FAILURE() << "not to be asked";
    return answer;
  }

  Steps& steps_;
};

class FakeLaunchServices : public LaunchServices {
 public:
  explicit FakeLaunchServices(Steps& steps) : steps_(steps) {}

  OSStatus LSCopyItemInfoForURL(const Ref<NSURL>&, LSRequestedInfo, LSItemInfoRecord*) override {
    ADD_FAILURE() << "asked by URL";
    return paramErr;
  }
  OSStatus LSCopyItemInfoForRef(const FSRef* ref, LSRequestedInfo wanted, LSItemInfoRecord* info) override {
    steps_.push_back("flags " + std::to_string(wanted) + " " + ref->path()->utf8());
    info->flags = flags;
    return status;
  }
  OSStatus LSFindApplicationForInfo(OSType, const Ref<NSString>&, Ref<NSURL>*) override {
    return kLSApplicationNotFoundErr;
  }

  LSItemInfoFlags flags = kLSItemInfoIsContainer;
  OSStatus status = noErr;

 private:
  Steps& steps_;
};

class VisibilityTests : public ::testing::Test {
 protected:
  VisibilityTests() { manager->steps = &steps; }

  bool isVisible(const Ref<NSString>& path) {
    steps.clear();
    return isVisibleFileAtPath(manager, path);
  }

  Steps steps;
  FakeCatalog catalog{steps};
  FakeLaunchServices launchServices{steps};
  ScopedService<FileCatalog> catalogScope{catalog};
  ScopedService<LaunchServices> launchServicesScope{launchServices};
  Ref<HidingManager> manager = make<HidingManager>();
};

TEST_F(VisibilityTests, WhatCannotBeReferredToIsVisible) {
  manager->contents = "usr";
  launchServices.flags = kLSItemInfoIsInvisible;
  catalog.error = fnfErr;
  EXPECT_TRUE(isVisible("/usr"));
  EXPECT_EQ(steps, Steps{"reference /usr"});
  EXPECT_TRUE(isVisible(nullptr));
}

TEST_F(VisibilityTests, TheInvisibleFlagHides) {
  manager->contents = "";
  launchServices.flags = kLSItemInfoIsContainer | kLSItemInfoIsInvisible;
  EXPECT_FALSE(isVisible("/usr"));
  EXPECT_EQ(steps, (Steps{"reference /usr", "flags 4 /usr"}));
  EXPECT_FALSE(isVisible("/d/x"));
  launchServices.flags = ~kLSItemInfoIsInvisible;
  EXPECT_TRUE(isVisible("/d/x"));
}

TEST_F(VisibilityTests, FlagsThatCannotBeToldDoNotHide) {
  launchServices.flags = kLSItemInfoIsInvisible;
  launchServices.status = ioErr;
  EXPECT_TRUE(isVisible("/d/x"));
}

TEST_F(VisibilityTests, OnlyItemsInTheRootAreLookedUpInTheList) {
  manager->contents = "usr";
  for (const char* path : {"/Volumes/Disk/usr", "/usr/usr", "usr", "./usr"}) {
    EXPECT_TRUE(isVisible(path)) << path;
    EXPECT_EQ(steps.size(), 2U) << path;
  }
}

TEST_F(VisibilityTests, TheListHidesItemsInTheRoot) {
  manager->contents = "bin\nusr\n";
  EXPECT_FALSE(isVisible("/usr"));
  EXPECT_EQ(steps, (Steps{"reference /usr", "flags 4 /usr", "exists /.hidden", "read /.hidden"}));
  EXPECT_FALSE(isVisible("/bin"));
  EXPECT_FALSE(isVisible("/usr/")) << "the same item";
  EXPECT_TRUE(isVisible("/etc"));
  EXPECT_TRUE(isVisible("/"));
}

TEST_F(VisibilityTests, WithoutAListEverythingIsVisible) {
  manager->contents = "usr";
  manager->isThere = false;
  EXPECT_TRUE(isVisible("/usr"));
  EXPECT_EQ(steps, (Steps{"reference /usr", "flags 4 /usr", "exists /.hidden"}));
}

TEST_F(VisibilityTests, AListThatCannotBeReadHidesNothing) {
  EXPECT_TRUE(isVisible("/usr"));
  manager->contents = "usr\n\xFF\n";
  EXPECT_TRUE(isVisible("/usr")) << "no UTF-8";
}

TEST_F(VisibilityTests, LinesAreComparedExactly) {
  struct {
    const char* list;
    const char* path;
    bool visible;
  } const cases[] = {
      {"usr\r\nbin\r\n", "/usr", true},
      {"usr\r\nbin\r\n", "/usr\r", false},
      {"Usr", "/usr", true},
      {"/usr", "/usr", true},
      {" usr", "/usr", true},
      {"us\nr", "/usr", true},
      {"usr lib", "/usr lib", false},
      {"\n\n", "/usr", true},
      {"", "/usr", true},
      {"/", "/", false},
      {"B\u00FCcher", "/B\u00FCcher", false},
      {"Bu\u0308cher", "/B\u00FCcher", true},
      {"a\u2028usr\u0085b", "/usr", true},
      {"\uFEFFusr", "/usr", false},
  };
  for (const auto& one : cases) {
    manager->contents = one.list;
    EXPECT_EQ(isVisible(one.path), one.visible) << one.list << " and " << one.path;
  }
}

TEST_F(VisibilityTests, AFileURLIsJudgedByItsPath) {
  manager->contents = "usr";
  EXPECT_FALSE(isVisibleFileAtURL(manager, NSURL::fileURLWithPath("/usr")));
  EXPECT_TRUE(isVisibleFileAtURL(manager, NSURL::fileURLWithPath("/etc")));
  EXPECT_FALSE(isVisibleFileAtURL(manager, NSURL::URLWithString("FILE://localhost/u%73r")));
}

TEST_F(VisibilityTests, AnotherURLIsALineInTheLog) {
  ZtFoundation::test::RecordingLog log;
  EXPECT_FALSE(isVisibleFileAtURL(manager, NSURL::URLWithString("http://example.org/etc")));
  EXPECT_FALSE(isVisibleFileAtURL(manager, nullptr));
  EXPECT_EQ(log.lines(), (Steps{"IS NOT FILE URL: http://example.org/etc", "IS NOT FILE URL: (null)"}));
  EXPECT_TRUE(steps.empty());
}

TEST_F(VisibilityTests, WithoutAManagerNothingIsVisible) {
  ZtFoundation::test::RecordingLog log;
  EXPECT_FALSE(isVisibleFileAtPath(nullptr, "/etc"));
  EXPECT_FALSE(isVisibleFileAtURL(nullptr, NSURL::fileURLWithPath("/etc")));
  EXPECT_FALSE(isVisibleFileAtURL(nullptr, NSURL::URLWithString("http://example.org/etc")));
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace ZtFoundation::test
