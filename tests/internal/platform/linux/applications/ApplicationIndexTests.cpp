// Bundles and entries under folders of the test's own. The environment is that of a child process each time.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "internal/platform/linux/FolderReading.h"
#include "platform/services/DesktopEntries.h"
#include "platform/services/LaunchServices.h"
#include "platform/services/Service.h"
#include "support/ChildProcess.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

namespace files = std::filesystem;

constexpr OSType kViewer = 0x56696577;  // 'View'
constexpr OSType kSigB = 0x53696742;    // 'SigB'

// In a child process a failed comparison must print and be counted there.
class Checks {
 public:
  void same(const std::string& what, const std::string& actual, const std::string& expected) {
    if (actual == expected) return;
    std::fprintf(stderr, "%s: found \"%s\", expected \"%s\"\n", what.c_str(), actual.c_str(), expected.c_str());
    ++failures_;
  }
  void holds(const char* what, bool good) {
    if (good) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    ++failures_;
  }
  int failures() const { return failures_; }

 private:
  int failures_ = 0;
};

// What LSFindApplicationForInfo answers: a path, or "none".
std::string find(OSType creator, const Ref<NSString>& identifier) {
  Ref<NSURL> url;
  const OSStatus status = LaunchServices::production().LSFindApplicationForInfo(creator, identifier, &url);
  if (status == kLSApplicationNotFoundErr) return url ? "an URL in spite of the error" : "none";
  if (status != noErr) return "status " + std::to_string(status);
  return url ? url->path()->fileSystemRepresentation() : "no URL";
}
std::string byIdentifier(const std::string& identifier) {
  return find(kLSUnknownCreator, NSString::stringWithFileSystemRepresentation(identifier));
}
std::string bySignature(OSType creator) { return find(creator, nullptr); }

class ApplicationIndexTests : public testing::Test {
 protected:
  static constexpr char kOwn[] = "home/.local/share/applications/";
  static constexpr char kSystem[] = "system/applications/";

  ApplicationIndexTests() {
    for (const char* const folder : {"home", "system"}) files::create_directories(scratch_ / folder);
  }

  std::string path(const std::string& name) const { return scratch_ / name; }
  std::string own(const std::string& name) const { return path(kOwn + name); }
  std::string system(const std::string& name) const { return path(kSystem + name); }

  static void write(const std::string& path, const std::string& contents) {
    files::create_directories(files::path(path).parent_path());
    test::writeFile(path, contents);
  }
  static void writeEntry(const std::string& path, const std::string& keys = "Exec=sh\n") {
    write(path, "[Desktop Entry]\nType=Application\nName=x\n" + keys);
  }
  static void writeSigned(const std::string& path, const std::string& signature,
                          const std::string& keys = "Exec=sh\n") {
    writeEntry(path, keys + "X-ZtFoundation-Signature=" + signature + "\n");
  }
  static void writeBundle(const std::string& path, const std::string& identifier, const std::string& signature) {
    write(path + "/Contents/Info.plist", "<plist><dict><key>CFBundleIdentifier</key><string>" + identifier +
                                             "</string><key>CFBundleSignature</key><string>" + signature +
                                             "</string></dict></plist>");
  }

  void use(const std::string& dataFolders) {
    ::setenv("HOME", path("home").c_str(), 1);
    ::unsetenv("XDG_DATA_HOME");
    ::setenv("XDG_DATA_DIRS", dataFolders.c_str(), 1);
  }

  // Runs `work` where only the test's folders hold applications.
  int inOwnFolders(const std::function<void(Checks&)>& work) {
    return test::inChild([&] {
      use(path("system"));
      Checks checks;
      work(checks);
      return checks.failures();
    });
  }

  test::ScratchFolder scratch_;
};

