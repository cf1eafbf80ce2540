#include "platform/linux/applications/DesktopEntries.h"

#include <gtest/gtest.h>

namespace ZtFoundation {
namespace {

TEST(DesktopEntriesTests, WithoutTheModuleThereIsNone) {
  const std::string entry = "[Desktop Entry]\nType=Application\nName=x\nExec=sh\n";
  EXPECT_FALSE(desktopEntriesInModule("libZtFoundationNoSuchModule.so").entryInText(entry));
  EXPECT_TRUE(desktopEntriesInModule("libZtFoundationDesktop.so").entryInText(entry));
}

}  // namespace
}  // namespace ZtFoundation
