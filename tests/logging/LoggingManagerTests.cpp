#include <ZtFoundation/Logging.h>

#include <gmock/gmock.h>

#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Exception.h>

namespace loggingtests {

using namespace ZtFoundation;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

class CollectingManager : public ZtLoggingManager {
  ZT_OBJECT(CollectingManager, ZtLoggingManager)
 public:
  void appendToLogger_level_format_arguments(const Ref<NSObject>& logger, std::int32_t level,
                                             const Ref<NSString>& format, FormatArguments arguments) override {
    lines.push_back(NSString::stringWithFormat("%@ %d %@", logger, level, formatText(format, arguments))->utf8());
  }

  std::vector<std::string> lines;
};
ZT_REGISTER_CLASS(CollectingManager, ZT_METHOD("appendToLogger:level:format:arguments:",
                                               &CollectingManager::appendToLogger_level_format_arguments));

// Overrides, and does not list the method.
class PlainManager : public ZtLoggingManager {
  ZT_OBJECT(PlainManager, ZtLoggingManager)
 public:
  void appendToLogger_level_format_arguments(const Ref<NSObject>&, std::int32_t, const Ref<NSString>&,
                                             FormatArguments) override {
    ++count;
  }

  int count = 0;
};
ZT_IMPLEMENT_CLASS(PlainManager);

class Counter : public NSObject {
  ZT_OBJECT(Counter, NSObject)
 public:
  Ref<NSString> description() const override { return std::to_string(++asked); }

