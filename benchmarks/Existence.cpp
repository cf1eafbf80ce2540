// Whether an item exists, beside the bare system call.

#include <ZtFoundation/Files.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "support/Report.h"

namespace {

using namespace ZtFoundation;

constexpr int kCalls = 20'000;
const std::size_t kRounds = bench::fullOrQuick(31U, 5U);
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

template <class Call>
double nanosecondsPerCall(Call call) {
  return 1e6 / kCalls * bench::processorMilliseconds([&] {
           for (int i = 0; i < kCalls; ++i) call();
         });
}

double timeOfBareCall(const Item& item) {
  struct stat status;
  return nanosecondsPerCall([&] { bench::require((::stat(item.path.c_str(), &status) == 0) == item.exists, "stat"); });
}

double timeOf(const Question& question, const Item& item) {
  const bool expected = question.expected(item);
  return nanosecondsPerCall([&] { bench::require(question.ask(item.string) == expected, question.name); });
}

void compare(const bench::Report& report, const Question& question, const Item& item) {
  const auto times =
      bench::inTurns(kRounds, {[&] { return timeOf(question, item); }, [&] { return timeOfBareCall(item); }});
  report.add({std::string(question.name) + ", " + item.name, "ns", times[0], "stat(2)", times[1], kAllowed});
}

}  // namespace

int main() {
  const std::string program = std::filesystem::canonical("/proc/self/exe");
  const std::string folder = std::filesystem::path(program).parent_path();
  const Item items[] = {{.name = "a file", .path = program, .exists = true, .isFolder = false},
                        {.name = "a folder", .path = folder, .exists = true, .isFolder = true},
                        {.name = "nothing", .path = folder + "/nothing there", .exists = false, .isFolder = false}};
  const bench::Report report("Existence of items");
  for (const Item& item : items) {
    for (const Question& question : kQuestions) compare(report, question, item);
  }
}
