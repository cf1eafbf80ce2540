#include "platform/linux/files/SmallFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/ChildProcess.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::isSmallFile;
using detail::kLongestSmallFile;
using detail::readSmallFile;

class SmallFileTests : public ::testing::Test {
 protected:
  /// The bytes of the item, or the number of the error.
  std::string read(const std::string& name) {
    std::string bytes = "old";
    const OSErr error = readSmallFile(folder / name, &bytes);
    return error == noErr ? bytes : std::to_string(error);
  }

  ScratchFolder folder;
};

TEST_F(SmallFileTests, IsReadToItsEnd) {
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{5}, std::size_t{4096}, std::size_t{10'000}, kLongestSmallFile}) {
    const std::string contents(size, 'x');
    writeFile(folder / "file", contents);
    EXPECT_TRUE(isSmallFile(folder / "file"));
    EXPECT_TRUE(read("file") == contents) << size;
  }
  std::filesystem::create_symlink("file", folder / "link");
  EXPECT_EQ(read("link").size(), kLongestSmallFile);
}

TEST_F(SmallFileTests, AnythingElseIsNone) {
  writeFile(folder / "long", std::string(kLongestSmallFile + 1, 'x'));
  std::filesystem::create_directory(folder / "folder");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  std::filesystem::create_symlink("/dev/zero", folder / "device");
  std::filesystem::create_symlink("nowhere", folder / "lost");
  std::filesystem::create_symlink("loop", folder / "loop");
  for (const char* const name : {"long", "folder", "pipe", "device", "lost", "loop", "missing", "long/x"}) {
    EXPECT_FALSE(isSmallFile(folder / name)) << name;
    EXPECT_EQ(read(name), "-43") << name;
  }
}

// Its size is told as zero.
TEST_F(SmallFileTests, TheSizeThatIsToldIsNotBelieved) {
  std::string bytes;
  EXPECT_EQ(readSmallFile("/proc/self/status", &bytes), noErr);
  EXPECT_FALSE(bytes.empty());
}

TEST_F(SmallFileTests, WhatCannotBeReadIsAnotherError) {
  writeFile(folder / "file", "text");
  EXPECT_EQ(read(std::string(300, 'n')), "-37");
  ASSERT_EQ(::chmod((folder / "file").c_str(), 0), 0);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return read("file") == "-5000"; }), 1);
  if (kIsSanitized) GTEST_SKIP() << "the checks of the sanitizer need descriptors of their own";
  EXPECT_EQ(inChild([&] {
              const rlimit none{};
              ::setrlimit(RLIMIT_NOFILE, &none);
              return read("file") == "-42";
            }),
            1);
}

}  // namespace
}  // namespace ZtFoundation::test
