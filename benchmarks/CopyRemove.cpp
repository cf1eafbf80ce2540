// Copying, moving and removing beside the commands of the system, cp, mv and rm, started as processes: in memory, where
// nothing waits for a device. The first argument names another folder to work in.

#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/String.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/Command.h"
#include "support/Report.h"
#include "support/Scratch.h"

namespace {

using namespace ZtFoundation;

const std::size_t kMegabytes = bench::fullOrQuick(1024U, 16U);
const int kFiles = bench::fullOrQuick(100000, 2000);
// As in trees of sources: few in a folder, and small.
constexpr int kFilesInFolder = 10;
constexpr std::size_t kFileSize = 1000;

Ref<NSString> stringOf(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }

void copyByLibrary(const std::string& from, const std::string& to) {
  bench::require(NSFileManager::defaultManager()->copyPath_toPath_handler(stringOf(from), stringOf(to), nullptr),
                 "copying");
}
void moveByLibrary(const std::string& from, const std::string& to) {
  bench::require(NSFileManager::defaultManager()->movePath_toPath_handler(stringOf(from), stringOf(to), nullptr),
                 "moving");
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

void makeFolder(const std::string& path) { bench::require(::mkdir(path.c_str(), 0755) == 0, "making a folder"); }

void makeTree(const std::string& root, int files, int filesInFolder) {
  makeFolder(root);
  std::string folder;
  for (int i = 0; i < files; ++i) {
    if (i % filesInFolder == 0) makeFolder(folder = root + "/folder" + std::to_string(i));
    makeFile(folder + "/file" + std::to_string(i), kFileSize);
  }
}

// --- Measuring in turns

struct Work {
  std::string name, command;
  double bound;
  std::size_t rounds;
  std::function<void()> before, ours, theirs, after;
};

void compare(const bench::Report& report, const Work& work) {
  const auto measured = [&](const std::function<void()>& action) {
    return [&] {
      work.before();
      const double taken = bench::milliseconds(action);
      work.after();
      return taken;
    };
  };
  const auto times = bench::inTurns(work.rounds, {measured(work.ours), measured(work.theirs)});
  report.add({work.name, "ms", times[0], work.command, times[1], work.bound});
}

std::string described(int files, int filesInFolder) {
  return std::to_string(files) + " files, " + std::to_string(std::min(filesInFolder, files)) + " in a folder";
}

void compareRemovals(const bench::Report& report, const std::string& folder, int filesInFolder) {
  const std::string tree = folder + "/tree";
  compare(report, {.name = "removal of " + described(kFiles, filesInFolder),
                   .command = "rm -rf",
                   .bound = 1.05,
                   .rounds = bench::fullOrQuick(9U, 3U),
                   .before = [&] { makeTree(tree, kFiles, filesInFolder); },
                   .ours = [&] { removeByLibrary(tree); },
                   .theirs =
                       [&] {
                         bench::runCommand({"rm", "-rf", tree});
                       },
                   .after = [] {}});
}

void compareCopiesOfOneFile(const bench::Report& report, const std::string& folder) {
  const std::string from = folder + "/large", to = folder + "/copy";
  makeFile(from, kMegabytes << 20);
  compare(report, {.name = "copy of a file of " + std::to_string(kMegabytes) + " MiB",
                   .command = "cp",
                   .bound = 1.05,
                   .rounds = bench::fullOrQuick(9U, 3U),
                   .before = [] {},
                   .ours = [&] { copyByLibrary(from, to); },
                   .theirs =
                       [&] {
                         bench::runCommand({"cp", from, to});
                       },
                   .after = [&] { ::unlink(to.c_str()); }});
  ::unlink(from.c_str());
}

void compareCopiesOfTrees(const bench::Report& report, const std::string& folder) {
  const std::string from = folder + "/tree", to = folder + "/copy";
  makeTree(from, kFiles, kFilesInFolder);
  compare(report, {.name = "copy of " + described(kFiles, kFilesInFolder),
                   .command = "cp -a",
                   .bound = 1.1,
                   .rounds = bench::fullOrQuick(7U, 3U),
                   .before = [] {},
                   .ours = [&] { copyByLibrary(from, to); },
                   .theirs =
                       [&] {
                         bench::runCommand({"cp", "-a", from, to});
                       },
                   .after = [&] { removeByLibrary(to); }});
  removeByLibrary(from);
}

// To another file system, which is a copy and a removal.
void compareMoves(const bench::Report& report, const std::string& folder) {
  const bench::Scratch elsewhere;
  const std::string from = folder + "/tree", to = elsewhere.path() + "/tree";
  const int files = kFiles / 10;
  compare(report, {.name = "move of " + described(files, kFilesInFolder) + ", to another file system",
                   .command = "mv",
                   .bound = 0,
                   .rounds = bench::fullOrQuick(7U, 3U),
                   .before = [&] { makeTree(from, files, kFilesInFolder); },
                   .ours = [&] { moveByLibrary(from, to); },
                   .theirs =
                       [&] {
                         bench::runCommand({"mv", from, to});
                       },
                   .after = [&] { removeByLibrary(to); }});
}

}  // namespace

int main(int count, char** arguments) {
  const bench::Scratch folder(count > 1 ? arguments[1] : "/dev/shm");
  const bench::Report report("Copying, moving and removing");
  for (const int filesInFolder : {kFilesInFolder, 1000, kFiles}) compareRemovals(report, folder.path(), filesInFolder);
  compareCopiesOfOneFile(report, folder.path());
  compareCopiesOfTrees(report, folder.path());
  compareMoves(report, folder.path());
}
