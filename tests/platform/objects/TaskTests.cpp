#include <ZtFoundation/platform/Task.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <elf.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <thread>

#include "support/ChildProcess.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

const char* const kReport = ZT_TEST_BUNDLES "/Report";

/// What the report tool found: the values of each fact.
using Facts = std::map<std::string, std::vector<std::string>>;

Facts factsIn(const std::string& path) {
  Facts facts;
  const std::string all = contentsOf(path).value_or("");
  for (std::size_t at = 0; at < all.size();) {
    const std::string line = all.c_str() + at;
    at += line.size() + 1;
    const std::size_t equals = line.find('=');
    facts[line.substr(0, equals)].push_back(line.substr(equals + 1));
  }
  return facts;
}

Ref<NSTask> launch(const Ref<NSString>& path, const Ref<NSArray>& arguments = nullptr) {
  return NSTask::launchedTaskWithLaunchPath_arguments(path, arguments);
}

/// The reason of the exception, empty when there is none.
std::string refusal(const Ref<NSString>& path, const Ref<NSArray>& arguments = nullptr) {
  try {
    launch(path, arguments);
  } catch (const NSException& exception) {
    EXPECT_EQ(exception.name()->utf8(), NSInvalidArgumentException()->utf8());
    return exception.reason()->utf8();
  }
  return "";
}

class TaskTests : public testing::Test {
 protected:
  /// Runs the tool to its end; answers what it found.
  Facts report(const std::vector<std::string>& arguments = {}, const std::string& tool = kReport) const {
    const Ref<NSMutableArray> all = NSMutableArray::of(folder.string("report"));
    for (const std::string& each : arguments) all->addObject(NSString::stringWithFileSystemRepresentation(each));
    launch(NSString::stringWithFileSystemRepresentation(tool), all)->waitUntilExit();
    return factsIn(folder / "report");
  }
  std::string file(const std::string& name, const std::string& bytes, fs::perms mode = fs::perms::owner_all) const {
    writeFile(folder / name, bytes);
    fs::permissions(folder / name, mode);
    return folder / name;
  }

  ScratchFolder folder;
};

