#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/Set.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <sstream>

#include "support/ReplacedMethod.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

/// A host's store that counts what it is asked for.
class CountingStore : public QvPropertyList {
  ZT_OBJECT(CountingStore, QvPropertyList)
 public:
  bool saveChanges() override {
    ++saves;
    return QvPropertyList::saveChanges();
  }

  int saves = 0;
  int loads = 0;

 protected:
  void _init() override {
    ++loads;
    QvPropertyList::_init();
  }
};

/// Writes, and has something to say about it.
class Remarking : public QvPropertyListSerialization {
  ZT_OBJECT(Remarking, QvPropertyListSerialization)
 public:
  static Ref<NSData> write(const Ref<NSObject>& value, QvPropertyListFormat format, Ref<NSString>* error) {
    *error = "a remark";
    return NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
        value, static_cast<NSUInteger>(format), nullptr);
  }
};

bool neverSave(QvPropertyList&) { return false; }
bool alwaysSaved(QvPropertyList&) { return true; }
bool nothingExists(NSFileManager&, const Ref<NSString>&) { return false; }
void loadNothing(QvPropertyList&) {}
Ref<NSObject> leaveUninitialised(QvPropertyList& store, const Ref<NSString>&, QvPropertyListFormat format) {
  EXPECT_EQ(format, 100);
  return &store;
}

/// Reads what no property list can hold.
class Unwritable : public QvPropertyListSerialization {
  ZT_OBJECT(Unwritable, QvPropertyListSerialization)
 public:
  static Ref<NSObject> read(const Ref<NSData>&, std::int32_t, QvPropertyListFormat*, Ref<NSString>*) {
    return NSSet::set();
  }
};

ZT_IMPLEMENT_CLASS(CountingStore);
ZT_REGISTER_CLASS(Remarking, ZT_CLASS_METHOD("dataFromPropertyList:format:errorDescription:", &Remarking::write));
ZT_REGISTER_CLASS(Unwritable,
                  ZT_CLASS_METHOD("propertyListFromData:mutabilityOption:format:errorDescription:", &Unwritable::read));

namespace {

// The texts that the platform log got while it lives, without time stamps.
class LogCapture {
 public:
  LogCapture() { testing::internal::CaptureStderr(); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture() {
    if (isCapturing_) testing::internal::GetCapturedStderr();
  }

  std::vector<std::string> texts() {
    isCapturing_ = false;
    std::istringstream lines(testing::internal::GetCapturedStderr());
    std::vector<std::string> texts;
    for (std::string line; std::getline(lines, line);) texts.push_back(line.substr(line.find("] ") + 2));
    return texts;
  }

 private:
  bool isCapturing_ = true;
};

// Counts the notifications of stores.
class Observer {
 public:
  Observer() {
    token_ = NSNotificationCenter::defaultCenter()->addObserverForName_object_usingBlock(
        QvPropertyListDidSaveValuesNotification, nullptr, [this](const Ref<NSNotification>& notification) {
          ++count;
          object = notification->object();
          hasUserInfo = static_cast<bool>(notification->userInfo());
        });
  }
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;
  ~Observer() { NSNotificationCenter::defaultCenter()->removeObserver(token_); }

  int count = 0;
  Ref<NSObject> object;
  bool hasUserInfo = false;

 private:
  Ref<NSObject> token_;
};

class PropertyListStoreTests : public testing::Test {
 protected:
  // What another program would find in the file.
  Ref<NSObject> valuesInFile(QvPropertyListFormat format = 100) const {
    return QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
        NSData::dataWithContentsOfFile(path), 0, &format, nullptr);
  }
  void writeValues(const Ref<NSObject>& value, QvPropertyListFormat format) const {
    writeFile(
        file,
        std::string(
            QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, nullptr)->view()));
  }
  static Ref<NSMutableDictionary> valuesOf(const Ref<QvPropertyList>& store) {
    return as<NSMutableDictionary>(store->values());
  }

  ScratchFolder folder;
  const std::string file = folder / "settings";
  const Ref<NSString> path = folder.string("settings");
};

// --- Loading

