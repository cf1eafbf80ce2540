// The most memory that something takes.
#pragma once

#include <malloc.h>

#include <cstddef>
#include <fstream>
#include <string>

namespace ZtFoundation::support {

// A line of the process's status, in bytes.
inline std::size_t memoryStatus(const std::string& name) {
  std::ifstream status("/proc/self/status");
  std::string word;
  std::size_t kibibytes = 0;
  while (status >> word && word != name) continue;
  status >> kibibytes;
  return kibibytes * 1024;
}

// How far the resident memory of this process rises while `work` runs; with sanitizers this includes what they keep
// beside it.
template <class Work>
std::size_t peakMemoryOf(Work&& work) {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5" << std::flush;  // forgets the former peak
  const std::size_t before = memoryStatus("VmRSS:");
  work();
  const std::size_t peak = memoryStatus("VmHWM:");
  return peak > before ? peak - before : 0;
}

}  // namespace ZtFoundation::support
