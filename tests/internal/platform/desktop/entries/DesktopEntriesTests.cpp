// What the desktop module reads of entries. A program of its own: the tests of fonts need a process that has not opened
// the module yet.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <iterator>
#include <optional>
#include <string>

#include "platform/linux/applications/DesktopEntries.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

class DesktopEntriesTests : public testing::Test {
 protected:
  std::optional<DesktopEntry> read(const std::string& text) { return entries_.entryInText(text); }

  // An entry with these lines beside those that every application has.
  std::optional<DesktopEntry> readApplication(const char* lines) {
    std::string text = "[Desktop Entry]\nType=Application\nName=x\n";
    return read(text.append(lines));
  }

  test::ScratchFolder scratch_;
  DesktopEntries& entries_ = desktopEntriesInModule("libZtFoundationDesktop.so");
};

TEST_F(DesktopEntriesTests, EveryValue) {
  const auto entry = read(
      "# a comment\n[Desktop Entry]\nType=Application\nName=The \\sName\nIcon=icon\nExec=sh \"a\\\\\\\\b\" %f\nPath=/a "
      "b\n"
      "Terminal=true\nX-ZtFoundation-Signature = a\\sb \n[Other]\nExec=other\n");
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->command, "sh \"a\\\\b\" %f");
  EXPECT_EQ(entry->name, "The  Name");
  EXPECT_EQ(entry->icon, "icon");
  EXPECT_EQ(entry->workingFolder, "/a b");
  EXPECT_EQ(entry->signature, "a b ");
  EXPECT_TRUE(entry->inTerminal);
  EXPECT_FALSE(entry->isHidden);
}

TEST_F(DesktopEntriesTests, WhatIsNotSaidIsEmpty) {
  const auto entry = readApplication("Exec=sh\n");
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->icon, "");
  EXPECT_EQ(read("[Desktop Entry]\nType=Application\nExec=sh\n")->name, "");
  EXPECT_EQ(entry->workingFolder, "");
  EXPECT_EQ(entry->signature, "");
  EXPECT_FALSE(entry->inTerminal);
  EXPECT_FALSE(entry->isHidden);
}

TEST_F(DesktopEntriesTests, HiddenAndUnlistedEntriesAreRead) {
  const auto hidden = readApplication("Exec=sh\nHidden=true\n");
  ASSERT_TRUE(hidden);
  EXPECT_TRUE(hidden->isHidden);
  for (const char* const text : {"[Desktop Entry]\nHidden=true\n", "[Desktop Entry]\nType=Application\nHidden=true\n",
                                 "[Desktop Entry]\nType=Application\nHidden=true\nExec=/no/such/program\n"}) {
    const auto entry = read(text);
    EXPECT_TRUE(entry && entry->isHidden) << text;
  }
  const auto unlisted = readApplication("Exec=sh\nNoDisplay=true\nOnlyShowIn=None;\n");
  ASSERT_TRUE(unlisted);
  EXPECT_FALSE(unlisted->isHidden);
}

TEST_F(DesktopEntriesTests, NamesAndIconsInTheUsersLanguage) {
  EXPECT_EQ(test::inChild([this] {
              ::unsetenv("LC_ALL");
              ::unsetenv("LC_MESSAGES");
              ::setenv("LANG", "de_DE.UTF-8", 1);
              ::setenv("LANGUAGE", "de", 1);
              const auto entry = readApplication("Name[de]=Anzeige\nIcon=i\nIcon[de]=Bild\nExec=sh\n");
              return entry && entry->name == "Anzeige" && entry->icon == "Bild" ? 0 : 1;
            }),
            0);
}

TEST_F(DesktopEntriesTests, WhatIsNoApplicationOrNotInstalled) {
  for (const char* const lines :
       {"", "Exec=\n", "Exec=   \n", "Exec=/no/such/program\n", "Exec=no-such-program-anywhere\n", "Exec=sh \"a\n",
        "Exec=sh\nTryExec=/no/such/program\n", "DBusActivatable=true\n", "Exec=\xFF\xFE\n"}) {
    EXPECT_FALSE(readApplication(lines)) << lines;
  }
  for (const char* const text : {"", "noise", "[Desktop Entry]\nType=Link\nName=x\nURL=http://x/\nExec=sh\n",
                                 "[Desktop Entry]\nName=x\nExec=sh\n", "[Other]\nType=Application\nName=x\nExec=sh\n",
                                 "[Other]\nName=y\n[Desktop Entry]\nType=Application\nName=x\nExec=sh\n",
                                 "Type=Application\nName=x\nExec=sh\n"}) {
    EXPECT_FALSE(read(text)) << text;
  }
  EXPECT_FALSE(read(std::string(100, '\0')));
}

TEST_F(DesktopEntriesTests, PercentSignsInTheNameOfTheProgram) {
  const std::string program = scratch_ / "100%";
  const std::string quoted = "Exec=\"" + program + "\"\n", byCode = "Exec=" + program + "% %f\n";
  EXPECT_FALSE(readApplication(quoted.c_str()));
  EXPECT_FALSE(readApplication(byCode.c_str()));
  test::writeFile(program, "#!/bin/sh\n");
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  EXPECT_TRUE(readApplication(quoted.c_str()));
  EXPECT_TRUE(readApplication(byCode.c_str()));
}

// In this process, and not in a child of it, which would lack a thread that an earlier test had started.
TEST_F(DesktopEntriesTests, ReadingStartsNoThread) {
  EXPECT_TRUE(readApplication("Exec=sh\n"));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}), 1);
}

}  // namespace
}  // namespace ZtFoundation
