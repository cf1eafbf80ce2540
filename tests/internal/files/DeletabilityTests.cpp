#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <mutex>
#include <string>
#include <vector>

#include "platform/services/FolderManager.h"
#include "platform/services/Service.h"
#include "support/ChildProcess.h"
#include "support/ReplacedMethod.h"

namespace ZtFoundation::test {

std::vector<std::string> steps;

void note(const char* step) {
  static std::mutex mutex;
  const std::lock_guard guard(mutex);
  steps.emplace_back(step);
}

bool isDeletableToTheProcess = true;

bool answersAsSet(NSFileManager&, const Ref<NSString>&) {
  note("deletable");
  return isDeletableToTheProcess;
}

bool ownerMayWrite = true;

Ref<NSDictionary> attributesAsSet(NSFileManager&, const Ref<NSString>&, bool) {
  note("attributes");
  return NSDictionary::dictionaryWithObject_forKey(ownerMayWrite ? 0200 : 0577, NSFilePosixPermissions);
}

namespace {

using JxTalvoZtWdExensions::isTalvoDeletable;
using Steps = std::vector<std::string>;

class SetHome : public FolderManager {
 public:
  OSErr FSFindFolder(FSVolumeRefNum, OSType, bool, FSRef*) override { return fnfErr; }
  Ref<NSString> homeFolder() override {
    note("home");
    return home;
  }

  Ref<NSString> home;
};

// The list is made once for each process, so each test looks at it in one of its own.
class DeletabilityTests : public ::testing::Test {
 protected:
  DeletabilityTests() {
    steps.clear();
    isDeletableToTheProcess = ownerMayWrite = true;
    folders.home = "/home/me";
  }

  SetHome folders;
  ScopedService<FolderManager> scope{folders};
  ReplacedMethod<&answersAsSet> replaced{NSFileManager::classObject(), ZT_SELECTOR("isDeletableFileAtPath:")};
  ReplacedMethod<&attributesAsSet> replacedAttributes{NSFileManager::classObject(),
                                                      ZT_SELECTOR("fileAttributesAtPath:traverseLink:")};
};

TEST_F(DeletabilityTests, ThePlatformIsAskedFirst) {
  isDeletableToTheProcess = false;
  EXPECT_FALSE(isTalvoDeletable("/home/me/Pictures"));
  EXPECT_EQ(steps, Steps{"deletable"});
}

TEST_F(DeletabilityTests, TheOwnersBitIsLookedAtSecond) {
  ownerMayWrite = false;
  EXPECT_FALSE(isTalvoDeletable("/home/me/Pictures"));
  EXPECT_EQ(steps, (Steps{"deletable", "attributes"}));
}

TEST_F(DeletabilityTests, TheListComesLast) {
  EXPECT_EQ(inChild([&] {
              const bool isRefused = !isTalvoDeletable("/home/me/Pictures");
              return isRefused && steps == Steps{"deletable", "attributes", "home"} ? 1 : 0;
            }),
            1);
}

TEST_F(DeletabilityTests, TheHomeFolderIsThatOfTheFirstCall) {
  EXPECT_EQ(inChild([&] {
              const bool before = isTalvoDeletable("/home/me/Pictures");
              folders.home = "/home/you";
              const bool after = isTalvoDeletable("/home/me/Pictures");
              const bool other = isTalvoDeletable("/home/you/Pictures");
              return !before && !after && other && std::count(steps.begin(), steps.end(), "home") == 1 ? 1 : 0;
            }),
            1);
}

TEST_F(DeletabilityTests, TwelveFoldersAreProtected) {
  const char* const protectedFolders[] = {
      "/Applications",     "/Library",           "/System",          "/Users",          "/home/me",
      "/home/me/Desktop",  "/home/me/Documents", "/home/me/Library", "/home/me/Movies", "/home/me/Music",
      "/home/me/Pictures", "/home/me/Sites"};
  for (const char* const path : protectedFolders) {
    EXPECT_EQ(inChild([&] { return isTalvoDeletable(path) ? 1 : 0; }), 0) << path;
    EXPECT_EQ(inChild([&] { return isTalvoDeletable(std::string(path) + "/") ? 1 : 0; }), 1) << path;
    EXPECT_EQ(inChild([&] { return isTalvoDeletable(std::string(path) + "/inside") ? 1 : 0; }), 1) << path;
  }
}

TEST_F(DeletabilityTests, WithoutAHomeFolderNothingIsDeletable) {
  EXPECT_EQ(inChild([&] {
              const Ref<NSString> home = std::exchange(folders.home, nullptr);
              if (isTalvoDeletable("/plain")) return 1;
              folders.home = home;
              return isTalvoDeletable("/plain") ? 0 : 2;
            }),
            0)
      << "asked again until there is one";
}

TEST_F(DeletabilityTests, ThreadsFindAListThatIsWhole) {
  EXPECT_EQ(
      inChild([&] {
        std::vector<std::future<bool>> answers;
        for (int thread = 0; thread < 8; ++thread) {
          answers.push_back(std::async(std::launch::async, [&] { return isTalvoDeletable("/home/me/Pictures"); }));
        }
        int deletable = 0;
        for (auto& answer : answers) deletable += answer.get() ? 1 : 0;
        return deletable + static_cast<int>(std::count(steps.begin(), steps.end(), "home")) - 1;
      }),
      0);
}

}  // namespace
}  // namespace ZtFoundation::test
