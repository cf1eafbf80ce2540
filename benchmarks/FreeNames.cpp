// A free name of either style beside many taken ones, against listing the folder once by readdir, and the library's
// listing of it against the same and against ls.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/FileManager.h>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "support/Command.h"
#include "support/Report.h"
#include "support/Scratch.h"

namespace {

using namespace ZtFoundation;
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

const std::size_t kTaken = bench::fullOrQuick(100'000U, 10'000U);
constexpr std::size_t kRounds = 15;

struct Style {
  const char* separator;
  Ref<NSString> (*unusedPath)(const Ref<NSString>&);
};

// A folder where a file and all names that would come to mind instead of it are taken.
class FullFolder {
 public:
  explicit FullFolder(const Style& style) : style_(style) {
    makeFile(pathOf(".jpg"));
    for (std::size_t number = 1; number <= kTaken; ++number) makeFile(numbered(number));
  }

  const std::string& path() const { return folder_.path(); }
  std::string names() const {
    return std::string("Photo") + style_.separator + "1 to Photo" + style_.separator + std::to_string(kTaken);
  }
  void findFreeName() const {
    const Ref<NSString> found = style_.unusedPath(pathOf(".jpg"));
    require(found && found->utf8() == numbered(kTaken + 1), "finding the free name");
  }
  void listByLibrary() const {
    require(NSFileManager::defaultManager()->directoryContentsAtPath(path())->count() == kTaken + 1, "listing");
  }
  void listBySystem() const { require(listed(path()) == kTaken + 3, "listing by readdir"); }

 private:
  std::string pathOf(const std::string& ending) const { return path() + "/Photo" + ending; }
  std::string numbered(std::size_t number) const { return pathOf(style_.separator + std::to_string(number) + ".jpg"); }

  Style style_;
  bench::Scratch folder_;
};

template <class Work>
std::function<double()> ofProcessor(Work work) {
  return [work] { return bench::processorMilliseconds(work); };
}

template <class Work>
std::function<double()> thatPasses(Work work) {
  return [work] { return bench::milliseconds(work); };
}

void compareFreeNames(const bench::Report& report, const FullFolder& folder) {
  const auto times = bench::inTurns(
      kRounds, {ofProcessor([&] { folder.findFreeName(); }), ofProcessor([&] { folder.listBySystem(); })});
  report.add({"free name beside " + folder.names(), "ms", times[0], "one listing by readdir", times[1], 3});
}

void compareListings(const bench::Report& report, const FullFolder& folder) {
  const std::string name = "listing of " + std::to_string(kTaken) + " names";
  const auto list = [&] { folder.listByLibrary(); };
  const auto times = bench::inTurns(kRounds, {ofProcessor(list), ofProcessor([&] { folder.listBySystem(); })});
  report.add({name, "ms", times[0], "readdir, names not kept", times[1]});
  const auto ls = [&] { bench::runCommand({"ls", "-f", folder.path()}); };
  const auto withStart = bench::inTurns(kRounds, {thatPasses(list), thatPasses(ls)});
  report.add({name, "ms", withStart[0], "ls -f", withStart[1]});
}

}  // namespace

int main() {
  const FullFolder ours({"_", JxTalvoZtWdExensions::unusedTalvoFilePath});
  const FullFolder fileManagers({" ", JxTalvoZtWdExensions::unusedFinderFilePath});
  const bench::Report report("Free names and listings");
  for (const FullFolder* const folder : {&ours, &fileManagers}) compareFreeNames(report, *folder);
  compareListings(report, ours);
}
