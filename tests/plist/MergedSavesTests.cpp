#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/Values.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using Store = Ref<QvPropertyList>;

Ref<NSMutableDictionary> valuesOf(const Store& store) { return as<NSMutableDictionary>(store->values()); }

Ref<NSMutableDictionary> sectionOf(const Store& store, const Ref<NSString>& name) {
  return valueAt<NSMutableDictionary>(store->values(), name);
}

std::string keysOf(const Ref<NSDictionary>& dictionary) {
  std::string keys;
  for (const auto& [key, value] : *dictionary) keys += key->description()->utf8();
  return keys;
}

class MergedSavesTests : public testing::Test {
 protected:
  Store open(QvPropertyListFormat format = 100) const { return QvPropertyList::initWithPath_format(path, format); }
  Ref<NSObject> valuesInFile(QvPropertyListFormat format = 100) const { return open(format)->values(); }
  /// Gives the file these values, as another program would.
  void others(const Ref<NSObject>& values) const {
    const Store store = open();
    store->setValues(values);
    ASSERT_TRUE(store->saveChanges());
  }

  ScratchFolder folder;
  const std::string file = folder / "settings";
  const Ref<NSString> path = folder.string("settings");
};

// --- What comes of two sides

TEST_F(MergedSavesTests, EachSideKeepsWhatItAloneHasDone) {
  using Dictionary = NSDictionary;
  const Ref<NSObject> none;
  const struct {
    const char* what;
    Ref<NSObject> base, mine, theirs, expected;
  } cases[] = {
      {"nothing", Dictionary::of({{"a", 1}}), Dictionary::of({{"a", 1}}), Dictionary::of({{"a", 1}}),
       Dictionary::of({{"a", 1}})},
      {"mine changed", Dictionary::of({{"a", 1}}), Dictionary::of({{"a", 2}}), Dictionary::of({{"a", 1}}),
       Dictionary::of({{"a", 2}})},
      {"theirs changed", Dictionary::of({{"a", 1}}), Dictionary::of({{"a", 1}}), Dictionary::of({{"a", 2}}),
       Dictionary::of({{"a", 2}})},
      {"both changed", Dictionary::of({{"a", 1}}), Dictionary::of({{"a", 2}}), Dictionary::of({{"a", 3}}),
       Dictionary::of({{"a", 2}})},
      {"both added", Dictionary::of({}), Dictionary::of({{"a", 1}}), Dictionary::of({{"b", 2}}),
       Dictionary::of({{"a", 1}, {"b", 2}})},
      {"mine removed", Dictionary::of({{"a", 1}, {"b", 1}}), Dictionary::of({{"b", 1}}),
       Dictionary::of({{"a", 1}, {"b", 2}}), Dictionary::of({{"b", 2}})},
      {"theirs removed", Dictionary::of({{"a", 1}, {"b", 1}}), Dictionary::of({{"a", 1}, {"b", 2}}),
       Dictionary::of({{"b", 1}}), Dictionary::of({{"b", 2}})},
      {"theirs removed what mine changed", Dictionary::of({{"a", 1}}), Dictionary::of({{"a", 2}}), Dictionary::of({}),
       Dictionary::of({{"a", 2}})},
      {"mine removed what theirs changed", Dictionary::of({{"a", 1}}), Dictionary::of({}), Dictionary::of({{"a", 2}}),
       Dictionary::of({})},
      {"in sections", Dictionary::of({{"s", Dictionary::of({{"a", 1}, {"b", 1}})}}),
       Dictionary::of({{"s", Dictionary::of({{"a", 2}, {"b", 1}})}}),
       Dictionary::of({{"s", Dictionary::of({{"a", 1}, {"b", 2}, {"c", 3}})}}),
       Dictionary::of({{"s", Dictionary::of({{"a", 2}, {"b", 2}, {"c", 3}})}})},
      {"a section that both made", Dictionary::of({}), Dictionary::of({{"s", Dictionary::of({{"a", 1}})}}),
       Dictionary::of({{"s", Dictionary::of({{"b", 1}})}}),
       Dictionary::of({{"s", Dictionary::of({{"a", 1}, {"b", 1}})}})},
      {"arrays are one value", Dictionary::of({{"l", NSArray::of(1)}}), Dictionary::of({{"l", NSArray::of(1, 2)}}),
       Dictionary::of({{"l", NSArray::of(1, 3)}}), Dictionary::of({{"l", NSArray::of(1, 2)}})},
      {"a section became a value", Dictionary::of({{"s", Dictionary::of({{"a", 1}})}}),
       Dictionary::of({{"s", Dictionary::of({{"a", 1}})}}), Dictionary::of({{"s", 1}}), Dictionary::of({{"s", 1}})},
      {"roots that are no dictionaries", NSArray::of(1), NSArray::of(1), NSArray::of(2), NSArray::of(2)},
      {"a root of mine", NSArray::of(1), NSArray::of(3), NSArray::of(2), NSArray::of(3)},
  };
  for (const auto& [what, base, mine, theirs, expected] : cases) {
    SCOPED_TRACE(what);
    others(base);
    const Store store = open();
    store->setValues(mine);
    others(theirs);
    EXPECT_TRUE(store->saveMergedChanges());
    EXPECT_TRUE(isEqual(store->values(), expected)) << store->values();
    EXPECT_TRUE(isEqual(valuesInFile(), expected)) << valuesInFile();
    EXPECT_FALSE(store->hasUnsavedChanges());
  }
}