std::size_t openDescriptors() {
  const fs::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// ---- Running

TEST_F(TaskTests, ATaskRunsUntilItEnds) {
  const Ref<NSTask> task = launch(kReport, NSArray::of(folder.string("report"), "--linger"));
  EXPECT_TRUE(task->isRunning());
  EXPECT_TRUE(task->isRunning());
  EXPECT_EQ(::kill(task->processIdentifier(), 0), 0);
  while (!fs::exists(folder / "report")) ::usleep(1000);
  EXPECT_THAT(factsIn(folder / "report")["process"], ElementsAre(std::to_string(task->processIdentifier())));
  ASSERT_EQ(::kill(task->processIdentifier(), SIGTERM), 0);
  task->waitUntilExit();
  EXPECT_FALSE(task->isRunning());
  task->waitUntilExit();
}

TEST_F(TaskTests, ATaskGoesOnWhenItsObjectIsGone) {
  const std::int32_t process = launch(kReport, NSArray::of(folder.string("report"), "--linger"))->processIdentifier();
  while (!fs::exists(folder / "report")) ::usleep(1000);
  EXPECT_EQ(::kill(process, SIGTERM), 0);
}

TEST_F(TaskTests, AnswersMessages) {
  const Ref<NSTask> task =
      send<Ref<NSTask>>(NSClassFromString("NSTask"), ZT_SELECTOR("launchedTaskWithLaunchPath:arguments:"),
                        std::string(kReport), Ref<NSArray>(NSArray::of(folder.string("report"))));
  ASSERT_TRUE(task);
  send(task, ZT_SELECTOR("waitUntilExit"));
  EXPECT_FALSE(send<bool>(task, ZT_SELECTOR("isRunning")));
  EXPECT_EQ(send<std::int32_t>(task, ZT_SELECTOR("processIdentifier")), task->processIdentifier());
  EXPECT_TRUE(fs::exists(folder / "report"));
}

// ---- Arguments and paths

TEST_F(TaskTests, ArgumentsArriveByteForByte) {
  const std::vector<std::string> hostile = {"",      " ",  "a b",  "'",  "\"",  "\\", "$(reboot)",        "`id`",
                                            "*",     "-x", "a\nb", "\t", ";|&", "%s", "\xFF\xC3\x28\xE9", "\xC3\xA9",
                                            "x\x01y"};
  std::vector<std::string> expected = {kReport, folder / "report"};
  expected.insert(expected.end(), hostile.begin(), hostile.end());
  EXPECT_EQ(report(hostile)["argument"], expected);
}

TEST_F(TaskTests, NoArgumentsAreAnEmptyArray) {
  const std::string script = file("script", "#!/bin/sh\necho \"$# $0\" >\"$0.out\"\n");
  launch(script)->waitUntilExit();
  EXPECT_EQ(contentsOf(script + ".out"), "0 " + script + "\n");
  fs::remove(script + ".out");
  launch(script, NSArray::array())->waitUntilExit();
  EXPECT_EQ(contentsOf(script + ".out"), "0 " + script + "\n");
}

TEST_F(TaskTests, PathsMayHoldAnything) {
  for (const std::string name : {"with space", "$(x) '\"", "new\nline", "\xFF\xE9"}) {
    fs::copy_file(kReport, folder / name);
    EXPECT_THAT(report({}, folder / name)["argument"], ElementsAre(folder / name, folder / "report"));
    fs::remove(folder / "report");
  }
}

TEST_F(TaskTests, RelativePathsCountFromTheWorkingFolder) {
  fs::copy_file(kReport, folder / "tool");
  const fs::path before = fs::current_path();
  fs::current_path(folder.path());
  EXPECT_THAT(report({}, "tool")["argument"], ElementsAre("tool", folder / "report"));
  EXPECT_THAT(refusal("sh"), HasSubstr("No such file"));
  fs::current_path(before);
}

TEST_F(TaskTests, LinksAreFollowed) {
  fs::create_symlink(kReport, folder / "link");
  EXPECT_EQ(report({}, folder / "link")["argument"].at(0), folder / "link");
}

TEST_F(TaskTests, ThirtyThousandArgumentsArrive) {
  EXPECT_EQ(report(std::vector<std::string>(30000, "x"))["argument"].size(), 30002U);
}

// ---- What is inherited

TEST_F(TaskTests, EnvironmentAndWorkingFolderAreTheHosts) {
  const fs::path before = fs::current_path();
  fs::create_directory(folder / "here");
  fs::current_path(folder / "here");
  setenv("ZT_TASK_TEST", "a = 'b'\n\xFF", 1);
  unsetenv("ZT_TASK_OTHER");
  Facts facts = report();
  fs::current_path(before);
  unsetenv("ZT_TASK_TEST");
  EXPECT_THAT(facts["folder"], ElementsAre(folder / "here"));
  EXPECT_THAT(facts["variable"], testing::Contains("ZT_TASK_TEST=a = 'b'\n\xFF"));
  EXPECT_THAT(report()["variable"], testing::Not(testing::Contains(HasSubstr("ZT_TASK_TEST"))));
}

TEST_F(TaskTests, SessionAndProcessGroupAreTheHosts) {
  EXPECT_THAT(report()["session"], ElementsAre(std::to_string(::getsid(0)) + " " + std::to_string(::getpgrp())));
}

TEST_F(TaskTests, DescriptorsAreTheFirstThreeAlone) {
  const int low = ::open("/dev/null", O_RDONLY);
  const int high = ::fcntl(low, F_DUPFD, 1000);
  ASSERT_GE(high, 1000);
  EXPECT_THAT(report()["descriptors"], ElementsAre("0 1 2 "));
  EXPECT_EQ(::fcntl(low, F_GETFD), 0) << "still open here";
  EXPECT_EQ(::fcntl(high, F_GETFD), 0) << "still open here";
  ::close(high);
  ::close(low);
}

TEST_F(TaskTests, TheStreamsAreTheHosts) {
  const std::string script = file("script", "#!/bin/sh\nread line; echo \"out $line\"; echo \"err $line\" >&2\n");
  const auto work = [&] {
    writeFile(folder / "in", "text\n");
    ::dup2(::open((folder / "in").c_str(), O_RDONLY), 0);
    ::dup2(::open((folder / "out").c_str(), O_WRONLY | O_CREAT, 0600), 1);
    ::dup2(::open((folder / "err").c_str(), O_WRONLY | O_CREAT, 0600), 2);
    launch(script)->waitUntilExit();
    return 0;
  };
  ASSERT_EQ(inChild(work), 0);
  EXPECT_EQ(contentsOf(folder / "out"), "out text\n");
  EXPECT_EQ(contentsOf(folder / "err"), "err text\n");
}

TEST_F(TaskTests, AStreamThatTheHostHasClosedIsClosed) {
  ASSERT_EQ(inChild([&] {
              ::close(0);
              report();
              return 0;
            }),
            0);
  EXPECT_THAT(factsIn(folder / "report")["descriptors"], ElementsAre("1 2 "));
}

void ignore(int) {}

TEST_F(TaskTests, SignalsHaveTheirDefaultHandlingAndNoneIsBlocked) {
  ASSERT_EQ(inChild([&] {
              ::signal(SIGPIPE, SIG_IGN);
              ::signal(SIGCHLD, SIG_IGN);
              ::signal(SIGHUP, SIG_IGN);
              ::signal(SIGRTMAX, SIG_IGN);
              ::signal(SIGINT, &ignore);
              sigset_t all;
              ::sigfillset(&all);
              ::sigprocmask(SIG_SETMASK, &all, nullptr);
              report();
              sigset_t blocked;
              ::sigprocmask(SIG_SETMASK, nullptr, &blocked);
              const bool areKept = ::sigismember(&blocked, SIGUSR1) == 1 && ::signal(SIGPIPE, SIG_DFL) == SIG_IGN &&
                                   ::signal(SIGINT, SIG_DFL) == &ignore;
              return areKept ? 0 : 1;
            }),
            0)
      << "the host's own signals have changed";
  EXPECT_THAT(factsIn(folder / "report")["signals"], ElementsAre(""));
}

// ---- What is left behind

/// Starts some tools in a process of their own, lets them end, and answers what `look` finds there.
template <class Look>
int afterTasks(const std::string& reportPath, Look look) {
  return inChild([&]() -> int {
    for (int i = 0; i < 5; ++i) launch(kReport, NSArray::of(Ref<NSString>(reportPath)))->waitUntilExit();
    return look();
  });
}

bool hasNoChildren() { return ::waitpid(-1, nullptr, WNOHANG | static_cast<int>(__WALL)) == -1 && errno == ECHILD; }

TEST_F(TaskTests, NoZombieIsLeftToTheHost) {
  EXPECT_EQ(afterTasks(folder / "report", [] { return hasNoChildren() ? 0 : 1; }), 0);
}

/// Starts tasks where orphans are given to this process, and answers 0 when no zombie is left.
int afterTasksOfAReaper(const ScratchFolder& folder) {
  for (int i = 0; i < 5; ++i) launch(kReport, NSArray::of(folder.string("report")))->waitUntilExit();
  if (refusal(folder / "missing").empty() || !hasNoChildren()) return 2;
  // Forgotten while it runs.
  const std::int32_t process = launch(kReport, NSArray::of(folder.string("other"), "--linger"))->processIdentifier();
  while (!fs::exists(folder / "other")) ::usleep(1000);
  ::kill(process, SIGKILL);
  siginfo_t info;
  if (::waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT) != 0) return 3;
  launch(kReport, NSArray::of(folder.string("report")))->waitUntilExit();
  if (!hasNoChildren()) return 4;
  // Forgotten after its end, which nobody has looked at.
  Ref<NSTask> task = launch(kReport, NSArray::of(folder.string("report")));
  if (::waitid(P_PID, static_cast<id_t>(task->processIdentifier()), &info, WEXITED | WNOWAIT) != 0) return 5;
  task = nullptr;
  return hasNoChildren() ? 0 : 6;
}

