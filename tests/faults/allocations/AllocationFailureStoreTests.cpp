// Stores on files with each of their allocations failing: file, snapshot and working value stay together.
#include <cstdlib>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Notification.h>

#include <support/FailingAllocations.h>
#include <support/FileTree.h>
#include <support/QuietStandardError.h>

namespace ZtFoundation::test {
namespace {

constexpr char kOld[] =
    "<plist version=\"1.0\"><dict><key>name of a setting</key><string>the value of the setting</string>"
    "<key>list</key><array><integer>1</integer><string>two</string></array></dict></plist>";
constexpr char kTheirs[] =
    "<plist version=\"1.0\"><dict><key>name of a setting</key><string>the value of the setting</string>"
    "<key>list</key><array><integer>1</integer><string>two</string></array>"
    "<key>of another process</key><true/></dict></plist>";

// A store with an unsaved change on a file.
struct Changed {
  FileTree tree;
  std::string file = FileTree::root() + "/settings.plist";
  Ref<NSString> path = FileTree::path("settings.plist");
  Ref<QvPropertyList> store = opened();
  int saves = 0;
  Ref<NSObject> observer = NSNotificationCenter::defaultCenter()->addObserverForName_object_usingBlock(
      QvPropertyListDidSaveValuesNotification, store, [this](const Ref<NSNotification>&) { ++saves; });

  Changed() {
    as<NSMutableDictionary>(store->values())->setObject_forKey("a new value of some length", "another name");
  }
  Changed(const Changed&) = delete;
  Changed& operator=(const Changed&) = delete;
  ~Changed() { NSNotificationCenter::defaultCenter()->removeObserver(observer); }

  std::string describe() const {
    return answerText(store->values()) + answerText(store->_serializedValues()) + std::to_string(store->format()) +
           tree.describe();
  }

