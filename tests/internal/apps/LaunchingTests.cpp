#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ZtFoundation/Applications.h>

#include "support/RecordingLog.h"
#include "support/StandInLaunchServices.h"

namespace ZtFoundation {
namespace {

using test::StandInWorkspace;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LaunchingTests : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_THAT(log_.lines(), IsEmpty()); }

  test::RecordingLog log_;
  const Ref<NSURL> file_ = NSURL::URLWithString("file:///d/a%20b");
  const Ref<NSURL> application_ = NSURL::URLWithString("file:///x.app");
  const Ref<NSURL> noPath_ = NSURL::URLWithString("file:");
  StandInWorkspace workspace_;
};

TEST_F(LaunchingTests, TheWorkspaceLaunches) {
  EXPECT_TRUE(ZtLSLaunchApplicationAtURL(application_));
  EXPECT_TRUE(ZtLSLaunchApplicationAtPath("relative.app"));
  EXPECT_THAT(workspace_.calls, ElementsAre("launch /x.app", "launch relative.app"));
}

TEST_F(LaunchingTests, TheWorkspaceOpens) {
  EXPECT_TRUE(ZtLSOpenFileWithApplicationAtURL(file_, application_, false));
  EXPECT_TRUE(ZtLSOpenFileWithApplicationAtURL(file_, application_, true));
  EXPECT_TRUE(ZtLSOpenFileWithApplicationAtPath("f", "x", false));
  EXPECT_TRUE(ZtLSOpenFileWithApplicationAtPath("f", "x", true));
  EXPECT_THAT(workspace_.calls, ElementsAre("open /d/a b with /x.app", "open /d/a b with /x.app, giving way",
                                            "open f with x", "open f with x, giving way"));
}

TEST_F(LaunchingTests, OfAnyURLThePathCounts) {
  EXPECT_TRUE(ZtLSLaunchApplicationAtURL(NSURL::URLWithString("http://host/x.app?q")));
  EXPECT_TRUE(ZtLSOpenFileWithApplicationAtURL(NSURL::URLWithString("ftp://host/d/f#a"),
                                               NSURL::URLWithString("http://host/x.app?q"), false));
  EXPECT_THAT(workspace_.calls, ElementsAre("launch /x.app", "open /d/f with /x.app"));
}

TEST_F(LaunchingTests, ItsRefusalIsTheResult) {
  workspace_.answer = false;
  EXPECT_FALSE(ZtLSLaunchApplicationAtURL(application_));
  EXPECT_FALSE(ZtLSLaunchApplicationAtPath("/x.app"));
  EXPECT_FALSE(ZtLSOpenFileWithApplicationAtURL(file_, application_, false));
  EXPECT_FALSE(ZtLSOpenFileWithApplicationAtPath("/f", "/x.app", true));
}

TEST_F(LaunchingTests, NothingAsksNobody) {
  ASSERT_TRUE(noPath_);
  EXPECT_FALSE(ZtLSLaunchApplicationAtURL(nullptr));
  EXPECT_FALSE(ZtLSLaunchApplicationAtURL(noPath_));
  EXPECT_FALSE(ZtLSLaunchApplicationAtPath(nullptr));
  EXPECT_FALSE(ZtLSOpenFileWithApplicationAtURL(nullptr, application_, false));
  EXPECT_FALSE(ZtLSOpenFileWithApplicationAtURL(noPath_, application_, false));
  EXPECT_FALSE(ZtLSOpenFileWithApplicationAtURL(file_, nullptr, false));
  EXPECT_FALSE(ZtLSOpenFileWithApplicationAtURL(file_, noPath_, false));
  EXPECT_FALSE(ZtLSOpenFileWithApplicationAtPath(nullptr, "/x.app", false));
  EXPECT_FALSE(ZtLSOpenFileWithApplicationAtPath("/f", nullptr, false));
  EXPECT_THAT(workspace_.calls, IsEmpty());
}

}  // namespace
}  // namespace ZtFoundation
