#include <gmock/gmock.h>

#include <ZtFoundation/Logging.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>
#include <vector>

#include "support/ScratchFolder.h"

namespace plugintests {

using namespace ZtFoundation;
using testing::ElementsAre;
using testing::IsEmpty;

std::string withoutDigits(std::string text) {
  for (char& character : text) character = character >= '0' && character <= '9' ? 'd' : character;
  return text;
}

class PluginLogging : public testing::Test {
 protected:
  void SetUp() override {
    const std::string bundle = ZT_EXAMPLES "/plugin-logging.bundle";
    if (!std::filesystem::exists(bundle)) GTEST_SKIP() << "the examples are not built";
    manager = ZtLoggingManager::loggingManagerWithBundlePath(bundle);
    ASSERT_TRUE(manager);
    ZtLoggingManager::setSharedLoggingManager(manager);
  }
  void TearDown() override { ZtLoggingManager::setSharedLoggingManager(nullptr); }

  void configure(const std::string& text, bool watch = false) {
    setConfiguration(text);
    manager->configureWithPath_watch(folder.string("logging.plist"), watch);
  }
  void setConfiguration(const std::string& text) { test::writeFile(folder / "logging.plist", text); }
  std::string fileEntry(const std::string& name) const { return "File = \"" + (folder / name) + "\";"; }

  /// The lines of a log, without their time.
  std::vector<std::string> lines(const std::string& name) const {
    const std::string time = R"({"time":"dddd-dd-ddTdd:dd:dd.dddZ",)";
    std::vector<std::string> found;
    std::istringstream text(test::contentsOf(folder / name).value_or(""));
    for (std::string line; std::getline(text, line);) {
      EXPECT_EQ(withoutDigits(line.substr(0, time.size())), time);
      found.push_back("{" + line.substr(time.size()));
    }
    return found;
  }

  test::ScratchFolder folder;
  Ref<ZtLoggingManager> manager;
};

std::string line(const std::string& message, const std::string& level = "info") {
  return R"({"level":")" + level + R"(","logger":"camera","message":")" + message + "\"}";
}

TEST_F(PluginLogging, WritesLinesOfJSON) {
  configure("{" + fileEntry("log") + "}");
  YbLog("camera", ZtLogLevelWarn, "%d%%", 7);
  YbLog("camera", 1, "named like the system's");
  EXPECT_THAT(lines("log"), ElementsAre(line("7%", "warning"), line("named like the system's", "alert")));
}

TEST_F(PluginLogging, EscapesWhatJSONCannotHold) {
  configure("{" + fileEntry("log") + "}");
  YbLog("camera", ZtLogLevelInfo, "%s", "a \"b\" \\ \n\t\x01 größer");
  EXPECT_THAT(lines("log"), ElementsAre(line(R"(a \"b\" \\ \u000a\u0009\u0001 größer)")));
}

TEST_F(PluginLogging, DropsLevelsAboveItsOwn) {
  configure("{" + fileEntry("log") + "Level = 4; }");
  YbLog("camera", ZtLogLevelInfo, "dropped");
  YbLog("camera", ZtLogLevelWarn, "kept");
  YbLog("camera", -1, "dropped");
  EXPECT_THAT(lines("log"), ElementsAre(line("kept", "warning")));
}

TEST_F(PluginLogging, UnconfiguredIsSilent) {
  YbLog("camera", ZtLogLevelFatal, "nowhere");
  configure("{}");
  YbLog("camera", ZtLogLevelFatal, "nowhere");
  manager->configureWithPath_watch(nullptr, true);
  YbLog("camera", ZtLogLevelFatal, "nowhere");
  EXPECT_THAT(folder.names(), ElementsAre("logging.plist"));
}

TEST_F(PluginLogging, FollowsAWatchedConfiguration) {
  configure("{" + fileEntry("first") + "}", true);
  YbLog("camera", ZtLogLevelInfo, "a");
  setConfiguration("{" + fileEntry("the second") + "}");
  YbLog("camera", ZtLogLevelInfo, "b");
  EXPECT_THAT(lines("first"), ElementsAre(line("a")));
  EXPECT_THAT(lines("the second"), ElementsAre(line("b")));
}

TEST_F(PluginLogging, SeesAChangeThatKeepsSizeAndTimeOfWriting) {
  configure("{" + fileEntry("first") + "}", true);
  const auto written = std::filesystem::last_write_time(folder / "logging.plist");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // file times have steps of several milliseconds
  setConfiguration("{" + fileEntry("other") + "}");
  std::filesystem::last_write_time(folder / "logging.plist", written);
  YbLog("camera", ZtLogLevelInfo, "a");
  EXPECT_THAT(lines("other"), ElementsAre(line("a")));
  EXPECT_THAT(lines("first"), IsEmpty());
}

TEST_F(PluginLogging, LeavesAConfigurationThatIsNotWatched) {
  configure("{" + fileEntry("first") + "}", false);
  setConfiguration("{" + fileEntry("the second") + "}");
  YbLog("camera", ZtLogLevelInfo, "a");
  EXPECT_THAT(lines("first"), ElementsAre(line("a")));
  EXPECT_FALSE(test::contentsOf(folder / "the second"));
}

TEST_F(PluginLogging, KeepsItsConfigurationWhileTheFileIsBrokenOrGone) {
  configure("{" + fileEntry("log") + "}", true);
  setConfiguration("{ no property list");
  YbLog("camera", ZtLogLevelInfo, "a");
  std::filesystem::remove(folder / "logging.plist");
  YbLog("camera", ZtLogLevelInfo, "b");
  setConfiguration("{" + fileEntry("next") + "}");
  YbLog("camera", ZtLogLevelInfo, "c");
  EXPECT_THAT(lines("log"), ElementsAre(line("a"), line("b")));
  EXPECT_THAT(lines("next"), ElementsAre(line("c")));
}

TEST_F(PluginLogging, IsSilentWhenTheFileCannotBeOpened) {
  configure("{" + fileEntry("missing folder/log") + "}");
  YbLog("camera", ZtLogLevelInfo, "a");
  EXPECT_THAT(lines("missing folder/log"), IsEmpty());
}

TEST_F(PluginLogging, LinesOfManyThreadsStayWhole) {
  configure("{" + fileEntry("log") + "}", true);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 50; ++i) YbLog("camera", ZtLogLevelInfo, "%s", std::string(300, 'x'));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(lines("log"), testing::AllOf(testing::SizeIs(200), testing::Each(line(std::string(300, 'x')))));
}

TEST_F(PluginLogging, HostLogsItsArguments) {
  setConfiguration("{" + fileEntry("log") + "}");
  const std::string command = ZT_EXAMPLES "/plugin-logging " ZT_EXAMPLES "/plugin-logging.bundle '" +
                              (folder / "logging.plist") + "' one '%d two'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_THAT(lines("log"), ElementsAre(R"({"level":"info","logger":"plugin-logging","message":"one"})",
                                        R"({"level":"info","logger":"plugin-logging","message":"%d two"})"));
}

}  // namespace plugintests