TEST_F(PropertyListStoreTests, AStoreWithoutAFileStartsEmpty) {
  LogCapture log;
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  EXPECT_EQ(store->path(), path) << "the very object";
  EXPECT_EQ(store->format(), 100);
  ASSERT_TRUE(valuesOf(store)) << "mutable";
  EXPECT_EQ(valuesOf(store)->count(), 0U);
  EXPECT_EQ(store->_currentValues(), store->values());
  EXPECT_FALSE(store->_serializedValues());
  EXPECT_TRUE(store->hasUnsavedChanges());
  EXPECT_TRUE(folder.names().empty()) << "loading writes nothing";
  EXPECT_TRUE(log.texts().empty());
}

TEST_F(PropertyListStoreTests, AFileIsReadTwiceOnceToWorkWith) {
  const Ref<NSDictionary> saved =
      NSDictionary::dictionaryWithEntries({{"list", NSArray::of(1, "two")}, {"flag", true}});
  writeValues(saved, 100);
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  ASSERT_TRUE(isEqual(store->values(), saved));
  ASSERT_TRUE(isEqual(store->_serializedValues(), saved));
  EXPECT_NE(store->values(), store->_serializedValues());
  EXPECT_TRUE(valuesOf(store)->objectForKey("list")->isMutable());
  EXPECT_FALSE(as<NSArray>(valuesOf(store)->objectForKey("list"))->objectAtIndex(1)->isMutable());
  EXPECT_FALSE(store->_serializedValues()->isMutable());
  EXPECT_FALSE(store->hasUnsavedChanges());
}

TEST_F(PropertyListStoreTests, TheFormatFoundIsKept) {
  struct Case {
    QvPropertyListFormat inFile;
    QvPropertyListFormat given;
  };
  for (const auto& [inFile, given] : {Case{200, 100}, Case{100, 200}, Case{200, 1}, Case{100, 12345}}) {
    writeValues(NSDictionary::dictionaryWithObject_forKey(1, "k"), inFile);
    const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(path, given);
    EXPECT_EQ(store->format(), inFile);
    valuesOf(store)->setObject_forKey(2, "k");
    EXPECT_TRUE(store->saveChanges());
    EXPECT_EQ(contentsOf(file)->starts_with("bplist00"), inFile == 200);
  }
}

TEST_F(PropertyListStoreTests, INITextIsReadOnlyWhenAskedFor) {
  writeFile(file, "[S]\nk=v\n");
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(path, QvPropertyListINIFormat);
  EXPECT_EQ(store->format(), QvPropertyListINIFormat);
  EXPECT_FALSE(store->hasUnsavedChanges());
  const Ref<NSMutableDictionary> section = as<NSMutableDictionary>(valuesOf(store)->objectForKey("S"));
  ASSERT_TRUE(section);
  section->setObject_forKey("w", "k");
  EXPECT_TRUE(store->hasUnsavedChanges());
}

TEST_F(PropertyListStoreTests, WhatCannotBeParsedIsLoggedTwice) {
  const std::string broken = "<plist><dict>%@ %n</dict></plist>";
  writeFile(file, broken);
  Ref<NSString> error;
  NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      NSData::dataWithContentsOfFile(path), 0, nullptr, &error);
  ASSERT_TRUE(error && error->utf8().find("%@ %n") != std::string::npos);
  LogCapture log;
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(path, 200);
  EXPECT_EQ(log.texts(), (std::vector<std::string>{error->utf8(), error->utf8()}));
  EXPECT_EQ(store->format(), 200) << "nothing was detected";
  ASSERT_TRUE(valuesOf(store));
  EXPECT_EQ(valuesOf(store)->count(), 0U);
  EXPECT_FALSE(store->_serializedValues());
  EXPECT_TRUE(store->hasUnsavedChanges());
  EXPECT_EQ(contentsOf(file), broken) << "not overwritten unless asked to";
}

TEST_F(PropertyListStoreTests, INITextIsNeverAFailure) {
  writeFile(file, "\xFF\xFE garbage");
  LogCapture log;
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(path, QvPropertyListINIFormat);
  EXPECT_TRUE(log.texts().empty());
  EXPECT_TRUE(isEqual(store->_serializedValues(), NSDictionary::dictionary()));
  EXPECT_FALSE(store->hasUnsavedChanges());
}

