// A log line to /dev/null, beside the bare system call with the same bytes and beside a widespread logging library that
// writes each line at once, too.

#include <ZtFoundation/Logging.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "support/Timing.h"

#if ZT_BENCH_HAS_SPDLOG
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>
#endif

namespace {

using namespace ZtFoundation;

constexpr int kLines = 100'000;
constexpr int kRounds = 9;

constexpr std::string_view kLine =
    "2024-05-17 09:30:00.125 bench-Logging[12345:12345] WARN  camera - battery at 42% of 3.70 V\n";

void writeRaw(int) { bench::require(::write(STDERR_FILENO, kLine.data(), kLine.size()) > 0, "write"); }
void writePlain(int i) { ZtLog("WARN  camera - battery at %d%% of %.2f V", i % 100, 3.7); }
// The logger is made once, as the peer's is.
void writeLevelled(int i) {
  static const Ref<NSObject> logger = "camera";
  YbLog(logger, ZtLogLevelWarn, "battery at %d%% of %.2f V", i % 100, 3.7);
}

#if ZT_BENCH_HAS_SPDLOG
void writePeer(int i) {
  static const auto logger = spdlog::stderr_logger_mt("camera");
  logger->warn("battery at {}% of {:.2f} V", i % 100, 3.7);
}

// With process and thread, as our own lines have them; the line before has neither.
void writePeerInFull(int i) {
  static const auto logger = [] {
    auto made = spdlog::stderr_logger_mt("full camera");
    made->set_pattern("%Y-%m-%d %H:%M:%S.%e bench-Logging[%P:%t] %l camera - %v");
    return made;
  }();
  logger->warn("battery at {}% of {:.2f} V", i % 100, 3.7);
}
#endif

struct Contender {
  const char* name;
  void (*write)(int);
  std::vector<double> nanoseconds = {};
};

void measure(Contender& contender) {
  const double taken = bench::milliseconds([&] {
    for (int i = 0; i < kLines; ++i) contender.write(i);
  });
  contender.nanoseconds.push_back(taken * 1e6 / kLines);
}

double report(const Contender& contender, double raw) {
  const double median = bench::median(contender.nanoseconds);
  std::printf("%-16s %8.0f ns a line, %5.2f times write(2)\n", contender.name, median, median / raw);
  return median;
}

bool reaches(const char* aim, bool reached) {
  std::printf("%s: %s\n", aim, reached ? "reached" : "MISSED");
  return reached;
}

// The first three are write(2), YbLog and ZtLog; others are peers.
bool reachesItsAims(const std::vector<Contender>& contenders) {
  const double raw = bench::median(contenders[0].nanoseconds);
  std::vector<double> medians;
  for (const Contender& contender : contenders) medians.push_back(report(contender, raw));
  bool good = reaches("YbLog takes at most 4 times write(2)", medians[1] <= 4 * raw);
  if (medians.size() > 3) good &= reaches("YbLog is faster than spdlog", medians[1] < medians[3]);
  return good;
}

}  // namespace

int main() {
  const int nowhere = ::open("/dev/null", O_WRONLY);
  bench::require(nowhere >= 0 && ::dup2(nowhere, STDERR_FILENO) >= 0, "redirecting standard error");
  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());

  std::vector<Contender> contenders{{"write(2)", writeRaw}, {"YbLog", writeLevelled}, {"ZtLog", writePlain}};
#if ZT_BENCH_HAS_SPDLOG
  contenders.push_back({"spdlog", writePeer});
  contenders.push_back({"spdlog, in full", writePeerInFull});
#else
  std::puts("spdlog is not installed, so nothing is compared with it");
#endif
  for (int round = 0; round < kRounds; ++round) {  // turn by turn, so that a busy moment meets all
    for (Contender& contender : contenders) measure(contender);
  }

  return reachesItsAims(contenders) ? EXIT_SUCCESS : EXIT_FAILURE;
}
