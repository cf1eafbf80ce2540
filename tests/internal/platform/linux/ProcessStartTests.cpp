#include "platform/linux/ProcessStart.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::StartedProcess;
using detail::startProcess;

void waitFor(const StartedProcess& process) {
  pollfd poll{process.handle.get(), POLLIN, 0};
  while (::poll(&poll, 1, -1) != 1) {
  }
}

/// Whether the system takes away `call` from this process from now on, as an older system would not have it.
bool takeAway(unsigned call) {
  sock_filter steps[] = {
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
      {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, call},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | ENOSYS},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
  };
  const sock_fprog filter{std::size(steps), steps};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
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

}  // namespace
}  // namespace ZtFoundation::test
