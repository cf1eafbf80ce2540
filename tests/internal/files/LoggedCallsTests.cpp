#include "files/LoggedCalls.h"

#include <gtest/gtest.h>

#include "internal/files/StandInPlatform.h"
#include "support/RecordingLog.h"

namespace ZtFoundation::test {
namespace {

using detail::LoggedCalls;
using Lines = std::vector<std::string>;

const FSRef kItem({}, "/x");

const struct {
  const char* name;
  bool (*succeeds)(const LoggedCalls& calls);
} kCalls[] = {
    {"FSPathMakeRef",
     [](const LoggedCalls& calls) {
       FSRef item;
       return calls.FSPathMakeRef("/x", &item);
     }},
    {"FSGetCatalogInfo",
     [](const LoggedCalls& calls) {
       FSCatalogInfo info;
       return calls.FSGetCatalogInfo(kItem, kFSCatInfoVolume, &info);
     }},
    {"FSSetCatalogInfo",
     [](const LoggedCalls& calls) { return calls.FSSetCatalogInfo(kItem, kFSCatInfoNodeFlags, {}); }},
    {"FSGetVolumeInfo",
     [](const LoggedCalls& calls) {
       FSVolumeInfo info;
       return calls.FSGetVolumeInfo(-7, kFSVolInfoFlags, &info);
     }},
    {"FSFindFolder",
     [](const LoggedCalls& calls) {
       FSRef folder;
       return calls.FSFindFolder(-7, 0x74656D70, false, &folder);
     }},
};

TEST(LoggedCalls, SayWhichCallFailedInWhichOperation) {
  StandInPlatform platform;
  ::ZtFoundation::test::RecordingLog log;
  const LoggedCalls calls("operation:with:");
  Lines expected;
  for (const auto& [name, succeeds] : kCalls) {
    EXPECT_TRUE(succeeds(calls)) << name;
    platform.failures[name] = afpAccessDenied;
    EXPECT_FALSE(succeeds(calls)) << name;
    expected.push_back("[NSFileManager operation:with:] " + std::string(name) + " failed with error: -5000");
  }
  EXPECT_EQ(log.lines(), expected);
}

TEST(LoggedCalls, AURLHasNoErrorNumber) {
  StandInPlatform platform;
  ::ZtFoundation::test::RecordingLog log;
  const LoggedCalls calls("operation:");
  EXPECT_EQ(calls.CFURLCreateFromFSRef(kItem)->path()->utf8(), "/x");
  EXPECT_EQ(log.lines(), Lines{});
  platform.hasURLs = false;
  EXPECT_FALSE(calls.CFURLCreateFromFSRef(kItem));
  EXPECT_EQ(log.lines(), Lines{"[NSFileManager operation:] CFURLCreateFromFSRef failed."});
}

}  // namespace
}  // namespace ZtFoundation::test
