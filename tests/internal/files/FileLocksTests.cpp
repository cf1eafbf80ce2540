#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>

#include "internal/files/StandInPlatform.h"
#include "support/RecordingLog.h"

namespace ZtFoundation::test {
namespace {

using namespace QvFoundationExtensions;
using Lines = std::vector<std::string>;
using Operation = bool (*)(const Ref<NSFileManager>&, const Ref<NSString>&);

bool storedLock = false;

// Answers whether the two were stored.
bool isLockedTwice(const Ref<NSFileManager>& manager, const Ref<NSString>& path) {
  return isLockedAtPath_volumeLocked_fileLocked(manager, path, &storedLock, &storedLock);
}

const struct {
  const char* selector;
  Operation operation;
  Lines calls;  // that it makes for "/x", in this order
} kOperations[] = {
    {"isVolumeLockedAtPath:",
     isVolumeLockedAtPath,
     {"FSPathMakeRef /x", "FSGetCatalogInfo /x 0x4", "FSGetVolumeInfo -7 0 0x2000"}},
    {"isFileLockedAtPath:", isFileLockedAtPath, {"FSPathMakeRef /x", "FSGetCatalogInfo /x 0x2"}},
    {"isLockedAtPath:volumeLocked:fileLocked:",
     isLockedTwice,
     {"FSPathMakeRef /x", "FSGetCatalogInfo /x 0x6", "FSGetVolumeInfo -7 0 0x2000"}},
    {"lockFileAtPath:",
     lockFileAtPath,
     {"FSPathMakeRef /x", "FSGetCatalogInfo /x 0x2", "FSSetCatalogInfo /x 0x2 0x101"}},
    {"unlockFileAtPath:",
     unlockFileAtPath,
     {"FSPathMakeRef /x", "FSGetCatalogInfo /x 0x2", "FSSetCatalogInfo /x 0x2 0x100"}},
};

std::string nameOf(const std::string& call) { return call.substr(0, call.find(' ')); }

class FileLocksTests : public ::testing::Test {
 protected:
  /// Flags with which `unlockFileAtPath:` has something to do and `lockFileAtPath:`, too.
  void prepare(const std::string& selector) {
    platform.nodeFlags = selector == "unlockFileAtPath:" ? 0x0101 : 0x0100;
    platform.calls.clear();
    platform.failures.clear();
  }