TEST_F(ApplicationIndexTests, BundlesByIdentifierAndSignature) {
  writeBundle(path("home/Applications/View.app"), "org.Example.View", "View");
  writeBundle(path("home/Applications/Tools/Edit.app"), "org.example.edit", "Edit");
  writeBundle(own("Third.app"), "org.example.third", "");
  writeBundle(path("home/Applications/Plug.bundle"), "org.example.plug", "Plug");
  writeBundle(path("home/Applications/Outer.app/Contents/Inner.app"), "org.example.inner", "Innr");
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("identifier", byIdentifier("org.Example.View"), path("home/Applications/View.app"));
              checks.same("other case", byIdentifier("ORG.example.VIEW"), path("home/Applications/View.app"));
              checks.same("with extension", byIdentifier("org.example.view.desktop"),
                          path("home/Applications/View.app"));
              checks.same("signature", bySignature(kViewer), path("home/Applications/View.app"));
              checks.same("both", find(kViewer, "org.example.view"), path("home/Applications/View.app"));
              checks.same("one of both", find(kViewer, "org.example.edit"), "none");
              checks.same("in a folder", byIdentifier("org.example.edit"), path("home/Applications/Tools/Edit.app"));
              checks.same("among entries", byIdentifier("org.example.third"), own("Third.app"));
              checks.same("no application", byIdentifier("org.example.plug"), "none");
              checks.same("inside another", byIdentifier("org.example.inner"), "none");
            }),
            0);
}

TEST_F(ApplicationIndexTests, EntriesByIdentifierAndSignature) {
  writeSigned(own("org.Example.View.desktop"), "View");
  writeEntry(own("vendor/tools/edit.desktop"));
  writeEntry(system("plain.desktop"), "Exec=sh\nNoDisplay=true\n");
  writeEntry(path("home/Applications/misplaced.desktop"));
  writeEntry(own(".dotted.desktop"));
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              for (const char* const identifier :
                   {"org.Example.View", "org.Example.View.desktop", "ORG.EXAMPLE.VIEW", "org.example.view.DESKTOP"}) {
                checks.same(identifier, byIdentifier(identifier), own("org.Example.View.desktop"));
              }
              checks.same("signature", bySignature(kViewer), own("org.Example.View.desktop"));
              checks.same("both", find(kViewer, "org.example.view"), own("org.Example.View.desktop"));
              checks.same("one of both", find(kViewer, "plain"), "none");
              checks.same("in folders", byIdentifier("vendor-tools-edit.desktop"), own("vendor/tools/edit.desktop"));
              checks.same("not by its name alone", byIdentifier("edit"), "none");
              checks.same("not shown in menus", byIdentifier("plain"), system("plain.desktop"));
              checks.same("in a folder for bundles", byIdentifier("misplaced"), "none");
              checks.same("with another extension", byIdentifier("plain.service"), "none");
              checks.same("invisible", byIdentifier(".dotted"), "none");
            }),
            0);
}

TEST_F(ApplicationIndexTests, IdentifiersMayEndLikeTheNamesOfEntries) {
  writeEntry(own("org.example.desktop.desktop"));
  writeBundle(path("home/Applications/Sample.app"), "org.sample.Desktop", "Samp");
  writeBundle(path("home/Applications/Unnamed.app"), "", "Unna");
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              const std::string entry = own("org.example.desktop.desktop");
              checks.same("entry", byIdentifier("org.example.desktop"), entry);
              checks.same("entry, other case", byIdentifier("org.Example.DESKTOP"), entry);
              checks.same("entry, with extension", byIdentifier("org.example.desktop.desktop"), entry);
              checks.same("another entry", byIdentifier("org.example"), "none");
              const std::string bundle = path("home/Applications/Sample.app");
              checks.same("bundle", byIdentifier("org.sample.Desktop"), bundle);
              checks.same("bundle, other case", byIdentifier("org.sample.desktop"), bundle);
              checks.same("bundle, with extension", byIdentifier("org.sample.Desktop.desktop"), bundle);
              checks.same("another bundle", byIdentifier("org.sample"), "none");
              checks.same("the extension of no name", find(0x556E6E61, ".desktop"), "none");
            }),
            0);
}

TEST_F(ApplicationIndexTests, NamesOfEntriesAreBytes) {
  writeEntry(own("a\xFF.desktop"));
  writeEntry(own("a\xFE.desktop"));
  writeEntry(own("a_b.desktop"));
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("one", byIdentifier("a\xFF"), own("a\xFF.desktop"));
              checks.same("another", byIdentifier("a\xFE.desktop"), own("a\xFE.desktop"));
              checks.same("only letters have another case", byIdentifier("a?b"), "none");
            }),
            0);
}

