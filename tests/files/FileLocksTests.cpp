#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/PrivateMounts.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using namespace QvFoundationExtensions;

class FileLocksTests : public ::testing::Test {
 protected:
  FileLocksTests() { writeFile(folder / "file", "text"); }
  ~FileLocksTests() override {
    for (const char* name : {"file", "sub"}) {
      if (std::filesystem::exists(folder / name)) unlockFileAtPath(files, folder.string(name));
    }
  }

  /// Leaves a test out where the file system of the scratch folder keeps no marks.
  void lockOrSkip(const Ref<NSString>& path) {
    if (!lockFileAtPath(files, path)) GTEST_SKIP() << "items cannot be locked on this file system";
  }
  std::string logged(bool (*operation)(const Ref<NSFileManager>&, const Ref<NSString>&), const Ref<NSString>& path) {
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(operation(files, path));
    const std::string text = ::testing::internal::GetCapturedStderr();
    const std::size_t start = text.find("] ");  // of the process
    return start != std::string::npos ? text.substr(start + 2) : text;
  }

  ScratchFolder folder;
  Ref<NSFileManager> files = NSFileManager::defaultManager();
  bool volumeLocked = true;
  bool fileLocked = true;
};

TEST_F(FileLocksTests, AFileIsLockedAndUnlocked) {
  const Ref<NSString> file = folder.string("file");
  EXPECT_FALSE(isFileLockedAtPath(files, file));
  EXPECT_TRUE(unlockFileAtPath(files, file)) << "is unlocked";
  lockOrSkip(file);
  if (IsSkipped()) return;
  EXPECT_TRUE(isFileLockedAtPath(files, file));
  EXPECT_TRUE(lockFileAtPath(files, file)) << "is locked";
  EXPECT_TRUE(isLockedAtPath_volumeLocked_fileLocked(files, file, &volumeLocked, &fileLocked));
  EXPECT_TRUE(fileLocked);
  EXPECT_FALSE(volumeLocked);
  EXPECT_TRUE(unlockFileAtPath(files, file));
  EXPECT_FALSE(isFileLockedAtPath(files, file));
  EXPECT_EQ(contentsOf(folder / "file"), "text");
}

TEST_F(FileLocksTests, AFolderIsLockedAndUnlocked) {
  std::filesystem::create_directory(folder / "sub");
  const Ref<NSString> sub = folder.string("sub");
  lockOrSkip(sub);
  if (IsSkipped()) return;
  EXPECT_TRUE(isFileLockedAtPath(files, sub));
  EXPECT_TRUE(unlockFileAtPath(files, sub));
  EXPECT_FALSE(isFileLockedAtPath(files, sub));
}

TEST_F(FileLocksTests, ALinkHasNoLock) {
  std::filesystem::create_symlink("file", folder / "link");
  EXPECT_TRUE(lockFileAtPath(files, folder.string("link"))) << "nothing fails";
  EXPECT_FALSE(isFileLockedAtPath(files, folder.string("link")));
  EXPECT_FALSE(isFileLockedAtPath(files, folder.string("file"))) << "it is not followed";
}

TEST_F(FileLocksTests, AMissingItemIsLogged) {
  const Ref<NSString> missing = folder.string("missing");
  EXPECT_EQ(logged(isVolumeLockedAtPath, missing),
            "[NSFileManager isVolumeLockedAtPath:] FSPathMakeRef failed with error: -43\n");
  EXPECT_EQ(logged(isFileLockedAtPath, missing),
            "[NSFileManager isFileLockedAtPath:] FSPathMakeRef failed with error: -43\n");
  EXPECT_EQ(logged(lockFileAtPath, missing), "[NSFileManager lockFileAtPath:] FSPathMakeRef failed with error: -43\n");
  EXPECT_EQ(logged(unlockFileAtPath, missing),
            "[NSFileManager unlockFileAtPath:] FSPathMakeRef failed with error: -43\n");
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(isLockedAtPath_volumeLocked_fileLocked(files, missing, &volumeLocked, &fileLocked));
  EXPECT_TRUE(::testing::internal::GetCapturedStderr().ends_with(
      "] [NSFileManager isLockedAtPath:volumeLocked:fileLocked:] FSPathMakeRef failed with error: -43\n"));
  EXPECT_TRUE(volumeLocked && fileLocked) << "untouched";
}

class VolumeLocksTests : public FileLocksTests {
 protected:
  /// A card with a file; empty where this machine cannot have one.
  std::string card() {
    const std::string path = mounts.disk({.type = "ext4"});
    if (!path.empty()) writeFile(path + "/file", "text");
    return path;
  }
  void expectVolumeLocked(const std::string& path, bool expected) {
    const Ref<NSString> file = path + "/file";
    EXPECT_EQ(isVolumeLockedAtPath(files, file), expected);
    EXPECT_EQ(isVolumeLockedAtPath(files, path), expected);
    volumeLocked = !expected;
    EXPECT_TRUE(isLockedAtPath_volumeLocked_fileLocked(files, file, &volumeLocked, &fileLocked));
    EXPECT_EQ(volumeLocked, expected);
    EXPECT_FALSE(fileLocked);
  }

  PrivateMounts mounts;
};

TEST_F(VolumeLocksTests, BySoftware) {
  const std::string path = card();
  if (path.empty()) GTEST_SKIP() << mounts.whyNot();
  expectVolumeLocked(path, false);
  ASSERT_TRUE(lockFileAtPath(files, path + "/file"));
  mounts.remountReadOnly(path);
  EXPECT_TRUE(isLockedAtPath_volumeLocked_fileLocked(files, path + "/file", &volumeLocked, &fileLocked));
  EXPECT_TRUE(volumeLocked && fileLocked) << "the item's own lock is still told";
  EXPECT_EQ(logged(unlockFileAtPath, path + "/file"),
            "[NSFileManager unlockFileAtPath:] FSSetCatalogInfo failed with error: -46\n");
}

TEST_F(VolumeLocksTests, ByHardware) {
  const std::string contents = mounts.isPossible() ? mounts.folder("contents") : "";
  if (!contents.empty()) writeFile(contents + "/file", "text");
  const std::string path = mounts.squashfs(contents);
  if (path.empty()) GTEST_SKIP() << mounts.whyNot();
  expectVolumeLocked(path, true);
}

}  // namespace
}  // namespace ZtFoundation::test