TEST_F(TaskTests, NoZombieIsLeftToAHostThatOrphansAreGivenTo) {
  EXPECT_EQ(inChild([&] { return ::prctl(PR_SET_CHILD_SUBREAPER, 1) == 0 ? afterTasksOfAReaper(folder) : 1; }), 0);
}

TEST_F(TaskTests, NoZombieIsLeftToAHostThatIsTheFirstProcess) {
  const int status = inChild([&] {
    if (::unshare(CLONE_NEWPID) != 0) return 77;
    return inChild([&] { return ::getpid() == 1 ? afterTasksOfAReaper(folder) : 1; });
  });
  if (status == 77) GTEST_SKIP() << "only root can start a first process";
  EXPECT_EQ(status, 0);
}

volatile sig_atomic_t childSignals = 0;
void countChildSignal(int) { childSignals = childSignals + 1; }

TEST_F(TaskTests, TheHostGetsNoSignalForIt) {
  const auto work = [&]() -> int {
    ::signal(SIGCHLD, &countChildSignal);
    report();
    refusal(folder / "missing");
    ::usleep(20000);
    return childSignals;
  };
  EXPECT_EQ(inChild(work), 0);
}

TEST_F(TaskTests, ChildrenOfTheHostAreNotTouched) {
  const pid_t own = startChild([] { return 42; });
  ::usleep(20000);
  report();
  refusal(folder / "missing");
  launch(kReport, NSArray::of(folder.string("report")))->isRunning();
  EXPECT_EQ(waitForChild(own), 42);
}

TEST_F(TaskTests, NoDescriptorIsLeft) {
  report();
  const std::size_t before = openDescriptors();
  report();
  refusal(folder / "missing");
  refusal(folder.path());
  EXPECT_EQ(openDescriptors(), before);
}