TEST_F(ApplicationIndexTests, NothingAskedNothingFound) {
  writeSigned(own("x.desktop"), "????");
  writeBundle(path("home/Applications/X.app"), "", "????");
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("neither", find(kLSUnknownCreator, nullptr), "none");
              checks.same("empty", find(kLSUnknownCreator, ""), "none");
              checks.same("extension alone", find(kLSUnknownCreator, ".desktop"), "none");
              checks.same("unknown", byIdentifier("no.such.application"), "none");
              checks.same("unknown signature", bySignature(0x4E6F6E65), "none");
              checks.same("no signature at all", bySignature(0x3F3F3F3F), "none");
              checks.holds("no place for the answer",
                           LaunchServices::production().LSFindApplicationForInfo(0, "x", nullptr) == noErr);
            }),
            0);
}

TEST_F(ApplicationIndexTests, FoldersGoInOrder) {
  writeBundle(path("home/Applications/A.app"), "a", "SigA");
  writeEntry(own("a.desktop"));
  writeEntry(own("b.desktop"));
  writeEntry(system("b.desktop"));
  writeEntry(path("data/applications/c.desktop"));
  writeEntry(system("c.desktop"));
  writeSigned(system("y.desktop"), "Same");
  writeSigned(system("x.desktop"), "Same");
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("own bundles", byIdentifier("a"), path("home/Applications/A.app"));
              checks.same("own entries", byIdentifier("b"), own("b.desktop"));
              use("relative:" + path("data") + ":" + path("system"));
              checks.same("the environment's order", byIdentifier("c"), path("data/applications/c.desktop"));
              use(path("system") + ":" + path("data"));
              checks.same("the other order", byIdentifier("c"), system("c.desktop"));
              checks.same("by name in a folder", bySignature(0x53616D65), system("x.desktop"));
              ::setenv("XDG_DATA_HOME", path("data").c_str(), 1);
              checks.same("another folder of the user", byIdentifier("c"), path("data/applications/c.desktop"));
              checks.same("no longer", byIdentifier("b"), system("b.desktop"));
            }),
            0);
}

TEST_F(ApplicationIndexTests, TheSameLettersGoFirst) {
  writeEntry(own("Edit.desktop"));
  writeEntry(system("edit.desktop"));
  writeEntry(own("Org.desktop.desktop"));
  writeEntry(system("org.desktop.desktop"));
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("lower", byIdentifier("edit"), system("edit.desktop"));
              checks.same("upper", byIdentifier("Edit"), own("Edit.desktop"));
              checks.same("neither", byIdentifier("EDIT"), own("Edit.desktop"));
              checks.same("with extension", byIdentifier("edit.desktop"), system("edit.desktop"));
              checks.same("ending like a name", byIdentifier("org.desktop"), system("org.desktop.desktop"));
            }),
            0);
}

// A link to "/" would otherwise make the whole system be looked through.
TEST_F(ApplicationIndexTests, FoldersAreLookedThroughToADepth) {
  writeEntry(own("1/2/3/4/5/6/7/8/in.desktop"));
  writeEntry(own("1/2/3/4/5/6/7/8/9/out.desktop"));
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("eighth", byIdentifier("1-2-3-4-5-6-7-8-in"), own("1/2/3/4/5/6/7/8/in.desktop"));
              checks.same("ninth", byIdentifier("1-2-3-4-5-6-7-8-9-out"), "none");
            }),
            0);
}

TEST_F(ApplicationIndexTests, AnEntrysIdentifierCountsFromTheFolderThatIsInUse) {
  writeEntry(system("sub/applications/a.desktop"));
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              const std::string entry = system("sub/applications/a.desktop");
              checks.same("from the outer", byIdentifier("sub-applications-a"), entry);
              use(system("sub"));
              checks.same("from the inner", byIdentifier("a"), entry);
            }),
            0);
}

