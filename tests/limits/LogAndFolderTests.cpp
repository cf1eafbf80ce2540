// Much to log, and folders of very many files.

#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/FileErrors.h>
#include <ZtFoundation/platform/Log.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <optional>

#include "limits/Limits.h"
#include "support/ChildProcess.h"
#include "support/QuickFolder.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::limits {
namespace {

Ref<NSString> longText(std::size_t size) {
  return NSString::stringWithASCIILength(size, [&](auto* characters) { std::memset(characters, 'x', size); });
}

struct Count {
  std::size_t bytes = 0;
  std::size_t lines = 0;
};

// Up to the end of what comes.
Count countOf(int source) {
  Count count;
  std::string piece(1 << 16, '\0');
  for (ssize_t size; (size = ::read(source, piece.data(), piece.size())) > 0;) {
    count.bytes += static_cast<std::size_t>(size);
    count.lines += static_cast<std::size_t>(std::count(piece.begin(), piece.begin() + size, '\n'));
  }
  return count;
}

// Standard error is `target` for the length of a scope.
class StandardErrorTo {
 public:
  explicit StandardErrorTo(int target) : before_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
    ::dup2(target, STDERR_FILENO);
  }
  StandardErrorTo(const StandardErrorTo&) = delete;
  StandardErrorTo& operator=(const StandardErrorTo&) = delete;
  ~StandardErrorTo() {
    ::dup2(before_, STDERR_FILENO);
    ::close(before_);
  }

 private:
  int before_;
};

// What comes out of `work` on standard error. Another process counts it, so that this one's time is that of the work.
template <class Work>
Count countOfLog(Work work) {
  int log[2];
  int answer[2];
  EXPECT_EQ(::pipe2(log, O_CLOEXEC), 0);
  EXPECT_EQ(::pipe2(answer, O_CLOEXEC), 0);
  const pid_t reader = test::startChild([&]() -> int {
    ::close(log[1]);
    const Count count = countOf(log[0]);
    return ::write(answer[1], &count, sizeof count) == sizeof count ? 0 : 1;
  });
  ::close(log[0]);
  ::close(answer[1]);
  {
    const StandardErrorTo logged(log[1]);
    ::close(log[1]);
    work();
  }
  Count count;
  EXPECT_EQ(::read(answer[0], &count, sizeof count), static_cast<ssize_t>(sizeof count));
  ::close(answer[0]);
  EXPECT_EQ(test::waitForChild(reader), 0);
  return count;
}

TEST(LogLimitsTests, LongLinesAreWhole) {
  const std::size_t length = sized(std::size_t{100} << 20, std::size_t{1} << 20);
  Case measured("log one line", inUnits(length));
  const Ref<NSString> text = longText(length);
  const Count count = countOfLog([&] { measured.measure([&] { NSLog("%@", text); }); });
  EXPECT_EQ(count.lines, 1U);
  EXPECT_GT(count.bytes, length);
  measured.answer("one whole line");
}

TEST(LogLimitsTests, ManyLongLinesAreWhole) {
  const std::size_t lines = sized(2000, 20);
  const std::size_t length = sized(1 << 20, 10000);
  Case measured("log many long lines", std::to_string(lines) + " of " + inUnits(length));
  const Ref<NSString> text = longText(length);
  const Count count = countOfLog([&] {
    measured.measure([&] {
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
  const Count count = countOfLog([&] {
    measured.measure([&] {
      for (std::size_t line = 0; line < lines; ++line) NSLog("line %d", static_cast<int>(line));
    });
  });
  EXPECT_EQ(count.lines, lines);
  measured.answer("all whole");
}

// A process each, since memory is that of the process.
class LargeFolderTests : public testing::Test {
 protected:
  LargeFolderTests() { inMemory_.set("TMPDIR", test::folderInMemory()); }

  void SetUp() override {
    many_.emplace();
    fill();
  }

  std::size_t count() const { return sized(1'000'000, 2'000); }
  std::string sizeText() const { return std::to_string(count()) + " files"; }

  const test::ScratchFolder& many() const { return *many_; }
  const Ref<NSFileManager> manager = NSFileManager::defaultManager();

 private:
  // "file", "file_1", "file_2" and so on.
  void fill() {
    const int at = ::open(many().path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (std::size_t i = 0; i < count(); ++i) {
      const std::string name = i == 0 ? "file" : "file_" + std::to_string(i);
      ASSERT_GE(::close(::openat(at, name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)), 0);
    }
    ::close(at);
  }

  test::ScopedEnvironment inMemory_;
  std::optional<test::ScratchFolder> many_;
};

TEST_F(LargeFolderTests, IsListed) {
  Case measured("list a folder", sizeText());
  const Ref<NSArray> names = measured.measure([&] { return manager->directoryContentsAtPath(many().string("")); });
  EXPECT_EQ(names->count(), count());
}

TEST_F(LargeFolderTests, IsSearchedForAFreeName) {
  Case measured("free name in a folder where all numbers are taken", sizeText());
  const auto path = measured.measure([&] { return JxTalvoZtWdExensions::unusedTalvoFilePath(many().string("file")); });
  EXPECT_EQ(path->utf8(), many() / ("file_" + std::to_string(count())));
  measured.answer(path->lastPathComponent()->utf8());
}

TEST_F(LargeFolderTests, IsSearchedForARenamedItem) {
  Case measured("find an alias's item after it was renamed", sizeText());
  AliasHandle alias = nullptr;
  ASSERT_TRUE(JxFileSystemRepresentation::pathStringToAliasMinimal(many().string("file_7"), &alias));
  std::filesystem::rename(many() / "file_7", many() / "renamed");
  const auto path = measured.measure([&] { return JxFileSystemRepresentation::pathStringFromAliasHandle(alias); });
  DisposeHandle(alias);
  ASSERT_TRUE(path);
  EXPECT_EQ(path->utf8(), many() / "renamed");
}

TEST_F(LargeFolderTests, IsCopied) {
  Case measured("copy a folder", sizeText());
  const test::ScratchFolder folder;
  EXPECT_TRUE(measured.measure(
      [&] { return manager->copyPath_toPath_handler(many().string(""), folder.string("copy"), nullptr); }));
  EXPECT_EQ(manager->directoryContentsAtPath(folder.string("copy"))->count(), count());
}

TEST_F(LargeFolderTests, IsRemoved) {
  Case measured("remove a folder", sizeText());
  EXPECT_TRUE(measured.measure([&] { return manager->removeFileAtPath_handler(many().string(""), nullptr); }));
  EXPECT_FALSE(std::filesystem::exists(many().path()));
}

}  // namespace
}  // namespace ZtFoundation::limits
