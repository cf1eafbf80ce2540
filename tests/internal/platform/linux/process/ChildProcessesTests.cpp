#include "platform/linux/process/ChildProcesses.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <future>

#include "support/ChildProcess.h"
#include "support/SystemCallFilter.h"

namespace ZtFoundation::test {
namespace {

TEST(ChildProcesses, AProcessWithoutAHandleIsLookedForByItsNumber) {
  const pid_t child = startChild([] { return ::pause(); });
  detail::WatchedProcess process;
  process.watch(child, detail::FileDescriptor());
  EXPECT_EQ(process.identifier(), child);
  EXPECT_TRUE(process.isRunning());
  const std::future<void> waiting = std::async(std::launch::async, [&] { process.waitUntilExit(); });
  EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  ::kill(child, SIGKILL);
  EXPECT_EQ(waitForChild(child), -1);
  waiting.wait();
  EXPECT_FALSE(process.isRunning());
}

TEST(ChildProcesses, AProcessWithoutAHandleThatIsOursToReapHasEndedWhenItHas) {
  EXPECT_EQ(inChild([] {
              ::prctl(PR_SET_CHILD_SUBREAPER, 1);
              const pid_t child = startChild([] { return 0; });
              detail::WatchedProcess process;
              process.watch(child, detail::FileDescriptor());
              siginfo_t ended;
              ::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
              const bool isThere = process.isRunning() || process.isRunning();
              return isThere || ::waitpid(child, nullptr, WNOHANG) != -1 ? 1 : 0;
            }),
            0);
}

TEST(ChildProcesses, AProcessOfAnotherUserIsThereToo) {
  EXPECT_EQ(asOrdinaryUser([] {
              detail::WatchedProcess process;
              process.watch(::getppid(), detail::FileDescriptor());
              return process.isRunning() ? 0 : 1;
            }),
            0);
}

TEST(ChildProcesses, WhatCannotBeStartedTellsTheReason) {
  std::string failure;
  EXPECT_FALSE(service<ChildProcesses>().start("/missing", {}, &failure));
  EXPECT_EQ(failure, "No such file or directory");
}

TEST(ChildProcesses, AReasonThatNobodyKnowsTellsItsNumber) {
  const int status = inChild([] {
    std::string failure;
    if (!takeAway(SYS_execve, 4000)) return 77;
    return !service<ChildProcesses>().start("/bin/true", {}, &failure) && failure == "error 4000" ? 0 : 1;
  });
  if (status == 77) GTEST_SKIP() << "this process may not filter its system calls";
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace ZtFoundation::test