TEST_F(ApplicationIndexTests, LinksHideNoFolder) {
  writeEntry(system("kde/view.desktop"));
  writeEntry(system("vendor/edit.desktop"));
  files::create_directory_symlink("kde", system("aa"));
  files::create_directory_symlink("../kde", system("vendor/kde"));
  files::create_directory_symlink("..", system("kde/up"));
  files::create_directories(own(""));
  files::create_directory_symlink(system(""), own("all"));
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("where it is", byIdentifier("kde-view"), system("kde/view.desktop"));
              checks.same("by another folder's link", byIdentifier("all-kde-view"), own("all/kde/view.desktop"));
              checks.same("not once more", byIdentifier("aa-view"), "none");
              checks.same("another", byIdentifier("vendor-edit"), system("vendor/edit.desktop"));
            }),
            0);
}

TEST_F(ApplicationIndexTests, FoldersGoBeforeLinks) {
  writeEntry(path("elsewhere/b.desktop"));
  writeSigned(path("elsewhere/a.desktop"), "Same");
  writeSigned(system("z/b.desktop"), "Same");
  files::create_directory_symlink(path("elsewhere"), system("a"));
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("signature", bySignature(0x53616D65), system("z/b.desktop"));
              checks.same("by the link", byIdentifier("a-a"), system("a/a.desktop"));
            }),
            0);
}

TEST_F(ApplicationIndexTests, ALinkToAPackageIsThatApplication) {
  writeBundle(path("elsewhere/View.app"), "view", "View");
  write(path("elsewhere/View.app/Contents/Inner.app/Contents/Info.plist"), "{CFBundleIdentifier = inner;}");
  files::create_directories(path("home/Applications"));
  files::create_directory_symlink(path("elsewhere/View.app"), path("home/Applications/View"));
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("identifier", byIdentifier("view"), path("elsewhere/View.app"));
              checks.same("not a folder", byIdentifier("inner"), "none");
            }),
            0);
}

TEST_F(ApplicationIndexTests, TheUsersEntriesStandForOthersOfTheSameIdentifier) {
  writeEntry(own("hidden.desktop"), "Exec=sh\nHidden=true\n");
  writeSigned(system("hidden.desktop"), "Hide");
  write(own("masked.desktop"), "[Desktop Entry]\nHidden=true\n");
  writeSigned(system("masked.desktop"), "Mask");
  writeEntry(own("broken.desktop"), "Exec=/no/such/program\n");
  writeEntry(system("broken.desktop"));
  writeSigned(own("other.desktop"), "New!");
  writeSigned(system("other.desktop"), "Old!");
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("hidden", byIdentifier("hidden"), "none");
              checks.same("hidden, by signature", bySignature(0x48696465), "none");
              checks.same("hidden by a file that says no more", byIdentifier("masked") + bySignature(0x4D61736B),
                          "nonenone");
              checks.same("without its program", byIdentifier("broken"), system("broken.desktop"));
              checks.same("replaced", bySignature(0x4F6C6421), "none");
              checks.same("replacing", bySignature(0x4E657721), own("other.desktop"));
            }),
            0);
}

