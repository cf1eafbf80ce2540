#include <ZtFoundation/platform/Data.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/linux/SystemCallFaults.h"
#include "support/ChildProcess.h"
#include "support/Sanitizers.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

class FileContentsTests : public testing::Test {
 protected:
  // What the library reads, as a string.
  std::optional<std::string> read(const std::string& name) const {
    const Ref<NSData> data = NSData::dataWithContentsOfFile(folder.string(name));
    return data ? std::optional<std::string>(data->view()) : std::nullopt;
  }
  bool write(const std::string& name, const std::string& contents) const {
    return NSData::dataWithBytes(contents)->writeToFile_atomically(folder.string(name), false);
  }

  ScratchFolder folder;
};

// --- Reading

TEST_F(FileContentsTests, FilesOfAnySizeAreReadWhole) {
  for (const std::size_t size : {0UL, 1UL, 4095UL, 4096UL, 4097UL, 65536UL, 3000001UL}) {
    std::string contents(size, '\xFF');
    if (size > 1) contents[size / 2] = '\0';
    writeFile(folder / "file", contents);
    EXPECT_TRUE(read("file") == contents) << size;
  }
}

TEST_F(FileContentsTests, LinksAreFollowed) {
  writeFile(folder / "file", "text");
  std::filesystem::create_symlink("file", folder / "link");
  std::filesystem::create_symlink("nowhere", folder / "broken");
  EXPECT_EQ(read("link"), "text");
  EXPECT_EQ(read("broken"), std::nullopt);
}

TEST_F(FileContentsTests, WhatCannotBeReadIsNone) {
  std::filesystem::create_directory(folder / "folder");
  writeFile(folder / "secret", "text");
  ::chmod((folder / "secret").c_str(), 0);
  EXPECT_EQ(read("folder"), std::nullopt);
  EXPECT_EQ(read("missing"), std::nullopt);
  EXPECT_EQ(read("missing/file"), std::nullopt);
  EXPECT_EQ(read(std::string("sec\0ret", 7)), std::nullopt);
  EXPECT_EQ(asOrdinaryUser([&] { return read("secret").has_value(); }), 0);
  EXPECT_FALSE(NSData::dataWithContentsOfFile(nullptr));
  EXPECT_FALSE(NSData::dataWithContentsOfFile(""));
}

TEST_F(FileContentsTests, FilesThatTellNoSizeAreReadToTheirEnd) {
  const Ref<NSData> data = NSData::dataWithContentsOfFile("/proc/self/maps");
  ASSERT_TRUE(data);
  EXPECT_GT(data->length(), 4096U) << "more than the first read takes";
  EXPECT_EQ(data->view().back(), '\n');
}

TEST_F(FileContentsTests, WhatComesInPiecesIsReadToItsEnd) {
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  const pid_t writer = startChild([&]() -> int {
    const int pipe = ::open((folder / "pipe").c_str(), O_WRONLY);
    const std::string piece(3000, 'p');
    for (int i = 0; i < 50; ++i) {
      if (::write(pipe, piece.data(), piece.size()) != 3000) return 1;
      ::usleep(100);
    }
    return ::close(pipe);
  });
  EXPECT_TRUE(read("pipe") == std::string(150000, 'p'));
  EXPECT_EQ(waitForChild(writer), 0);
}

TEST_F(FileContentsTests, FilesThatGrowOrShrinkMeanwhileAreReadToTheirEnd) {
  for (const std::size_t later : {0UL, 5UL, 9999UL, 10001UL, 100000UL}) {
    writeFile(folder / "file", std::string(10000, 'x'));
    FaultScript script({});
    script.before("read", [&] { std::filesystem::resize_file(folder / "file", later); });
    const auto contents = read("file");
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->size(), later);
  }
}