TEST_F(PropertyListStoreTests, WhatCannotBeReadIsLikeNoFile) {
  std::filesystem::create_directory(file);
  LogCapture log;
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  EXPECT_TRUE(log.texts().empty());
  EXPECT_EQ(valuesOf(store)->count(), 0U);
  EXPECT_FALSE(store->_serializedValues());
}

TEST_F(PropertyListStoreTests, ValuesNeedNotBeADictionary) {
  writeValues(NSArray::of(1, 2), 100);
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  EXPECT_TRUE(isEqual(store->values(), NSArray::of(1, 2)));
  EXPECT_FALSE(store->hasUnsavedChanges());
}

// --- Values

TEST_F(PropertyListStoreTests, ValuesAreTheCallersOwnObject) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  const Ref<NSObject> held = store->values();
  const NSUInteger owners = held->retainCount();
  store->setValues(held);
  EXPECT_EQ(store->values(), held);
  EXPECT_EQ(held->retainCount(), owners);

  const Ref<NSMutableDictionary> other = NSMutableDictionary::dictionary();
  store->setValues(other);
  EXPECT_EQ(store->values(), other);
  EXPECT_EQ(held->retainCount(), owners - 1) << "the old value is let go";
  other->setObject_forKey("later", "k");
  EXPECT_TRUE(store->saveChanges());
  EXPECT_TRUE(isEqual(valuesInFile(), other));
  EXPECT_EQ(store->values(), other);
}

TEST_F(PropertyListStoreTests, UnsavedChangesAreFoundByContents) {
  writeValues(NSDictionary::dictionaryWithObject_forKey(1, "k"), 100);
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  valuesOf(store)->setObject_forKey(2, "k");
  EXPECT_TRUE(store->hasUnsavedChanges());
  valuesOf(store)->setObject_forKey(1.0, "k");
  EXPECT_FALSE(store->hasUnsavedChanges());
  store->setValues(NSDictionary::dictionaryWithObject_forKey(1, "k"));
  EXPECT_FALSE(store->hasUnsavedChanges()) << "mutability does not count";
  store->setValues(nullptr);
  EXPECT_TRUE(store->hasUnsavedChanges());
}

// --- Saving

TEST_F(PropertyListStoreTests, TheFurthestDatesAreThereAtTheNextStart) {
  constexpr double kFurthest = 9223372036854774784.0;  // the last one before 2^63
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  store->setValues(NSArray::of(NSDate::dateWithTimeIntervalSinceReferenceDate(kFurthest),
                               NSDate::dateWithTimeIntervalSinceReferenceDate(-kFurthest)));
  ASSERT_TRUE(store->saveChanges());
  EXPECT_TRUE(isEqual(QvPropertyList::initWithPath(path)->values(), store->values()));
}

