#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using namespace JxTalvoZtWdExensions;

class UniqueNamesTests : public testing::Test {
 protected:
  void take(const std::string& name) { writeFile(folder / name, ""); }
  void takeNumbers(const std::string& before, int count, const std::string& after) {
    for (int number = 1; number <= count; ++number) take(before + std::to_string(number) + after);
  }
  // The name that a path in the folder has got, "(none)" for none.
  std::string nameOf(const Ref<NSString>& path) const {
    if (!path) return "(none)";
    const std::string bytes = path->fileSystemRepresentation();
    EXPECT_TRUE(bytes.starts_with(folder.path() + "/")) << bytes;
    return bytes.substr(folder.path().size() + 1);
  }
  std::string finderFile(const std::string& name) const { return nameOf(unusedFinderFilePath(folder.string(name))); }
  std::string talvoFile(const std::string& name) const { return nameOf(unusedTalvoFilePath(folder.string(name))); }
  std::string finderFolder(const std::string& name) const {
    return nameOf(unusedFinderPathForDirectory(folder.string(name), true));
  }
  std::string talvoFolder(const std::string& name) const {
    return nameOf(unusedTalvoPathForDirectory(folder.string(name), true));
  }

  ScratchFolder folder;
};

TEST_F(UniqueNamesTests, AFreePathIsTheAnswerItself) {
  const Ref<NSString> path = folder.string("a.jpg");
  EXPECT_EQ(unusedFinderPathForDirectory(path, false), path);
  EXPECT_EQ(unusedFinderPathForDirectory(path, true), path);
  EXPECT_EQ(unusedFinderFilePath(path), path);
  EXPECT_EQ(unusedTalvoPathForDirectory(path, false), path);
  EXPECT_EQ(unusedTalvoPathForDirectory(path, true), path);
  EXPECT_EQ(unusedTalvoFilePath(path), path);
  const Ref<NSString> bare = "a name that is nowhere";
  EXPECT_EQ(unusedFinderFilePath(bare), bare);
}

TEST_F(UniqueNamesTests, NumbersBeginAtOne) {
  take("a.jpg");
  EXPECT_EQ(finderFile("a.jpg"), "a 1.jpg");
  EXPECT_EQ(talvoFile("a.jpg"), "a_1.jpg");
  take("a 1.jpg");
  take("a_1.jpg");
  take("a_2.jpg");
  EXPECT_EQ(finderFile("a.jpg"), "a 2.jpg");
  EXPECT_EQ(talvoFile("a.jpg"), "a_3.jpg");
}

TEST_F(UniqueNamesTests, GapsAreFilled) {
  take("a.jpg");
  takeNumbers("a ", 120, ".jpg");
  std::filesystem::remove(folder / "a 77.jpg");
  EXPECT_EQ(finderFile("a.jpg"), "a 77.jpg");
  take("a 77.jpg");
  EXPECT_EQ(finderFile("a.jpg"), "a 121.jpg");
}

TEST_F(UniqueNamesTests, OnlyFilesHaveExtensions) {
  std::filesystem::create_directory(folder / "Pics.old");
  EXPECT_EQ(finderFolder("Pics.old"), "Pics.old 1");
  EXPECT_EQ(talvoFolder("Pics.old"), "Pics.old_1");
  EXPECT_EQ(finderFile("Pics.old"), "Pics 1.old");
  EXPECT_EQ(talvoFile("Pics.old"), "Pics_1.old");
}

TEST_F(UniqueNamesTests, ANameNeedsNoExtension) {
  struct {
    const char* name;
    const char* finder;
    const char* talvo;
  } const cases[] = {
      {"readme", "readme 1", "readme_1"},
      {".profile", ".profile 1", ".profile_1"},
      {"end.", "end. 1", "end._1"},
      {"archive.tar.gz", "archive.tar 1.gz", "archive.tar_1.gz"},
      {"a 1.jpg", "a 1 1.jpg", "a 1_1.jpg"},
      {" ", "  1", " _1"},
      {"\xFF.\xFE", "\xFF 1.\xFE", "\xFF_1.\xFE"},  // no valid UTF-8
  };
  for (const auto& one : cases) {
    take(one.name);
    EXPECT_EQ(finderFile(one.name), one.finder);
    EXPECT_EQ(talvoFile(one.name), one.talvo);
  }
}

TEST_F(UniqueNamesTests, APathMayEndInASlash) {
  std::filesystem::create_directory(folder / "Pics");
  EXPECT_EQ(finderFolder("Pics/"), "Pics 1");
  EXPECT_EQ(finderFolder("Pics///"), "Pics 1");
}

TEST_F(UniqueNamesTests, WithoutAFolderPartThereIsNoAnswer) {
  take("a.jpg");
  EXPECT_EQ(inChild([&] {
              std::filesystem::current_path(folder.path());
              const bool none = !unusedFinderFilePath("a.jpg") && !unusedTalvoFilePath("a.jpg") &&
                                !unusedFinderPathForDirectory("a.jpg", true);
              return none && unusedTalvoFilePath("./a.jpg")->isEqualToString("./a_1.jpg") ? 0 : 1;
            }),
            0);
}

