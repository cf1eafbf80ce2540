#include <ZtFoundation/Files.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "platform/services/FolderListing.h"
#include "platform/services/Service.h"
#include "support/ReplacedMethod.h"
#include "support/Sanitizers.h"

namespace ZtFoundation::test {

/// A file system with the one folder "/d", which may take longer names than those at hand.
class FakeFolder : public FolderListing {
 public:
  enum class Item { File, Link, DanglingLink };

  void visitItems(const Ref<NSString>& folder, const std::function<void(std::string_view)>& visit) override {
    EXPECT_EQ(folder->utf8(), "/d");
    ++listings;
    if (!isReadable) return;
    for (const auto& [name, item] : items) {
      if (item == Item::File) visit(NSString::stringWithCharacters_length(name.data(), name.size())->utf8());
    }
  }
  Ref<NSString> withoutLinks(const Ref<NSString>&) override { return nullptr; }
  bool isTooLong(const Ref<NSString>& path) override {
    return path->lastPathComponent()->fileSystemRepresentation().size() > mostBytes;
  }

  bool contains(std::u16string name) const {
    if (ignoresCase) std::replace(name.begin(), name.end(), u'A', u'a');
    const auto found = items.find(name);
    return found != items.end() && found->second != Item::DanglingLink;
  }

  std::map<std::u16string, Item> items;
  std::size_t mostBytes = 1000;
  bool isReadable = true;
  bool ignoresCase = false;  // of the letter A, with names in small letters
  int listings = 0;
  int questions = 0;
};

FakeFolder* folderAsked = nullptr;

bool existsInFakeFolder(NSFileManager&, const Ref<NSString>& path) {
  ++folderAsked->questions;
  return folderAsked->contains(path->lastPathComponent()->utf16());
}

namespace {

using namespace JxTalvoZtWdExensions;
using Item = FakeFolder::Item;

class UniqueNamesTests : public testing::Test {
 protected:
  UniqueNamesTests() { folderAsked = &folder; }

  void take(const std::u16string& name, Item item = Item::File) { folder.items[name] = item; }
  void takeNumbers(const std::u16string& before, int count, const std::u16string& after) {
    for (int number = 1; number <= count; ++number) take(numbered(before, number, after));
  }
  static std::u16string numbered(const std::u16string& before, int number, const std::u16string& after) {
    std::u16string name = before;
    for (const char digit : std::to_string(number)) name += static_cast<char16_t>(digit);
    return name + after;
  }
  static Ref<NSString> pathOf(const std::u16string& name) {
    return Ref<NSString>("/d")->stringByAppendingPathComponent(
        NSString::stringWithCharacters_length(name.data(), name.size()));
  }
  static std::u16string nameOf(const Ref<NSString>& path) {
    return path ? path->lastPathComponent()->utf16() : u"(none)";
  }
  static std::u16string talvo(const std::u16string& name, bool isFolder = false) {
    return nameOf(unusedTalvoPathForDirectory(pathOf(name), isFolder));
  }
  static std::u16string finder(const std::u16string& name, bool isFolder = false) {
    return nameOf(unusedFinderPathForDirectory(pathOf(name), isFolder));
  }