TEST_F(PropertyListStoreTests, SavingMakesFoldersAndFileAndTellsSo) {
  const Ref<NSString> deep = folder.string("new/folders/settings");
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(deep);
  valuesOf(store)->setObject_forKey("Alice", "Name");
  Observer observer;
  EXPECT_TRUE(store->saveChanges());
  EXPECT_EQ(observer.count, 1);
  EXPECT_EQ(observer.object, store);
  EXPECT_FALSE(observer.hasUserInfo);
  EXPECT_FALSE(store->hasUnsavedChanges());
  EXPECT_FALSE(store->_serializedValues()->isMutable());
  EXPECT_NE(store->_serializedValues(), store->values());
  EXPECT_TRUE(isEqual(QvPropertyList::initWithPath(deep)->values(), store->values()));
  struct stat status {};
  EXPECT_EQ(::stat((folder / "new/folders/settings").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(PropertyListStoreTests, TheNotificationComesWhenAllIsDone) {
  EXPECT_EQ(QvPropertyListDidSaveValuesNotification, "QvPropertyListDidSaveValues");
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  bool wasSaved = false;
  const Ref<NSObject> token = NSNotificationCenter::defaultCenter()->addObserverForName_object_usingBlock(
      QvPropertyListDidSaveValuesNotification, store,
      [&](const Ref<NSNotification>&) { wasSaved = !store->hasUnsavedChanges() && contentsOf(file).has_value(); });
  EXPECT_TRUE(store->saveChanges());
  NSNotificationCenter::defaultCenter()->removeObserver(token);
  EXPECT_TRUE(wasSaved);
}

TEST_F(PropertyListStoreTests, AChangedFormatCountsFromTheNextSave) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  ASSERT_TRUE(store->saveChanges());
  store->setFormat(200);
  EXPECT_FALSE(store->hasUnsavedChanges());
  EXPECT_TRUE(contentsOf(file)->starts_with("<?xml"));
  EXPECT_TRUE(store->saveChanges());
  EXPECT_TRUE(contentsOf(file)->starts_with("bplist00"));
}

TEST_F(PropertyListStoreTests, WhatCannotBeWrittenIsLoggedOnce) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  ASSERT_TRUE(store->saveChanges());
  const std::string before = *contentsOf(file);
  const Ref<NSObject> snapshot = store->_serializedValues();
  valuesOf(store)->setObject_forKey(NSSet::set(), "set");
  Ref<NSString> error;
  NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(store->values(), 100, &error);
  Observer observer;
  LogCapture log;
  EXPECT_FALSE(store->saveChanges());
  EXPECT_EQ(log.texts(), std::vector<std::string>{error->utf8()});
  EXPECT_EQ(observer.count, 0);
  EXPECT_EQ(contentsOf(file), before);
  EXPECT_EQ(store->_serializedValues(), snapshot);
  EXPECT_TRUE(store->hasUnsavedChanges());
}

TEST_F(PropertyListStoreTests, WhatINITextCannotHoldIsNotLogged) {
  const Ref<QvPropertyList> store =
      QvPropertyList::initWithPath_format(folder.string("new/settings"), QvPropertyListINIFormat);
  valuesOf(store)->setObject_forKey("no section", "k");
  Observer observer;
  LogCapture log;
  EXPECT_FALSE(store->saveChanges());
  EXPECT_TRUE(log.texts().empty());
  EXPECT_EQ(observer.count, 0);
  EXPECT_TRUE(folder.names().empty()) << "no folder is made for what is not written";
}

TEST_F(PropertyListStoreTests, AFolderOrFileThatCannotBeMadeIsASilentFailure) {
  writeFile(file, "in the way");
  std::filesystem::create_directory(folder / "folder");
  const Ref<NSString> paths[] = {
      folder.string("settings/below"),         folder.string("folder"), folder.string(std::string(300, 'n')),
      folder.string(std::string("ze\0ro", 5)), Ref<NSString>(""),       Ref<NSString>()};
  for (const Ref<NSString>& bad : paths) {
    const Ref<QvPropertyList> ini = QvPropertyList::initWithPath_format(bad, QvPropertyListINIFormat);
    valuesOf(ini)->setObject_forKey(NSDictionary::dictionaryWithObject_forKey("v", "k"), "section");
    const Ref<QvPropertyList> store = QvPropertyList::initWithPath(bad);
    valuesOf(store)->setObject_forKey("v", "k");
    Observer observer;
    LogCapture log;
    EXPECT_FALSE(store->saveChanges()) << bad;
    EXPECT_FALSE(ini->saveChanges()) << bad;
    EXPECT_TRUE(log.texts().empty());
    EXPECT_EQ(observer.count, 0);
    EXPECT_FALSE(store->_serializedValues());
    EXPECT_EQ(valuesOf(store)->count(), 1U);
  }
  EXPECT_EQ(folder.names(), (std::set<std::string>{"settings", "folder"}));
}

TEST_F(PropertyListStoreTests, AFailedWriteLeavesEverythingAsItWas) {
  writeValues(NSDictionary::dictionaryWithObject_forKey("old", "k"), 100);
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  const Ref<NSObject> snapshot = store->_serializedValues();
  const Ref<NSObject> values = store->values();
  valuesOf(store)->setObject_forKey("new", "k");
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);  // where the file was
  Observer observer;
  EXPECT_FALSE(store->saveChanges());
  EXPECT_EQ(observer.count, 0);
  EXPECT_EQ(store->_serializedValues(), snapshot);
  EXPECT_EQ(store->values(), values);
  EXPECT_TRUE(store->hasUnsavedChanges());
  EXPECT_EQ(folder.names(), std::set<std::string>{"settings"}) << "no litter";
}

