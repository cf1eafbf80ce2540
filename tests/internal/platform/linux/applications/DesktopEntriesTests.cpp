#include "platform/linux/applications/DesktopEntries.h"

#include <gtest/gtest.h>

#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

TEST(DesktopEntriesTests, WithoutTheModuleThereIsNone) {
  const test::ScratchFolder folder;
  test::writeFile(folder / "x.desktop", "[Desktop Entry]\nType=Application\nName=x\nExec=sh\n");
  EXPECT_FALSE(desktopEntriesInModule("libZtFoundationNoSuchModule.so").entryAtPath(folder / "x.desktop"));
  EXPECT_TRUE(desktopEntriesInModule("libZtFoundationDesktop.so").entryAtPath(folder / "x.desktop"));
}

}  // namespace
}  // namespace ZtFoundation
