// A log line to /dev/null, beside the bare system call with the same bytes and beside a widespread logging library that
// writes each line at once, too.

#include <ZtFoundation/Logging.h>
#include <fcntl.h>
#include <unistd.h>

#include <functional>
#include <string_view>
#include <vector>

#include "support/Report.h"

#if ZT_BENCH_HAS_SPDLOG
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>
#endif

namespace {

using namespace ZtFoundation;

const int kLines = bench::fullOrQuick(100'000, 20'000);
const std::size_t kRounds = bench::fullOrQuick(31U, 11U);

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

std::function<double()> nanosecondsPerLine(void (*write)(int)) {
  return [write] {
    const double taken = bench::processorMilliseconds([&] {
      for (int i = 0; i < kLines; ++i) write(i);
    });
    return taken * 1e6 / kLines;
  };
}

}  // namespace

int main() {
  const int nowhere = ::open("/dev/null", O_WRONLY);
  bench::require(nowhere >= 0 && ::dup2(nowhere, STDERR_FILENO) >= 0, "redirecting standard error");
  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());

  std::vector<std::function<double()>> contenders{nanosecondsPerLine(writeLevelled), nanosecondsPerLine(writePlain),
                                                  nanosecondsPerLine(writeRaw)};
#if ZT_BENCH_HAS_SPDLOG
  contenders.push_back(nanosecondsPerLine(writePeer));
  contenders.push_back(nanosecondsPerLine(writePeerInFull));
#endif
  std::vector<bench::Samples> times = bench::inTurns(kRounds, contenders);
  times.resize(5);

  const bench::Report report("Log lines to /dev/null");
  report.add({"YbLog", "ns", times[0], "write(2)", times[2], 4});
  report.add({"YbLog", "ns", times[0], "spdlog, its default line", times[3], 1});
  report.add({"YbLog", "ns", times[0], "spdlog, the same fields", times[4], 1});
  report.add({"ZtLog", "ns", times[1], "write(2)", times[2], 4});
}