TEST_F(PropertyListStoreTests, OpenStepTextIsReadAndNotWritten) {
  writeFile(file, "{ k = v; }");
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  EXPECT_EQ(store->format(), 1);
  EXPECT_FALSE(store->hasUnsavedChanges());
  LogCapture log;
  EXPECT_FALSE(store->saveChanges());
  EXPECT_EQ(log.texts().size(), 1U);
  EXPECT_EQ(contentsOf(file), "{ k = v; }");
  store->setFormat(200);
  EXPECT_TRUE(store->saveChanges());
}

TEST_F(PropertyListStoreTests, PathsNeedNotBeUTF8) {
  const Ref<NSString> odd = NSString::stringWithFileSystemRepresentation(folder / "d\xFF/\xC3.plist");
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(odd);
  valuesOf(store)->setObject_forKey("v", "k");
  ASSERT_TRUE(store->saveChanges());
  EXPECT_TRUE(std::filesystem::is_regular_file(folder / "d\xFF/\xC3.plist"));
  EXPECT_FALSE(QvPropertyList::initWithPath(odd)->hasUnsavedChanges());
}

TEST_F(PropertyListStoreTests, NoValuesCannotBeSaved) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  store->setValues(nullptr);
  EXPECT_TRUE(store->hasUnsavedChanges()) << "none is like nothing, not even none";
  LogCapture log;
  EXPECT_FALSE(store->saveChanges());
  EXPECT_EQ(log.texts().size(), 1U);
}

TEST_F(PropertyListStoreTests, LinksAreSavedThrough) {
  std::filesystem::create_symlink("real", file);
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  ASSERT_TRUE(store->saveChanges());
  EXPECT_TRUE(std::filesystem::is_symlink(file));
  EXPECT_TRUE(std::filesystem::is_regular_file(folder / "real"));
}

TEST_F(PropertyListStoreTests, ARelativePathNeedsNoFolder) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  const bool saved = QvPropertyList::initWithPath("bare")->saveChanges();
  std::filesystem::current_path(before);
  EXPECT_TRUE(saved);
  EXPECT_EQ(folder.names(), std::set<std::string>{"bare"});
}

TEST_F(PropertyListStoreTests, SynchronizeIsSaving) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  Observer observer;
  EXPECT_TRUE(store->synchronize());
  EXPECT_EQ(observer.count, 1);
  store->setFormat(1);
  LogCapture log;
  EXPECT_FALSE(store->synchronize());
  EXPECT_EQ(observer.count, 1);
  EXPECT_EQ(log.texts().size(), 1U);
}

// --- INI text after a save

TEST_F(PropertyListStoreTests, ASavedINIStoreHasNoSnapshot) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(path, QvPropertyListINIFormat);
  const Ref<NSMutableDictionary> section = NSMutableDictionary::dictionary();
  section->setObject_forKey("Alice Smith", "Name");
  valuesOf(store)->setObject_forKey(section, "Main");
  Observer observer;
  for (int round = 1; round <= 2; ++round) {
    LogCapture log;
    EXPECT_TRUE(store->saveChanges());
    EXPECT_EQ(log.texts().size(), 1U) << "the codec's complaint";
    EXPECT_EQ(observer.count, round);
    EXPECT_FALSE(store->_serializedValues());
    EXPECT_TRUE(store->hasUnsavedChanges());
  }
  EXPECT_EQ(contentsOf(file), "[Main]\nName=\"Alice Smith\"\n\n");
  store->discardChanges();
  ASSERT_TRUE(valuesOf(store));
  EXPECT_EQ(valuesOf(store)->count(), 0U);
}

