/// \file LittleMemory.h
/// Processes that get no more memory.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

namespace ZtFoundation::test {

/// Leaves this process a megabyte beyond the address space that it has. False when that cannot be done.
inline bool leaveLittleMemory() {
  rlim_t pages = 0;
  if (!(std::ifstream("/proc/self/statm") >> pages)) return false;
  const rlim_t bytes = pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + (rlim_t{1} << 20);
  const rlimit limit{bytes, bytes};
  return ::setrlimit(RLIMIT_AS, &limit) == 0;
}

}  // namespace ZtFoundation::test
