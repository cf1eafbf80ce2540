// What a host sees: real bundles, entries, processes, and a window.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

#include <ZtFoundation/Applications.h>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

namespace files = std::filesystem;

constexpr int kPatience = 20000;  // milliseconds

bool comesTrue(const std::function<bool()>& condition) {
  for (int waited = 0; waited < kPatience; waited += 20) {
    if (condition()) return true;
    ::poll(nullptr, 0, 20);
  }
  return false;
}

class ApplicationsTests : public testing::Test {
 protected:
  void make(const std::string& name, const std::string& contents, mode_t mode = 0644) {
    files::create_directories(files::path(scratch_ / name).parent_path());
    test::writeFile(scratch_ / name, contents);
    ::chmod((scratch_ / name).c_str(), mode);
  }
  // An application that leaves its argument in the file "opened".
  void makeBundle() {
    make("home/Applications/View.app/Contents/Info.plist",
         "<plist><dict><key>CFBundleIdentifier</key><string>org.example.View</string><key>CFBundleSignature</key>"
         "<string>View</string><key>CFBundleExecutable</key><string>view</string></dict></plist>");
    make("home/Applications/View.app/Contents/Linux/view", program(), 0755);
  }
  void makeEntry() {
    make("bin/edit", program(), 0755);
    make("home/.local/share/applications/org.example.Edit.desktop",
         "[Desktop Entry]\nType=Application\nName=Edit\nX-ZtFoundation-Signature=Edit\nExec=\"" +
             scratch_ / "bin/edit" + "\" %f\n");
  }
  std::string program() {
    const std::string result = "'" + scratch_ / "opened" + "'";
    return "#!/bin/sh\nprintf %s \"$1\" >" + result + ".new; mv " + result + ".new " + result + "\n";
  }
  bool isOpened(const std::string& argument) {
    return comesTrue([&] { return test::contentsOf(scratch_ / "opened") == argument; });
  }

  // Where only the test's folders hold applications.
  int inOwnFolders(const std::function<int()>& work) {
    return test::inChild([&] {
      ::setenv("HOME", (scratch_ / "home").c_str(), 1);
      ::unsetenv("XDG_DATA_HOME");
      ::setenv("XDG_DATA_DIRS", (scratch_ / "system").c_str(), 1);
      return work();
    });
  }

  test::ScratchFolder scratch_;
};

TEST_F(ApplicationsTests, ABundleIsFoundTestedAndOpensAFile) {
  makeBundle();
  make("a document", "text");
  EXPECT_EQ(inOwnFolders([&] {
              const Ref<NSString> path = ZtLSGetApplicationPathForSignature("View");
              if (!path || path->fileSystemRepresentation() != scratch_ / "home/Applications/View.app") return 1;
              const Ref<NSURL> url = ZtLSGetApplicationURLForIdentifier("ORG.example.view");
              if (!url || !url->path()->isEqualToString(path)) return 2;
              if (!ZtLSIsApplicationAtPath(path) || !ZtLSIsNativeApplicationAtURL(url)) return 3;
              if (ZtLSIsDirectoryAtPath(path) || ZtLSIsPlainFileAtURL(url) || ZtLSIsVolumeAtPath(path)) return 4;
              return ZtLSOpenFileWithApplicationAtPath(scratch_.string("a document"), path, true) ? 0 : 5;
            }),
            0);
  EXPECT_TRUE(isOpened(scratch_ / "a document"));
}

TEST_F(ApplicationsTests, AnEntryIsFoundTestedAndOpensAFile) {
  makeEntry();
  make("a document", "text");
  EXPECT_EQ(
      inOwnFolders([&] {
        const Ref<NSURL> url = ZtLSGetApplicationURLForSignature("Edit");
        const Ref<NSString> path = ZtLSGetApplicationPathForIdentifier("org.example.edit.desktop");
        if (!url || !path || !url->path()->isEqualToString(path)) return 1;
        if (!ZtLSIsApplicationAtURL(url) || !ZtLSIsPlainFileAtPath(path) || !ZtLSIsNativeApplicationAtPath(path)) {
          return 2;
        }
        const Ref<NSURL> document = NSURL::fileURLWithPath(scratch_.string("a document"));
        return ZtLSOpenFileWithApplicationAtURL(document, url, false) ? 0 : 3;
      }),
      0);
  EXPECT_TRUE(isOpened(scratch_ / "a document"));
}

TEST_F(ApplicationsTests, LaunchingWithoutAFile) {
  makeBundle();
  makeEntry();
  EXPECT_TRUE(ZtLSLaunchApplicationAtPath(scratch_.string("home/Applications/View.app")));
  EXPECT_TRUE(isOpened(""));
  files::remove(scratch_ / "opened");
  EXPECT_TRUE(ZtLSLaunchApplicationAtURL(
      NSURL::fileURLWithPath(scratch_.string("home/.local/share/applications/org.example.Edit.desktop"))));
  EXPECT_TRUE(isOpened(""));
}

