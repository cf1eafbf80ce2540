#include <ZtFoundation/Applications.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Number.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

namespace fs = std::filesystem;

class ToolLaunchingTests : public testing::Test {
 protected:
  /// A script that says its number, then its arguments, and stays until it is killed.
  std::string tool(const std::string& name) const {
    writeFile(folder / name, "#!/bin/sh\nprintf '%s|' $$ \"$@\" >'" + output() + ".draft'\nmv '" + output() +
                                 ".draft' '" + output() + "'\nexec sleep 60\n");
    fs::permissions(folder / name, fs::perms::owner_all);
    return folder / name;
  }
  std::string output() const { return folder / "out"; }
  /// Waits for the tool's words and ends it; answers them without the number.
  std::string wordsOfTool() const {
    while (!fs::exists(output())) ::usleep(1000);
    const std::string all = contentsOf(output()).value();
    fs::remove(output());
    EXPECT_EQ(::kill(std::stoi(all), SIGKILL), 0);
    return all.substr(all.find('|') + 1);
  }

  ScratchFolder folder;
};

TEST_F(ToolLaunchingTests, AToolRunsWithItsArguments) {
  const std::string path = tool("tool");
  EXPECT_TRUE(ZtLSLaunchToolAtPathAndArguments(path, NSArray::of("a b", "", "$(x)'\"\n")));
  EXPECT_EQ(wordsOfTool(), "a b||$(x)'\"\n|");
  EXPECT_TRUE(ZtLSLaunchToolAtURLAndArguments(NSURL::fileURLWithPath(path), NSArray::of("x")));
  EXPECT_EQ(wordsOfTool(), "x|");
}

TEST_F(ToolLaunchingTests, MissingArgumentsAreNone) {
  EXPECT_TRUE(ZtLSLaunchToolAtPathAndArguments(tool("tool"), nullptr));
  EXPECT_EQ(wordsOfTool(), "");
}

TEST_F(ToolLaunchingTests, PathsMayHoldBlanks) {
  EXPECT_TRUE(ZtLSLaunchToolAtPathAndArguments(tool("a tool"), NSArray::of("x")));
  EXPECT_EQ(wordsOfTool(), "x|");
  EXPECT_TRUE(ZtLSLaunchToolAtURLAndArguments(NSURL::fileURLWithPath(folder / "a tool"), NSArray::of("y")));
  EXPECT_EQ(wordsOfTool(), "y|");
}

TEST_F(ToolLaunchingTests, WhatIsNoPlainFileIsNotStarted) {
  fs::create_directories(folder / "folder");
  fs::create_directories(folder / "App.app/Contents/Linux");
  writeFile(folder / "App.app/Contents/Info.plist", "{CFBundleExecutable = App;}");
  fs::rename(tool("tool"), folder / "App.app/Contents/Linux/App");
  for (const char* name : {"folder", "App.app", "missing", "missing/below"}) {
    EXPECT_FALSE(ZtLSLaunchToolAtPathAndArguments(folder / name, NSArray::array())) << name;
    EXPECT_FALSE(ZtLSLaunchToolAtURLAndArguments(NSURL::fileURLWithPath(folder / name), NSArray::array())) << name;
  }
  ::usleep(20000);
  EXPECT_FALSE(fs::exists(output()));
}

TEST_F(ToolLaunchingTests, NothingIsNotStarted) {
  EXPECT_FALSE(ZtLSLaunchToolAtPathAndArguments(nullptr, NSArray::array()));
  EXPECT_FALSE(ZtLSLaunchToolAtPathAndArguments("", NSArray::array()));
  EXPECT_FALSE(ZtLSLaunchToolAtURLAndArguments(nullptr, NSArray::array()));
  EXPECT_FALSE(ZtLSLaunchToolAtURLAndArguments(NSURL::URLWithString("http://example.org"), NSArray::array()));
}

TEST_F(ToolLaunchingTests, AFileThatTheSystemCannotStartRaises) {
  writeFile(folder / "text", "text\n");
  EXPECT_THROW(ZtLSLaunchToolAtPathAndArguments(folder / "text", NSArray::array()), NSException);
  EXPECT_THROW(ZtLSLaunchToolAtURLAndArguments(NSURL::fileURLWithPath(folder / "text"), nullptr), NSException);
  EXPECT_THROW(ZtLSLaunchToolAtPathAndArguments(tool("tool"), NSArray::of(1)), NSException);
  EXPECT_FALSE(fs::exists(output()));
}

}  // namespace
}  // namespace ZtFoundation::test