 private:
  Ref<QvPropertyList> opened() const {
    writeFile(file, kOld);
    return QvPropertyList::initWithPath(path);
  }
};

class AllocationFailureStore : public testing::Test {
 private:
  QuietStandardError quiet_;
  FileTree tree_;
};

TEST_F(AllocationFailureStore, Making) {
  const EachOf<Changed> each;
  each("QvPropertyList::initWithPath", [](Changed& c) { return QvPropertyList::initWithPath(c.path)->values(); });
  each("QvPropertyList::initWithPath_format", [](Changed& c) {
    return QvPropertyList::initWithPath_format(c.path, NSPropertyListBinaryFormat_v1_0)->values();
  });
  each("QvPropertyList::initWithPath_format (missing)", [](Changed&) {
    return QvPropertyList::initWithPath_format(FileTree::path("none.ini"), QvPropertyListINIFormat)->values();
  });
  each("QvPropertyList::initWithPath (broken)",
       [](Changed&) { return QvPropertyList::initWithPath(FileTree::path("file.txt"))->readError(); });
  each("QvPropertyList::QvPropertyList", [](Changed&) { return make<QvPropertyList>()->format(); });
  each("QvPropertyList::classObject", [](Changed&) { return QvPropertyList::classObject(); });
}

TEST_F(AllocationFailureStore, Values) {
  const EachOf<Changed> each;
  each("QvPropertyList::path", [](Changed& c) { return c.store->path(); });
  each("QvPropertyList::format", [](Changed& c) { return c.store->format(); });
  each("QvPropertyList::setFormat", [](Changed& c) { c.store->setFormat(NSPropertyListBinaryFormat_v1_0); });
  each("QvPropertyList::values", [](Changed& c) { return c.store->values(); });
  each("QvPropertyList::setValues", [](Changed& c) { c.store->setValues(c.path); });
  each("QvPropertyList::readError", [](Changed& c) { return c.store->readError(); });
  each("QvPropertyList::_serializedValues", [](Changed& c) { return c.store->_serializedValues(); });
  each("QvPropertyList::_currentValues", [](Changed& c) { return c.store->_currentValues(); });
  each("QvPropertyList::hasUnsavedChanges", [](Changed& c) { return c.store->hasUnsavedChanges(); });
  each("QvPropertyList::discardChanges", [](Changed& c) { c.store->discardChanges(); });
}

// Telling the observers is all that can fail when the file is saved, and then the store is saved as well.
struct EachSave {
  void operator()(const char* name, const std::function<bool(Changed&)>& save) const {
    EachOf<Changed>()(name, save, {.leaves = Leaves::Part});
    if (std::getenv(allocations::kFirstUseVariable) != nullptr)
      return;  // the library is not to be used in this process
    for (const Failing mode : {Failing::One, Failing::AllFrom}) {
      for (std::size_t at = 1;; ++at) {
        Changed changed;
        const Ref<NSObject> wanted = QvFoundationExtensions::deepMutableCopy(as<NSDictionary>(changed.store->values()));
        const std::string before = changed.describe();
        const allocations::Run run = allocations::run(name, changed, save, at, mode, 0);
        SCOPED_TRACE(testing::Message() << name << ", allocation " << at);
        const bool isSaved = changed.describe() != before;
        if (isSaved) {
          EXPECT_FALSE(changed.store->hasUnsavedChanges());
          EXPECT_TRUE(isEqual(QvPropertyList::initWithPath(changed.path)->values(), wanted));
        }
        EXPECT_EQ(changed.saves, run.end == allocations::Run::End::Returned ? 1 : 0);
        if (run.count.failed == 0 || testing::Test::HasFailure()) break;
      }
    }
  }
};

TEST_F(AllocationFailureStore, Saving) {
  const EachSave each;
  each("QvPropertyList::saveChanges", [](Changed& c) { return c.store->saveChanges(); });
  each("QvPropertyList::saveMergedChanges", [](Changed& c) { return c.store->saveMergedChanges(); });
}

struct Unobserved : Changed {
  Unobserved() { NSNotificationCenter::defaultCenter()->removeObserver(observer); }
};

// Without observers nothing can fail any more.
TEST_F(AllocationFailureStore, SavingUnobserved) {
  const EachOf<Unobserved> each;
  each("QvPropertyList::synchronize", [](Changed& c) { return c.store->synchronize(); });
  each("QvPropertyList::saveChanges (unobserved)", [](Changed& c) { return c.store->saveChanges(); });
  each("QvPropertyList::saveMergedChanges (unobserved)", [](Changed& c) { return c.store->saveMergedChanges(); });
}

struct Shared : Unobserved {
  Shared() { writeFile(file, kTheirs); }
};

// What others have written may have been taken in; a repetition takes in the rest.
TEST_F(AllocationFailureStore, Merging) {
  EachOf<Shared>()("QvPropertyList::saveMergedChanges (changed by others)",
                   [](Shared& s) { return s.store->saveMergedChanges(); }, {.leaves = Leaves::Part});
  if (std::getenv(allocations::kFirstUseVariable) != nullptr) return;  // the library is not to be used in this process
  for (std::size_t at = 1;; ++at) {
    Shared shared;
    auto save = [](Shared& s) { return s.store->saveMergedChanges(); };
    const allocations::Run run = allocations::run("merging", shared, save, at, Failing::One, 0);
    const Ref<NSDictionary> inFile = as<NSDictionary>(QvPropertyList::initWithPath(shared.path)->values());
    EXPECT_TRUE(inFile && inFile->objectForKey("of another process")) << at;
    EXPECT_TRUE(shared.store->saveMergedChanges()) << at;
    const Ref<NSObject> merged = QvPropertyList::initWithPath(shared.path)->values();
    EXPECT_TRUE(isEqual(merged, shared.store->values())) << at;
    EXPECT_EQ(as<NSDictionary>(merged)->count(), 4U) << at;
    if (run.count.failed == 0 || HasFailure()) return;
  }
}

// Two dictionaries that others have given more keys than there is room for.
struct Grown : Unobserved {
  Grown() {
    store->setValues(dictionaries(1, true));
    if (!store->saveMergedChanges()) std::abort();
    const Ref<QvPropertyList> others = QvPropertyList::initWithPath(path);
    others->setValues(dictionaries(20, false));
    if (!others->saveChanges()) std::abort();
  }

  static Ref<NSObject> dictionaries(int keys, bool withOld) {
    Ref<NSMutableDictionary> one = NSMutableDictionary::dictionary();
    if (withOld) one->setObject_forKey("old", "of one side only");
    for (int key = 0; key < keys; ++key) one->setObject_forKey("a value", std::to_string(key));
    return QvFoundationExtensions::deepMutableCopy(NSDictionary::of({{"first", one}, {"second", one}}));
  }
};

TEST_F(AllocationFailureStore, MergingTakesInAllOrNothing) {
  if (std::getenv(allocations::kFirstUseVariable) != nullptr) return;  // the library is not to be used in this process
  const Ref<NSObject> before = Grown::dictionaries(1, true), after = Grown::dictionaries(20, false);
  for (std::size_t at = 1;; ++at) {
    Grown grown;
    auto save = [](Grown& g) { return g.store->saveMergedChanges(); };
    const allocations::Run run = allocations::run("merging all", grown, save, at, Failing::One, 0);
    const bool isMerged = isEqual(grown.store->_serializedValues(), after);
    EXPECT_TRUE(isEqual(grown.store->values(), isMerged ? after : before)) << at << grown.store->values();
    if (run.count.failed == 0 || HasFailure()) return;
  }
}

}  // namespace
}  // namespace ZtFoundation::test
