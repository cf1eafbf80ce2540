// Small files that become something else between the look at them and the opening.
#include <ZtFoundation/Applications.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Dictionary.h>
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

class SmallFileFaultTests : public testing::Test {
 protected:
  /// What `asks` answers when another item takes the place of `name` before the first file is opened. Waiting for a
  /// pipe ends the process.
  int withNewItem(const std::string& name, const std::function<void(const std::string&)>& make,
                  const std::function<bool()>& asks) {
    return inChild([&] {
      ::alarm(20);
      FaultScript script({});
      script.before("open", [&] {
        make(folder / "new");
        std::rename((folder / "new").c_str(), (folder / name).c_str());
      });
      const bool answer = asks();
      return std::filesystem::is_regular_file(folder / name) && std::filesystem::file_size(folder / name) < 1000
                 ? 2  // nothing was opened
             : answer ? 1
                      : 0;
    });
  }
  static void makePipe(const std::string& path) { ::mkfifo(path.c_str(), 0600); }
  static void makeLongFile(const std::string& path) {
    writeFile(path, "{a = b;}");
    std::filesystem::resize_file(path, std::uintmax_t{1} << 40);
  }

  ScratchFolder folder;
};

TEST_F(SmallFileFaultTests, WhatBecomesNoSmallFileIsNeitherWaitedForNorRead) {
  for (const auto& make : {makePipe, makeLongFile}) {
    writeFile(folder / "Info.plist", "{a = b;}");
    const Ref<NSBundle> bundle = NSBundle::bundleWithPath(folder.string("."));
    EXPECT_EQ(withNewItem("Info.plist", make, [&] { return bundle->infoDictionary()->count() > 0; }), 0);
    writeFile(folder / "x.desktop", "[Desktop Entry]\nType=Application\nName=x\nExec=sh\n");
    EXPECT_EQ(withNewItem("x.desktop", make, [&] { return ZtLSIsApplicationAtPath(folder.string("x.desktop")); }), 0);
    for (const char* const name : {"Info.plist", "x.desktop"}) std::filesystem::remove(folder / name);
  }
}

}  // namespace
}  // namespace ZtFoundation::test
