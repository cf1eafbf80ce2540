// Aliases of items that moved, on a volume of 200,000 items with names in the cache: at most 0.2 s where the whole
// volume has to be searched, which is what an ordinary user's alias costs at worst.

#include <ZtFoundation/Files.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "../tests/support/PrivateMounts.h"
#include "support/Report.h"

namespace {

namespace fs = std::filesystem;
using namespace ZtFoundation;

const int kFolders = bench::fullOrQuick(400, 40);
constexpr int kItemsInEach = 500;
constexpr std::size_t kRounds = 9;
constexpr double kMillisecondsAllowed = 200;

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

// Of a fresh copy: a resolved one has been brought up to date.
double timeOf(AliasHandle alias, const std::string& expected) {
  AliasHandle copy = nullptr;
  bench::require(PtrToHand(*alias, &copy, GetHandleSize(alias)) == noErr, "copy");
  Ref<NSString> path;
  const double taken =
      bench::processorMilliseconds([&] { path = JxFileSystemRepresentation::pathStringFromAliasHandle(copy); });
  bench::require((path ? path->fileSystemRepresentation() : std::string()) == expected, "resolve");
  DisposeHandle(copy);
  return taken;
}

bench::Samples timesOf(AliasHandle alias, const std::string& expected) {
  return bench::inTurns(kRounds, {[&] { return timeOf(alias, expected); }})[0];
}

void measure(const std::string& root) {
  fill(root);
  const std::string old = root + "/" + nameOf(0) + "/the file";
  const std::string now = root + "/" + nameOf(kFolders - 1) + "/moved";
  std::ofstream(old) << "text";
  const AliasHandle full = aliasOf(old, JxFileSystemRepresentation::pathStringToAlias);
  const AliasHandle minimal = aliasOf(old, JxFileSystemRepresentation::pathStringToAliasMinimal);
  const bench::Report report("Aliases among " + std::to_string(kFolders * kItemsInEach) + " items");
  report.addLimit("where it was", "ms", timesOf(minimal, old), kMillisecondsAllowed);
  fs::rename(old, now);
  report.addLimit("moved, found by its handle", "ms", timesOf(full, now), kMillisecondsAllowed);
  report.addLimit("moved, found by search", "ms", timesOf(minimal, now), kMillisecondsAllowed);
  fs::remove(now);
  report.addLimit("gone, the whole volume searched", "ms", timesOf(minimal, ""), kMillisecondsAllowed);
  DisposeHandle(full);
  DisposeHandle(minimal);
}

}  // namespace

int main() {
  test::PrivateMounts mounts;
  const std::string root = mounts.disk({.type = "ext4", .format = "-N 250000", .megabytes = 600});
  if (root.empty()) {
    std::fprintf(stderr, "skipped: %s\n", mounts.whyNot().c_str());
    return bench::kSkipped;
  }
  measure(root);
}
