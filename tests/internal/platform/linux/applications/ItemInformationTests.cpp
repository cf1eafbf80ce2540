#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>

#include "platform/linux/volumes/Volumes.h"
#include "platform/services/FileCatalog.h"
#include "platform/services/LaunchServices.h"
#include "platform/services/Service.h"
#include "support/ChildProcess.h"
#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

namespace files = std::filesystem;

constexpr LSItemInfoFlags kFile = kLSItemInfoIsPlainFile;
constexpr LSItemInfoFlags kFolder = kLSItemInfoIsContainer;
constexpr LSItemInfoFlags kPackage = kLSItemInfoIsPackage | kLSItemInfoIsContainer;
constexpr LSItemInfoFlags kBundle = kPackage | kLSItemInfoIsApplication;
constexpr LSItemInfoFlags kEntry = kFile | kLSItemInfoIsApplication;
constexpr LSItemInfoFlags kUntouched = 0xABCD0000;

struct Answer {
  OSStatus status;
  LSItemInfoFlags flags;
  bool operator==(const Answer&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
  return out << "status " << answer.status << ", flags 0x" << std::hex << answer.flags << std::dec;
}

class ItemInformationTests : public testing::Test {
 protected:
  Answer atPath(const std::string& path, LSRequestedInfo wanted = kLSRequestBasicFlagsOnly) {
    LSItemInfoRecord info{kUntouched};
    const Ref<NSURL> url = NSURL::fileURLWithPath(NSString::stringWithFileSystemRepresentation(path));
    const OSStatus status = LaunchServices::production().LSCopyItemInfoForURL(url, wanted, &info);
    return {status, info.flags};
  }
  LSItemInfoFlags flags(const std::string& name, LSRequestedInfo wanted = kLSRequestBasicFlagsOnly) {
    const Answer answer = atPath(scratch_ / name, wanted);
    EXPECT_EQ(answer.status, noErr) << name;
    return answer.flags;
  }
  Answer ofReference(const std::string& name) {
    LSItemInfoRecord info{kUntouched};
    FSRef ref;
    if (service<FileCatalog>().FSPathMakeRef(scratch_.string(name), &ref, nullptr) != noErr)
      return {fnfErr, info.flags};
    const OSStatus status = LaunchServices::production().LSCopyItemInfoForRef(&ref, kLSRequestBasicFlagsOnly, &info);
    return {status, info.flags};
  }

  void make(const std::string& name, const std::string& contents = "") {
    files::create_directories(files::path(scratch_ / name).parent_path());
    test::writeFile(scratch_ / name, contents);
  }
  void makeProgram(const std::string& name, const std::string& contents = "#!/bin/sh\n") {
    make(name, contents);
    ::chmod((scratch_ / name).c_str(), 0755);
  }
  void makeFolder(const std::string& name) { files::create_directories(scratch_ / name); }
  void makeLink(const std::string& target, const std::string& name) {
    ASSERT_EQ(::symlink(target.c_str(), (scratch_ / name).c_str()), 0);
  }
  void makeEntry(const std::string& name, const std::string& keys) {
    make(name, "[Desktop Entry]\nType=Application\nName=x\n" + keys);
  }