TEST_F(MergedSavesTests, WhatWasTakenInIsNoChangeOfMine) {
  others(NSDictionary::of({{"a", 1}}));
  const Store store = open();
  others(NSDictionary::of({{"a", 2}}));
  EXPECT_TRUE(store->saveMergedChanges());
  others(NSDictionary::of({{"a", 3}}));
  EXPECT_TRUE(store->saveMergedChanges());
  EXPECT_TRUE(isEqual(valuesInFile(), NSDictionary::of({{"a", 3}})));
}

// What the file cannot hold as it is.
struct Rounded {
  QvPropertyListFormat format;
  Ref<NSObject> mine, theirs;
};

Ref<NSObject> dateAt(double seconds) { return NSDate::dateWithTimeIntervalSinceReferenceDate(seconds); }

const Rounded kRounded[] = {{100, dateAt(1.5), dateAt(1000)},
                            {QvPropertyListINIFormat, "Alice Smith", "Bob"},
                            {QvPropertyListINIFormat, 5, "6"}};

TEST_F(MergedSavesTests, WhatReadsBackOtherwiseIsNoChangeOfMine) {
  for (const auto& [format, mine, theirs] : kRounded) {
    for (const bool isMerged : {true, false}) {
      SCOPED_TRACE(testing::Message() << format << (isMerged ? ", merged" : ", plain"));
      ::unlink(file.c_str());
      const Store store = open(format);
      store->setValues(NSMutableDictionary::of({{"Main", NSMutableDictionary::of({{"k", mine}, {"l", "1"}})}}));
      testing::internal::CaptureStderr();
      ASSERT_TRUE(isMerged ? store->saveMergedChanges() : store->saveChanges());
      testing::internal::GetCapturedStderr();
      const Store other = open(format);
      sectionOf(other, "Main")->setObject_forKey(theirs, "k");
      ASSERT_TRUE(other->saveMergedChanges());
      sectionOf(store, "Main")->setObject_forKey("2", "l");
      ASSERT_TRUE(store->saveMergedChanges());
      const Ref<NSObject> both = NSDictionary::of({{"Main", NSDictionary::of({{"k", theirs}, {"l", "2"}})}});
      EXPECT_TRUE(isEqual(store->values(), both)) << store->values();
      EXPECT_TRUE(isEqual(valuesInFile(format), both)) << valuesInFile(format);
    }
  }
}

