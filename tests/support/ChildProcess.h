/// \file ChildProcess.h
/// Doing something in a process of its own, as another user for instance.
#pragma once

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>

namespace ZtFoundation::test {

/// Starts a process that runs `work`, whose result (0 to 255) is its exit status.
template <class Work>
pid_t startChild(Work work) {
  const pid_t child = ::fork();
  // Were -1 taken for a process, a signal to it would reach every other one.
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (child > 0) return child;
  int status = 254;
  try {
    status = static_cast<int>(work());
  } catch (const std::exception&) {
  }
  ::_exit(status);
}

/// As waitpid tells it.
inline int statusOfChild(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
  }
  return status;
}

/// The exit status, -1 when the process was killed.
inline int waitForChild(pid_t child) {
  const int status = statusOfChild(child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// The signal that has killed the process, 0 when it has exited.
inline int signalThatEnded(pid_t child) {
  const int status = statusOfChild(child);
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

template <class Work>
int inChild(Work work) {
  return waitForChild(startChild(work));
}

/// Whether this process may change its root; some containers let nobody do so.
inline bool mayChangeRoot() {
  return inChild([] { return ::chroot("/") == 0 ? 0 : 1; }) == 0;
}

constexpr unsigned kOrdinaryUser = 65534;

/// Runs `work` without any privileges; a process that has none to begin with stays the user that it is.
template <class Work>
int asOrdinaryUser(Work work) {
  return inChild([&]() -> int {
    if (::geteuid() == 0 &&
        (::setgroups(0, nullptr) != 0 || ::setgid(kOrdinaryUser) != 0 || ::setuid(kOrdinaryUser) != 0)) {
      return 253;
    }
    return static_cast<int>(work());
  });
}

}  // namespace ZtFoundation::test