TEST_F(ApplicationsTests, WhatIsNotThere) {
  EXPECT_EQ(inOwnFolders([&] {
              return ZtLSGetApplicationPathForSignature("None") || ZtLSGetApplicationURLForSignature("None") ||
                             ZtLSGetApplicationPathForIdentifier("none") || ZtLSGetApplicationURLForIdentifier("none")
                         ? 1
                         : 0;
            }),
            0);
  const Ref<NSString> missing = scratch_.string("missing.app");
  EXPECT_FALSE(ZtLSIsApplicationAtPath(missing));
  EXPECT_FALSE(ZtLSIsNativeApplicationAtPath(missing));
  EXPECT_FALSE(ZtLSIsPlainFileAtPath(missing));
  EXPECT_FALSE(ZtLSIsDirectoryAtPath(missing));
  EXPECT_FALSE(ZtLSIsVolumeAtPath(missing));
  EXPECT_FALSE(ZtLSLaunchApplicationAtPath(missing));
  EXPECT_FALSE(ZtLSOpenFileWithApplicationAtPath(scratch_.string(""), missing, false));
}

TEST_F(ApplicationsTests, TheRootIsAVolume) {
  if (!ZtLSIsVolumeAtPath("/"))
    GTEST_SKIP() << "the file system at / is none that stores files, or nothing is mounted there";
  EXPECT_FALSE(ZtLSIsDirectoryAtPath("/"));
  EXPECT_FALSE(ZtLSIsPlainFileAtPath("/"));
  EXPECT_TRUE(ZtLSIsDirectoryAtPath(scratch_.string("")));
  EXPECT_FALSE(ZtLSIsVolumeAtPath(scratch_.string("")));
}

// A display of its own, on which nobody looks.
class VirtualDisplay {
 public:
  VirtualDisplay() {
    int ends[2];
    if (::pipe(ends) != 0) return;
    server_ = test::startChild([&] {
      ::close(ends[0]);
      const int nothing = ::open("/dev/null", O_RDWR);
      for (const int descriptor : {0, 1, 2}) ::dup2(nothing, descriptor);
      // Otherwise it begins anew when its last client leaves, and one that comes just then is turned away.
      ::execlp("Xvfb", "Xvfb", "-noreset", "-displayfd", std::to_string(ends[1]).c_str(), "-screen", "0", "320x240x24",
               "-nolisten", "tcp", nullptr);
      return 1;
    });
    ::close(ends[1]);
    name_ = ":";
    for (char byte = 0; ::read(ends[0], &byte, 1) == 1 && byte != '\n';) name_ += byte;
    ::close(ends[0]);
  }
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;
  ~VirtualDisplay() {
    if (server_ <= 0) return;
    ::kill(server_, SIGTERM);
    test::waitForChild(server_);
  }

  bool isThere() const { return name_.size() > 1; }
  // ":99"
  const std::string& name() const { return name_; }

 private:
  pid_t server_ = -1;
  std::string name_;
};

std::string outputOf(const std::string& command) {
  std::string output;
  std::FILE* const stream = ::popen((command + " 2>/dev/null").c_str(), "r");
  if (stream == nullptr) return output;
  for (int byte = std::getc(stream); byte != EOF; byte = std::getc(stream)) output += static_cast<char>(byte);
  ::pclose(stream);
  return output;
}

TEST_F(ApplicationsTests, AWindowOpens) {
  for (const std::string tool : {"Xvfb", "xmessage", "xwininfo"}) {
    if (outputOf("command -v " + tool).empty()) GTEST_SKIP() << tool << " is not installed";
  }
  const VirtualDisplay display;
  if (!display.isThere()) GTEST_SKIP() << "Xvfb does not start here";
  make("document", "text");
  make("message.desktop", "[Desktop Entry]\nType=Application\nName=A window\nExec=xmessage -title %c -file %f\n");
  EXPECT_EQ(test::inChild([&] {
              ::setenv("DISPLAY", display.name().c_str(), 1);
              ::close(STDERR_FILENO);  // for complaints about the end of the display
              return ZtLSOpenFileWithApplicationAtPath(scratch_.string("document"), scratch_.string("message.desktop"),
                                                       false)
                         ? 0
                         : 1;
            }),
            0);
  EXPECT_TRUE(comesTrue([&] {
    return outputOf("xwininfo -display " + display.name() + " -root -tree").find("\"A window\"") != std::string::npos;
  }));
}

}  // namespace
}  // namespace ZtFoundation