TEST_F(MergedSavesTests, WhatReadsBackOtherwiseStaysAndIsWrittenOnce) {
  for (const auto& [format, mine, theirs] : kRounded) {
    SCOPED_TRACE(testing::Message() << format);
    ::unlink(file.c_str());
    const Store store = open(format);
    store->setValues(NSMutableDictionary::of({{"Main", NSMutableDictionary::of({{"k", mine}})}}));
    ASSERT_TRUE(store->saveMergedChanges());
    struct stat before, after;
    ASSERT_EQ(::stat(file.c_str(), &before), 0);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> held(std::fopen(file.c_str(), "r"), &std::fclose);
    EXPECT_TRUE(store->saveMergedChanges());
    ASSERT_EQ(::stat(file.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_TRUE(isEqual(sectionOf(store, "Main")->objectForKey("k"), mine)) << store->values();
    EXPECT_TRUE(store->hasUnsavedChanges()) << "the snapshot tells what the file holds";
  }
}

// A plain save of INI text leaves no snapshot; what was saved is known all the same.
TEST_F(MergedSavesTests, AfterAPlainSaveOfINITextBothSidesKeepWhatTheyHaveDone) {
  const auto format = QvPropertyListINIFormat;
  const Store store = open(format);
  store->setValues(NSMutableDictionary::of({{"Main", NSMutableDictionary::of({{"a", "1"}, {"b", "1"}, {"c", "1"}})}}));
  testing::internal::CaptureStderr();
  ASSERT_TRUE(store->saveChanges());
  testing::internal::GetCapturedStderr();
  writeFile(file, "[Main]\na=1\nb=1\nc=2\nd=2\n");
  sectionOf(store, "Main")->removeObjectForKey("a");
  sectionOf(store, "Main")->setObject_forKey("3", "b");
  EXPECT_FALSE(store->_serializedValues());
  ASSERT_TRUE(store->saveMergedChanges());
  EXPECT_EQ(contentsOf(file), "[Main]\nb=3\nc=2\nd=2\n\n");
}

TEST_F(MergedSavesTests, AStoreThatDiscardingHasEmptiedRemovesNothing) {
  const Store store = open(QvPropertyListINIFormat);
  store->setValues(NSMutableDictionary::of({{"Main", NSMutableDictionary::of({{"a", "1"}})}}));
  testing::internal::CaptureStderr();
  ASSERT_TRUE(store->saveChanges());
  testing::internal::GetCapturedStderr();
  store->discardChanges();
  ASSERT_EQ(valuesOf(store)->count(), 0U);
  ASSERT_TRUE(store->saveMergedChanges());
  EXPECT_EQ(contentsOf(file), "[Main]\na=1\n\n");
  EXPECT_EQ(valuesOf(store)->count(), 1U);
}

TEST_F(MergedSavesTests, DictionariesOfTheWorkingValueStayTheObjectsThatTheyAre) {
  others(NSDictionary::of({{"s", NSDictionary::of({{"a", 1}})}}));
  const Store store = open();
  const Ref<NSMutableDictionary> section = sectionOf(store, "s");
  const Ref<NSObject> root = store->values();
  others(NSDictionary::of({{"s", NSDictionary::of({{"a", 1}, {"b", 2}})}, {"t", NSDictionary::of({{"c", 3}})}}));
  ASSERT_TRUE(store->saveMergedChanges());
  EXPECT_EQ(store->values(), root);
  EXPECT_TRUE(isEqual(section->objectForKey("b"), Ref<NSObject>(2)));
  ASSERT_TRUE(sectionOf(store, "t")) << "what is taken in can be changed";
  sectionOf(store, "t")->setObject_forKey(4, "c");
  EXPECT_TRUE(store->hasUnsavedChanges()) << "the snapshot is another object";
}

TEST_F(MergedSavesTests, ValuesThatOthersLeaveAloneStayTheObjectsThatTheyAre) {
  others(NSDictionary::of({{"l", NSArray::of(1)}}));
  const Store store = open();
  const Ref<NSObject> list = valuesOf(store)->objectForKey("l");
  others(NSDictionary::of({{"l", NSArray::of(1)}, {"a", 2}}));
  ASSERT_TRUE(store->saveMergedChanges());
  EXPECT_EQ(valuesOf(store)->objectForKey("l"), list);
}

TEST_F(MergedSavesTests, NewKeysOfOthersComeLast) {
  others(NSDictionary::of({{"a", 1}, {"b", 1}}));
  const Store store = open();
  valuesOf(store)->setObject_forKey(1, "m");
  others(NSDictionary::of({{"t", 1}, {"b", 2}, {"a", 1}}));
  ASSERT_TRUE(store->saveMergedChanges());
  EXPECT_EQ(keysOf(as<NSDictionary>(valuesInFile())), "abmt");
}

// --- What is written and told

TEST_F(MergedSavesTests, NothingIsWrittenWhenTheFileHoldsItAlready) {
  others(NSDictionary::of({{"a", 1}}));
  const Store store = open();
  const std::string untidy = "<plist><dict><!-- a comment --><key>a</key><integer>2</integer></dict></plist>";
  writeFile(file, untidy);
  EXPECT_TRUE(store->saveMergedChanges());
  EXPECT_EQ(contentsOf(file), untidy);
  EXPECT_TRUE(isEqual(store->values(), NSDictionary::of({{"a", 2}})));
  store->setFormat(200);
  EXPECT_TRUE(store->saveMergedChanges());
  EXPECT_TRUE(contentsOf(file)->starts_with("bplist00")) << "another format is a change";
}

TEST_F(MergedSavesTests, AFileThatIsMissingIsMade) {
  const Store store = QvPropertyList::initWithPath(folder.string("new/folder/settings"));
  valuesOf(store)->setObject_forKey(1, "a");
  EXPECT_TRUE(store->saveMergedChanges());
  EXPECT_FALSE(store->hasUnsavedChanges());
  EXPECT_TRUE(contentsOf(folder / "new/folder/settings"));
  ::unlink((folder / "new/folder/settings").c_str());
  EXPECT_TRUE(store->saveMergedChanges()) << "one that was removed is made again, with all";
  EXPECT_TRUE(contentsOf(folder / "new/folder/settings"));
}

TEST_F(MergedSavesTests, ObserversMaySaveAnotherStoreOfTheFolder) {
  const Store store = open();
  const Store other = QvPropertyList::initWithPath(folder.string("other"));
  bool isSaved = false;
  const Ref<NSObject> token = NSNotificationCenter::defaultCenter()->addObserverForName_object_usingBlock(
      QvPropertyListDidSaveValuesNotification, store,
      [&](const Ref<NSNotification>&) { isSaved = other->saveMergedChanges(); });
  EXPECT_TRUE(store->saveMergedChanges());
  NSNotificationCenter::defaultCenter()->removeObserver(token);
  EXPECT_TRUE(isSaved);
}

TEST_F(MergedSavesTests, INITextHasASnapshotToo) {
  const auto format = QvPropertyListINIFormat;
  writeFile(file, "[Main]\nName=Alice\nPlace=here\n");
  const Store store = open(format);
  sectionOf(store, "Main")->setObject_forKey("Bob", "Name");
  writeFile(file, "; changed\n[Main]\nName=Alice\nPlace=there\n[Other]\nKey=value\n");
  testing::internal::CaptureStderr();
  EXPECT_TRUE(store->saveMergedChanges());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "nothing is wrong";
  EXPECT_EQ(contentsOf(file), "[Main]\nName=Bob\nPlace=there\n\n[Other]\nKey=value\n\n");
  EXPECT_FALSE(store->hasUnsavedChanges());
  writeFile(file, "[Main]\nName=Bob\n");
  EXPECT_TRUE(store->saveMergedChanges());
  EXPECT_TRUE(isEqual(store->values(), NSDictionary::of({{"Main", NSDictionary::of({{"Name", "Bob"}})}})));
}

TEST_F(MergedSavesTests, AnotherFormatIsReadBackAsWhatItIs) {
  const QvPropertyListFormat formats[] = {100, 200, QvPropertyListINIFormat};
  const Ref<NSObject> merged = NSDictionary::of({{"Main", NSDictionary::of({{"Name", "Bob"}, {"Place", "there"}})}});
  for (const QvPropertyListFormat before : formats) {
    for (const QvPropertyListFormat after : formats) {
      SCOPED_TRACE(testing::Message() << before << " to " << after);
      ::unlink(file.c_str());
      const Store others = open(before);
      others->setValues(NSDictionary::of({{"Main", NSDictionary::of({{"Name", "Alice"}, {"Place", "here"}})}}));
      ASSERT_TRUE(others->saveMergedChanges());
      const Store store = open(before);
      sectionOf(store, "Main")->setObject_forKey("Bob", "Name");
      others->setValues(NSDictionary::of({{"Main", NSDictionary::of({{"Name", "Alice"}, {"Place", "there"}})}}));
      ASSERT_TRUE(others->saveMergedChanges());
      store->setFormat(after);
      testing::internal::CaptureStderr();
      EXPECT_TRUE(store->saveMergedChanges());
      EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
      EXPECT_TRUE(isEqual(store->_serializedValues(), merged)) << store->_serializedValues();
      EXPECT_FALSE(store->hasUnsavedChanges());
      EXPECT_FALSE(store->readError());
      EXPECT_TRUE(isEqual(valuesInFile(after), merged)) << valuesInFile(after);
      EXPECT_TRUE(store->saveMergedChanges()) << "the file is read in its new format from now on";
      EXPECT_EQ(store->format(), after);
    }
  }
}

TEST_F(MergedSavesTests, ItIsAMessage) {
  const Store store = open();
  EXPECT_TRUE(send<bool>(store, ZT_SELECTOR("saveMergedChanges")));
  EXPECT_FALSE(send<Ref<NSString>>(store, ZT_SELECTOR("readError")));
  EXPECT_EQ(folder.names().size(), 1U) << "no lock file either";
}

// --- Failures

TEST_F(MergedSavesTests, ABrokenFileIsNotReplaced) {
  const struct {
    QvPropertyListFormat format;
    std::string bytes;
    const char* error;
  } cases[] = {
      {100, "<plist>\n<dict><key>a</key></dict></plist>", "line 2"},
      {100, "bplist00", "byte 8"},
      {100, "", "no bytes"},
      {QvPropertyListINIFormat, "[Main]\nName=\xFF\n", "UTF-8"},
      {QvPropertyListINIFormat, "<plist><dict/></plist>", "no INI text"},
      {QvPropertyListINIFormat, "{ a = b; }", "no INI text"},
  };
  for (const auto& [format, bytes, error] : cases) {
    SCOPED_TRACE(error);
    ::unlink(file.c_str());
    const Store store = open(format);
    store->setValues(NSDictionary::of({{"Main", NSDictionary::of({{"a", "1"}})}}));
    writeFile(file, bytes);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(store->saveMergedChanges());
    const Store late = open(format);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(contentsOf(file), bytes);
    for (const Store& each : {store, late}) {
      ASSERT_TRUE(each->readError());
      EXPECT_NE(each->readError()->utf8().find(error), std::string::npos) << each->readError()->utf8();
    }
    EXPECT_TRUE(store->saveChanges()) << "this is how a host gives the file up";
    EXPECT_TRUE(store->saveMergedChanges());
    EXPECT_FALSE(store->readError());
  }
}

TEST_F(MergedSavesTests, ABrokenFileThatIsGoneIsMadeAnew) {
  writeFile(file, "<broken");
  testing::internal::CaptureStderr();
  const Store store = open();
  EXPECT_FALSE(store->saveMergedChanges());
  testing::internal::GetCapturedStderr();
  EXPECT_TRUE(store->readError());
  ::unlink(file.c_str());
  EXPECT_TRUE(store->saveMergedChanges());
  EXPECT_FALSE(store->readError());
  EXPECT_TRUE(contentsOf(file));
}

TEST_F(MergedSavesTests, AFileThatMayNotBeReadIsNotReplaced) {
  others(NSDictionary::of({{"a", 1}}));
  ::chmod(folder.path().c_str(), 0777);
  ::chmod(file.c_str(), 0200);
  EXPECT_EQ(asOrdinaryUser([&] {
              const Store store = open();
              return store->readError() && !store->saveMergedChanges() && store->readError();
            }),
            1);
}

TEST_F(MergedSavesTests, WhatCannotBeSavedLeavesTheFile) {
  EXPECT_FALSE(QvPropertyList::initWithPath(nullptr)->saveMergedChanges());
  writeFile(folder / "plain", "");
  EXPECT_FALSE(QvPropertyList::initWithPath(folder.string("plain/settings"))->saveMergedChanges());

  others(NSDictionary::of({{"a", 1}}));
  const Store store = open();
  valuesOf(store)->setObject_forKey(std::u16string{u'\xD800'}, "half");
  others(NSDictionary::of({{"a", 2}}));
  testing::internal::CaptureStderr();
  EXPECT_FALSE(store->saveMergedChanges());
  EXPECT_NE(testing::internal::GetCapturedStderr().find("half"), std::string::npos);
  EXPECT_TRUE(isEqual(valuesInFile(), NSDictionary::of({{"a", 2}})));
  EXPECT_TRUE(isEqual(valuesOf(store)->objectForKey("a"), Ref<NSObject>(2))) << "what was taken in stays";
  EXPECT_TRUE(isEqual(store->_serializedValues(), NSDictionary::of({{"a", 2}})));
  EXPECT_TRUE(store->hasUnsavedChanges());
}

}  // namespace
}  // namespace ZtFoundation::test