  test::ScratchFolder scratch_;
};

TEST_F(ItemInformationTests, FilesAndFolders) {
  make("file");
  makeProgram("program");
  makeFolder("folder");
  ASSERT_EQ(::mkfifo((scratch_ / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(flags("file"), kFile);
  EXPECT_EQ(flags("program"), kFile);
  EXPECT_EQ(flags("program", kLSRequestAppTypeFlags), kFile);
  EXPECT_EQ(flags("pipe"), kFile);
  EXPECT_EQ(flags("folder"), kFolder);
  EXPECT_EQ(flags("folder/"), kFolder);
  EXPECT_EQ(flags("folder//"), kFolder);
}

TEST_F(ItemInformationTests, PackagesByTheirNames) {
  makeFolder("Empty.app");
  makeFolder("Plug.bundle");
  makeFolder(".app");
  makeFolder("X.APP");
  make("File.app");
  makeProgram("Other.app/Contents/Linux/Program");
  make("Idle.app/Contents/Linux/Idle", "not executable");
  makeFolder("Odd.app/Contents/Info.plist");
  makeFolder("Folder.app/Contents/Linux/Folder");
  EXPECT_EQ(flags("Empty.app"), kPackage);
  EXPECT_EQ(flags("Plug.bundle"), kPackage);
  EXPECT_EQ(flags("Plug.bundle/"), kPackage);
  EXPECT_EQ(flags("Plug.bundle///"), kPackage);
  EXPECT_EQ(flags("X.APP"), kFolder);
  EXPECT_EQ(flags(".app"), kFolder | kLSItemInfoIsInvisible);
  EXPECT_EQ(flags("File.app"), kFile);
  EXPECT_EQ(flags("Other.app"), kPackage);
  EXPECT_EQ(flags("Idle.app"), kPackage);
  EXPECT_EQ(flags("Odd.app"), kPackage);
  EXPECT_EQ(flags("Folder.app"), kPackage);
}

TEST_F(ItemInformationTests, ApplicationBundles) {
  make("Told.app/Contents/Info.plist", "<plist><dict/></plist>");
  make("Flat.app/Info.plist", "<plist><dict/></plist>");
  make("Broken.app/Contents/Info.plist", "<plist><dict>");
  makeProgram("Named.app/Contents/Linux/Named");
  make("Plug.bundle/Contents/Info.plist", "<plist><dict/></plist>");
  EXPECT_EQ(flags("Told.app"), kBundle);
  EXPECT_EQ(flags("Told.app/"), kBundle);
  EXPECT_EQ(flags("Flat.app"), kBundle);
  EXPECT_EQ(flags("Broken.app"), kBundle);
  EXPECT_EQ(flags("Named.app"), kBundle);
  EXPECT_EQ(flags("Plug.bundle"), kPackage);
}

TEST_F(ItemInformationTests, OnlyNamesThatBeginWithADotAreInvisible) {
  make(".file");
  makeFolder(".folder");
  make(".folder/inside");
  make(".Hidden.app/Contents/Info.plist");
  EXPECT_EQ(flags(".file"), kFile | kLSItemInfoIsInvisible);
  EXPECT_EQ(flags(".folder"), kFolder | kLSItemInfoIsInvisible);
  EXPECT_EQ(flags(".folder/"), kFolder | kLSItemInfoIsInvisible);
  EXPECT_EQ(flags(".folder///"), kFolder | kLSItemInfoIsInvisible);
  EXPECT_EQ(flags(".folder/inside"), kFile);
  EXPECT_EQ(flags(".Hidden.app"), kBundle | kLSItemInfoIsInvisible);
}

TEST_F(ItemInformationTests, LinksAreWhatTheyLeadTo) {
  make("file");
  makeFolder("folder");
  make("X.app/Contents/Info.plist");
  make("versioned/Contents/Info.plist");
  makeLink("file", "to-file");
  makeLink("file", ".to-file");
  makeLink("folder", "to-folder");
  makeLink("X.app", "to-X");
  makeLink("to-X", "to-to-X");
  makeLink("versioned", "Y.app");
  EXPECT_EQ(flags("to-file"), kFile);
  EXPECT_EQ(flags(".to-file"), kFile | kLSItemInfoIsInvisible);
  EXPECT_EQ(flags("to-folder"), kFolder);
  EXPECT_EQ(flags("to-X"), kBundle);
  EXPECT_EQ(flags("to-X/"), kBundle);
  EXPECT_EQ(flags("to-X///"), kBundle);
  EXPECT_EQ(flags("to-to-X"), kBundle);
  EXPECT_EQ(flags("Y.app"), kBundle);
}

TEST_F(ItemInformationTests, LinksThatLeadNowhere) {
  makeLink("nowhere", "lost");
  makeLink("nowhere", ".lost");
  makeLink("loop", "loop");
  EXPECT_EQ(atPath(scratch_ / "lost"), (Answer{fnfErr, kUntouched}));
  EXPECT_EQ(atPath(scratch_ / "loop"), (Answer{fnfErr, kUntouched}));
  EXPECT_EQ(ofReference("lost"), (Answer{noErr, kFile}));
  EXPECT_EQ(ofReference(".lost"), (Answer{noErr, kFile | kLSItemInfoIsInvisible}));
}

TEST_F(ItemInformationTests, ReferencesAnswerAsTheirPaths) {
  make(".file");
  make("X.app/Contents/Info.plist");
  makeLink("X.app", "link");
  EXPECT_EQ(ofReference(".file"), (Answer{noErr, kFile | kLSItemInfoIsInvisible}));
  EXPECT_EQ(ofReference("X.app"), (Answer{noErr, kBundle}));
  EXPECT_EQ(ofReference("link"), (Answer{noErr, kBundle}));
}

TEST_F(ItemInformationTests, FailuresLeaveTheRecordAlone) {
  LaunchServices& services = LaunchServices::production();
  LSItemInfoRecord info{kUntouched};
  const FSRef none;
  const FSRef gone({.device = 1, .number = 1}, scratch_.string("gone"));
  const Ref<NSURL> file = NSURL::fileURLWithPath(scratch_.string(""));
  EXPECT_EQ(atPath(scratch_ / "missing"), (Answer{fnfErr, kUntouched}));
  EXPECT_EQ(atPath(scratch_ / "missing/x.app"), (Answer{fnfErr, kUntouched}));
  EXPECT_EQ(services.LSCopyItemInfoForURL(nullptr, kLSRequestBasicFlagsOnly, &info), paramErr);
  EXPECT_EQ(services.LSCopyItemInfoForURL(NSURL::URLWithString("http://h/tmp"), kLSRequestBasicFlagsOnly, &info),
            paramErr);
  EXPECT_EQ(services.LSCopyItemInfoForURL(NSURL::URLWithString("file:///tmp%00"), kLSRequestBasicFlagsOnly, &info),
            paramErr);
  EXPECT_EQ(services.LSCopyItemInfoForURL(file, kLSRequestBasicFlagsOnly, nullptr), paramErr);
  EXPECT_EQ(services.LSCopyItemInfoForRef(nullptr, kLSRequestBasicFlagsOnly, &info), paramErr);
  EXPECT_EQ(services.LSCopyItemInfoForRef(&none, kLSRequestBasicFlagsOnly, &info), paramErr);
  EXPECT_EQ(services.LSCopyItemInfoForRef(&gone, kLSRequestBasicFlagsOnly, &info), fnfErr);
  EXPECT_EQ(info.flags, kUntouched);
}

TEST_F(ItemInformationTests, NamesAreBytes) {
  make("\xFF\xFE.app/Contents/Info.plist");
  make("new\nline'\"%");
  EXPECT_EQ(flags("\xFF\xFE.app"), kBundle);
  EXPECT_EQ(flags("new\nline'\"%"), kFile);
}

TEST_F(ItemInformationTests, NativeBundlesByTheirProgram) {
  makeProgram("Script.app/Contents/Linux/Script");
  makeProgram("Foreign.app/Contents/Linux/Foreign", "MZ");
  make("NoProgram.app/Contents/Info.plist");
  makeProgram("Plug.bundle/Contents/Linux/Plug");
  EXPECT_EQ(flags("Script.app", kLSRequestAppTypeFlags), kBundle | kLSItemInfoIsNativeApp);
  EXPECT_EQ(flags("Script.app"), kBundle);
  EXPECT_EQ(flags("Foreign.app", kLSRequestAppTypeFlags), kBundle);
  EXPECT_EQ(flags("NoProgram.app", kLSRequestAppTypeFlags), kBundle);
  EXPECT_EQ(flags("Plug.bundle", kLSRequestAppTypeFlags), kPackage);
}

// Of holes, and beyond all memory.
TEST_F(ItemInformationTests, AnInformationThatIsTooLongSaysNothing) {
  makeProgram("Long.app/Contents/Linux/Long");
  make("Long.app/Contents/Info.plist");
  files::resize_file(scratch_ / "Long.app/Contents/Info.plist", std::uintmax_t{1} << 40);
  EXPECT_EQ(flags("Long.app", kLSRequestAppTypeFlags), kBundle | kLSItemInfoIsNativeApp);
}

TEST_F(ItemInformationTests, EntriesWhoseProgramIsThere) {
  makeProgram("run");
  makeEntry("good.desktop", "Exec=\"" + scratch_ / "run" + "\" %f\n");
  makeEntry("nodisplay.desktop", "NoDisplay=true\nExec=" + scratch_ / "run" + "\n");
  makeEntry("tried.desktop", "Exec=sh\nTryExec=" + scratch_ / "run" + "\n");
  for (const char* const name : {"good.desktop", "nodisplay.desktop", "tried.desktop"}) {
    EXPECT_EQ(flags(name), kEntry) << name;
    EXPECT_EQ(flags(name, kLSRequestAppTypeFlags), kEntry | kLSItemInfoIsNativeApp) << name;
  }
  makeProgram("foreign", "MZ");
  makeEntry("foreign.desktop", "Exec=" + scratch_ / "foreign" + "\n");
  makeEntry("unknown-code.desktop", "Exec=" + scratch_ / "run" + " %y\n");
  for (const char* const name : {"foreign.desktop", "unknown-code.desktop"}) {
    EXPECT_EQ(flags(name, kLSRequestAppTypeFlags), kEntry) << name;
  }
}

TEST_F(ItemInformationTests, EntriesByLinks) {
  makeEntry("data", "Exec=sh\n");
  makeEntry("real.desktop", "Exec=sh\n");
  makeLink("data", "link.desktop");
  makeLink("real.desktop", "link");
  EXPECT_EQ(flags("data"), kFile);
  EXPECT_EQ(flags("link.desktop"), kEntry);
  EXPECT_EQ(flags("link"), kEntry);
}

TEST_F(ItemInformationTests, FilesThatAreNoApplicationsEntry) {
  makeEntry("hidden.desktop", "Exec=sh\nHidden=true\n");
  makeEntry("missing.desktop", "Exec=" + scratch_ / "no-such-program" + "\n");
  makeEntry("tried.desktop", "Exec=sh\nTryExec=no-such-program-anywhere\n");
  makeEntry("quotes.desktop", "Exec=sh \"unfinished\n");
  make("link.desktop", "[Desktop Entry]\nType=Link\nName=x\nURL=http://example.org/\n");
  make("untyped.desktop", "[Desktop Entry]\nName=x\nExec=sh\n");
  make("empty.desktop");
  make("noise.desktop", std::string(5000, '\xFF'));
  make("zeros.desktop", std::string(5000, '\0'));
  make("large.desktop", "[Desktop Entry]\nType=Application\nName=x\nExec=sh\n" + std::string(1 << 20, '#'));
  ASSERT_EQ(::mkfifo((scratch_ / "pipe.desktop").c_str(), 0600), 0);
  for (const std::string& name : scratch_.names()) EXPECT_EQ(flags(name), kFile) << name;
  makeFolder("folder.desktop");
  EXPECT_EQ(flags("folder.desktop"), kFolder);
}

// Volumes as the test wants them: what `holding` says of paths, and where their roots are.
class FakeVolumes final : public NoVolumes {
 public:
  FSVolumeRefNum volumeRootedAt(const Ref<NSString>& path) override {
    return path->utf8() == root ? -7 : kFSInvalidVolumeRefNum;
  }

  std::string root;
};

TEST_F(ItemInformationTests, AVolumeIsWhatTheVolumesSay) {
  FakeVolumes volumes;
  const ScopedService<Volumes> scope(volumes);
  makeFolder("folder");
  makeFolder("X.app");
  EXPECT_EQ(flags("folder"), kFolder);
  volumes.root = scratch_ / "folder";
  EXPECT_EQ(flags("folder"), kLSItemInfoIsVolume | kFolder);
  EXPECT_EQ(flags("folder/"), kLSItemInfoIsVolume | kFolder);
  EXPECT_EQ(flags("folder///"), kLSItemInfoIsVolume | kFolder);
  volumes.root = scratch_ / "X.app";
  EXPECT_EQ(flags("X.app"), kLSItemInfoIsVolume | kFolder);
  volumes.root = "/";
  EXPECT_EQ(atPath("/"), (Answer{noErr, kLSItemInfoIsVolume | kFolder}));
}

// "/proc" is a mount point everywhere.
TEST_F(ItemInformationTests, OtherWaysToAMountPoint) {
  FakeVolumes volumes;
  const ScopedService<Volumes> scope(volumes);
  makeLink("/proc", "link");
  makeLink("/proc", "X.app");
  EXPECT_EQ(atPath("/proc"), (Answer{noErr, kFolder}));
  EXPECT_EQ(flags("link"), kFolder);
  volumes.root = "/proc";
  EXPECT_EQ(atPath("/proc/../proc/"), (Answer{noErr, kLSItemInfoIsVolume | kFolder}));
  EXPECT_EQ(flags("link"), kLSItemInfoIsVolume | kFolder);
  EXPECT_EQ(flags("X.app"), kLSItemInfoIsVolume | kFolder);
}

// A file system whose program never answers, as of a server that is gone.
TEST_F(ItemInformationTests, AVolumeThatDoesNotAnswerKeepsNobodyWaiting) {
  constexpr int kSkipped = 77;
  const int result = test::inChild([&]() -> int {
    ::alarm(30);
    test::PrivateMounts mounts;
    const int device = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
    if (!mounts.isPossible() || device < 0) return kSkipped;
    const std::string point = mounts.mountAt(mounts.folder("silent"), "silent", "fuse", 0,
                                             "rootmode=40000,user_id=0,group_id=0,fd=" + std::to_string(device));
    const Answer answer = atPath(point), withSlash = atPath(point + "/");
    const bool isVolume = answer == Answer{noErr, kLSItemInfoIsVolume | kFolder} && withSlash == answer;
    ::close(device);
    return isVolume ? 0 : 1;
  });
  if (result == kSkipped) GTEST_SKIP() << "no right to mount, or no /dev/fuse";
  EXPECT_EQ(result, 0);
}

TEST_F(ItemInformationTests, AReferenceFollowsItsItem) {
  makeFolder("before");
  FSRef ref;
  ASSERT_EQ(service<FileCatalog>().FSPathMakeRef(scratch_.string("before"), &ref, nullptr), noErr);
  files::rename(scratch_ / "before", scratch_ / ".after");
  LSItemInfoRecord info{kUntouched};
  EXPECT_EQ(LaunchServices::production().LSCopyItemInfoForRef(&ref, kLSRequestBasicFlagsOnly, &info), noErr);
  EXPECT_EQ(info.flags, kFolder | kLSItemInfoIsInvisible);
}

}  // namespace
}  // namespace ZtFoundation