TEST_F(PropertyListStoreTests, AnEmptyINIStoreMakesAnEmptyFile) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(path, QvPropertyListINIFormat);
  LogCapture log;
  EXPECT_TRUE(store->saveChanges());
  EXPECT_EQ(contentsOf(file), "");
  EXPECT_EQ(log.texts().size(), 1U);
}

// --- Discarding

TEST_F(PropertyListStoreTests, DiscardingGoesBackToTheSnapshot) {
  const Ref<NSDictionary> saved = NSDictionary::dictionaryWithEntries({{"list", NSArray::of("a")}, {"n", 1}});
  writeValues(saved, 200);
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  valuesOf(store)->removeAllObjects();
  store->discardChanges();
  EXPECT_TRUE(isEqual(store->values(), saved));
  EXPECT_FALSE(store->hasUnsavedChanges());
  ASSERT_TRUE(valuesOf(store)) << "mutable again";
  EXPECT_TRUE(valuesOf(store)->objectForKey("list")->isMutable());
  valuesOf(store)->setObject_forKey(2, "n");
  EXPECT_TRUE(isEqual(store->_serializedValues(), saved)) << "a copy, not the snapshot";
}

TEST_F(PropertyListStoreTests, DiscardingWithoutSnapshotEmpties) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  valuesOf(store)->setObject_forKey(1, "k");
  const Ref<NSObject> before = store->values();
  LogCapture log;
  store->discardChanges();
  EXPECT_NE(store->values(), before);
  EXPECT_EQ(valuesOf(store)->count(), 0U);
  EXPECT_TRUE(log.texts().empty());
}

TEST_F(PropertyListStoreTests, ALoadedINIStoreDiscardsToItsFile) {
  writeFile(file, "[S]\nk=v\n");
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(path, QvPropertyListINIFormat);
  as<NSMutableDictionary>(valuesOf(store)->objectForKey("S"))->setObject_forKey("w", "k");
  store->discardChanges();
  EXPECT_FALSE(store->hasUnsavedChanges());
  EXPECT_TRUE(valuesOf(store)->objectForKey("S")->isMutable());
}

TEST_F(PropertyListStoreTests, InitialisingAgainForgetsTheOtherFile) {
  writeValues(NSDictionary::dictionaryWithObject_forKey("v", "k"), 100);
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  send<Ref<QvPropertyList>>(store, ZT_SELECTOR("initWithPath:format:"), folder.string("missing"),
                            QvPropertyListFormat{200});
  EXPECT_EQ(store->format(), 200);
  EXPECT_EQ(valuesOf(store)->count(), 0U);
  EXPECT_FALSE(store->_serializedValues());
  EXPECT_TRUE(store->hasUnsavedChanges());
}

TEST_F(PropertyListStoreTests, InitialisingAgainForgetsTheOtherError) {
  writeFile(file, "<broken");
  LogCapture log;
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  EXPECT_TRUE(store->readError());
  send<Ref<QvPropertyList>>(store, ZT_SELECTOR("initWithPath:"), folder.string("missing"));
  EXPECT_FALSE(store->readError());
}

TEST_F(PropertyListStoreTests, DestroyingAStoreSavesNothing) {
  {
    const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
    valuesOf(store)->setObject_forKey(1, "k");
    EXPECT_EQ(store->retainCount(), 1U) << "nothing else holds it";
  }
  EXPECT_TRUE(folder.names().empty());
}

// --- Hosts' classes

TEST_F(PropertyListStoreTests, HostsMayDerive) {
  const Ref<CountingStore> store = QvPropertyList::initWithPath_format<CountingStore>(path, 200);
  EXPECT_EQ(store->loads, 1);
  EXPECT_EQ(store->format(), 200);
  EXPECT_TRUE(store->synchronize());
  EXPECT_EQ(store->saves, 1) << "synchronizing is a message to save";
  EXPECT_EQ(CountingStore::initWithPath<CountingStore>(path)->loads, 1);
}

