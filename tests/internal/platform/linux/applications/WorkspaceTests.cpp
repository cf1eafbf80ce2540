// Applications of the test's own that report how they were started.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "platform/linux/applications/DesktopEntries.h"
#include "platform/services/Service.h"
#include "platform/services/Workspace.h"
#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

namespace files = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

std::string field(const std::string& status, const std::string& name) {
  const std::size_t at = status.find("\n" + name + ":");
  if (at == std::string::npos) return "";
  std::istringstream line(status.substr(at + name.size() + 2));
  std::string value;
  line >> value;
  return value;
}

class WorkspaceTests : public testing::Test {
 protected:
  static constexpr int kPatience = 20000;  // milliseconds

  static void make(const std::string& path, const std::string& contents, mode_t mode = 0644) {
    files::create_directories(files::path(path).parent_path());
    test::writeFile(path, contents);
    ::chmod(path.c_str(), mode);
  }

  // A program that writes down its arguments, descriptors, status and folder.
  void makeReporter(const std::string& path) {
    make(path,
         "#!/bin/sh\n"
         "report='" +
             scratch_ / "report" +
             "'\n"
             "printf '%s\\0' \"$0\" \"$@\" >\"$report.arguments\"\n"
             "(exec ls -l /proc/$$/fd >\"$report.descriptors\")\n"
             "(exec cat /proc/$$/status >\"$report.status\")\n"
             "(exec cat /proc/$$/stat >\"$report.stat\")\n"
             "pwd >\"$report.folder\"\n"
             "mv \"$report.folder\" \"$report\"\n",
         0755);
  }
  // A bundle whose program reports; its path.
  std::string makeBundle(const std::string& name = "Reporter") {
    makeReporter(scratch_ / (name + ".app/Contents/Linux/" + name));
    return scratch_ / (name + ".app");
  }
  // An entry with these lines, and the program "reporter" beside it; its path.
  std::string makeEntry(const std::string& lines) {
    makeReporter(scratch_ / "reporter");
    make(scratch_ / "x.desktop", "[Desktop Entry]\nType=Application\nName=The Name\n" + lines);
    return scratch_ / "x.desktop";
  }
  std::string makeEntryWithExec(const std::string& arguments) {
    return makeEntry("Exec=" + scratch_ / "reporter" + " " + arguments + "\n");
  }
  std::string makeDocument(const std::string& name = "document") {
    make(scratch_ / name, "text");
    return scratch_ / name;
  }

  static Ref<NSString> string(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }
  static bool launch(const std::string& application) {
    return Workspace::production().launchApplication(string(application));
  }
  static bool open(const std::string& document, const std::string& application, bool deactivate = false) {
    return Workspace::production().openFile_withApplication_andDeactivate(string(document), string(application),
                                                                          deactivate);
  }

  // Waits for the report of what was started; false when it does not come.
  bool hasReport() {
    for (int waited = 0; waited < kPatience; waited += 5) {
      if (files::exists(scratch_ / "report")) return true;
      ::poll(nullptr, 0, 5);
    }
    return false;
  }
  // Its arguments behind the first, which must be as expected.
  std::vector<std::string> reportedArguments(const std::string& first) {
    if (!hasReport()) return {"no report"};
    std::vector<std::string> arguments;
    std::istringstream text(*test::contentsOf(scratch_ / "report.arguments"));
    for (std::string one; std::getline(text, one, '\0');) arguments.push_back(one);
    EXPECT_EQ(arguments.at(0), first);
    arguments.erase(arguments.begin());
    files::remove(scratch_ / "report");
    return arguments;
  }
  std::string report(const std::string& part) { return test::contentsOf(scratch_ / ("report." + part)).value_or(""); }
  std::string reportedFolder() { return hasReport() ? *test::contentsOf(scratch_ / "report") : "no report"; }
  // What the descriptors lead to, without the script that the shell reads.
  std::map<int, std::string> reportedDescriptors() {
    std::map<int, std::string> descriptors;
    std::istringstream lines(hasReport() ? report("descriptors") : "");
    for (std::string line; std::getline(lines, line);) {
      const std::size_t arrow = line.find(" -> ");
      if (arrow == std::string::npos) continue;
      const std::string target = line.substr(arrow + 4);
      const std::size_t number = line.rfind(' ', arrow - 1) + 1;
      if (target != program_) descriptors[std::stoi(line.substr(number, arrow - number))] = target;
    }
    return descriptors;
  }