  mutable int asked = 0;
};
ZT_IMPLEMENT_CLASS(Counter);

/// Runs the statement and answers what it wrote to standard error, by lines, without the log's own prefix.
template <class Statement>
std::vector<std::string> linesOf(Statement&& statement) {
  testing::internal::CaptureStderr();
  statement();
  std::vector<std::string> lines;
  std::istringstream output(testing::internal::GetCapturedStderr());
  for (std::string line; std::getline(output, line);) {
    const std::size_t prefix = line.find("] ");
    lines.push_back(prefix == std::string::npos ? "no prefix: " + line : line.substr(prefix + 2));
  }
  return lines;
}

class Logging : public testing::Test {
 protected:
  void TearDown() override { ZtLoggingManager::setSharedLoggingManager(nullptr); }
};

// ---- Plain lines

TEST_F(Logging, PlainLinesHaveNoLevelAndNeedNoManager) {
  EXPECT_THAT(linesOf([] { ZtLog("started in %.1f s by %@", 1.25, Ref<NSString>("me")); }),
              ElementsAre("started in 1.2 s by me"));
}

TEST_F(Logging, PlainLinesWithWrongArgumentsAreHarmless) {
  EXPECT_EQ(linesOf([] { ZtLog("%d %s %n", "text", 5); }).size(), 1U);
  EXPECT_EQ(linesOf([] { ZtLog("%@ %@ %s"); }).size(), 1U);
  EXPECT_THAT(linesOf([] { ZtLog(nullptr); }), ElementsAre("(null)"));
}

// ---- The base manager

TEST_F(Logging, WithoutManagerIsSilent) {
  EXPECT_FALSE(ZtLoggingManager::sharedLoggingManager());
  const Ref<Counter> counter = make<Counter>();
  EXPECT_THAT(linesOf([&] { YbLog("camera", ZtLogLevelFatal, "%@", counter); }), IsEmpty());
  EXPECT_EQ(counter->asked, 0);
}

TEST_F(Logging, LevelsHaveTheirLines) {
  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
  const auto line = [](std::int32_t level) { return linesOf([&] { YbLog("camera", level, "low %@", "battery"); }); };
  EXPECT_THAT(line(ZtLogLevelFatal), ElementsAre("FATAL camera - low battery"));
  EXPECT_THAT(line(ZtLogLevelError), ElementsAre("ERROR camera - low battery"));
  EXPECT_THAT(line(ZtLogLevelWarn), ElementsAre("WARN  camera - low battery"));
  EXPECT_THAT(line(ZtLogLevelInfo), ElementsAre("INFO  camera - low battery"));
  EXPECT_THAT(line(ZtLogLevelDebug), ElementsAre("DEBUG camera - low battery"));
}

TEST_F(Logging, LevelsAreTheNumbersOfTheSystemLog) {
  EXPECT_EQ(ZtLogLevelFatal, 0);
  EXPECT_EQ(ZtLogLevelError, 3);
  EXPECT_EQ(ZtLogLevelWarn, 4);
  EXPECT_EQ(ZtLogLevelInfo, 6);
  EXPECT_EQ(ZtLogLevelDebug, 7);
}

TEST_F(Logging, OtherLevelsAreSilent) {
  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
  for (const std::int32_t level : {1, 2, 5, 8, 9, 100, -1, INT32_MAX, INT32_MIN}) {
    EXPECT_THAT(linesOf([&] { YbLog("camera", level, "hidden"); }), IsEmpty()) << level;
  }
}

TEST_F(Logging, TextIsMadeForSilentLevelsToo) {
  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
  const Ref<Counter> counter = make<Counter>();
  int count = 0;
  for (const std::int32_t level : {1, 2, 5, 8, INT32_MAX, -1}) {
    EXPECT_THAT(linesOf([&] { YbLog("camera", level, "%@", counter); }), IsEmpty());
    EXPECT_EQ(counter->asked, ++count) << level;
  }
}

class Exhausting : public NSObject {
  ZT_OBJECT(Exhausting, NSObject)
 public:
  Ref<NSString> description() const override { throw std::bad_alloc(); }
};
ZT_IMPLEMENT_CLASS(Exhausting);

TEST_F(Logging, TextThatThereIsNoMemoryForIsDroppedAtAnyLevel) {
  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
  for (const std::int32_t level : {std::int32_t{ZtLogLevelWarn}, 5, 9}) {
    EXPECT_THAT(linesOf([&] { EXPECT_NO_THROW(YbLog("camera", level, "%@", make<Exhausting>())); }), IsEmpty());
  }
}

TEST_F(Logging, LoggerIsAnyObject) {
  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
  EXPECT_THAT(linesOf([] { YbLog(make<Counter>(), ZtLogLevelInfo, "a"); }), ElementsAre("INFO  1 - a"));
  EXPECT_THAT(linesOf([] { YbLog(nullptr, ZtLogLevelInfo, "a"); }), ElementsAre("INFO  (null) - a"));
  EXPECT_THAT(linesOf([] { YbLog(17, ZtLogLevelInfo, "a"); }), ElementsAre("INFO  17 - a"));
}

TEST_F(Logging, FormatIsNotReadTwice) {
  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
  EXPECT_THAT(linesOf([] { YbLog("100%d", ZtLogLevelInfo, "%s", "%@ %n %s"); }), ElementsAre("INFO  100%d - %@ %n %s"));
  EXPECT_THAT(linesOf([] { YbLog("a", ZtLogLevelInfo, nullptr); }), ElementsAre("INFO  a - (null)"));
}

TEST_F(Logging, ControlCharactersAreShown) {
  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
  EXPECT_THAT(linesOf([] { YbLog("a", ZtLogLevelInfo, "%s\tb", "\x1b[31m"); }), ElementsAre("INFO  a - \\x1b[31m\tb"));
}

TEST_F(Logging, ConfiguringTheBaseManagerDoesNothing) {
  const Ref<ZtLoggingManager> manager = make<ZtLoggingManager>();
  EXPECT_THAT(linesOf([&] {
                manager->configureWithPath_watch("/nowhere", true);
                manager->configureWithPath_watch(nullptr, false);
              }),
              IsEmpty());
}

// ---- The shared manager

TEST_F(Logging, InstallingRetainsAndUninstallingReleases) {
  const Ref<ZtLoggingManager> manager = make<ZtLoggingManager>();
  ZtLoggingManager::setSharedLoggingManager(manager);
  EXPECT_EQ(ZtLoggingManager::sharedLoggingManager(), manager);
  EXPECT_EQ(manager->retainCount(), 2U);
  ZtLoggingManager::setSharedLoggingManager(manager);
  EXPECT_EQ(manager->retainCount(), 2U);
  ZtLoggingManager::setSharedLoggingManager(nullptr);
  EXPECT_EQ(manager->retainCount(), 1U);
  EXPECT_FALSE(ZtLoggingManager::sharedLoggingManager());
  EXPECT_THAT(linesOf([] { YbLog("camera", ZtLogLevelFatal, "gone"); }), IsEmpty());
}

TEST_F(Logging, ReplacingReleasesTheOldOne) {
  const Ref<ZtLoggingManager> first = make<ZtLoggingManager>();
  const Ref<ZtLoggingManager> second = make<ZtLoggingManager>();
  ZtLoggingManager::setSharedLoggingManager(first);
  ZtLoggingManager::setSharedLoggingManager(second);
  EXPECT_EQ(first->retainCount(), 1U);
  EXPECT_EQ(second->retainCount(), 2U);
}

TEST_F(Logging, SharedManagerIsReachedBySelectors) {
  const Ref<ZtLoggingManager> manager = make<CollectingManager>();
  Class base = ZtLoggingManager::classObject();
  send(base, ZT_SELECTOR("setSharedLoggingManager:"), manager);
  EXPECT_EQ(send<Ref<ZtLoggingManager>>(base, ZT_SELECTOR("sharedLoggingManager")), manager);
  EXPECT_FALSE(send<Ref<ZtLoggingManager>>(base, ZT_SELECTOR("loggingManagerWithBundlePath:"), "/nowhere"));
  EXPECT_EQ(NSClassFromString("ZtLoggingManager"), base);
}

// ---- Overriding and replacing

TEST_F(Logging, OverrideReceivesEveryMessage) {
  const Ref<CollectingManager> manager = make<CollectingManager>();
  ZtLoggingManager::setSharedLoggingManager(manager);
  YbLog("camera", ZtLogLevelWarn, "%d%%", 7);
  YbLog("camera", 5, "silent elsewhere");
  YbLog("camera", -1, "x");
  manager->appendToLogger_level_message("lens", ZtLogLevelInfo, "f/%.1f", 2.8);
  send(manager, ZT_SELECTOR("appendToLogger:level:message:"), "lens", std::int32_t{3}, "by selector");
  EXPECT_THAT(manager->lines, ElementsAre("camera 4 7%", "camera 5 silent elsewhere", "camera -1 x", "lens 6 f/2.8",
                                          "lens 3 by selector"));
}

TEST_F(Logging, OverrideNeedNotBeListed) {
  const Ref<PlainManager> manager = make<PlainManager>();
  ZtLoggingManager::setSharedLoggingManager(manager);
  YbLog("camera", ZtLogLevelWarn, "a");
  manager->appendToLogger_level_message("camera", ZtLogLevelWarn, "b");
  EXPECT_EQ(manager->count, 2);
}

std::vector<std::string> replacedLines;

void appendReplaced(const Ref<ZtLoggingManager>&, const Ref<NSObject>& logger, std::int32_t,
                    const Ref<NSString>& format, FormatArguments arguments) {
  replacedLines.push_back(NSString::stringWithFormat("%@: %@", logger, formatText(format, arguments))->utf8());
}

TEST_F(Logging, ReplacedMethodReceivesEveryMessage) {
  Class made = registerSubclass(ZtLoggingManager::classObject(), "ReplacedManager");
  const SEL selector = ZT_SELECTOR("appendToLogger:level:format:arguments:");
  ASSERT_NE(QvReplaceMethodImplementation(made, selector, methodImplementation<&appendReplaced>()), nullptr);
  const Ref<ZtLoggingManager> manager = as<ZtLoggingManager>(class_createInstance(made));
  ZtLoggingManager::setSharedLoggingManager(manager);
  YbLog("camera", ZtLogLevelWarn, "%s", "a");
  manager->appendToLogger_level_message("lens", ZtLogLevelWarn, "b");
  EXPECT_THAT(replacedLines, ElementsAre("camera: a", "lens: b"));
}

std::string replacedConfiguration;

void configureReplaced(const Ref<ZtLoggingManager>&, const Ref<NSString>& path, bool watch) {
  replacedConfiguration = NSString::stringWithFormat("%@ %d", path, watch)->utf8();
}

TEST_F(Logging, ConfiguringCanBeReplaced) {
  Class made = registerSubclass(ZtLoggingManager::classObject(), "ReconfiguredManager");
  const SEL selector = ZT_SELECTOR("configureWithPath:watch:");
  ASSERT_NE(QvReplaceMethodImplementation(made, selector, methodImplementation<&configureReplaced>()), nullptr);
  send(class_createInstance(made), selector, Ref<NSString>("/etc/log.plist"), true);
  EXPECT_EQ(replacedConfiguration, "/etc/log.plist 1");
  replacedConfiguration.clear();
  send(make<ZtLoggingManager>(), selector, Ref<NSString>("/etc/log.plist"), true);
  EXPECT_EQ(replacedConfiguration, "") << "only the subclass was changed";
}

// ---- Logging while logging

class NestingManager : public ZtLoggingManager {
  ZT_OBJECT(NestingManager, ZtLoggingManager)
 public:
  void appendToLogger_level_format_arguments(const Ref<NSObject>&, std::int32_t level, const Ref<NSString>&,
                                             FormatArguments) override {
    ++received;
    if (level == ZtLogLevelError) throw std::runtime_error("cannot log");
    YbLog("manager", level, "and again");
  }