// ---- What is refused

TEST_F(TaskTests, WhatTheSystemDoesNotStartIsRefusedWithItsReason) {
  const std::string own = contentsOf(kReport).value();
  std::string foreign = own;
  foreign[offsetof(Elf64_Ehdr, e_machine)] = static_cast<char>(EM_NONE);
  fs::create_symlink("nowhere", folder / "broken link");
  fs::create_symlink("loop", folder / "loop");
  const struct {
    std::string path;
    const char* reason;
  } cases[] = {
      {folder / "missing", "No such file"},
      {"", "No such file"},
      {folder / "missing/tool", "No such file"},
      {folder.path(), "Permission denied"},
      {"/", "Permission denied"},
      {file("plain", own, fs::perms::owner_read), "Permission denied"},
      {file("text", "echo text\n"), "Exec format error"},
      {file("empty", ""), "Exec format error"},
      {file("cut", own.substr(0, 20)), "Exec format error"},
      {file("foreign", foreign), "Exec format error"},
      {file("script", "#!/missing/interpreter\n"), "No such file"},
      {file("script of folder", "#!/tmp\n"), "Permission denied"},
      {file("tool", own) + "/", "Not a directory"},
      {folder / "broken link", "No such file"},
      {folder / "loop", "Too many levels"},
      {"/" + std::string(300, 'x'), "File name too long"},
      {"/dev/null", "Permission denied"},
  };
  for (const auto& each : cases) {
    const std::string reason = refusal(each.path);
    EXPECT_THAT(reason, HasSubstr("cannot launch " + each.path + ": ")) << each.path;
    EXPECT_THAT(reason, HasSubstr(each.reason)) << each.path;
  }
  EXPECT_TRUE(hasNoChildren());
}

TEST_F(TaskTests, ArgumentsThatCannotBePassedAreRefused) {
  EXPECT_THAT(refusal(nullptr), HasSubstr("no string"));
  EXPECT_THAT(refusal(std::u16string_view(u"/bin/true\0x", 11)), HasSubstr("U+0000"));
  EXPECT_THAT(refusal(kReport, NSArray::of(folder.string("report"), 1)), HasSubstr("no string"));
  EXPECT_THAT(refusal(kReport, NSArray::of(folder.string("report"), NSArray::array())), HasSubstr("no string"));
  EXPECT_THAT(refusal(kReport, NSArray::of(folder.string("report"), std::u16string_view(u"a\0b", 3))),
              HasSubstr("U+0000"));
  EXPECT_THAT(refusal(kReport, NSArray::of(folder.string("report"), std::string(1 << 20, 'x'))),
              HasSubstr("Argument list too long"));
  EXPECT_FALSE(fs::exists(folder / "report"));
}

TEST_F(TaskTests, WithoutAFreeDescriptorNothingIsStarted) {
  const auto work = [&]() -> int {
    const rlimit none{0, 0};
    if (::setrlimit(RLIMIT_NOFILE, &none) != 0) return 1;
    const std::string reason = refusal(kReport, NSArray::of(folder.string("report")));
    return reason.find("Too many open files") != std::string::npos && hasNoChildren() ? 0 : 2;
  };
  if (kIsSanitized) GTEST_SKIP() << "sanitizers need descriptors of their own";
  EXPECT_EQ(inChild(work), 0);
  EXPECT_FALSE(fs::exists(folder / "report"));
}

// ---- Many at once

TEST_F(TaskTests, ThreadsStartTasksAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kTasks = 10;
  std::atomic<int> failures = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (int task = 0; task < kTasks; ++task) {
        const std::string name = std::to_string(thread) + "-" + std::to_string(task);
        if (refusal(folder / "missing").empty()) ++failures;
        launch(kReport, NSArray::of(folder.string(name)))->waitUntilExit();
        if (factsIn(folder / name)["descriptors"] != std::vector<std::string>{"0 1 2 "}) ++failures;
      }
    });
  }
  for (std::thread& each : threads) each.join();
  EXPECT_EQ(failures, 0);
  EXPECT_TRUE(hasNoChildren());
}

TEST_F(TaskTests, SignalsThatArriveMeanwhileDisturbNothing) {
  const auto work = [&]() -> int {
    ::signal(SIGALRM, &ignore);
    const itimerval often{{0, 200}, {0, 200}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    for (int i = 0; i < 50; ++i) {
      fs::remove(folder / "report");
      if (report()["descriptors"] != std::vector<std::string>{"0 1 2 "}) return 1;
      if (refusal(folder / "missing").empty()) return 2;
    }
    return 0;
  };
  EXPECT_EQ(inChild(work), 0);
}

}  // namespace
}  // namespace ZtFoundation::test