TEST_F(ApplicationIndexTests, WhatIsBrokenIsSkipped) {
  const std::string good = "[Desktop Entry]\nType=Application\nName=x\nExec=sh\nX-ZtFoundation-Signature=View\n";
  writeEntry(own("a-missing.desktop"), "Exec=/no/such/program\nX-ZtFoundation-Signature=View\n");
  writeEntry(own("a-tried.desktop"), "Exec=sh\nTryExec=/no/such/program\nX-ZtFoundation-Signature=View\n");
  write(own("a-large.desktop"), good + std::string(1 << 20, '\n'));
  write(own("a-holes.desktop"), good);
  files::resize_file(own("a-holes.desktop"), std::uintmax_t{1} << 40);
  write(own("a-noise.desktop"), "\xFF\xFE\0X-ZtFoundation-Signature=View\n");
  write(own("a-empty.desktop"), "");
  write(own("a-comment.desktop"),
        "[Desktop Entry]\nType=Application\nName=x\nExec=sh\n#X-ZtFoundation-Signature=View\n");
  write(own("a-group.desktop"),
        "[Desktop Entry]\nType=Application\nName=x\nExec=sh\n[X]\nX-ZtFoundation-Signature=View\n");
  write(own("a-key.desktop"), "[Desktop Entry]\nType=Application\nName=x\nExec=sh\nX-ZtFoundation-SignatureX=View\n");
  files::create_directories(own("a-folder.desktop"));
  ASSERT_EQ(::mkfifo(own("a-pipe.desktop").c_str(), 0600), 0);
  ASSERT_EQ(::symlink("/no/such/file", own("a-lost.desktop").c_str()), 0);
  ASSERT_EQ(::symlink(".", own("a-loop").c_str()), 0);
  write(path("home/Applications/A.app/Contents/Info.plist"), "<plist><dict><key>CFBundleSignature</key>");
  write(path("home/Applications/B.app/Contents/Info.plist"), "<plist><array/></plist>");
  write(path("home/Applications/C.app/Contents/Info.plist"),
        "<plist><dict><key>CFBundleSignature</key><integer>7</integer><key>CFBundleIdentifier</key><true/></dict></"
        "plist>");
  write(path("home/Applications/D.app"), "View");
  files::create_directories(path("home/Applications/E.app/Contents"));
  ASSERT_EQ(::mkfifo(path("home/Applications/E.app/Contents/Info.plist").c_str(), 0600), 0);
  // Of holes, and beyond all memory.
  write(path("home/Applications/F.app/Contents/Info.plist"), "");
  files::resize_file(path("home/Applications/F.app/Contents/Info.plist"), std::uintmax_t{1} << 40);
  write(own("z-good.desktop"), good);
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("signature", bySignature(kViewer), own("z-good.desktop"));
              for (const auto& item : files::directory_iterator(path(kOwn))) {
                const std::string name = item.path().stem();
                const bool isGood = name == "z-good" || name == "a-comment" || name == "a-group" || name == "a-key";
                checks.same(name, byIdentifier(name), isGood ? item.path().string() : "none");
              }
            }),
            0);
}

TEST_F(ApplicationIndexTests, SignaturesAreFourBytes) {
  writeSigned(own("long.desktop"), "Viewer");
  writeSigned(own("blank.desktop"), "WP\\s\\s");
  writeSigned(own("short.desktop"), "ab");
  writeEntry(own("spaced.desktop"), "Exec=sh\nX-ZtFoundation-Signature = ab \n");
  writeSigned(own("japanese.desktop"), "\xEF\xBD\xB1\xEF\xBD\xB1");  // B1 B1 in Shift-JIS
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("cut", bySignature(kViewer), own("long.desktop"));
              checks.same("blanks", bySignature(0x57502020), own("blank.desktop"));
              checks.same("filled up", bySignature(0x61620000), own("short.desktop"));
              checks.same("blanks behind", bySignature(0x61622000), own("spaced.desktop"));
              checks.same("two bytes from 0x80 on", bySignature(0xFFB10000 | 0xB1000000), own("japanese.desktop"));
            }),
            0);
}

TEST_F(ApplicationIndexTests, ChangesAreNoticed) {
  writeSigned(own("a.desktop"), "SigA");
  writeBundle(path("home/Applications/B.app"), "b", "SigB");
  constexpr OSType kSigA = 0x53696741;
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("before", bySignature(kSigA), own("a.desktop"));
              writeSigned(own("a.desktop"), "SigC");
              checks.same("changed in its place", bySignature(kSigA), "none");
              writeSigned(system("sub/new.desktop"), "SigA");
              checks.same("new folder", bySignature(kSigA), system("sub/new.desktop"));
              checks.same("new entry", byIdentifier("sub-new"), system("sub/new.desktop"));
              writeSigned(system("sub/newer.desktop"), "x");
              checks.same("newer entry", byIdentifier("sub-newer"), system("sub/newer.desktop"));
              files::remove_all(system("sub"));
              checks.same("removed", byIdentifier("sub-new"), "none");
              writeEntry(own("a.desktop"), "Exec=sh\nHidden=true\n");
              checks.same("hidden", byIdentifier("a"), "none");
              checks.same("bundle before", byIdentifier("b"), path("home/Applications/B.app"));
              writeBundle(path("home/Applications/B.app"), "c", "SigC");
              checks.same("bundle changed", byIdentifier("b"), "none");
              checks.same("bundle changed, signature", bySignature(kSigB), "none");
              checks.same("its new name", byIdentifier("c"), path("home/Applications/B.app"));
              files::rename(path("home/Applications/B.app"), path("home/Applications/D.app"));
              checks.same("moved", byIdentifier("c"), path("home/Applications/D.app"));
              files::remove(path("home/Applications/D.app/Contents/Info.plist"));
              checks.same("no longer described", byIdentifier("c"), "none");
            }),
            0);
}