  int received = 0;
};
ZT_IMPLEMENT_CLASS(NestingManager);

TEST_F(Logging, ManagerThatAlwaysLogsComesToAnEnd) {
  const Ref<NestingManager> manager = make<NestingManager>();
  ZtLoggingManager::setSharedLoggingManager(manager);
  YbLog("camera", ZtLogLevelWarn, "start");
  EXPECT_EQ(manager->received, 8);
  YbLog("camera", ZtLogLevelWarn, "start");
  EXPECT_EQ(manager->received, 16);
}

TEST_F(Logging, WhatAManagerThrowsPassesThrough) {
  const Ref<NestingManager> manager = make<NestingManager>();
  ZtLoggingManager::setSharedLoggingManager(manager);
  for (int i = 0; i < 20; ++i) EXPECT_THROW(YbLog("camera", ZtLogLevelError, "start"), std::runtime_error);
  EXPECT_EQ(manager->received, 20);
}

class LoggingDescription : public NSObject {
  ZT_OBJECT(LoggingDescription, NSObject)
 public:
  Ref<NSString> description() const override {
    YbLog("description", ZtLogLevelDebug, "asked");
    return "described";
  }
};
ZT_IMPLEMENT_CLASS(LoggingDescription);

TEST_F(Logging, DescriptionsMayLog) {
  const Ref<CollectingManager> manager = make<CollectingManager>();
  ZtLoggingManager::setSharedLoggingManager(manager);
  YbLog("camera", ZtLogLevelInfo, "%@", make<LoggingDescription>());
  EXPECT_THAT(manager->lines, ElementsAre("description 7 asked", "camera 6 described"));
}

class FarewellManager : public CollectingManager {
  ZT_OBJECT(FarewellManager, CollectingManager)
 public:
  ~FarewellManager() override { YbLog("old", ZtLogLevelInfo, "leaving"); }
};
ZT_IMPLEMENT_CLASS(FarewellManager);

TEST_F(Logging, ManagerMayLogWhileItIsReplaced) {
  ZtLoggingManager::setSharedLoggingManager(make<FarewellManager>());
  const Ref<CollectingManager> next = make<CollectingManager>();
  ZtLoggingManager::setSharedLoggingManager(next);
  EXPECT_THAT(next->lines, ElementsAre("old 6 leaving"));
}

class ResigningManager : public ZtLoggingManager {
  ZT_OBJECT(ResigningManager, ZtLoggingManager)
 public:
  void appendToLogger_level_format_arguments(const Ref<NSObject>&, std::int32_t, const Ref<NSString>&,
                                             FormatArguments) override {
    ZtLoggingManager::setSharedLoggingManager(nullptr);
    text = "still alive";
  }