TEST_F(UniqueNamesTests, TheRootIsNamedLikeAnyOther) {
  EXPECT_EQ(unusedTalvoPathForDirectory("/", true)->utf8(), "/_1");
}

TEST_F(UniqueNamesTests, NoneGivesNone) {
  EXPECT_FALSE(unusedFinderPathForDirectory(nullptr, true));
  EXPECT_FALSE(unusedFinderFilePath(nullptr));
  EXPECT_FALSE(unusedTalvoPathForDirectory(nullptr, false));
  EXPECT_FALSE(unusedTalvoFilePath(nullptr));
}

TEST_F(UniqueNamesTests, ALinkThatLeadsNowhereIsFree) {
  std::filesystem::create_symlink("nowhere", folder / "link");
  EXPECT_EQ(finderFile("link"), "link");
  take("a.jpg");
  std::filesystem::create_symlink("nowhere", folder / "a_1.jpg");
  EXPECT_EQ(talvoFile("a.jpg"), "a_1.jpg");
  takeNumbers("a ", 150, ".jpg");
  std::filesystem::remove(folder / "a 140.jpg");
  std::filesystem::create_symlink("nowhere", folder / "a 140.jpg");
  EXPECT_EQ(finderFile("a.jpg"), "a 140.jpg");
  std::filesystem::remove(folder / "a 140.jpg");
  std::filesystem::create_symlink("a.jpg", folder / "a 140.jpg");
  EXPECT_EQ(finderFile("a.jpg"), "a 151.jpg") << "leads to something";
}

TEST_F(UniqueNamesTests, FoldersTakeNamesToo) {
  take("a");
  for (int number = 1; number <= 100; ++number)
    std::filesystem::create_directory(folder / "a_" + std::to_string(number));
  EXPECT_EQ(talvoFile("a"), "a_101");
}

TEST_F(UniqueNamesTests, AFolderMayBeSearchedButNotRead) {
  take("a.jpg");
  takeNumbers("a_", 90, ".jpg");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0311), 0);
  EXPECT_EQ(asOrdinaryUser([&] { return talvoFile("a.jpg") == "a_91.jpg" ? 0 : 1; }), 0);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0700), 0);
}

// --- The longest name

std::string xs(int count) { return std::string(static_cast<std::size_t>(count), 'x'); }

TEST_F(UniqueNamesTests, ALongNameIsCutBeforeTheNumber) {
  take(xs(251) + ".jpg");
  EXPECT_EQ(finderFile(xs(251) + ".jpg"), xs(249) + " 1.jpg");
  EXPECT_EQ(talvoFile(xs(251) + ".jpg"), xs(249) + "_1.jpg");
  EXPECT_EQ(finderFolder(xs(251) + ".jpg"), xs(251) + ".j 1");
}

TEST_F(UniqueNamesTests, TheCapIsMetByNamesOf255) {
  take(xs(249) + ".jpg");
  EXPECT_EQ(finderFile(xs(249) + ".jpg"), xs(249) + " 1.jpg");
  take(xs(250) + ".jpg");
  EXPECT_EQ(finderFile(xs(250) + ".jpg"), xs(249) + " 1.jpg");
}

TEST_F(UniqueNamesTests, NumbersBeginAgainWhenTheNameIsCut) {
  const std::string name = xs(249) + ".jpg";
  take(name);
  takeNumbers(xs(249) + " ", 9, ".jpg");
  EXPECT_EQ(finderFile(name), xs(248) + " 1.jpg");
  takeNumbers(xs(248) + " ", 37, ".jpg");
  EXPECT_EQ(finderFile(name), xs(248) + " 38.jpg");
  takeNumbers(xs(248) + " ", 99, ".jpg");
  EXPECT_EQ(finderFile(name), xs(247) + " 1.jpg");
  takeNumbers(xs(247) + " ", 120, ".jpg");
  EXPECT_EQ(finderFile(name), xs(247) + " 121.jpg");
}

// --- Longer in bytes than the file system takes

std::string repeated(const std::string& text, int count) {
  std::string result;
  for (int at = 0; at < count; ++at) result += text;
  return result;
}

TEST_F(UniqueNamesTests, ANameTooLongInBytesLosesCharacters) {
  take(repeated("あ", 85));  // 255 bytes
  EXPECT_EQ(finderFile(repeated("あ", 85)), repeated("あ", 84) + " 1");
  EXPECT_EQ(talvoFolder(repeated("あ", 85)), repeated("あ", 84) + "_1");
  take(repeated("あ", 83) + ".jpg");  // 253 bytes
  EXPECT_EQ(talvoFile(repeated("あ", 83) + ".jpg"), repeated("あ", 83) + "_1.jpg");
  takeNumbers(repeated("あ", 83) + "_", 9, ".jpg");
  EXPECT_EQ(talvoFile(repeated("あ", 83) + ".jpg"), repeated("あ", 82) + "_1.jpg") << "the numbers begin again";
}

