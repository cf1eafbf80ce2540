#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/ChildProcess.h"
#include "support/RecordingLog.h"
#include "support/ReplacedMethod.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

/// Says yes to everything and notes what it was asked.
class AgreeingManager : public NSFileManager {
  ZT_OBJECT(AgreeingManager, NSFileManager)
 public:
  bool fileExistsAtPath(const Ref<NSString>& path) override { return note("exists", path); }
  bool fileExistsAtPath_isDirectory(const Ref<NSString>& path, bool* isDirectory) override {
    if (isDirectory != nullptr) *isDirectory = true;
    return note("exists as", path);
  }
  bool isReadableFileAtPath(const Ref<NSString>& path) override { return note("readable", path); }
  bool isWritableFileAtPath(const Ref<NSString>& path) override { return note("writable", path); }
  bool isExecutableFileAtPath(const Ref<NSString>& path) override { return note("executable", path); }
  bool isDeletableFileAtPath(const Ref<NSString>& path) override { return note("deletable", path); }

  std::string asked;

 private:
  bool note(const std::string& question, const Ref<NSString>& path) {
    asked = std::string(question).append(" ").append(path->utf8());
    return true;
  }
};

ZT_IMPLEMENT_CLASS(AgreeingManager);

namespace {

using namespace JxFileAccessibility;
using namespace QvFoundationExtensions;
using ZtFoundation::test::RecordingLog;

// --- Strings

class FileAccessTests : public ::testing::Test {
 protected:
  Ref<NSString> file(mode_t mode) {
    writeFile(folder / "file", "text");
    ::chmod((folder / "file").c_str(), mode);
    return folder.string("file");
  }

