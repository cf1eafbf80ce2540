// Aliases of items that moved, on a volume of 200,000 items with names in the cache: at most 0.2 s where the whole volume has to be
// searched, which is what an ordinary user's alias costs at worst.

#include <ZtFoundation/Files.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "../tests/support/PrivateMounts.h"
#include "support/Timing.h"

namespace {

namespace fs = std::filesystem;
using namespace ZtFoundation;

constexpr int kFolders = 400;
constexpr int kItemsInEach = 500;
constexpr int kRounds = 9;
constexpr double kAllowed = 200;  // milliseconds

std::string nameOf(int number) { return std::string("item ").append(std::to_string(number)); }

void fill(const std::string& root) {
  for (int number = 0; number < kFolders; ++number) {
    const std::string folder = root + "/" + nameOf(number);
    fs::create_directory(folder);
    for (int item = 0; item < kItemsInEach; ++item) std::ofstream(folder + "/" + nameOf(item));
  }
}

using MakeAlias = bool (*)(const Ref<NSString>&, AliasHandle*);

AliasHandle aliasOf(const std::string& path, MakeAlias make) {
  AliasHandle alias = nullptr;
  bench::require(make(NSString::stringWithFileSystemRepresentation(path), &alias), "alias");
  return alias;
}

// Each round resolves a fresh copy: a resolved one has been brought up to date.
double timeOf(AliasHandle alias, const std::string& expected) {
  std::vector<double> times;
  for (int round = 0; round < kRounds; ++round) {
    AliasHandle copy = nullptr;
    bench::require(PtrToHand(*alias, &copy, GetHandleSize(alias)) == noErr, "copy");
    Ref<NSString> path;
    times.push_back(
        bench::processorMilliseconds([&] { path = JxFileSystemRepresentation::pathStringFromAliasHandle(copy); }));
    bench::require((path ? path->fileSystemRepresentation() : std::string()) == expected, "resolve");
    DisposeHandle(copy);
  }
  return bench::median(times);
}

bool isInTime(const char* what, double time, double allowed) {
  std::printf("%-40s %8.2f ms (at most %.0f)\n", what, time, allowed);
  return time <= allowed;
}

}  // namespace

int main() {
  test::PrivateMounts mounts;
  const std::string root = mounts.disk({.type = "ext4", .format = "-N 250000", .megabytes = 600});
  if (root.empty()) {
    std::printf("skipped: %s\n", mounts.whyNot().c_str());
    return EXIT_SUCCESS;
  }
  fill(root);
  const std::string old = root + "/" + nameOf(0) + "/the file";
  const std::string now = root + "/" + nameOf(kFolders - 1) + "/moved";
  std::ofstream(old) << "text";
  const AliasHandle full = aliasOf(old, JxFileSystemRepresentation::pathStringToAlias);
  const AliasHandle minimal = aliasOf(old, JxFileSystemRepresentation::pathStringToAliasMinimal);

  bool good = isInTime("where it was", timeOf(minimal, old), 1);
  fs::rename(old, now);
  good &= isInTime("moved, found by its handle", timeOf(full, now), 1);
  good &= isInTime("moved, found by search", timeOf(minimal, now), kAllowed);
  fs::remove(now);
  good &= isInTime("gone, the whole volume searched", timeOf(minimal, ""), kAllowed);
  DisposeHandle(full);
  DisposeHandle(minimal);
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