  test::ScratchFolder scratch_;
  const std::string program_ = scratch_ / "Reporter.app/Contents/Linux/Reporter";
};

TEST_F(WorkspaceTests, ABundlesExecutableIsStarted) {
  ASSERT_TRUE(launch(makeBundle()));
  EXPECT_THAT(reportedArguments(program_), IsEmpty());
}

TEST_F(WorkspaceTests, AFileIsABundlesArgument) {
  const std::string bundle = makeBundle(), document = makeDocument();
  ASSERT_TRUE(open(document, bundle));
  EXPECT_THAT(reportedArguments(program_), ElementsAre(document));
  ASSERT_TRUE(open(document, bundle + "/", true));
  EXPECT_THAT(reportedArguments(program_), ElementsAre(document));
  ASSERT_TRUE(open(scratch_.path(), bundle));
  EXPECT_THAT(reportedArguments(program_), ElementsAre(scratch_.path()));
}

TEST_F(WorkspaceTests, RelativePathsCountFromTheWorkingFolder) {
  makeBundle();
  const std::string document = makeDocument("-x");
  EXPECT_EQ(test::inChild([&] { return ::chdir(scratch_.path().c_str()) == 0 && open("-x", "Reporter.app") ? 0 : 1; }),
            0);
  EXPECT_THAT(reportedArguments(program_), ElementsAre(document));
}

TEST_F(WorkspaceTests, LinksLeadToApplications) {
  makeBundle();
  ASSERT_EQ(::symlink("Reporter.app", (scratch_ / "link").c_str()), 0);
  ASSERT_TRUE(launch(scratch_ / "link"));
  EXPECT_THAT(reportedArguments(program_), IsEmpty());
  makeEntryWithExec("a");
  ASSERT_EQ(::symlink("x.desktop", (scratch_ / "entry").c_str()), 0);
  ASSERT_TRUE(launch(scratch_ / "entry"));
  EXPECT_THAT(reportedArguments(scratch_ / "reporter"), ElementsAre("a"));
}

TEST_F(WorkspaceTests, AnEntrysCommandLineIsStarted) {
  const std::string entry = makeEntryWithExec("\"two words\" %i %c %k %f -l %u");
  ASSERT_TRUE(launch(entry));
  EXPECT_THAT(reportedArguments(scratch_ / "reporter"), ElementsAre("two words", "The Name", entry, "-l"));
  const std::string document = makeDocument("a b");
  ASSERT_TRUE(open(document, entry));
  EXPECT_THAT(reportedArguments(scratch_ / "reporter"),
              ElementsAre("two words", "The Name", entry, document, "-l", "file://" + scratch_.path() + "/a%20b"));
}

