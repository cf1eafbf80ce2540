// When a store that others write too is locked: a stand-in of the locks plays the others, who save until the lock is
// given, and looks at what is there when it is released.

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Runtime.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "platform/services/SaveLocks.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {

/// A key that does something when it is asked for its text.
class Busy : public NSObject {
  ZT_OBJECT(Busy, NSObject)
 public:
  Ref<NSString> description() const override {
    work();
    return "busy";
  }
  std::function<void()> work = [] {};
};

ZT_IMPLEMENT_CLASS(Busy);

namespace {

class PlayedLocks final : public SaveLocks {
 public:
  std::unique_ptr<Lock> lock(const Ref<NSString>& path) override {
    asked.push_back(path->utf8());
    whenAsked();
    return isGiven ? std::make_unique<PlayedLock>(*this) : nullptr;
  }
  bool isFileMissing(const Ref<NSString>& path) override { return SaveLocks::production().isFileMissing(path); }

  bool isGiven = true;
  std::function<void()> whenAsked = [] {};
  std::function<void()> whenReleased = [] {};
  std::vector<std::string> asked;

 private:
  class PlayedLock final : public Lock {
   public:
    explicit PlayedLock(const PlayedLocks& locks) : locks_(locks) {}
    ~PlayedLock() override { locks_.whenReleased(); }

   private:
    const PlayedLocks& locks_;
  };
};

class MergedSaveSteps : public testing::Test {
 protected:
  MergedSaveSteps() {
    store->setValues(NSMutableDictionary::of({{"mine", "1"}}));
    token = NSNotificationCenter::defaultCenter()->addObserverForName_object_usingBlock(
        QvPropertyListDidSaveValuesNotification, store, [this](const Ref<NSNotification>&) { steps += "told "; });
  }
  ~MergedSaveSteps() override { NSNotificationCenter::defaultCenter()->removeObserver(token); }

  Ref<NSObject> valuesInFile() const { return QvPropertyList::initWithPath(path)->values(); }
  void othersSave() const { writeFile(file, "{ theirs = 2; }"); }

  ScratchFolder folder;
  const std::string file = folder / "new/settings";
  const Ref<NSString> path = folder.string("new/settings");
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath(path);
  Ref<NSObject> token;
  std::string steps;
  PlayedLocks locks;
  const ScopedService<SaveLocks> scope{locks};
};

TEST_F(MergedSaveSteps, AreTakenUnderTheLockAndToldWithoutIt) {
  const Ref<NSObject> both = NSDictionary::of({{"mine", "1"}, {"theirs", "2"}});
  locks.whenAsked = [&] {
    EXPECT_TRUE(std::filesystem::is_directory(folder / "new")) << "there is a folder to lock";
    othersSave();
  };
  locks.whenReleased = [&] {
    EXPECT_TRUE(isEqual(valuesInFile(), both)) << valuesInFile();
    steps += "released ";
  };
  EXPECT_TRUE(store->saveMergedChanges());
  EXPECT_EQ(steps, "released told ");
  EXPECT_EQ(locks.asked, std::vector{file});
  EXPECT_TRUE(isEqual(store->values(), both));
}

TEST_F(MergedSaveSteps, AreNotTakenWithoutALock) {
  locks.isGiven = false;
  locks.whenAsked = [&] { othersSave(); };
  EXPECT_FALSE(store->saveMergedChanges());
  EXPECT_EQ(contentsOf(file), "{ theirs = 2; }");
  EXPECT_TRUE(isEqual(store->values(), NSDictionary::of({{"mine", "1"}})));
  EXPECT_FALSE(store->_serializedValues());
  EXPECT_EQ(steps, "");
}

TEST_F(MergedSaveSteps, OfAFailedSaveReleaseTheLock) {
  locks.whenAsked = [&] { writeFile(file, "<broken"); };
  locks.whenReleased = [&] { steps += "released "; };
  testing::internal::CaptureStderr();
  EXPECT_FALSE(store->saveMergedChanges());
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(steps, "released ");
}

TEST_F(MergedSaveSteps, InsideOfEachOtherFailInsteadOfWaitingForThemselves) {
  const Ref<QvPropertyList> inner = QvPropertyList::initWithPath(folder.string("new/other"));
  const Ref<Busy> key = make<Busy>();
  key->work = [&] { steps += inner->saveMergedChanges() ? "saved " : "refused "; };
  store->setFormat(QvPropertyListINIFormat);
  store->setValues(NSMutableDictionary::of({{key, NSDictionary::of({{"k", "v"}})}}));
  EXPECT_TRUE(store->saveMergedChanges());
  EXPECT_EQ(steps, "refused told ");
  EXPECT_EQ(locks.asked, std::vector{file});
  EXPECT_TRUE(inner->saveMergedChanges()) << "only then";
}

TEST_F(MergedSaveSteps, OfAPlainSaveTakeNoLock) {
  EXPECT_TRUE(store->saveChanges());
  EXPECT_TRUE(locks.asked.empty());
}

}  // namespace
}  // namespace ZtFoundation::test
