// A free name beside many taken ones, against listing the folder once by readdir, and the library's listing of it
// against the same and against ls.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/FileManager.h>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "support/Command.h"
#include "support/Report.h"
#include "support/Scratch.h"

namespace {

using namespace ZtFoundation;
using bench::milliseconds;
using bench::require;

void makeFile(const std::string& path) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  require(file >= 0, "making a file");
  ::close(file);
}

std::size_t listed(const std::string& path) {
  DIR* const folder = ::opendir(path.c_str());
  require(folder != nullptr, "opening the folder");
  std::size_t count = 0;
  while (::readdir(folder) != nullptr) ++count;
  ::closedir(folder);
  return count;
}

}  // namespace

int main() {
  const std::size_t taken = bench::fullOrQuick(100'000U, 10'000U);
  const bench::Scratch folder;
  makeFile(folder.path() + "/Photo.jpg");
  for (std::size_t number = 1; number <= taken; ++number) {
    makeFile(folder.path() + "/Photo_" + std::to_string(number) + ".jpg");
  }
  const Ref<NSString> path = folder.path(), wanted = folder.path() + "/Photo.jpg";
  const std::string expected = folder.path() + "/Photo_" + std::to_string(taken + 1) + ".jpg";

  const auto times = bench::inTurns(
      15, {[&] {
             return milliseconds([&] {
               const Ref<NSString> name = JxTalvoZtWdExensions::unusedTalvoFilePath(wanted);
               require(name && name->utf8() == expected, "finding the free name");
             });
           },
           [&] {
             return milliseconds([&] {
               require(NSFileManager::defaultManager()->directoryContentsAtPath(path)->count() == taken + 1, "listing");
             });
           },
           [&] { return milliseconds([&] { require(listed(folder.path()) == taken + 3, "listing by readdir"); }); },
           [&] { return milliseconds([&] {
                   bench::runCommand({"ls", "-f", folder.path()});
                 }); }});

  const bench::Report report("Free names and listings");
  const std::string among = std::to_string(taken) + " taken ones";
  report.add({"free name beside " + among, "ms", times[0], "one listing by readdir", times[2], 3});
  report.add({"listing of " + std::to_string(taken) + " names", "ms", times[1], "readdir, names not kept", times[2]});
  report.add({"listing of " + std::to_string(taken) + " names", "ms", times[1], "ls -f", times[3]});
}