// As on a medium that comes and goes: the folder that holds the link does not change.
TEST_F(ApplicationIndexTests, WhatLinksLeadToMayComeAndGo) {
  const auto wait = [] { std::this_thread::sleep_for(std::chrono::milliseconds(2100)); };
  files::create_directories(path("home/Applications"));
  files::create_directories(own(""));
  files::create_directory_symlink(path("medium/View.app"), path("home/Applications/Link.app"));
  files::create_directory_symlink(path("medium/entries"), own("more"));
  wait();  // so that nothing is listed again but for the links
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              checks.same("before", byIdentifier("view"), "none");
              writeBundle(path("medium/View.app"), "view", "View");
              checks.same("bundle", byIdentifier("view"), path("home/Applications/Link.app"));
              writeEntry(path("medium/entries/a.desktop"));
              checks.same("entry", byIdentifier("more-a"), own("more/a.desktop"));
              files::remove_all(path("medium"));
              checks.same("bundle gone", byIdentifier("view"), "none");
              checks.same("entry gone", byIdentifier("more-a"), "none");
            }),
            0);
}

void setMostDescriptors(rlim_t count) {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = count;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

// What could not be read is not remembered as if nothing were there.
TEST_F(ApplicationIndexTests, DescriptorsMayRunOut) {
  if (test::kIsSanitized) GTEST_SKIP() << "the checks of the sanitizer need descriptors of their own";
  const std::string entry = own("a.desktop"), bundle = path("home/Applications/B.app");
  writeSigned(entry, "View");
  writeBundle(bundle, "before", "SigB");
  writeBundle(bundle + "/New", "after", "SigB");
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));  // until what is read is remembered
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              setMostDescriptors(0);
              checks.same("folders", byIdentifier("before") + byIdentifier("a"), "nonenone");
              setMostDescriptors(1000);
              checks.same("folders, again", byIdentifier("before") + byIdentifier("a"), bundle + entry);
              files::rename(bundle + "/Contents", bundle + "/Old");
              files::rename(bundle + "/New/Contents", bundle + "/Contents");
              setMostDescriptors(0);
              checks.same("files", bySignature(kViewer) + byIdentifier("after"), "nonenone");
              setMostDescriptors(1000);
              checks.same("files, again", bySignature(kViewer) + byIdentifier("after"), entry + bundle);
              files::rename(bundle + "/Contents", bundle + "/New");
              files::rename(bundle + "/Old", bundle + "/Contents");
              setMostDescriptors(0);
              checks.same("another file", byIdentifier("before") + byIdentifier("after"), "nonenone");
              setMostDescriptors(1000);
              files::rename(bundle + "/Contents", bundle + "/Old");
              files::rename(bundle + "/New", bundle + "/Contents");
              checks.same("the file that was there", byIdentifier("after"), bundle);
            }),
            0);
}

TEST_F(ApplicationIndexTests, AListingThatIsCutOffIsNotRemembered) {
  std::string last = "a";
  for (int number = 0; number < 2000; ++number) {
    last = "application-" + std::to_string(number);
    writeEntry(own(last + ".desktop"));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));  // until what is read is remembered
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              const auto found = [&] {
                int count = 0;
                for (int number = 0; number < 2000; number += 100) {
                  count += byIdentifier("application-" + std::to_string(number)) != "none" ? 1 : 0;
                }
                return count;
              };
              test::folderReading.failsLater = true;
              checks.holds("what comes before the error counts, the rest is missing", found() < 20);
              test::folderReading.failsLater = false;
              checks.holds("all is found", found() == 20);
            }),
            0);
}

