// Copying and removing beside the commands of the system, cp and rm, started as processes: in memory, where nothing waits for a device, or in the
// folder that is the first argument.

#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/String.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/Timing.h"

extern char** environ;

namespace {

using namespace ZtFoundation;

constexpr int kLargeFileMegabytes = 1024;
constexpr int kFiles = 100000;
// As in trees of sources: few in a folder, and small.
constexpr int kFilesInFolder = 10;
constexpr std::size_t kFileSize = 1000;

// A tenth of the work and more rounds while others use the machine: ZT_BENCH_SCALE=10.
int scale() {
  const char* text = std::getenv("ZT_BENCH_SCALE");
  return text != nullptr ? std::max(1, std::atoi(text)) : 1;
}

void run(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  int status = 0;
  bench::require(::posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0, "starting");
  bench::require(::waitpid(child, &status, 0) == child && status == 0, arguments[0]);
}

Ref<NSString> stringOf(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }

void copyByLibrary(const std::string& from, const std::string& to) {
  bench::require(NSFileManager::defaultManager()->copyPath_toPath_handler(stringOf(from), stringOf(to), nullptr),
                 "copying");
}
void removeByLibrary(const std::string& path) {
  bench::require(NSFileManager::defaultManager()->removeFileAtPath_handler(stringOf(path), nullptr), "removing");
}

// --- What is copied and removed

void makeFile(const std::string& path, std::size_t size) {
  const std::vector<char> block(std::min(size, std::size_t{1} << 20), 'z');
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  bench::require(file >= 0, "making a file");
  for (std::size_t written = 0; written < size; written += block.size()) {
    bench::require(::write(file, block.data(), std::min(block.size(), size - written)) > 0, "writing a file");
  }
  ::close(file);
}

int files() { return kFiles / scale(); }

void makeFolder(const std::string& path) { bench::require(::mkdir(path.c_str(), 0755) == 0, "making a folder"); }

void makeTree(const std::string& root, int filesInFolder) {
  makeFolder(root);
  std::string folder;
  for (int i = 0; i < files(); ++i) {
    if (i % filesInFolder == 0) makeFolder(folder = root + "/folder" + std::to_string(i));
    makeFile(folder + "/file" + std::to_string(i), kFileSize);
  }
}

// --- Measuring in turns, so that a busy moment meets both

struct Times {
  std::vector<double> ours;
  std::vector<double> theirs;
};

bool report(const std::string& what, const Times& times, double limit) {
  const double ours = bench::median(times.ours);
  const double theirs = bench::median(times.theirs);
  std::printf("%-58s %8.1f ms, command %8.1f ms, %5.2f times (aim %.2f)\n", what.c_str(), ours, theirs, ours / theirs,
              limit);
  return ours <= limit * theirs;
}

template <class Ours, class Theirs, class Before, class After>
Times measure(int rounds, Ours ours, Theirs theirs, Before before, After after) {
  Times times;
  for (int round = 0; round < 2 * rounds; ++round) {
    const bool isOurs = (round + round / 2) % 2 == 0;  // each goes first as often as the other
    before();
    if (isOurs) {
      times.ours.push_back(bench::milliseconds(ours));
    } else {
      times.theirs.push_back(bench::milliseconds(theirs));
    }
    after();
  }
  return times;
}

std::string described(int filesInFolder) {
  const int inOne = std::min(filesInFolder, files());
  return std::to_string(files()) + " files of " + std::to_string(kFileSize) + " bytes, " + std::to_string(inOne) +
         " in a folder";
}

bool measureLargeFile(const std::string& folder) {
  const std::string from = folder + "/large";
  const std::string to = folder + "/copy";
  const int megabytes = kLargeFileMegabytes / scale();
  makeFile(from, static_cast<std::size_t>(megabytes) << 20);
  const Times times = measure(
      5, [&] { copyByLibrary(from, to); },
      [&] {
        run({"cp", from, to});
      },
      [] {}, [&] { ::unlink(to.c_str()); });
  ::unlink(from.c_str());
  return report("copy of a file of " + std::to_string(megabytes) + " MiB", times, 1.05);
}

bool measureSmallFiles(const std::string& folder) {
  const std::string from = folder + "/tree";
  const std::string to = folder + "/copy";
  makeTree(from, kFilesInFolder);
  const Times times = measure(
      5, [&] { copyByLibrary(from, to); },
      [&] {
        run({"cp", "-a", from, to});
      },
      [] {}, [&] { removeByLibrary(to); });
  removeByLibrary(from);
  return report("copy of " + described(kFilesInFolder), times, 1.1);
}

bool measureRemoval(const std::string& folder, int filesInFolder) {
  const std::string tree = folder + "/tree";
  const Times times = measure(
      7, [&] { removeByLibrary(tree); },
      [&] {
        run({"rm", "-rf", tree});
      },
      [&] { makeTree(tree, filesInFolder); }, [] {});
  return report("removal of " + described(filesInFolder), times, 1.05);
}

}  // namespace

int main(int count, char** arguments) {
  std::string folder = std::string(count > 1 ? arguments[1] : "/dev/shm") + "/zt-bench-XXXXXX";
  bench::require(::mkdtemp(folder.data()) != nullptr, "making a folder");
  bool good = true;
  for (const int filesInFolder : {kFilesInFolder, 1000, kFiles}) good &= measureRemoval(folder, filesInFolder);
  good &= measureLargeFile(folder);
  good &= measureSmallFiles(folder);
  removeByLibrary(folder);
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
