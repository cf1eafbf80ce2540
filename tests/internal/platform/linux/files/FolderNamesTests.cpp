#include "platform/services/FolderNames.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using testing::ElementsAre;

TEST(FolderNames, AreInTheOrderOfTheirBytes) {
  const ScratchFolder folder;
  for (const char* name : {"b", "a", "\xFF", "B", ".x"}) writeFile(folder / name, "");
  std::filesystem::create_symlink("nowhere", folder / "link");
  EXPECT_THAT(service<FolderNames>().sorted(folder.path()), ElementsAre(".x", "B", "a", "b", "link", "\xFF"));
}

TEST(FolderNames, OfWhatIsNoFolderAreNone) {
  const ScratchFolder folder;
  writeFile(folder / "file", "");
  for (const std::string& path : {folder / "missing", folder / "file", std::string()}) {
    EXPECT_THAT(service<FolderNames>().sorted(path), ElementsAre()) << path;
  }
}

}  // namespace
}  // namespace ZtFoundation::test
