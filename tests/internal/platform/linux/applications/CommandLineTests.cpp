#include "platform/linux/applications/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/LittleMemory.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::detail {
namespace {

using ::testing::ElementsAre;
using Arguments = std::vector<std::string>;

DesktopEntry entryWith(const std::string& command) {
  DesktopEntry entry;
  entry.command = command;
  entry.name = "The Name";
  entry.icon = "icon name";
  return entry;
}

std::optional<Arguments> arguments(const std::string& command, const std::string& document = "") {
  return argumentsOfEntry(entryWith(command), "/e/x.desktop", document);
}

struct Line {
  const char* command;
  Arguments without, with;  // and with the document "/d/a b"
};

TEST(CommandLineTests, ArgumentsAndFieldCodes) {
  const Line lines[] = {
      {"run", {"run"}, {"run", "/d/a b"}},
      {"  run\t-v \n x\r ", {"run", "-v", "x"}, {"run", "-v", "x", "/d/a b"}},
      {"run %f", {"run"}, {"run", "/d/a b"}},
      {"run %F -x", {"run", "-x"}, {"run", "/d/a b", "-x"}},
      {"run %u", {"run"}, {"run", "file:///d/a%20b"}},
      {"run %U", {"run"}, {"run", "file:///d/a%20b"}},
      {"run --file=%f", {"run", "--file="}, {"run", "--file=/d/a b"}},
      {"run \"%f\"", {"run"}, {"run", "/d/a b"}},
      {"run '%u'", {"run"}, {"run", "file:///d/a%20b"}},
      {"run %f %u", {"run"}, {"run", "/d/a b", "file:///d/a%20b"}},
      {"run %i %c", {"run", "--icon", "icon name", "The Name"}, {"run", "--icon", "icon name", "The Name", "/d/a b"}},
      {"run icon=%i", {"run", "icon=icon name"}, {"run", "icon=icon name", "/d/a b"}},
      {"run %k", {"run", "/e/x.desktop"}, {"run", "/e/x.desktop", "/d/a b"}},
      {"run %d %D %n %N %v %m %f", {"run"}, {"run", "/d/a b"}},
      {"run -a%d", {"run", "-a"}, {"run", "-a", "/d/a b"}},
      {"run %d%d", {"run", ""}, {"run", "", "/d/a b"}},
      {"run 100%% %%f", {"run", "100%", "%f"}, {"run", "100%", "%f", "/d/a b"}},
      {"run \"\" '' x", {"run", "", "", "x"}, {"run", "", "", "x", "/d/a b"}},
      {"\"/opt/two words/run\" %f", {"/opt/two words/run"}, {"/opt/two words/run", "/d/a b"}},
      {R"(run "a \" \` \$ \\ \x $b")", {"run", R"(a " ` $ \ \x $b)"}, {"run", R"(a " ` $ \ \x $b)", "/d/a b"}},
      {R"(run 'a \" $b')", {"run", R"(a \" $b)"}, {"run", R"(a \" $b)", "/d/a b"}},
      {R"(run a\ b C:\\x)", {"run", "a b", R"(C:\x)"}, {"run", "a b", R"(C:\x)", "/d/a b"}},
      {R"(run \%f)", {"run", "%f"}, {"run", "%f", "/d/a b"}},
      {R"(run \%\f)", {"run", "%f"}, {"run", "%f", "/d/a b"}},
      {R"(run "%""f")", {"run", "%f"}, {"run", "%f", "/d/a b"}},
      {R"(run a"%f")", {"run", "a%f"}, {"run", "a%f", "/d/a b"}},
      {R"(run \a"%f")", {"run", "a%f"}, {"run", "a%f", "/d/a b"}},
      {R"(run %%"f")", {"run", "%f"}, {"run", "%f", "/d/a b"}},
      {R"(run "%f x" "5%")", {"run", "%f x", "5%"}, {"run", "%f x", "5%", "/d/a b"}},
      {"run a\"b c\"'d'e", {"run", "ab cde"}, {"run", "ab cde", "/d/a b"}},
      {"run $HOME `id` ~ * ; & | > # (",
       {"run", "$HOME", "`id`", "~", "*", ";", "&", "|", ">", "#", "("},
       {"run", "$HOME", "`id`", "~", "*", ";", "&", "|", ">", "#", "(", "/d/a b"}},
      // Text in quotes may be a program: nothing is filled in there.
      {"sh -c \"cat %f\"", {"sh", "-c", "cat %f"}, {"sh", "-c", "cat %f", "/d/a b"}},
      {"sh -c 'date +%Y %%'", {"sh", "-c", "date +%Y %%"}, {"sh", "-c", "date +%Y %%", "/d/a b"}},
  };
  for (const Line& line : lines) {
    EXPECT_EQ(arguments(line.command), line.without) << line.command;
    EXPECT_EQ(arguments(line.command, "/d/a b"), line.with) << line.command;
  }
}

TEST(CommandLineTests, LinesThatAreRefused) {
  for (const char* const command :
       {"", "  \n", "run \"a", "run 'a", "run a\\", "run \"a\\\"", "run \"a\\", "run %", "run %x", "run 5%", "run %1",
        "\"\" x", "%f", "\"%u\"", "x%F", "%d", "run %\"u\"", "run %'%'", "run %\\f"}) {
    EXPECT_EQ(arguments(command), std::nullopt) << command;
    EXPECT_EQ(arguments(command, "/d/a b"), std::nullopt) << command;
  }
}

TEST(CommandLineTests, HostileDocumentsAreOneArgument) {
  for (const std::string document : {"/d/-rf", "/d/a'b\"c", "/d/%f %u %%", "/d/$(id)`id`;id|id&", "/d/new\nline\ttab",
                                     "/d/\\", "/d/\xFF\xFE", "/d/*?[a]", "/d/--", "/d/ "}) {
    EXPECT_THAT(*arguments("run -- %f", document), ElementsAre("run", "--", document));
    EXPECT_THAT(*arguments("run --file=%f", document), ElementsAre("run", "--file=" + document));
    EXPECT_THAT(*arguments("run", document), ElementsAre("run", document));
  }
  EXPECT_THAT(*arguments("run %u", "/d/\xFF%\n\"'"), ElementsAre("run", "file:///d/%FF%25%0A%22'"));
}

// What is filled in is not looked at again.
TEST(CommandLineTests, NamesAndIconsAreNoCodes) {
  DesktopEntry entry = entryWith("run %c %i");
  entry.name = "%f \"%k";
  entry.icon = "%u";
  EXPECT_THAT(*argumentsOfEntry(entry, "", "/d"), ElementsAre("run", "%f \"%k", "--icon", "%u", "/d"));
  entry.name = entry.icon = "";
  EXPECT_THAT(*argumentsOfEntry(entry, "", "/d"), ElementsAre("run", "/d"));
}

TEST(CommandLineTests, NoMoreThanTheSystemTakes) {
  DesktopEntry entry = entryWith("run");
  const auto isTaken = [&](const std::string& command, std::size_t size, const std::string& document = "") {
    entry.command = command;
    entry.name = entry.icon = std::string(size, 'n');
    return argumentsOfEntry(entry, "/e", document).has_value();
  };
  constexpr std::size_t kLongest = (128 << 10) - 1;
  for (const std::string code : {"%c", "%i", "x%c"}) {
    const std::size_t size = kLongest - code.size() + 2;
    EXPECT_TRUE(isTaken("run " + code, size)) << code;
    EXPECT_FALSE(isTaken("run " + code, size + 1)) << code;
  }
  EXPECT_TRUE(isTaken("run", 1, std::string(kLongest, '/')));
  EXPECT_FALSE(isTaken("run", 1, std::string(kLongest + 1, '/')));
  EXPECT_TRUE(isTaken("run " + std::string(kLongest, 'x'), 1));
  EXPECT_FALSE(isTaken("run " + std::string(kLongest + 1, 'x'), 1));
  std::string all = "run";  // with 4 bytes, and 128 KiB for each
  for (int count = 0; count < 15; ++count) all.append(" %c");
  const std::string rest((128 << 10) - 6, 'x');
  EXPECT_TRUE(isTaken(all + " x" + rest, kLongest));
  EXPECT_FALSE(isTaken(all + " xx" + rest, kLongest));
}

// A small file can ask for more than there is memory.
TEST(CommandLineTests, WhatIsTooLongIsNotPutTogetherFirst) {
  if (test::kIsSanitized) GTEST_SKIP() << "the sanitizer needs much memory of its own";
  std::string command = "run ";
  for (int count = 0; count < 2000; ++count) command.append("%c");
  DesktopEntry entry = entryWith(command);
  entry.name = std::string(100'000, 'n');
  EXPECT_EQ(test::inChild([&] {
              if (!test::leaveLittleMemory()) return 2;
              return argumentsOfEntry(entry, "/e", "") ? 1 : 0;
            }),
            0);
}

class ProgramNamedTests : public ::testing::Test {
 protected:
  void make(const std::string& name, mode_t mode) {
    std::filesystem::create_directories(std::filesystem::path(scratch_ / name).parent_path());
    test::writeFile(scratch_ / name, "");
    ::chmod((scratch_ / name).c_str(), mode);
  }
  bool isFoundAs(const std::string& name, const std::string& path, const std::string& expected) {
    return test::inChild([&] {
             ::setenv("PATH", path.c_str(), 1);
             return ::chdir(scratch_.path().c_str()) == 0 && programNamed(name) == expected ? 0 : 1;
           }) == 0;
  }

  test::ScratchFolder scratch_;
};

TEST_F(ProgramNamedTests, IsTheFirstOfTheSearchPath) {
  make("a/run", 0644);
  make("b/run", 0755);
  make("c/run", 0755);
  std::filesystem::create_directories(scratch_ / "d/run");
  const std::string path = scratch_ / "missing" + ":" + scratch_ / "a" + ":" + scratch_ / "d" + ":" + scratch_ / "b";
  EXPECT_TRUE(isFoundAs("run", path + ":" + scratch_ / "c", scratch_ / "b/run"));
  EXPECT_TRUE(isFoundAs("run", scratch_ / "c" + ":" + path, scratch_ / "c/run"));
  EXPECT_TRUE(isFoundAs("run", scratch_ / "a", ""));
  EXPECT_TRUE(isFoundAs("", path, ""));
}

TEST_F(ProgramNamedTests, AnEmptyPartIsThePresentFolder) {
  make("run", 0755);
  EXPECT_TRUE(isFoundAs("run", "", "./run"));
  EXPECT_TRUE(isFoundAs("run", "/bin:", "./run"));
  EXPECT_TRUE(isFoundAs("run", ":/bin", "./run"));
  EXPECT_TRUE(isFoundAs("run", "/bin", ""));
}

TEST_F(ProgramNamedTests, ANameWithASlashIsAPath) {
  make("a/run", 0755);
  make("a/idle", 0644);
  EXPECT_TRUE(isFoundAs("a/run", "/bin", "a/run"));
  EXPECT_TRUE(isFoundAs(scratch_ / "a/run", "/bin", scratch_ / "a/run"));
  EXPECT_TRUE(isFoundAs("a/idle", "/bin", ""));
  EXPECT_TRUE(isFoundAs("a", "/bin", ""));
}

TEST_F(ProgramNamedTests, WithoutASearchPathTheSystemsFoldersAreLookedThrough) {
  EXPECT_EQ(test::inChild([] {
              ::unsetenv("PATH");
              return programNamed("sh") == "/bin/sh" ? 0 : 1;
            }),
            0);
}

}  // namespace
}  // namespace ZtFoundation::detail