  std::string text;
};
ZT_IMPLEMENT_CLASS(ResigningManager);

TEST_F(Logging, ManagerMayUninstallItself) {
  ZtLoggingManager::setSharedLoggingManager(make<ResigningManager>());
  YbLog("camera", ZtLogLevelInfo, "a");
  EXPECT_FALSE(ZtLoggingManager::sharedLoggingManager());
}

// ---- Threads

TEST_F(Logging, ManagersAreReplacedWhileOthersLog) {
  std::atomic<bool> done = false;
  std::vector<std::thread> loggers;
  for (int t = 0; t < 3; ++t) {
    loggers.emplace_back([&] {
      while (!done) YbLog("camera", 5, "%d", 1);
    });
  }
  for (int i = 0; i < 300; ++i) ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
  done = true;
  for (std::thread& logger : loggers) logger.join();
}

TEST_F(Logging, LinesOfManyThreadsStayWhole) {
  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
  const std::vector<std::string> lines = linesOf([] {
    std::vector<std::thread> loggers;
    for (int t = 0; t < 4; ++t) {
      loggers.emplace_back([t] {
        for (int i = 0; i < 50; ++i) YbLog("thread", ZtLogLevelInfo, "%d %s", t, std::string(200, 'x'));
      });
    }
    for (std::thread& logger : loggers) logger.join();
  });
  EXPECT_EQ(lines.size(), 200U);
  EXPECT_THAT(lines, testing::Each(MatchesRegex("INFO  thread - [0-3] x{200}")));
}

// ---- Before main and after it

struct LogsAtExit {
  ~LogsAtExit() {
    ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
    YbLog("exit", ZtLogLevelInfo, "late %d", 1);
  }
};

TEST(LoggingDeathTest, WorksWhileStaticObjectsAreDestroyed) {
  EXPECT_EXIT(
      {
        static const LogsAtExit logger;
        std::exit(7);
      },
      testing::ExitedWithCode(7), "INFO  exit - late 1");
}

}  // namespace loggingtests
