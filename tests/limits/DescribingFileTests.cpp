// Files that describe something, and are taken for damaged where they are longer than such files get.

#include <ZtFoundation/Applications.h>
#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Bundle.h>

#include <filesystem>

#include "limits/Limits.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::limits {
namespace {

constexpr std::size_t kMost = 1 << 20;

class DescribingFileTests : public testing::TestWithParam<std::size_t> {
 protected:
  DescribingFileTests() {
    environment_.set("HOME", folder.path());
    environment_.set("XDG_CONFIG_HOME", std::nullopt);
  }

  // Lines that say nothing make it as long as it has to be.
  void write(const std::string& name, std::string text) const {
    text.resize(GetParam(), '\n');
    std::filesystem::create_directories(std::filesystem::path(folder / name).parent_path());
    test::writeFile(folder / name, text);
  }

  const test::ScratchFolder folder;
  const bool isRead = GetParam() <= kMost;

 private:
  test::ScopedEnvironment environment_;
};

TEST_P(DescribingFileTests, AreReadUpToTheLimit) {
  Case measured("Info.plist, desktop entry and user-dirs.dirs of that size", std::to_string(GetParam()) + " bytes");
  write("a.bundle/Contents/Info.plist", "{CFBundleIdentifier = a;}");
  write("a.desktop", "[Desktop Entry]\nType=Application\nName=a\nExec=sh\n");
  write(".config/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/named\"\n");
  measured.measure([&] {
    EXPECT_EQ(NSBundle::bundleWithPath(folder.string("a.bundle"))->bundleIdentifier() != nullptr, isRead);
    EXPECT_EQ(ZtLSIsApplicationAtPath(folder.string("a.desktop")), isRead);
    EXPECT_EQ(JxFindFolderExtensions::homePicturesDirectory()->utf8(), folder / (isRead ? "named" : "Pictures"));
  });
  measured.answer(isRead ? "read" : "say nothing");
}

INSTANTIATE_TEST_SUITE_P(Sizes, DescribingFileTests, testing::Values(kMost, kMost + 1));

}  // namespace
}  // namespace ZtFoundation::limits
