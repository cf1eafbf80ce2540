// Hexadecimal text of 100 MB, written and read, for comparison with Python's bytes.hex(' ', 4) and bytes.fromhex in the
// same run.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <ZtFoundation/Utilities.h>

namespace {

using namespace ZtFoundation;

constexpr NSUInteger kBytes = 100000000;
constexpr int kRounds = 5;

double seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> times) {
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

// Prints "write read" in seconds.
std::pair<double, double> python() {
  const char* const command =
      "python3 -c \"import time\n"
      "b=bytes(range(256))*390625\n"
      "t=time.perf_counter(); h=b.hex(' ',4); w=time.perf_counter()-t\n"
      "t=time.perf_counter(); bytes.fromhex(h); r=time.perf_counter()-t\n"
      "print(w, r)\"";
  std::pair<double, double> times{0, 0};
  if (FILE* const pipe = popen(command, "r")) {
    if (std::fscanf(pipe, "%lf %lf", &times.first, &times.second) != 2) times = {0, 0};
    pclose(pipe);
  }
  return times;
}

}  // namespace

int main() {
  std::string bytes(kBytes, '\0');
  for (NSUInteger at = 0; at < kBytes; ++at) bytes[at] = static_cast<char>(at);
  const Ref<NSData> data = NSData::dataWithString(std::move(bytes));
  std::vector<double> writes, reads, pythonWrites, pythonReads;
  for (int round = 0; round < kRounds; ++round) {
    Ref<NSString> text;
    Ref<NSData> back;
    writes.push_back(seconds([&] { text = QvFoundationExtensions::hexRepresentation(data); }));
    reads.push_back(seconds([&] { back = QvFoundationExtensions::dataWithHexRepresentation(text); }));
    if (!isEqual(data, back)) return EXIT_FAILURE;
    const auto [write, read] = python();
    pythonWrites.push_back(write);
    pythonReads.push_back(read);
  }
  // A ratio is missed as well when Python gave no figure to compare with.
  const auto report = [](const char* name, double ours, double theirs) {
    std::printf("%-10s %8.1f ms   python %8.1f ms   ratio %.2f (at most 0.50)\n", name, ours * 1e3, theirs * 1e3,
                ours / theirs);
    return theirs > 0 && ours <= 0.5 * theirs;
  };
  const bool writesInTime = report("hex write", median(writes), median(pythonWrites));
  const bool readsInTime = report("hex read", median(reads), median(pythonReads));
  return writesInTime && readsInTime ? EXIT_SUCCESS : EXIT_FAILURE;
}
