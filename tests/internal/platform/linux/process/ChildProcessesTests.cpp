#include "platform/linux/process/ChildProcesses.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <future>

#include "support/ChildProcess.h"

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

TEST(ChildProcesses, WhatCannotBeStartedTellsTheReason) {
  std::string failure;
  EXPECT_FALSE(service<ChildProcesses>().start("/missing", {}, &failure));
  EXPECT_EQ(failure, "No such file or directory");
}

}  // namespace
}  // namespace ZtFoundation::test
