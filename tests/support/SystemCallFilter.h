/// \file SystemCallFilter.h
/// System calls that the system refuses to this process, or asks somebody else about.
#pragma once

#include <errno.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <span>

namespace ZtFoundation::test {

/// Has the system ask these steps about each call of this process from now on; -1 where it does not let us.
inline int installFilter(std::span<sock_filter> steps, unsigned flags = 0) {
  const sock_fprog filter{static_cast<unsigned short>(steps.size()), steps.data()};
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return -1;
  return static_cast<int>(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &filter));
}

/// Has the system answer `call` of this process with `answer` from now on; -1 where it does not let us.
inline int filterCalls(unsigned call, unsigned answer, unsigned flags) {
  sock_filter steps[] = {
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
      {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, call},
      {BPF_RET | BPF_K, 0, 0, answer},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
  };
  return installFilter(steps, flags);
}

/// Whether the system refuses `call` to this process from now on; without another error, as an older system would that
/// does not have it.
inline bool takeAway(unsigned call, unsigned error = ENOSYS) {
  return filterCalls(call, SECCOMP_RET_ERRNO | error, 0) == 0;
}

}  // namespace ZtFoundation::test