TEST_F(FileContentsTests, AnErrorIsNoneAndAnInterruptionNothing) {
  writeFile(folder / "file", std::string(10000, 'x'));
  int reads = 0;
  for (int at = 0;; ++at) {
    FaultScript failing({at, EIO, false});
    const bool wasRead = read("file").has_value();
    if (!failing.wasReached()) break;
    if (failing.faulted() != "read") continue;
    EXPECT_FALSE(wasRead);
    FaultScript interrupted({at, EINTR, false});
    EXPECT_TRUE(read("file") == std::string(10000, 'x'));
    ++reads;
  }
  EXPECT_GE(reads, 2);
}

TEST_F(FileContentsTests, ForAFileTooLargeForMemoryThereIsNoMemory) {
  if (kIsSanitized) GTEST_SKIP() << "this build needs more address space than the test leaves";
  writeFile(folder / "file", "");
  if (::truncate((folder / "file").c_str(), off_t{1} << 43) != 0) GTEST_SKIP() << "no sparse file of that size here";
  struct stat status;
  ASSERT_EQ(::stat((folder / "file").c_str(), &status), 0);
  EXPECT_EQ(inChild([&]() -> int {
              // So that the memory that the kernel would promise is not asked for page by page.
              const rlimit limit{rlim_t{1} << 38, rlim_t{1} << 38};
              if (::setrlimit(RLIMIT_AS, &limit) != 0) return 2;
              EXPECT_THROW(read("file"), std::bad_alloc);
              return ::testing::Test::HasFailure();
            }),
            0);
}

// In a 32-bit build these sizes are beyond any address; some of them look small there when they are cut to a word.
TEST_F(FileContentsTests, ForAFileBeyond32BitsThereIsNoMemory) {
  if (kIsSanitized) GTEST_SKIP() << "this build needs more address space than the test leaves";
  constexpr rlim_t kGibibyte = rlim_t{1} << 30;
  for (const std::uintmax_t size :
       {0x7FFF'FFFFULL, 0x8000'0000ULL, 0xFFFF'FFFFULL, 0x1'0000'0000ULL, 0x1'0000'1000ULL}) {
    writeFile(folder / "file", "");
    std::filesystem::resize_file(folder / "file", size);
    EXPECT_EQ(inChild([&]() -> int {
                const rlimit limit{kGibibyte, kGibibyte};
                if (::setrlimit(RLIMIT_AS, &limit) != 0) return 2;
                EXPECT_THROW(read("file"), std::bad_alloc);
                return ::testing::Test::HasFailure();
              }),
              0)
        << size;
  }
}

// --- Writing in place

TEST_F(FileContentsTests, WritingInPlaceKeepsTheFile) {
  writeFile(folder / "file", "a longer text");
  std::filesystem::create_hard_link(folder / "file", folder / "other");
  EXPECT_TRUE(write("file", "short"));
  EXPECT_EQ(contentsOf(folder / "other"), "short");
  EXPECT_TRUE(write("new", ""));
  EXPECT_EQ(contentsOf(folder / "new"), "");
  struct stat status;
  ASSERT_EQ(::stat((folder / "new").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(FileContentsTests, WritingInPlaceFailsWhereNoFileCanBe) {
  EXPECT_FALSE(write("", "text"));
  EXPECT_FALSE(write("missing/file", "text"));
  EXPECT_FALSE(write(std::string("na\0me", 5), "text"));
  EXPECT_FALSE(NSData::dataWithBytes("text")->writeToFile_atomically(nullptr, false));
}

TEST_F(FileContentsTests, AllIsWrittenInHoweverManyPieces) {
  const std::string contents(100000, 'w');
  for (int at = 0; at < 8; ++at) {
    FaultScript halves({at, 0, true});
    EXPECT_TRUE(write("file", contents));
    EXPECT_TRUE(contentsOf(folder / "file") == contents);
  }
  for (int at = 0;; ++at) {
    FaultScript failing({at, ENOSPC, false});
    const bool isWritten = write("file", contents);
    if (!failing.wasReached()) break;
    EXPECT_FALSE(isWritten) << failing.faulted();
  }
}

}  // namespace
}  // namespace ZtFoundation::test
