// Small files that become something else between the look at them and the opening.
#include <ZtFoundation/Applications.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>

#include "platform/linux/SystemCallFaults.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Make = void (*)(const std::string& path, const std::string& contents);

void makePipe(const std::string& path, const std::string&) { ::mkfifo(path.c_str(), 0600); }

// As long as somebody has it open, a pipe keeps what it holds.
void makeFullPipe(const std::string& path, const std::string& contents) {
  makePipe(path, contents);
  ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  writeFile(path, contents);
}

void makeLongFile(const std::string& path, const std::string& contents) {
  writeFile(path, contents);
  std::filesystem::resize_file(path, std::uintmax_t{1} << 40);
}

class SmallFileFaultTests : public testing::TestWithParam<Make> {
 protected:
  /// What `asks` answers when another item takes the place of the file before the first file is opened. Waiting for
  /// a pipe ends the process.
  int answer(const std::string& name, const std::string& contents, const std::function<bool()>& asks) {
    writeFile(folder / name, contents);
    return inChild([&] {
      ::alarm(20);
      if (!asks()) return 3;  // and so has opened what is opened once
      bool isReplaced = false;
      FaultScript script({});
      script.before("open", [&] {
        GetParam()(folder / "new", contents);
        isReplaced = std::rename((folder / "new").c_str(), (folder / name).c_str()) == 0;
      });
      const bool holds = asks();
      return isReplaced ? static_cast<int>(holds) : 2;
    });
  }

  ScratchFolder folder;
};

TEST_P(SmallFileFaultTests, AnEntryIsNeitherWaitedForNorReadWithoutEnd) {
  const Ref<NSString> path = folder.string("x.desktop");
  EXPECT_EQ(answer("x.desktop", "[Desktop Entry]\nType=Application\nName=x\nExec=sh\n",
                   [&] { return ZtLSIsApplicationAtPath(path); }),
            0);
}

TEST_P(SmallFileFaultTests, AnInformationIsNeitherWaitedForNorReadWithoutEnd) {
  const Ref<NSString> path = folder.string(".");
  EXPECT_EQ(
      answer("Info.plist", "{a = b;}", [&] { return NSBundle::bundleWithPath(path)->infoDictionary()->count() > 0; }),
      0);
}

INSTANTIATE_TEST_SUITE_P(NewItems, SmallFileFaultTests, testing::Values(&makePipe, &makeFullPipe, &makeLongFile));

}  // namespace
}  // namespace ZtFoundation::test
