#include <ZtFoundation/Applications.h>
#include <ZtFoundation/platform/Exception.h>
#include <gmock/gmock.h>

#include "platform/services/ChildProcesses.h"
#include "platform/services/LaunchServices.h"
#include "support/RecordingLog.h"

namespace ZtFoundation::test {
namespace {

using ::testing::ElementsAre;

/// Registry and processes that note what is asked and answer as they are told.
class ToolLaunchingSteps : public ::testing::Test, public LaunchServices, public ChildProcesses {
 protected:
  class Child : public ChildProcess {
   public:
    explicit Child(bool isRunning) : isRunning_(isRunning) {}
    std::int32_t identifier() const override { return 1; }
    bool isRunning() override { return isRunning_; }
    void waitUntilExit() override { ADD_FAILURE() << "nobody waits"; }

   private:
    bool isRunning_;
  };

  OSStatus LSCopyItemInfoForURL(const Ref<NSURL>& url, LSRequestedInfo wanted, LSItemInfoRecord* info) override {
    steps.push_back("look " + url->absoluteString()->utf8() + " " + std::to_string(wanted));
    info->flags = flags;
    return status;
  }
  OSStatus LSCopyItemInfoForRef(const FSRef*, LSRequestedInfo, LSItemInfoRecord*) override { return -1; }
  OSStatus LSFindApplicationForInfo(OSType, const Ref<NSString>&, Ref<NSURL>*) override { return -1; }

  std::unique_ptr<ChildProcess> start(const std::string& path, const std::vector<std::string>& arguments,
                                      std::string* failure) override {
    steps.push_back("start " + path);
    for (const std::string& each : arguments) steps.push_back("with " + each);
    *failure = "no reason";
    return starts ? std::make_unique<Child>(isStillRunning) : nullptr;
  }

  LSItemInfoFlags flags = kLSItemInfoIsPlainFile;
  OSStatus status = 0;
  void TearDown() override { EXPECT_THAT(log.lines(), ElementsAre()); }

  bool starts = true;
  bool isStillRunning = true;
  std::vector<std::string> steps;
  ScopedService<LaunchServices> registry{*this};
  ScopedService<ChildProcesses> processes{*this};
  ZtFoundation::test::RecordingLog log;
};

TEST_F(ToolLaunchingSteps, TheRegistryIsAskedBeforeTheToolIsStarted) {
  EXPECT_TRUE(ZtLSLaunchToolAtPathAndArguments("/a tool", NSArray::of("x", "y")));
  EXPECT_THAT(steps, ElementsAre("look file:///a%20tool 4", "start /a tool", "with x", "with y"));
}

TEST_F(ToolLaunchingSteps, AURLIsTakenByItsPath) {
  EXPECT_TRUE(ZtLSLaunchToolAtURLAndArguments(NSURL::URLWithString("http://host/a%20tool?q"), nullptr));
  EXPECT_THAT(steps, ElementsAre("look file:///a%20tool 4", "start /a tool"));
}

TEST_F(ToolLaunchingSteps, WithoutAToolNobodyIsAsked) {
  EXPECT_FALSE(ZtLSLaunchToolAtPathAndArguments(nullptr, nullptr));
  EXPECT_FALSE(ZtLSLaunchToolAtPathAndArguments("", nullptr));
  EXPECT_FALSE(ZtLSLaunchToolAtURLAndArguments(nullptr, nullptr));
  EXPECT_FALSE(ZtLSLaunchToolAtURLAndArguments(NSURL::URLWithString("http://host"), nullptr));
  EXPECT_THAT(steps, ElementsAre());
}

TEST_F(ToolLaunchingSteps, AnErrorOfTheRegistryStartsNothing) {
  for (const OSStatus error : {-43, 1}) {
    status = error;
    EXPECT_FALSE(ZtLSLaunchToolAtPathAndArguments("/tool", nullptr));
  }
  EXPECT_THAT(steps, ElementsAre("look file:///tool 4", "look file:///tool 4"));
}

TEST_F(ToolLaunchingSteps, OnlyPlainFilesAreStarted) {
  flags = 0xFFFFFFFE;
  EXPECT_FALSE(ZtLSLaunchToolAtPathAndArguments("/tool", nullptr));
  EXPECT_THAT(steps, ElementsAre("look file:///tool 4"));
  flags = 0xFFFFFFFF;
  EXPECT_TRUE(ZtLSLaunchToolAtPathAndArguments("/tool", nullptr));
}

TEST_F(ToolLaunchingSteps, AToolThatHasEndedAlreadyIsFalse) {
  isStillRunning = false;
  EXPECT_FALSE(ZtLSLaunchToolAtPathAndArguments("/tool", nullptr));
  EXPECT_THAT(steps, ElementsAre("look file:///tool 4", "start /tool"));
}

TEST_F(ToolLaunchingSteps, AFailureToStartTravelsToTheCaller) {
  starts = false;
  try {
    ZtLSLaunchToolAtPathAndArguments("/tool", nullptr);
    FAIL();
  } catch (const NSException& exception) {
    EXPECT_EQ(exception.name()->utf8(), "NSInvalidArgumentException");
    EXPECT_EQ(exception.reason()->utf8(), "cannot launch /tool: no reason");
  }
}

}  // namespace
}  // namespace ZtFoundation::test
