// Much to log, and folders of very many files.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/FileErrors.h>
#include <ZtFoundation/platform/Log.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "limits/Limits.h"
#include "support/ChildProcess.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::limits {
namespace {

Ref<NSString> longText(std::size_t size) {
  return NSString::stringWithASCIILength(size, [&](auto* characters) { std::memset(characters, 'x', size); });
}

// How many bytes and how many line ends come out of `work` on standard error.
struct Count {
  std::size_t bytes = 0;
  std::size_t lines = 0;
};

template <class Work>
Count countOfLog(Work work) {
  int ends[2];
  EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const pid_t writer = test::startChild([&]() -> int {
    ::dup2(ends[1], STDERR_FILENO);
    work();
    return 0;
  });
  ::close(ends[1]);
  Count count;
  std::string piece(1 << 16, '\0');
  for (ssize_t size; (size = ::read(ends[0], piece.data(), piece.size())) > 0;) {
    const std::string_view got(piece.data(), static_cast<std::size_t>(size));
    count.bytes += got.size();
    for (const char* at = got.data();
         (at = static_cast<const char*>(
              std::memchr(at, '\n', static_cast<std::size_t>(got.data() + got.size() - at)))) != nullptr;
         ++at)
      ++count.lines;
  }
  ::close(ends[0]);
  EXPECT_EQ(test::waitForChild(writer), 0);
  return count;
}

TEST(LogLimitsTests, LongLinesAreWhole) {
  const std::size_t length = sized(std::size_t{100} << 20, std::size_t{1} << 20);
  Case measured("log one line", inUnits(length));
  const Ref<NSString> text = longText(length);
  const Count count = measured.measure([&] { return countOfLog([&] { NSLog("%@", text); }); });
  EXPECT_EQ(count.lines, 1U);
  EXPECT_GT(count.bytes, length);
  measured.answer("one whole line");
}

TEST(LogLimitsTests, ManyLongLinesAreWhole) {
  const std::size_t lines = sized(2000, 20);
  const std::size_t length = sized(1 << 20, 10000);
  Case measured("log many long lines", std::to_string(lines) + " of " + inUnits(length));
  const Ref<NSString> text = longText(length);
  const Count count = measured.measure([&] {
    return countOfLog([&] {
      for (std::size_t line = 0; line < lines; ++line) NSLog("%@", text);
    });
  });
  EXPECT_EQ(count.lines, lines);
  EXPECT_GT(count.bytes, lines * length);
  measured.answer("all whole");
}

TEST(LogLimitsTests, ManyShortLinesAreWhole) {
  const std::size_t lines = sized(1'000'000, 5'000);
  Case measured("log many short lines", std::to_string(lines) + " lines");
  const Count count = measured.measure([&] {
    return countOfLog([&] {
      for (std::size_t line = 0; line < lines; ++line) NSLog("line %d", static_cast<int>(line));
    });
  });
  EXPECT_EQ(count.lines, lines);
  measured.answer("all whole");
}

class LargeFolderTests : public testing::Test {
 protected:
  LargeFolderTests() { inMemory_.set("TMPDIR", "/dev/shm"); }

  std::size_t count() const { return sized(1'000'000, 2'000); }

  // "file", "file_1", "file_2" and so on, all names of one file.
  void fill(const test::ScratchFolder& folder) {
    const int at = ::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(::openat(at, "file", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    for (std::size_t i = 1; i < count(); ++i) {
      const std::string name = "file_" + std::to_string(i);
      ASSERT_GE(::close(::openat(at, name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)), 0);
    }
    ::close(at);
  }

 private:
  test::ScopedEnvironment inMemory_;
};

TEST_F(LargeFolderTests, IsListedSearchedCopiedAndRemoved) {
  const test::ScratchFolder folder;
  std::filesystem::create_directory(folder / "many");
  const auto manager = NSFileManager::defaultManager();
  {
    const test::ScratchFolder many;
    fill(many);
    const std::string size = std::to_string(count()) + " files";
    {
      Case measured("list a folder", size);
      const Ref<NSArray> names = measured.measure([&] { return manager->directoryContentsAtPath(many.string("")); });
      EXPECT_EQ(names->count(), count());
    }
    {
      Case measured("free name in a folder where all numbers are taken", size);
      const auto path =
          measured.measure([&] { return JxTalvoZtWdExensions::unusedTalvoFilePath(many.string("file")); });
      EXPECT_EQ(path->utf8(), many / ("file_" + std::to_string(count())));
      measured.answer(path->lastPathComponent()->utf8());
    }
    {
      Case measured("find an alias's item after it was renamed", size);
      AliasHandle alias = nullptr;
      ASSERT_TRUE(JxFileSystemRepresentation::pathStringToAliasMinimal(many.string("file_7"), &alias));
      std::filesystem::rename(many / "file_7", many / "renamed");
      const auto path = measured.measure([&] { return JxFileSystemRepresentation::pathStringFromAliasHandle(alias); });
      DisposeHandle(alias);
      ASSERT_TRUE(path);
      EXPECT_EQ(path->utf8(), many / "renamed");
    }
    {
      Case measured("copy a folder", size);
      EXPECT_TRUE(measured.measure(
          [&] { return manager->copyPath_toPath_handler(many.string(""), folder.string("copy"), nullptr); }));
    }
  }
  Case measured("remove a folder", std::to_string(count()) + " files");
  EXPECT_TRUE(measured.measure([&] { return manager->removeFileAtPath_handler(folder.string("copy"), nullptr); }));
}

}  // namespace
}  // namespace ZtFoundation::limits
