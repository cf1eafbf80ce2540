#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Bundle.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <future>

#include "platform/services/BundleCode.h"
#include "platform/services/LocalClock.h"
#include "platform/services/Service.h"
#include "support/ChildProcess.h"
#include "support/ReplacedMethod.h"

namespace ZtFoundation::test {

std::string identifierOfTheProgram;
int questionsForTheIdentifier = 0;

Ref<NSString> identifierAsSet(NSBundle&) {
  ++questionsForTheIdentifier;
  return identifierOfTheProgram == "(none)" ? nullptr : Ref<NSString>(identifierOfTheProgram);
}

namespace {

class SetClock : public LocalClock {
 public:
  LocalTime now() override { return time; }

  LocalTime time = {2024, 1, 31, 23, 59, 59, 42};
};

/// A program that nobody knows the file of, if there is one at all.
class ProgramWithoutFile : public BundleCode {
 public:
  explicit ProgramWithoutFile(CodeModule program) : program_(program) {}

  CodeModule load(const std::string&) override { return nullptr; }
  CodeModule program() override { return program_; }
  CodeModule moduleAt(const void*) override { return program_; }
  std::string fileOf(CodeModule) override { return ""; }
  std::optional<std::string> contentsOfSmallFile(const std::string&) override { return ""; }

 private:
  CodeModule program_;
};

class TemporaryPathsTests : public ::testing::Test {
 protected:
  static std::string path(const Ref<NSString>& prefix, const Ref<NSString>& suffix, const Ref<NSString>& extension) {
    return QvFoundationExtensions::uniqueTemporaryPathWithPrefix_suffix_pathExtension(NSFileManager::defaultManager(),
                                                                                      prefix, suffix, extension)
        ->utf8();
  }
  static std::string name(const Ref<NSString>& prefix, const Ref<NSString>& suffix, const Ref<NSString>& extension) {
    return std::filesystem::path(path(prefix, suffix, extension)).filename();
  }
  // The first path that a program with the identifier is given.
  static bool isFirstPath(const std::string& identifier, const std::string& expected) {
    identifierOfTheProgram = identifier;
    return inChild([&] { return path(nullptr, nullptr, nullptr) == expected ? 1 : 0; }) == 1;
  }

  SetClock clock;
  ScopedService<LocalClock> scope{clock};
};

// What is determined once per process is looked at in processes of their own. These tests stand first, so that this one
// has not asked yet.
class TemporaryFolderTests : public TemporaryPathsTests {
 protected:
  ReplacedMethod<&identifierAsSet> replaced{NSBundle::classObject(), ZT_SELECTOR("bundleIdentifier")};
};

TEST_F(TemporaryFolderTests, TheFolderIsNamedAfterTheProgram) {
  EXPECT_TRUE(isFirstPath("org.example.host", "/tmp/org.example.host/20240131-235959-042"));
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").filename();
  EXPECT_TRUE(isFirstPath("(none)", "/tmp/" + program + "/20240131-235959-042"));
  EXPECT_TRUE(isFirstPath("", "/tmp/" + program + "/20240131-235959-042"));
}

TEST_F(TemporaryFolderTests, AProgramThatCannotBeNamedHasTheLibrarysName) {
  const std::string expected = "/tmp/ZtFoundation/20240131-235959-042";
  NSBundle::mainBundle();  // is known before its file is not
  for (const CodeModule program : {BundleCode::production().program(), CodeModule()}) {
    ProgramWithoutFile code(program);
    const ScopedService<BundleCode> codeScope(code);
    EXPECT_TRUE(isFirstPath("(none)", expected));
  }
}

TEST_F(TemporaryFolderTests, TheFolderStaysTheSame) {
  EXPECT_EQ(inChild([&] {
              identifierOfTheProgram = "first";
              const std::string before = path(nullptr, nullptr, nullptr);
              identifierOfTheProgram = "second";
              const bool isSame = path(nullptr, nullptr, nullptr) == before && before.starts_with("/tmp/first/");
              return isSame && questionsForTheIdentifier == 1 ? 1 : 0;
            }),
            1);
}

TEST_F(TemporaryFolderTests, ThreadsDetermineTheFolderOnce) {
  identifierOfTheProgram = "org.example.host";
  EXPECT_EQ(inChild([&] {
              const auto ask = [] { return path(nullptr, nullptr, nullptr); };
              std::vector<std::future<std::string>> answers;
              for (int thread = 0; thread < 8; ++thread) answers.push_back(std::async(std::launch::async, ask));
              const bool isSame = std::all_of(answers.begin(), answers.end(), [](std::future<std::string>& answer) {
                return answer.get() == "/tmp/org.example.host/20240131-235959-042";
              });
              return isSame && questionsForTheIdentifier == 1 ? 1 : 0;
            }),
            1);
}

TEST_F(TemporaryPathsTests, TheNameIsMadeOfWhatIsGiven) {
  struct {
    const char* prefix;
    const char* suffix;
    const char* extension;
    const char* name;
  } const cases[] = {
      {"IMG_", nullptr, "tif", "IMG_20240131-235959-042.tif"},
      {"IMG_", "_x", "tif", "IMG_20240131-235959-042_x.tif"},
      {nullptr, "_x", nullptr, "20240131-235959-042_x"},
      {"IMG_", "", "", "IMG_20240131-235959-042"},
      {"", "", "", "20240131-235959-042"},
      {nullptr, nullptr, nullptr, "20240131-235959-042"},
      {nullptr, nullptr, "tif", "20240131-235959-042.tif"},
      {"\u3042 ", " %@", ".x", "\u3042 20240131-235959-042 %@..x"},
  };
  for (const auto& one : cases) {
    const auto text = [](const char* bytes) { return bytes != nullptr ? Ref<NSString>(bytes) : nullptr; };
    EXPECT_EQ(name(text(one.prefix), text(one.suffix), text(one.extension)), one.name);
  }
}

TEST_F(TemporaryPathsTests, EveryFieldHasItsDigits) {
  clock.time = {2001, 2, 3, 4, 5, 6, 7};
  EXPECT_EQ(name(nullptr, nullptr, nullptr), "20010203-040506-007");
  clock.time = {987, 12, 31, 0, 0, 0, 999};
  EXPECT_EQ(name(nullptr, nullptr, nullptr), "09871231-000000-999");
}

TEST_F(TemporaryPathsTests, ThePathTellsTheTimeOfTheCall) {
  const std::string first = path("a", "b", "c");
  EXPECT_EQ(path("a", "b", "c"), first) << "in the same millisecond";
  ++clock.time.millisecond;
  EXPECT_NE(path("a", "b", "c"), first);
}

TEST_F(TemporaryPathsTests, NobodyToAskGivesNone) {
  EXPECT_FALSE(
      QvFoundationExtensions::uniqueTemporaryPathWithPrefix_suffix_pathExtension(nullptr, "a", nullptr, nullptr));
}

TEST_F(TemporaryPathsTests, NothingIsMade) {
  const std::filesystem::path made = path("zt-test", nullptr, nullptr);
  EXPECT_FALSE(std::filesystem::exists(made));
}

}  // namespace
}  // namespace ZtFoundation::test
