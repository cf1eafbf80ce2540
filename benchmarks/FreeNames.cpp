// A free name beside 100,000 taken ones, against listing the folder once: at most three times as long.

#include <ZtFoundation/Files.h>
#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/Timing.h"

namespace {

using namespace ZtFoundation;

constexpr int kTaken = 100'000;
constexpr int kRounds = 15;
constexpr double kMostListings = 3;

struct Folder {
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "zt-bench-XXXXXX").string();
    bench::require(::mkdtemp(name.data()) != nullptr, "making a folder");
    path = name;
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { std::filesystem::remove_all(path); }

  void take(const std::string& name) const {
    const int file = ::open((path + "/" + name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    bench::require(file >= 0, "making a file");
    ::close(file);
  }

  std::string path;
};

int listed(const std::string& path) {
  DIR* const folder = ::opendir(path.c_str());
  bench::require(folder != nullptr, "opening the folder");
  int count = 0;
  while (::readdir(folder) != nullptr) ++count;
  ::closedir(folder);
  return count;
}

}  // namespace

int main() {
  const Folder folder;
  folder.take("Photo.jpg");
  for (int number = 1; number <= kTaken; ++number) folder.take("Photo_" + std::to_string(number) + ".jpg");

  const Ref<NSString> wanted = folder.path + "/Photo.jpg";
  const std::string expected = folder.path + "/Photo_" + std::to_string(kTaken + 1) + ".jpg";
  std::vector<double> listings, names;
  for (int round = 0; round < kRounds; ++round) {
    listings.push_back(bench::milliseconds([&] { bench::require(listed(folder.path) == kTaken + 3, "listing"); }));
    names.push_back(bench::milliseconds([&] {
      const Ref<NSString> name = JxTalvoZtWdExensions::unusedTalvoFilePath(wanted);
      bench::require(name && name->utf8() == expected, "finding the free name");
    }));
  }
  const double ratio = bench::median(names) / bench::median(listings);
  std::printf("free name beside %d  %6.1f ms   listing once %6.1f ms   ratio %.2f (at most %.0f)\n", kTaken,
              bench::median(names), bench::median(listings), ratio, kMostListings);
  return ratio <= kMostListings ? EXIT_SUCCESS : EXIT_FAILURE;
}
