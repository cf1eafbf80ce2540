#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ZtFoundation/Applications.h>

#include "support/RecordingLog.h"
#include "support/StandInLaunchServices.h"

namespace ZtFoundation {
namespace {

using test::StandInLaunchServices;
using test::textOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Search = StandInLaunchServices::Search;

class ApplicationLookupTests : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_THAT(log_.lines(), IsEmpty()); }

  test::RecordingLog log_;
  StandInLaunchServices services_;
};

TEST_F(ApplicationLookupTests, NoKeyAsksNobody) {
  services_.found = NSURL::fileURLWithPath("/x.app");
  EXPECT_FALSE(ZtLSGetApplicationPathForSignature(nullptr));
  EXPECT_FALSE(ZtLSGetApplicationURLForSignature(nullptr));
  EXPECT_FALSE(ZtLSGetApplicationPathForIdentifier(nullptr));
  EXPECT_FALSE(ZtLSGetApplicationURLForIdentifier(nullptr));
  EXPECT_THAT(services_.searches, IsEmpty());
}

TEST_F(ApplicationLookupTests, ASignatureIsAskedForByItsCode) {
  ZtLSGetApplicationPathForSignature("View");
  ZtLSGetApplicationURLForSignature("Viewer");
  ZtLSGetApplicationPathForSignature("ab");
  ZtLSGetApplicationPathForSignature("\uFF71\uFF71");
  EXPECT_THAT(services_.searches, ElementsAre(Search{0x56696577, "none"}, Search{0x56696577, "none"},
                                              Search{0x61620000, "none"}, Search{0xFFB10000, "none"}));
}

TEST_F(ApplicationLookupTests, AnIdentifierIsAskedForAsItIs) {
  ZtLSGetApplicationPathForIdentifier("org.Example.view");
  ZtLSGetApplicationURLForIdentifier("");
  EXPECT_THAT(services_.searches,
              ElementsAre(Search{kLSUnknownCreator, "org.Example.view"}, Search{kLSUnknownCreator, ""}));
}

TEST_F(ApplicationLookupTests, WhatIsFoundIsAPathOrAFileURL) {
  services_.found = NSURL::fileURLWithPath("/opt/a b/View.app/");
  EXPECT_EQ(textOf(ZtLSGetApplicationPathForSignature("View")), "/opt/a b/View.app");
  EXPECT_EQ(textOf(ZtLSGetApplicationPathForIdentifier("x")), "/opt/a b/View.app");
  EXPECT_EQ(textOf(ZtLSGetApplicationURLForSignature("View")), "file:///opt/a%20b/View.app");
  EXPECT_EQ(textOf(ZtLSGetApplicationURLForIdentifier("x")), "file:///opt/a%20b/View.app");
}

TEST_F(ApplicationLookupTests, NamesNeedNotBeText) {
  services_.found = NSURL::fileURLWithPath(NSString::stringWithFileSystemRepresentation("/\xFF.app"));
  EXPECT_EQ(ZtLSGetApplicationPathForIdentifier("x")->fileSystemRepresentation(), "/\xFF.app");
  EXPECT_EQ(textOf(ZtLSGetApplicationURLForIdentifier("x")), "file:///%FF.app");
}

TEST_F(ApplicationLookupTests, AnErrorCountsEvenWithAURL) {
  services_.found = NSURL::fileURLWithPath("/x.app");
  for (const OSStatus status : {kLSApplicationNotFoundErr, OSStatus{1}}) {
    services_.status = status;
    EXPECT_FALSE(ZtLSGetApplicationPathForSignature("View"));
    EXPECT_FALSE(ZtLSGetApplicationURLForSignature("View"));
    EXPECT_FALSE(ZtLSGetApplicationPathForIdentifier("x"));
    EXPECT_FALSE(ZtLSGetApplicationURLForIdentifier("x"));
  }
}

TEST_F(ApplicationLookupTests, SuccessWithoutAURLIsNothingFound) {
  EXPECT_FALSE(ZtLSGetApplicationPathForSignature("View"));
  EXPECT_FALSE(ZtLSGetApplicationURLForSignature("View"));
  EXPECT_FALSE(ZtLSGetApplicationPathForIdentifier("x"));
  EXPECT_FALSE(ZtLSGetApplicationURLForIdentifier("x"));
}

}  // namespace
}  // namespace ZtFoundation