  StandInPlatform platform;
  ::ZtFoundation::test::RecordingLog log;
  Ref<NSFileManager> files = NSFileManager::defaultManager();
};

TEST_F(FileLocksTests, EachOperationMakesItsCallsInOrder) {
  for (const auto& each : kOperations) {
    prepare(each.selector);
    each.operation(files, "/x");
    EXPECT_EQ(platform.calls, each.calls) << each.selector;
  }
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(FileLocksTests, ACallThatFailsIsALineAndTheEnd) {
  Lines expected;
  for (const auto& each : kOperations) {
    for (std::size_t failing = 0; failing < each.calls.size(); ++failing) {
      prepare(each.selector);
      platform.volumeFlags = 0x8080;
      platform.failures[nameOf(each.calls[failing])] = ioErr;
      storedLock = true;
      EXPECT_FALSE(each.operation(files, "/x")) << each.selector;
      EXPECT_TRUE(storedLock);
      EXPECT_EQ(platform.calls, Lines(each.calls.begin(), each.calls.begin() + std::ptrdiff_t(failing) + 1));
      expected.push_back("[NSFileManager " + std::string(each.selector) + "] " + nameOf(each.calls[failing]) +
                         " failed with error: -36");
    }
  }
  EXPECT_EQ(log.lines(), expected);
  EXPECT_EQ(expected.size(), 14U);
}

TEST_F(FileLocksTests, TheLinesAreThese) {
  platform.failures["FSPathMakeRef"] = fnfErr;
  for (const auto& each : kOperations) EXPECT_FALSE(each.operation(files, "/missing"));
  EXPECT_EQ(log.lines(),
            (Lines{"[NSFileManager isVolumeLockedAtPath:] FSPathMakeRef failed with error: -43",
                   "[NSFileManager isFileLockedAtPath:] FSPathMakeRef failed with error: -43",
                   "[NSFileManager isLockedAtPath:volumeLocked:fileLocked:] FSPathMakeRef failed with error: -43",
                   "[NSFileManager lockFileAtPath:] FSPathMakeRef failed with error: -43",
                   "[NSFileManager unlockFileAtPath:] FSPathMakeRef failed with error: -43"}));
}

TEST_F(FileLocksTests, AVolumeIsLockedByHardwareOrSoftware) {
  const struct {
    std::uint16_t flags;
    bool locked;
  } cases[] = {{0, false}, {0x0080, true}, {0x8000, true}, {0x8080, true}, {0x7F7F, false}, {0xFFFF, true}};
  for (const auto& each : cases) {
    platform.volumeFlags = each.flags;
    EXPECT_EQ(isVolumeLockedAtPath(files, "/x"), each.locked) << each.flags;
  }
}

// Whose server may be gone.
TEST_F(FileLocksTests, TheRootOfAVolumeIsNotAsked) {
  platform.knownRoot = "/x";
  platform.volumeFlags = 0x8000;
  EXPECT_TRUE(isVolumeLockedAtPath(files, "/x"));
  EXPECT_EQ(platform.calls, (std::vector<std::string>{"FSGetVolumeInfo -7 0 0x2000"}));
}

TEST_F(FileLocksTests, AnItemIsLockedByOneFlag) {
  const struct {
    std::uint16_t flags;
    bool locked;
  } cases[] = {{0, false}, {0x0001, true}, {0xFFFE, false}, {0xFFFF, true}};
  for (const auto& each : cases) {
    platform.nodeFlags = each.flags;
    EXPECT_EQ(isFileLockedAtPath(files, "/x"), each.locked) << each.flags;
  }
}

TEST_F(FileLocksTests, BothAnswersAreStored) {
  for (const bool volumeIsLocked : {false, true}) {
    for (const bool fileIsLocked : {false, true}) {
      platform.volumeFlags = volumeIsLocked ? 0x0080 : 0;
      platform.nodeFlags = fileIsLocked ? 0x0001 : 0xFFFE;
      bool volumeLocked = !volumeIsLocked;
      bool fileLocked = !fileIsLocked;
      EXPECT_TRUE(isLockedAtPath_volumeLocked_fileLocked(files, "/x", &volumeLocked, &fileLocked));
      EXPECT_EQ(volumeLocked, volumeIsLocked);
      EXPECT_EQ(fileLocked, fileIsLocked);
    }
  }
}

TEST_F(FileLocksTests, BothPointersAreRequired) {
  bool answer = true;
  EXPECT_FALSE(isLockedAtPath_volumeLocked_fileLocked(files, "/x", nullptr, &answer));
  EXPECT_FALSE(isLockedAtPath_volumeLocked_fileLocked(files, "/x", &answer, nullptr));
  EXPECT_TRUE(answer);
  EXPECT_EQ(platform.calls, Lines{});
}

TEST_F(FileLocksTests, WhatIsAsWantedIsNotWritten) {
  for (const bool locked : {false, true}) {
    platform.nodeFlags = locked ? 0x0001 : 0xFFFE;
    platform.calls.clear();
    EXPECT_TRUE(locked ? lockFileAtPath(files, "/x") : unlockFileAtPath(files, "/x"));
    EXPECT_EQ(platform.calls, (Lines{"FSPathMakeRef /x", "FSGetCatalogInfo /x 0x2"}));
  }
}

TEST_F(FileLocksTests, TheOtherFlagsAreWrittenBackAsTheyAre) {
  platform.nodeFlags = 0xABCC;
  EXPECT_TRUE(lockFileAtPath(files, "/x"));
  EXPECT_EQ(platform.calls.back(), "FSSetCatalogInfo /x 0x2 0xabcd");
  platform.nodeFlags = 0xABCD;
  EXPECT_TRUE(unlockFileAtPath(files, "/x"));
  EXPECT_EQ(platform.calls.back(), "FSSetCatalogInfo /x 0x2 0xabcc");
}

TEST_F(FileLocksTests, NoneFails) {
  for (const auto& each : kOperations) {
    EXPECT_FALSE(each.operation(nullptr, "/x"));
    EXPECT_FALSE(each.operation(nullptr, nullptr));
  }
  EXPECT_EQ(log.lines(), Lines{});
  for (const auto& each : kOperations) EXPECT_FALSE(each.operation(files, nullptr));
  EXPECT_EQ(log.lines().size(), std::size(kOperations));
  EXPECT_EQ(platform.calls, Lines{});
}

}  // namespace
}  // namespace ZtFoundation::test