TEST_F(PropertyListStoreTests, StoresAnswerMessages) {
  const Ref<NSObject> made = class_createInstance(NSClassFromString("QvPropertyList"));
  const Ref<QvPropertyList> store = send<Ref<QvPropertyList>>(made, ZT_SELECTOR("initWithPath:"), path);
  EXPECT_EQ(store, made);
  EXPECT_EQ(send<Ref<NSString>>(made, ZT_SELECTOR("path")), path);
  EXPECT_EQ(send<QvPropertyListFormat>(made, ZT_SELECTOR("format")), 100);
  send(made, ZT_SELECTOR("setFormat:"), QvPropertyListFormat{200});
  send(made, ZT_SELECTOR("setValues:"), NSDictionary::dictionaryWithObject_forKey(1, "k"));
  EXPECT_TRUE(send<bool>(made, ZT_SELECTOR("hasUnsavedChanges")));
  EXPECT_TRUE(send<bool>(made, ZT_SELECTOR("saveChanges")));
  EXPECT_TRUE(send<bool>(made, ZT_SELECTOR("synchronize")));
  EXPECT_TRUE(send<Ref<NSObject>>(made, ZT_SELECTOR("_serializedValues")));
  send(made, ZT_SELECTOR("discardChanges"));
  EXPECT_EQ(send<Ref<NSObject>>(made, ZT_SELECTOR("values")), send<Ref<NSObject>>(made, ZT_SELECTOR("_currentValues")));
  EXPECT_TRUE(contentsOf(file)->starts_with("bplist00"));
}

TEST_F(PropertyListStoreTests, WhatIsSaidAboutASuccessIsNoError) {
  const SEL writing = ZT_SELECTOR("dataFromPropertyList:format:errorDescription:");
  const Method method = class_getClassMethod(QvPropertyListSerialization::classObject(), writing);
  const IMP remarking = method_getImplementation(class_getClassMethod(Remarking::classObject(), writing));
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  LogCapture log;
  const IMP before = method_setImplementation(method, remarking);
  EXPECT_TRUE(store->saveChanges());
  method_setImplementation(method, before);
  EXPECT_EQ(log.texts(), std::vector<std::string>());
}

TEST_F(PropertyListStoreTests, ASnapshotThatCannotBeCopiedLeavesNoValues) {
  const SEL reading = ZT_SELECTOR("propertyListFromData:mutabilityOption:format:errorDescription:");
  const Method method = class_getClassMethod(QvPropertyListSerialization::classObject(), reading);
  const IMP unwritable = method_getImplementation(class_getClassMethod(Unwritable::classObject(), reading));
  writeFile(file, "anything");
  const IMP before = method_setImplementation(method, unwritable);
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  method_setImplementation(method, before);
  LogCapture log;
  store->discardChanges();
  EXPECT_EQ(log.texts(), std::vector<std::string>{"A set is no property-list value."});
  EXPECT_FALSE(store->values());
  EXPECT_TRUE(store->hasUnsavedChanges());
}

TEST_F(PropertyListStoreTests, ReplacedMethodsCount) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  {
    const test::ReplacedMethod<&neverSave> replaced(QvPropertyList::classObject(), ZT_SELECTOR("saveChanges"));
    EXPECT_FALSE(store->synchronize());
  }
  {
    const test::ReplacedMethod<&alwaysSaved> replaced(QvPropertyList::classObject(), ZT_SELECTOR("saveChanges"));
    EXPECT_TRUE(store->synchronize());
    EXPECT_TRUE(folder.names().empty());
  }
  EXPECT_TRUE(store->synchronize());
  EXPECT_EQ(folder.names().size(), 1U);
  {
    const test::ReplacedMethod<&loadNothing> replaced(QvPropertyList::classObject(), ZT_SELECTOR("_init"));
    EXPECT_FALSE(QvPropertyList::initWithPath(path)->values());
  }
  {
    const test::ReplacedMethod<&leaveUninitialised> replaced(QvPropertyList::classObject(),
                                                             ZT_SELECTOR("initWithPath:format:"));
    EXPECT_FALSE(QvPropertyList::initWithPath(path)->values());
  }

  const test::ReplacedMethod<&nothingExists> replaced(NSFileManager::classObject(), ZT_SELECTOR("fileExistsAtPath:"));
  EXPECT_FALSE(QvPropertyList::initWithPath(path)->_serializedValues());
}

}  // namespace
}  // namespace ZtFoundation::test