  ScratchFolder folder;
};

TEST_F(FileAccessTests, TheOwnersBitsWhoeverAsks) {
  for (mode_t mode = 0; mode <= 07777; mode += 0111) {
    const Ref<NSString> path = file(mode);
    const unsigned bits = mode >> 6 & 7;
    std::uint8_t privileges = 0xFF;
    EXPECT_TRUE(userPrivileges(path, &privileges));
    EXPECT_EQ(privileges, bits);
    EXPECT_EQ(canUserAccessToRead(path), (bits & 4) != 0);
    EXPECT_EQ(canUserAccessToWrite(path), (bits & 2) != 0);
    EXPECT_EQ(canUserAccessToExecute(path), (bits & 1) != 0);
  }
  ::chmod(folder.path().c_str(), 0755);
  const Ref<NSString> path = file(0640);
  EXPECT_EQ(asOrdinaryUser([&] {
              std::uint8_t privileges = 0;
              const bool read =
                  canUserAccessToRead(path) && canUserAccessToWrite(path) && !canUserAccessToExecute(path);
              return userPrivileges(path, &privileges) && privileges == 6 && read ? 0 : 1;
            }),
            0);
}

TEST_F(FileAccessTests, LinksAreFollowed) {
  file(0500);
  ASSERT_EQ(::symlink("file", (folder / "link").c_str()), 0);
  std::uint8_t privileges = 0;
  EXPECT_TRUE(userPrivileges(folder.string("link"), &privileges));
  EXPECT_EQ(privileges, 5);
}

TEST_F(FileAccessTests, AMissingPathIsNoAndLeavesTheByte) {
  std::uint8_t privileges = 0x55;
  for (const Ref<NSString>& path : {folder.string("missing"), Ref<NSString>(), NSString::string()}) {
    EXPECT_FALSE(userPrivileges(path, &privileges));
    EXPECT_FALSE(canUserAccessToRead(path) || canUserAccessToWrite(path) || canUserAccessToExecute(path));
    EXPECT_FALSE(isReadable(path) || isWritable(path) || isExecutable(path) || isDeletable(path));
  }
  EXPECT_EQ(privileges, 0x55);
  EXPECT_FALSE(userPrivileges(file(0644), nullptr));
}

TEST_F(FileAccessTests, WhatThisProcessMayDo) {
  const Ref<NSString> path = file(0700);
  EXPECT_TRUE(isReadable(path) && isWritable(path) && isExecutable(path) && isDeletable(path));
  file(0400);
  EXPECT_TRUE(isReadable(path));
  EXPECT_FALSE(isExecutable(path));
}

bool agree(NSFileManager&, const Ref<NSString>& path) { return !path || path->utf8() == "/item"; }

// For root the answers are alike.
TEST(FileAccessStepsTests, EachQuestionIsPutToTheDefaultManagerByItsMessage) {
  const std::pair<bool (*)(const Ref<NSString>&), SEL> questions[] = {
      {isReadable, ZT_SELECTOR("isReadableFileAtPath:")},
      {isWritable, ZT_SELECTOR("isWritableFileAtPath:")},
      {isExecutable, ZT_SELECTOR("isExecutableFileAtPath:")},
      {isDeletable, ZT_SELECTOR("isDeletableFileAtPath:")},
  };
  for (const auto& [question, selector] : questions) {
    const ReplacedMethod<&agree> replaced(NSFileManager::classObject(), selector);
    for (const auto& [other, otherSelector] : questions) EXPECT_EQ(other("/item"), other == question);
    EXPECT_FALSE(question(nullptr)) << "nobody is asked about no path";
  }
}

Ref<NSDictionary> attributesOfAnything(NSFileManager&, const Ref<NSString>&, bool traverseLink) {
  EXPECT_TRUE(traverseLink);
  return NSDictionary::dictionaryWithObject_forKey(0370, NSFilePosixPermissions);
}

TEST(FileAccessStepsTests, PrivilegesAreAskedOfTheDefaultManagerByItsMessage) {
  const ReplacedMethod<&attributesOfAnything> replaced(NSFileManager::classObject(),
                                                       ZT_SELECTOR("fileAttributesAtPath:traverseLink:"));
  std::uint8_t privileges = 0;
  EXPECT_TRUE(userPrivileges("/item", &privileges));
  EXPECT_EQ(privileges, 3);
  EXPECT_FALSE(userPrivileges(nullptr, &privileges)) << "nobody is asked about no path";
}

Ref<NSDictionary> attributesWithoutPermissions(NSFileManager&, const Ref<NSString>&, bool) {
  return NSDictionary::dictionary();
}

TEST(FileAccessStepsTests, AttributesThatTellNoPermissionsAreNoAnswer) {
  const ReplacedMethod<&attributesWithoutPermissions> replaced(NSFileManager::classObject(),
                                                               ZT_SELECTOR("fileAttributesAtPath:traverseLink:"));
  std::uint8_t privileges = 0x55;
  EXPECT_FALSE(userPrivileges("/item", &privileges));
  EXPECT_EQ(privileges, 0x55);
}

// --- URLs

using Question = bool (*)(const Ref<NSFileManager>&, const Ref<NSURL>&);

bool existsAsAnything(const Ref<NSFileManager>& manager, const Ref<NSURL>& url) {
  return fileExistsAtURL_isDirectory(manager, url, nullptr);
}

const std::pair<Question, const char*> kQuestions[] = {
    {fileExistsAtURL, "exists"},       {existsAsAnything, "exists as"},       {isReadableFileAtURL, "readable"},
    {isWritableFileAtURL, "writable"}, {isExecutableFileAtURL, "executable"}, {isDeletableFileAtURL, "deletable"},
};

TEST(FileAccessURLTests, AFileURLGetsTheManagersOwnAnswer) {
  const RecordingLog log;
  const Ref<AgreeingManager> manager = ZtFoundation::make<AgreeingManager>();
  for (const auto& [question, name] : kQuestions) {
    EXPECT_TRUE(question(manager, NSURL::fileURLWithPath("/a b")));
    EXPECT_EQ(manager->asked, std::string(name).append(" /a b"));
    EXPECT_FALSE(question(NSFileManager::defaultManager(), NSURL::fileURLWithPath("/nothing/there")));
  }
  EXPECT_TRUE(log.lines().empty());
}

TEST(FileAccessURLTests, AnyOtherURLIsNoAndALineInTheLog) {
  const Ref<AgreeingManager> manager = ZtFoundation::make<AgreeingManager>();
  const std::pair<Ref<NSURL>, std::string> urls[] = {
      {NSURL::URLWithString("http://example.org/etc"), "IS NOT FILE URL: http://example.org/etc"},
      {NSURL::URLWithString("/etc"), "IS NOT FILE URL: /etc"},
      {nullptr, "IS NOT FILE URL: (null)"}};
  for (const auto& [url, line] : urls) {
    for (const auto& [question, name] : kQuestions) {
      const RecordingLog log;
      EXPECT_FALSE(question(manager, url)) << name;
      EXPECT_EQ(manager->asked, "");
      EXPECT_EQ(log.lines(), std::vector<std::string>{line});
    }
  }
}

TEST(FileAccessURLTests, FolderOrNot) {
  bool isDirectory = false;
  EXPECT_TRUE(fileExistsAtURL_isDirectory(NSFileManager::defaultManager(), NSURL::fileURLWithPath("/"), &isDirectory));
  EXPECT_TRUE(isDirectory);
  EXPECT_FALSE(fileExistsAtURL_isDirectory(NSFileManager::defaultManager(), NSURL::fileURLWithPath("/nothing there"),
                                           &isDirectory));
  EXPECT_TRUE(isDirectory) << "untouched";
}

TEST(FileAccessURLTests, NoManagerNoAnswer) {
  const RecordingLog log;
  for (const auto& [question, name] : kQuestions) {
    EXPECT_FALSE(question(nullptr, NSURL::fileURLWithPath("/"))) << name;
    EXPECT_FALSE(question(nullptr, nullptr)) << name;
  }
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace ZtFoundation::test
