// Whether an item exists, beside the bare system call: at most 1.5 times its time.

#include <ZtFoundation/Files.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "support/Timing.h"

namespace {

using namespace ZtFoundation;

constexpr int kCalls = 20'000;
constexpr int kRounds = 31;
constexpr double kAllowed = 1.5;

struct Item {
  const char* name;
  std::string path;
  Ref<NSString> string = NSString::stringWithFileSystemRepresentation(path);
  bool exists;
  bool isFolder;
};

struct Question {
  const char* name;
  bool (*ask)(const Ref<NSString>&);
  bool (*expected)(const Item&);
};

const Question kQuestions[] = {
    {"exists", JxFileExistence::exists, [](const Item& item) { return item.exists; }},
    {"fileExists", JxFileExistence::fileExists, [](const Item& item) { return item.exists && !item.isFolder; }},
    {"directoryExists", JxFileExistence::directoryExists, [](const Item& item) { return item.isFolder; }},
};

double timeOfBareCall(const Item& item) {
  return bench::milliseconds([&] {
    struct stat status;
    for (int call = 0; call < kCalls; ++call) {
      bench::require((::stat(item.path.c_str(), &status) == 0) == item.exists, "stat");
    }
  });
}

double timeOf(const Question& question, const Item& item) {
  const bool expected = question.expected(item);
  return bench::milliseconds([&] {
    for (int call = 0; call < kCalls; ++call) bench::require(question.ask(item.string) == expected, question.name);
  });
}

// Both in turn, so that whatever else the machine does hits both.
bool isInTime(const Question& question, const Item& item) {
  std::vector<double> ratios;
  double bare = 0;
  for (int round = 0; round < kRounds; ++round) {
    bare = timeOfBareCall(item);
    ratios.push_back(timeOf(question, item) / bare);
  }
  const double ratio = bench::median(ratios);
  std::printf("%-16s %-8s %5.2f times stat (%.0f ns; at most %.1f)\n", question.name, item.name, ratio,
              bare * 1e6 / kCalls, kAllowed);
  return ratio <= kAllowed;
}

}  // namespace

int main() {
  const std::string folder = std::filesystem::canonical("/proc/self/exe").parent_path();
  const Item items[] = {{.name = "file", .path = folder + "/bench-Existence", .exists = true, .isFolder = false},
                        {.name = "folder", .path = folder, .exists = true, .isFolder = true},
                        {.name = "nothing", .path = folder + "/nothing there", .exists = false, .isFolder = false}};
  bool good = true;
  for (const Item& item : items) {
    for (const Question& question : kQuestions) good &= isInTime(question, item);
  }
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