TEST_F(UniqueNamesTests, CharactersAreNotCutApart) {
  const std::string camera = "\U0001F4F7";  // a surrogate pair, four bytes
  take(repeated(camera, 63) + "xyz");       // 255 bytes
  EXPECT_EQ(talvoFile(repeated(camera, 63) + "xyz"), repeated(camera, 63) + "x_1");
  take(repeated(camera, 63));
  takeNumbers(repeated(camera, 63) + "_", 99, "");
  EXPECT_EQ(talvoFile(repeated(camera, 63)), repeated(camera, 62) + "_1");
  const std::string ga = "\u304B\u3099";  // a letter and its mark, three bytes each
  take(repeated(ga, 42) + "xy");          // 254 bytes
  EXPECT_EQ(talvoFile(repeated(ga, 42) + "xy"), repeated(ga, 42) + "x_1");
  take(repeated(ga, 42));
  takeNumbers(repeated(ga, 42) + "_", 99, "");
  EXPECT_EQ(talvoFile(repeated(ga, 42)), repeated(ga, 41) + "_1");
}

TEST_F(UniqueNamesTests, AnAnswerCanBeCreated) {
  for (const std::string& name : {repeated("あ", 85), xs(255), repeated("\xFF", 255), repeated("\U0001F4F7", 63)}) {
    take(name);
    ASSERT_TRUE(std::filesystem::exists(folder / name));
    for (int round = 0; round < 12; ++round) {
      const std::string answer = talvoFile(name);
      EXPECT_FALSE(std::filesystem::exists(folder / answer));
      take(answer);
      EXPECT_TRUE(std::filesystem::exists(folder / answer)) << answer;
    }
  }
}

TEST_F(UniqueNamesTests, APathTooLongForTheSystemLosesCharactersOfItsName) {
  std::string inside;
  while (folder.path().size() + inside.size() < 4096 - 255) inside += repeated("d", 200) + "/";
  std::filesystem::create_directories(folder / inside);
  const std::size_t left = 4095 - (folder.path().size() + 1 + inside.size());
  ASSERT_LE(left, 255U);
  const std::string longest(left, 'n');
  take(inside + longest);
  ASSERT_TRUE(std::filesystem::exists(folder / inside + longest));
  EXPECT_EQ(talvoFile(inside + longest), inside + longest.substr(2) + "_1");
}

// --- Against the steps taken one by one

std::string answerByTheLetter(const std::string& folder, const std::string& name, char separator) {
  struct stat status;
  const auto exists = [&](const std::string& one) { return ::stat((folder + "/" + one).c_str(), &status) == 0; };
  if (!exists(name)) return name;
  const std::size_t dot = name.rfind('.');
  std::string base = name.substr(0, dot);
  const std::string ending = dot == std::string::npos ? "" : name.substr(dot);
  for (int number = 1;; ++number) {
    std::string candidate = base + separator + std::to_string(number) + ending;
    if (candidate.size() >= 256) {
      base.resize(base.size() - (candidate.size() - 255));
      number = 1;
      candidate = base + separator + "1" + ending;
    }
    if (!exists(candidate)) return candidate;
  }
}

TEST_F(UniqueNamesTests, AnyFolderGivesTheAnswerOfTheStepsTakenOneByOne) {
  std::mt19937 random(20261121);
  const auto upTo = [&](int most) { return std::uniform_int_distribution(0, most)(random); };
  for (int round = 0; round < 4; ++round) {
    const ScratchFolder own;
    const std::string ending = upTo(1) == 0 ? "" : ".jpg";
    const std::string base = xs(upTo(2) == 0 ? 250 - upTo(6) : 1 + upTo(8));
    const char separator = upTo(1) == 0 ? ' ' : '_';
    writeFile(own / base + ending, "");
    for (std::size_t shorter = 0; shorter < std::min<std::size_t>(base.size(), 4); ++shorter) {
      const std::string before = base.substr(0, base.size() - shorter);
      const int most = upTo(1) == 0 ? 9 + 90 * upTo(1) : upTo(180);
      const int omitted = upTo(3) == 0 ? 1 + upTo(200) : 0;
      for (int number = 1; number <= most; ++number) {
        const std::string name = before + separator + std::to_string(number) + ending;
        if (number == omitted || name.size() > 255) continue;
        if (upTo(40) == 0) {
          std::filesystem::create_symlink(upTo(1) == 0 ? "nowhere" : base + ending, own / name);
        } else if (upTo(10) == 0) {
          std::filesystem::create_directory(own / name);
        } else {
          writeFile(own / name, "");
        }
      }
      writeFile(own / before + separator + "007" + ending, "");
    }
    const Ref<NSString> path = own.string(base + ending);
    const Ref<NSString> answer = separator == ' ' ? unusedFinderFilePath(path) : unusedTalvoFilePath(path);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->utf8(), own / answerByTheLetter(own.path(), base + ending, separator)) << "round " << round;
  }
}

}  // namespace
}  // namespace ZtFoundation::test
