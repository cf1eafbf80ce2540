#include "platform/linux/process/ProcessStart.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <chrono>
#include <cstdio>
#include <future>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"
#include "support/SystemCallFilter.h"

namespace ZtFoundation::test {
namespace {

using detail::StartedProcess;
using detail::startProcess;

void waitFor(const StartedProcess& process) {
  pollfd poll{process.handle.get(), POLLIN, 0};
  while (::poll(&poll, 1, -1) != 1) {
  }
}

pid_t parentOf(pid_t process) {
  const std::string status = contentsOf("/proc/" + std::to_string(process) + "/stat").value_or("");
  int parent = -1;
  return std::sscanf(status.c_str(), "%*d (%*[^)]) %*c %d", &parent) == 1 ? parent : -1;
}

/// Waits until a process asks for the call that `listener` is told of, and kills its parent instead of an answer.
/// Answers the process.
pid_t killParentOfCaller(int listener) {
  seccomp_notif call{};
  if (::ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0) return -1;
  const auto process = static_cast<pid_t>(call.pid);
  return ::kill(parentOf(process), SIGKILL) == 0 ? process : -1;
}

class ProcessStartTests : public testing::Test {
 protected:
  /// The descriptors of a program that a process with more of them has started, one a line. The listing itself has one.
  template <class Prepare>
  std::string descriptorsAfter(Prepare prepare) const {
    const int status = inChild([&]() -> int {
      const int output = ::open((folder / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      ::dup2(output, STDOUT_FILENO);
      ::dup2(output, 50);
      ::dup2(output, 500);
      if (!prepare()) return 77;
      const StartedProcess process = startProcess("/bin/ls", {"ls", "/proc/self/fd"});
      if (process.error != 0) return 1;
      waitFor(process);
      return 0;
    });
    return status == 0 ? contentsOf(folder / "out").value() : "status " + std::to_string(status);
  }

  ScratchFolder folder;
};

TEST_F(ProcessStartTests, TheProgramHasAHandle) {
  const StartedProcess process = startProcess("/bin/true", {"true"});
  EXPECT_EQ(process.error, 0);
  EXPECT_GT(process.id, 0);
  ASSERT_TRUE(process.handle);
  EXPECT_EQ(::fcntl(process.handle.get(), F_GETFD), FD_CLOEXEC);
  waitFor(process);
}

TEST_F(ProcessStartTests, AFailureHasNeitherNumberNorHandle) {
  const StartedProcess process = startProcess("/missing", {"missing"});
  EXPECT_EQ(process.error, ENOENT);
  EXPECT_EQ(process.id, -1);
  EXPECT_FALSE(process.handle);
}

TEST_F(ProcessStartTests, DescriptorsAreClosedAtOnce) {
  EXPECT_EQ(descriptorsAfter([] { return true; }), "0\n1\n2\n3\n");
}

TEST_F(ProcessStartTests, DescriptorsAreClosedOneByOneOnOlderSystems) {
  const std::string found = descriptorsAfter([] { return takeAway(SYS_close_range); });
  if (found == "status 77") GTEST_SKIP() << "this process may not filter its system calls";
  EXPECT_EQ(found, "0\n1\n2\n3\n");
}

TEST_F(ProcessStartTests, ASystemThatStartsNoProcessTellsSo) {
  const int status = inChild([] {
    if (!takeAway(SYS_clone)) return 77;
    return startProcess("/bin/true", {"true"}).error;
  });
  if (status == 77) GTEST_SKIP() << "this process may not filter its system calls";
  EXPECT_EQ(status, ENOSYS);
}

TEST_F(ProcessStartTests, WhatCannotStandOnItsOwnIsNotStarted) {
  for (const unsigned call : {unsigned{SYS_openat}, unsigned{SYS_dup3}}) {
    const int status = inChild([&] {
      if (!takeAway(call)) return 77;
      return startProcess("/bin/true", {"true"}, {"", true}).error;
    });
    if (status == 77) GTEST_SKIP() << "this process may not filter its system calls";
    EXPECT_EQ(status, ENOSYS) << call;
  }
}

TEST_F(ProcessStartTests, WhenTheProcessInBetweenIsKilledNothingRuns) {
  const int status = inChild([] {
    const int listener = filterCalls(SYS_execve, SECCOMP_RET_USER_NOTIF, SECCOMP_FILTER_FLAG_NEW_LISTENER);
    if (listener < 0) return 77;
    std::future<pid_t> caller = std::async(std::launch::async, [&] { return killParentOfCaller(listener); });
    const StartedProcess process = startProcess("/bin/true", {"true"});
    const pid_t program = caller.get();
    if (program <= 0) return 1;
    if (process.error != ECANCELED || process.id != -1 || process.handle) return 2;
    const std::string state = contentsOf("/proc/" + std::to_string(program) + "/stat").value_or("");
    return state.empty() || state.find(") Z ") != std::string::npos ? 0 : 3;
  });
  if (status == 77) GTEST_SKIP() << "this process may not filter its system calls";
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace ZtFoundation::test