  FakeFolder folder;
  ScopedService<FolderListing> scope{folder};
  ReplacedMethod<&existsInFakeFolder> replaced{NSFileManager::classObject(), ZT_SELECTOR("fileExistsAtPath:")};
};

std::u16string repeated(const std::u16string& text, int count) {
  std::u16string result;
  for (int at = 0; at < count; ++at) result += text;
  return result;
}
std::u16string xs(int count) { return repeated(u"x", count); }

TEST_F(UniqueNamesTests, ExistenceIsAskedOfTheFileManager) {
  EXPECT_EQ(talvo(u"a.jpg"), u"a.jpg");
  EXPECT_EQ(folder.questions, 1);
  take(u"a.jpg");
  takeNumbers(u"a_", 2, u".jpg");
  EXPECT_EQ(talvo(u"a.jpg"), u"a_3.jpg");
  EXPECT_EQ(folder.questions, 1 + 4);
}

TEST_F(UniqueNamesTests, AFewTakenNamesNeedNoListing) {
  take(u"a.jpg");
  takeNumbers(u"a_", 60, u".jpg");
  EXPECT_EQ(talvo(u"a.jpg"), u"a_61.jpg");
  EXPECT_EQ(folder.listings, 0);
}

TEST_F(UniqueNamesTests, ManyTakenNamesNeedOneListing) {
  take(u"a.jpg");
  takeNumbers(u"a_", 5000, u".jpg");
  EXPECT_EQ(talvo(u"a.jpg"), u"a_5001.jpg");
  EXPECT_EQ(folder.listings, 1);
  EXPECT_LT(folder.questions, 100);
}

TEST_F(UniqueNamesTests, OneListingServesNamesThatAreCut) {
  const std::u16string name = xs(249) + u".jpg";
  take(name);
  takeNumbers(xs(249) + u"_", 9, u".jpg");
  takeNumbers(xs(248) + u"_", 99, u".jpg");
  takeNumbers(xs(247) + u"_", 999, u".jpg");
  takeNumbers(xs(246) + u"_", 77, u".jpg");
  EXPECT_EQ(talvo(name), xs(246) + u"_78.jpg");
  EXPECT_EQ(folder.listings, 1);
  EXPECT_LT(folder.questions, 100);
}

TEST_F(UniqueNamesTests, AFolderThatCannotBeListedIsAskedNameByName) {
  take(u"a.jpg");
  takeNumbers(u"a_", 300, u".jpg");
  folder.isReadable = false;
  EXPECT_EQ(talvo(u"a.jpg"), u"a_301.jpg");
}

TEST_F(UniqueNamesTests, ANameThatIsNotListedMayBeTakenAllTheSame) {
  take(u"a.jpg");
  takeNumbers(u"a_", 100, u".jpg");
  take(u"a_101.jpg", Item::Link);
  EXPECT_EQ(talvo(u"a.jpg"), u"a_102.jpg");
  take(u"a_101.jpg", Item::DanglingLink);
  EXPECT_EQ(talvo(u"a.jpg"), u"a_101.jpg");
}

TEST_F(UniqueNamesTests, AFileSystemMayTakeOtherNamesForTheSame) {
  folder.ignoresCase = true;
  take(u"a.jpg");
  takeNumbers(u"a_", 300, u".jpg");
  EXPECT_EQ(talvo(u"A.jpg"), u"A_301.jpg");
}

TEST_F(UniqueNamesTests, OnlyThePlainFormOfANumberTakesIt) {
  take(u"a.jpg");
  takeNumbers(u"a_", 100, u".jpg");
  for (const char16_t* near :
       {u"a_0101.jpg", u"a_101", u"a_101.jpg.jpg", u"a 101.jpg", u"b_101.jpg", u"a_.jpg", u"a__101.jpg", u"_101.jpg",
        u"101.jpg", u"a_+101.jpg", u"a_101x.jpg", u"a_18446744073709551717.jpg", u"a_281474976710757.jpg", u"A_101.jpg",
        u"a_101.gif", u"gif", u"20241231235959101.jpg"}) {
    take(near);
  }
  EXPECT_EQ(talvo(u"a.jpg"), u"a_101.jpg");
}

TEST_F(UniqueNamesTests, TheExtensionMayLeaveNoRoom) {
  struct {
    int base;
    int extension;
    std::u16string answer;
  } const cases[] = {
      {1, 250, u"x_1." + repeated(u"e", 250)},
      {1, 251, u"x_1." + repeated(u"e", 251)},
      {1, 252, u"_1." + repeated(u"e", 252)},
      {5, 252, u"_1." + repeated(u"e", 252)},
      {1, 253, u"(none)"},
      {5, 253, u"(none)"},
      {1, 254, u"(none)"},
      {1, 255, u"(none)"},
      {9, 300, u"(none)"},
  };
  for (const auto& one : cases) {
    const std::u16string name = xs(one.base) + u"." + repeated(u"e", one.extension);
    take(name);
    EXPECT_EQ(talvo(name), one.answer) << one.base << " and " << one.extension;
  }
}

TEST_F(UniqueNamesTests, TheNumbersOfAnEmptyBaseEnd) {
  const std::u16string ending = u"." + repeated(u"e", 252);
  take(u"x" + ending);
  takeNumbers(u"_", 9, ending);
  EXPECT_EQ(talvo(u"x" + ending), u"(none)") << "ten has two digits";
}

TEST_F(UniqueNamesTests, TheCapCountsUnits) {
  take(repeated(u"\u3042", 255));
  EXPECT_EQ(finder(repeated(u"\u3042", 255)), repeated(u"\u3042", 253) + u" 1");
  EXPECT_EQ(finder(repeated(u"\u3042", 255), true), repeated(u"\u3042", 253) + u" 1");
}

TEST_F(UniqueNamesTests, TheCapLeavesNoHalfOfAPair) {
  const std::u16string camera = u"\U0001F4F7";
  take(repeated(camera, 127) + u"x");  // the cut would fall behind the 253rd unit
  EXPECT_EQ(talvo(repeated(camera, 127) + u"x"), repeated(camera, 126) + u"_1");
  take(u"x" + repeated(camera, 127));
  EXPECT_EQ(talvo(u"x" + repeated(camera, 127)), u"x" + repeated(camera, 126) + u"_1") << "nothing to mend";
}

// A byte that is no text is a low half on its own, a high one can only come from a host.
TEST_F(UniqueNamesTests, TheCapCutsBesideAHalfThatStandsAlone) {
  take(repeated(u"\xDCFF", 255));
  EXPECT_EQ(talvo(repeated(u"\xDCFF", 255)), repeated(u"\xDCFF", 253) + u"_1");
  take(xs(252) + u"\xD83D" + u"xx");
  EXPECT_EQ(talvo(xs(252) + u"\xD83D" + u"xx"), xs(252) + u"\xD83D" + u"_1");
}

TEST_F(UniqueNamesTests, CharactersGoUntilTheBytesFit) {
  folder.mostBytes = 20;
  take(u"\u3042\u3042\u3042\u3042\u3042.jpg");  // 19 bytes
  EXPECT_EQ(talvo(u"\u3042\u3042\u3042\u3042\u3042.jpg"), u"\u3042\u3042\u3042\u3042_1.jpg");
  takeNumbers(u"\u3042\u3042\u3042\u3042_", 999, u".jpg");  // these fit
  EXPECT_EQ(talvo(u"\u3042\u3042\u3042\u3042\u3042.jpg"), u"\u3042\u3042\u3042_1.jpg");
  folder.mostBytes = 6;
  EXPECT_EQ(talvo(u"\u3042\u3042\u3042\u3042\u3042.jpg"), u"_1.jpg");
  folder.mostBytes = 5;
  EXPECT_EQ(talvo(u"\u3042\u3042\u3042\u3042\u3042.jpg"), u"(none)");
}

TEST_F(UniqueNamesTests, AHalfThatStandsAloneGoesAlone) {
  folder.mostBytes = 9;
  struct {
    std::u16string name;
    std::u16string answer;
  } const cases[] = {
      {u"ab\xDCFE\xDCFF.jpg", u"ab\xDCFE_1.jpg"}, {u"\xD83Dx.jpg", u"\xD83D_1.jpg"},
      {u"abc\xDCFF.jpg", u"abc_1.jpg"},           {u"abcx.jpg", u"abc_1.jpg"},
      {u"\xDCFF.jpeg56", u"_1.jpeg56"},
  };
  for (const auto& one : cases) {
    take(one.name);
    EXPECT_EQ(talvo(one.name), one.answer);
  }
}

TEST_F(UniqueNamesTests, ANameOfNothingButMarksLosesThemAll) {
  folder.mostBytes = 8;
  take(u"\u3099\u3099.x");
  EXPECT_EQ(talvo(u"\u3099\u3099.x"), u"_1.x");
}

TEST_F(UniqueNamesTests, AFreePathIsNotAskedForItsLength) {
  folder.mostBytes = 3;
  EXPECT_EQ(talvo(u"longer.jpg"), u"longer.jpg");
}

// --- Against the steps taken one by one

std::u16string answerByTheLetter(const FakeFolder& folder, const std::u16string& name, char16_t separator) {
  if (!folder.contains(name)) return name;
  const std::size_t dot = name.rfind(u'.');
  std::u16string base = name.substr(0, dot);
  const std::u16string ending = dot == std::u16string::npos ? u"" : name.substr(dot);
  for (int number = 1;; ++number) {
    const auto candidate = [&] {
      std::u16string text = base + separator;
      for (const char digit : std::to_string(number)) text += static_cast<char16_t>(digit);
      return text + ending;
    };
    const std::size_t length = candidate().size();
    if (length >= 256) {
      if (length - 255 > base.size()) return u"(none)";
      base.erase(base.size() - (length - 255));
      number = 1;
    }
    if (!folder.contains(candidate())) return candidate();
  }
}

TEST_F(UniqueNamesTests, AnyFolderGivesTheAnswerOfTheStepsTakenOneByOne) {
  std::mt19937 random(20261121);
  const auto upTo = [&](int most) { return std::uniform_int_distribution(0, most)(random); };
  const std::u16string letters[] = {u"x", u"\u3042", u"\u00E9", u"_", u" ", u"1"};
  const std::u16string endings[] = {u"", u".jpg", u".1", u"." + repeated(u"e", 245)};
  for (int round = 0; round < (kIsSanitized ? 40 : 120); ++round) {
    folder = FakeFolder();
    const std::u16string ending = endings[upTo(3)];
    std::u16string base;
    const int length = upTo(1) == 0 ? 1 + upTo(6) : 250 - static_cast<int>(ending.size()) + upTo(5);
    while (static_cast<int>(base.size()) < length) base += letters[upTo(2) == 0 ? upTo(5) : 0];
    const char16_t separator = upTo(1) == 0 ? u' ' : u'_';
    take(base + ending);
    for (std::size_t shorter = 0; shorter < std::min<std::size_t>(base.size(), 5); ++shorter) {
      const std::u16string before = base.substr(0, base.size() - shorter) + separator;
      const int most = upTo(2) == 0 ? upTo(1500) : upTo(1) == 0 ? 9 : 99;
      const int omitted = upTo(2) == 0 ? upTo(300) : 0;
      for (int number = 1; number <= most; ++number) {
        if (number == omitted) continue;
        take(numbered(before, number, ending), upTo(60) != 0  ? Item::File
                                               : upTo(5) == 0 ? Item::DanglingLink
                                                              : Item::Link);
      }
    }
    folder.isReadable = upTo(9) != 0;
    const std::u16string name = base + ending;
    const std::u16string expected = answerByTheLetter(folder, name, separator);
    ASSERT_EQ(separator == u' ' ? finder(name) : talvo(name), expected) << "round " << round;
  }
}

}  // namespace
}  // namespace ZtFoundation::test
