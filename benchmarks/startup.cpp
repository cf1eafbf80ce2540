// Time from starting a process to its end: a host that links the library against an empty C++ program. The aim is a
// ratio of at most 1.3.

#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsToRun(const char* path) {
  const std::array<char*, 2> arguments{const_cast<char*>(path), nullptr};
  const auto start = Clock::now();
  pid_t child = 0;
  int status = 0;
  if (posix_spawn(&child, path, nullptr, nullptr, arguments.data(), environ) != 0 ||
      waitpid(child, &status, 0) != child || status != 0) {
    std::fprintf(stderr, "cannot run %s\n", path);
    std::exit(1);
  }
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

int main() {
  constexpr int rounds = 500;
  std::vector<double> empty;
  std::vector<double> host;
  for (int round = 0; round < rounds; ++round) {  // Turn by turn, so that a busy moment meets both.
    empty.push_back(millisecondsToRun(ZT_BENCH_STARTUP_EMPTY));
    host.push_back(millisecondsToRun(ZT_BENCH_STARTUP_HOST));
  }
  std::printf("start-up, median of %d: empty %.3f ms, host %.3f ms, ratio %.2f (aim: at most 1.30)\n", rounds,
              median(empty), median(host), median(host) / median(empty));
}
