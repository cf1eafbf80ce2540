// Time from starting a process to its end: a host that links the library beside an empty C++ program.

#include "support/Command.h"
#include "support/Report.h"

namespace {

double timeOf(const char* program) {
  return bench::milliseconds([&] { bench::runCommand({program}); });
}

}  // namespace

int main() {
  const auto times = bench::inTurns(bench::fullOrQuick(1000U, 100U), {[] { return timeOf(ZT_BENCH_STARTUP_HOST); },
                                                                      [] { return timeOf(ZT_BENCH_STARTUP_EMPTY); }});
  const bench::Report report("Start-up");
  report.add({"host that links the library", "ms", times[0], "empty C++ program", times[1], 1.3});
}