// The escapes of the file first, then the quotes, then the codes.
TEST_F(WorkspaceTests, ACommandLineIsUnescapedTwice) {
  ASSERT_TRUE(launch(makeEntryWithExec(R"("\\$HOME \\`id\\` \\\\ \\"" 'a\sb' a\sb "" 5%%)")));
  EXPECT_THAT(reportedArguments(scratch_ / "reporter"), ElementsAre(R"($HOME `id` \ ")", "a b", "a", "b", "", "5%"));
}

TEST_F(WorkspaceTests, AnEntryWithoutACodeGetsTheFileLast) {
  const std::string document = makeDocument();
  ASSERT_TRUE(open(document, makeEntryWithExec("-a")));
  EXPECT_THAT(reportedArguments(scratch_ / "reporter"), ElementsAre("-a", document));
}

TEST_F(WorkspaceTests, HostileNamesArriveAsTheyAre) {
  makeBundle();
  const std::string entry = makeEntryWithExec("--file=%f %f");
  for (const std::string name :
       {"'",  "\"", "a b", "%f %u %%", "$(touch x)", "`touch x`", ";touch x;",    "new\nline", "\t", "-rf",
        "--", "\\", "\\n", "*",        "~",          "\xFF\xFE",  "\xE6\x97\xA5", "#!",        "&&", "a=b"}) {
    const std::string document = makeDocument(name);
    ASSERT_TRUE(open(document, entry)) << name;
    EXPECT_THAT(reportedArguments(scratch_ / "reporter"), ElementsAre("--file=" + document, document));
    ASSERT_TRUE(open(document, scratch_ / "Reporter.app")) << name;
    EXPECT_THAT(reportedArguments(program_), ElementsAre(document));
    ASSERT_TRUE(files::remove(document));
  }
  EXPECT_FALSE(files::exists(scratch_ / "x"));
}

TEST_F(WorkspaceTests, ApplicationsMayHaveHostileNamesToo) {
  const std::string name = "'a\" %f\n$(x)\xFF";
  ASSERT_TRUE(launch(makeBundle(name)));
  EXPECT_THAT(reportedArguments(scratch_ / (name + ".app/Contents/Linux/" + name)), IsEmpty());
}

TEST_F(WorkspaceTests, AProgramIsLookedUpInTheSearchPath) {
  makeEntry("Exec=reporter %f\n");
  EXPECT_EQ(test::inChild([&] {
              ::setenv("PATH", (scratch_.path() + ":" + ::getenv("PATH")).c_str(), 1);
              return launch(scratch_ / "x.desktop") ? 0 : 1;
            }),
            0);
  EXPECT_THAT(reportedArguments(scratch_ / "reporter"), IsEmpty());  // a script is told where it is
}

TEST_F(WorkspaceTests, TheEntrysWorkingFolder) {
  files::create_directories(scratch_ / "the folder");
  makeEntry("Exec=" + scratch_ / "reporter" + "\nPath=" + scratch_ / "the folder" + "\n");
  ASSERT_TRUE(launch(scratch_ / "x.desktop"));
  EXPECT_EQ(reportedFolder(), scratch_ / "the folder" + "\n");
}

TEST_F(WorkspaceTests, OtherwiseTheHostsWorkingFolder) {
  ASSERT_TRUE(launch(makeBundle()));
  EXPECT_EQ(reportedFolder(), files::current_path().string() + "\n");
}

TEST_F(WorkspaceTests, WhatCannotBeStartedIsRefused) {
  const std::string document = makeDocument();
  makeReporter(scratch_ / "reporter");
  makeReporter(scratch_ / "reporter-%d");
  const std::string reporter = scratch_ / "reporter";
  const std::pair<const char*, std::string> entries[] = {
      {"no folder", "Exec=" + reporter + "\nPath=" + scratch_ / "missing" + "\n"},
      {"hidden", "Exec=" + reporter + "\nHidden=true\n"},
      {"tried", "Exec=" + reporter + "\nTryExec=/no/such/program\n"},
      {"missing program", "Exec=/no/such/program\n"},
      {"missing when the code is filled in", "Exec=" + reporter + "-%d\n"},
      {"no program", "Exec=" + document + "\n"},
      {"quotes", "Exec=" + reporter + " \"a\n"},
      {"unknown code", "Exec=" + reporter + " %y\n"},
      {"no command line", "Name[de]=y\n"},
      {"empty command line", "Exec=\n"},
      {"over the bus", "DBusActivatable=true\n"},
  };
  for (const auto& [what, lines] : entries) EXPECT_FALSE(open(document, makeEntry(lines))) << what;
  make(scratch_ / "Bad.app/Contents/Linux/Bad", "#!/no/such/interpreter\n", 0755);
  make(scratch_ / "Noise.app/Contents/Linux/Noise",
       "\x7F"
       "ELF noise",
       0755);
  make(scratch_ / "Idle.app/Contents/Info.plist", "<plist><dict/></plist>");
  make(scratch_ / "Idle.app/Contents/Linux/Idle", "#!/bin/sh\n", 0644);
  make(scratch_ / "Broken.app/Contents/Info.plist", "<plist><dict>");
  files::create_directories(scratch_ / "Empty.app");
  make(scratch_ / "Plug.bundle/Contents/Linux/Plug", "#!/bin/sh\n", 0755);
  for (const char* const name : {"Bad.app", "Noise.app", "Idle.app", "Broken.app", "Empty.app", "Plug.bundle",
                                 "reporter", "missing.app", "missing.desktop", ""}) {
    EXPECT_FALSE(launch(scratch_ / name)) << name;
    EXPECT_FALSE(open(document, scratch_ / name)) << name;
  }
  EXPECT_FALSE(launch(""));
  EXPECT_FALSE(Workspace::production().launchApplication(nullptr));
  EXPECT_FALSE(files::exists(scratch_ / "report"));
}

TEST_F(WorkspaceTests, AFileThatIsMissingIsNotOpened) {
  const std::string bundle = makeBundle();
  ASSERT_EQ(::symlink("nowhere", (scratch_ / "lost").c_str()), 0);
  EXPECT_FALSE(open(scratch_ / "missing", bundle));
  EXPECT_FALSE(open(scratch_ / "lost", bundle));
  EXPECT_FALSE(open("", bundle));
  EXPECT_FALSE(Workspace::production().openFile_withApplication_andDeactivate(nullptr, string(bundle), false));
  EXPECT_FALSE(Workspace::production().openFile_withApplication_andDeactivate(string(bundle), nullptr, false));
  EXPECT_FALSE(files::exists(scratch_ / "report"));
}

TEST_F(WorkspaceTests, OnlyTheStandardDescriptorsAreHandedOn) {
  makeBundle();
  const std::string output = makeDocument("output");
  EXPECT_EQ(test::inChild([&] {
              const int file = ::open(output.c_str(), O_WRONLY);
              ::dup2(file, 1);
              ::dup2(file, 2);
              for (int more = 0; more < 20; ++more) ::dup(file);
              ::dup2(file, 500);
              return launch(scratch_ / "Reporter.app") ? 0 : 1;
            }),
            0);
  EXPECT_THAT(reportedDescriptors(), UnorderedElementsAre(Pair(0, "/dev/null"), Pair(1, output), Pair(2, output)));
}

TEST_F(WorkspaceTests, StandardDescriptorsThatTheHostHasClosedLeadNowhere) {
  makeBundle();
  EXPECT_EQ(test::inChild([&] {
              for (const int descriptor : {0, 1, 2}) ::close(descriptor);
              return launch(scratch_ / "Reporter.app") ? 0 : 1;
            }),
            0);
  EXPECT_THAT(reportedDescriptors(),
              UnorderedElementsAre(Pair(0, "/dev/null"), Pair(1, "/dev/null"), Pair(2, "/dev/null")));
}

// A library may have opened a file of its own after the host had closed its output.
TEST_F(WorkspaceTests, StandardDescriptorsThatAreNotHandedOnLeadNowhere) {
  makeBundle();
  EXPECT_EQ(test::inChild([&] {
              const int file = ::open(makeDocument().c_str(), O_WRONLY | O_CLOEXEC);
              for (const int descriptor : {1, 2}) ::dup3(file, descriptor, O_CLOEXEC);
              return launch(scratch_ / "Reporter.app") ? 0 : 1;
            }),
            0);
  EXPECT_THAT(reportedDescriptors(),
              UnorderedElementsAre(Pair(0, "/dev/null"), Pair(1, "/dev/null"), Pair(2, "/dev/null")));
}

TEST_F(WorkspaceTests, SignalsAreAsTheyAreByDefault) {
  makeBundle();
  EXPECT_EQ(test::inChild([&] {
              for (const int signal : {SIGPIPE, SIGINT, SIGCHLD, SIGHUP, SIGRTMIN}) ::signal(signal, SIG_IGN);
              sigset_t all;
              ::sigfillset(&all);
              ::sigprocmask(SIG_SETMASK, &all, nullptr);
              return launch(scratch_ / "Reporter.app") ? 0 : 1;
            }),
            0);
  ASSERT_TRUE(hasReport());
  EXPECT_EQ(field(report("status"), "SigBlk"), "0000000000000000");
  EXPECT_EQ(field(report("status"), "SigIgn"), "0000000000000000");
}

TEST_F(WorkspaceTests, TheHostsSignalMaskStays) {
  makeBundle();
  EXPECT_EQ(test::inChild([&] {
              sigset_t some, before, after;
              ::sigemptyset(&some);
              ::sigaddset(&some, SIGUSR1);
              ::sigprocmask(SIG_SETMASK, &some, nullptr);
              ::sigprocmask(SIG_SETMASK, nullptr, &before);
              if (!launch(scratch_ / "Reporter.app")) return 1;
              ::sigprocmask(SIG_SETMASK, nullptr, &after);
              return ::sigismember(&after, SIGUSR1) == 1 && ::sigismember(&after, SIGTERM) == 0 ? 0 : 2;
            }),
            0);
  EXPECT_TRUE(hasReport());
}

TEST_F(WorkspaceTests, ItRunsInASessionOfItsOwnAndIsNobodysChild) {
  makeBundle();
  EXPECT_EQ(test::inChild([&] {
              if (!launch(scratch_ / "Reporter.app")) return 1;
              if (!hasReport()) return 2;
              const pid_t child = ::waitpid(-1, nullptr, __WALL);
              return child < 0 && errno == ECHILD ? 0 : 3;
            }),
            0);
  std::istringstream stat(report("stat"));
  std::string pid, name, state, parent, group, session;
  stat >> pid >> name >> state >> parent >> group >> session;
  EXPECT_EQ(session, pid);
  EXPECT_EQ(group, pid);
  EXPECT_NE(parent, std::to_string(::getpid()));
}

volatile sig_atomic_t childSignals = 0;

TEST_F(WorkspaceTests, TheHostHearsNothingOfItsEnd) {
  makeBundle();
  makeEntry("Exec=/no/such/interpreter\n");
  make(scratch_ / "Bad.app/Contents/Linux/Bad", "#!/no/such/interpreter\n", 0755);
  EXPECT_EQ(test::inChild([&] {
              ::signal(SIGCHLD, [](int) { childSignals = childSignals + 1; });
              if (!launch(scratch_ / "Reporter.app") || launch(scratch_ / "Bad.app")) return 1;
              if (!hasReport()) return 2;
              ::poll(nullptr, 0, 50);
              return childSignals == 0 ? 0 : 3;
            }),
            0);
}

// As the first process of a container, or one that asked for it.
TEST_F(WorkspaceTests, AHostThatOrphansAreGivenToCollectsThem) {
  makeBundle();
  EXPECT_EQ(test::inChild([&] {
              ::prctl(PR_SET_CHILD_SUBREAPER, 1);
              if (!launch(scratch_ / "Reporter.app") || !hasReport()) return 1;
              siginfo_t ended{};
              if (::waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT) != 0) return 2;
              files::remove(scratch_ / "report");
              if (!launch(scratch_ / "Reporter.app")) return 3;
              const bool isCollected = ::kill(ended.si_pid, 0) < 0 && errno == ESRCH;
              return isCollected && hasReport() ? 0 : 4;
            }),
            0);
}

std::size_t countIn(const char* folder) {
  return static_cast<std::size_t>(std::distance(files::directory_iterator(folder), files::directory_iterator()));
}

TEST_F(WorkspaceTests, NoThreadAndNoDescriptorStaysBehind) {
  const std::string entry = makeEntryWithExec("%f"), document = makeDocument();
  EXPECT_EQ(test::inChild([&] {
              const std::size_t threads = countIn("/proc/self/task"), descriptors = countIn("/proc/self/fd");
              if (!open(document, entry)) return 1;
              if (countIn("/proc/self/task") != threads) return 2;
              return countIn("/proc/self/fd") == descriptors ? 0 : 3;
            }),
            0);
  EXPECT_THAT(reportedArguments(scratch_ / "reporter"), ElementsAre(document));
}

TEST_F(WorkspaceTests, WithoutTheDesktopModuleBundlesStillRun) {
  const std::string entry = makeEntryWithExec("%f"), bundle = makeBundle();
  const ScopedService<DesktopEntries> scope(desktopEntriesInModule("libZtFoundationNoSuchModule.so"));
  EXPECT_FALSE(launch(entry));
  ASSERT_TRUE(launch(bundle));
  EXPECT_THAT(reportedArguments(program_), IsEmpty());
}

TEST_F(WorkspaceTests, AProgramMayWantATerminal) {
  makeReporter(scratch_ / "bin/mine");
  const std::string entry = makeEntry("Exec=" + scratch_ / "reporter" + " %f\nTerminal=true\n");
  const std::string document = makeDocument("a 'b'");
  const auto opensWithPath = [&](const std::string& path) {
    return test::inChild([&] {
             ::setenv("PATH", path.c_str(), 1);
             ::setenv("TERMINAL", "mine", 1);
             return open(document, entry) ? 0 : 1;
           }) == 0;
  };
  ASSERT_TRUE(opensWithPath(scratch_ / "bin:/usr/bin:/bin"));
  EXPECT_THAT(reportedArguments(scratch_ / "bin/mine"), ElementsAre("-e", scratch_ / "reporter", document));
  EXPECT_FALSE(opensWithPath(scratch_ / "none"));
  makeEntry("Exec=" + scratch_ / "reporter" + " %y\nTerminal=true\n");
  EXPECT_FALSE(opensWithPath(scratch_ / "bin:/usr/bin:/bin"));
}

}  // namespace
}  // namespace ZtFoundation