TEST_F(ApplicationIndexTests, AProgramMayComeAndGo) {
  writeEntry(own("a.desktop"), "Exec=zt-test-program\n");
  files::create_directories(path("bin"));
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              ::setenv("PATH", path("bin").c_str(), 1);
              checks.same("before", byIdentifier("a"), "none");
              test::writeFile(path("bin/zt-test-program"), "#!/bin/sh\n");
              ::chmod(path("bin/zt-test-program").c_str(), 0755);
              checks.same("installed", byIdentifier("a"), own("a.desktop"));
              files::remove(path("bin/zt-test-program"));
              checks.same("removed", byIdentifier("a"), "none");
            }),
            0);
}

// Counts the entries that are parsed.
class CountingEntries final : public DesktopEntries {
 public:
  std::optional<DesktopEntry> entryInText(const std::string&) override {
    ++count;
    DesktopEntry entry;
    entry.command = "sh";
    entry.signature = "View";
    return entry;
  }
  int count = 0;
};

TEST_F(ApplicationIndexTests, OnlyWhatMayFitIsParsed) {
  for (int at = 0; at < 50; ++at) writeSigned(own("e" + std::to_string(at) + ".desktop"), at == 25 ? "View" : "Edit");
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              CountingEntries entries;
              const ScopedService<DesktopEntries> scope(entries);
              checks.same("identifier", byIdentifier("e7"), own("e7.desktop"));
              checks.holds("one is parsed", entries.count == 1);
              checks.same("signature", bySignature(kViewer), own("e25.desktop"));
              checks.holds("one more is parsed", entries.count == 2);
            }),
            0);
}

// Tells how often files in a folder are opened.
class OpenWatch {
 public:
  explicit OpenWatch(const std::string& folder) : queue_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    ::inotify_add_watch(queue_, folder.c_str(), IN_OPEN);
  }
  OpenWatch(const OpenWatch&) = delete;
  OpenWatch& operator=(const OpenWatch&) = delete;
  ~OpenWatch() { ::close(queue_); }

  // Since the last call.
  bool sawOne() {
    alignas(inotify_event) char events[4096];
    return ::read(queue_, events, sizeof events) > 0;
  }

 private:
  int queue_;
};

TEST_F(ApplicationIndexTests, WhatIsUnchangedIsNotReadAgain) {
  writeSigned(own("a.desktop"), "Edit");
  writeBundle(path("home/Applications/B.app"), "b", "SigB");
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));  // until no change can be missed
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              OpenWatch entries(path(kOwn)), bundle(path("home/Applications/B.app/Contents"));
              checks.same("first", bySignature(kViewer), "none");
              checks.holds("entries are read", entries.sawOne());
              checks.holds("bundles are read", bundle.sawOne());
              checks.same("second", bySignature(kViewer), "none");
              checks.holds("entries are not read again", !entries.sawOne());
              checks.holds("bundles are not read again", !bundle.sawOne());
              writeSigned(own("c.desktop"), "SigC");
              entries.sawOne();
              checks.same("third", bySignature(kViewer), "none");
              checks.holds("the new one is read", entries.sawOne());
              checks.holds("bundles are still not read again", !bundle.sawOne());
              checks.same("what is known of the bundle", bySignature(kSigB) + byIdentifier("b"),
                          path("home/Applications/B.app") + path("home/Applications/B.app"));
              checks.same("what is known of the entry", bySignature(0x45646974), own("a.desktop"));
            }),
            0);
}

TEST_F(ApplicationIndexTests, ThreadsFindTheSame) {
  writeSigned(own("a.desktop"), "View");
  writeBundle(path("home/Applications/B.app"), "b", "SigB");
  EXPECT_EQ(inOwnFolders([&](Checks& checks) {
              std::vector<std::string> found(8);
              std::vector<std::thread> threads;
              for (std::size_t at = 0; at < found.size(); ++at) {
                threads.emplace_back([&found, at] {
                  for (int i = 0; i < 20; ++i) found[at] = bySignature(kViewer) + byIdentifier("b");
                });
              }
              for (std::thread& thread : threads) thread.join();
              for (const std::string& one : found) {
                checks.same("each thread", one, own("a.desktop") + path("home/Applications/B.app"));
              }
            }),
            0);
}

}  // namespace
}  // namespace ZtFoundation
