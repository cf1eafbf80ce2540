// A settings store belongs to one thread; the file belongs to the stores of all of them.

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Values.h>

#include "support/QuickFolder.h"
#include "support/ScopedEnvironment.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation {
namespace {

constexpr int kThreads = 3;
// All saves of the others, one after another, take less than the ten seconds that one waits for them.
constexpr int kSaves = 8;

std::string keyOf(int thread, int save) { return std::to_string(thread).append("-").append(std::to_string(save)); }

Ref<NSDictionary> valuesIn(const Ref<NSString>& path, QvPropertyListFormat format) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(path, format);
  return valueAt<NSDictionary>(store->values(), "Main");
}

// Adds a key of this thread's own to the section and saves, again and again; how often that failed.
int addAndSave(const Ref<NSString>& path, QvPropertyListFormat format, int thread) {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath_format(path, format);
  int failed = 0;
  for (int save = 0; save < kSaves; ++save) {
    const Ref<NSMutableDictionary> all = as<NSMutableDictionary>(store->values());
    if (!all->objectForKey("Main")) all->setObject_forKey(NSMutableDictionary::dictionary(), "Main");
    valueAt<NSMutableDictionary>(all, "Main")->setObject_forKey("yes", keyOf(thread, save));
    failed += store->saveMergedChanges() ? 0 : 1;
  }
  return failed;
}

void addAndSaveAtOnce(const std::vector<Ref<NSString>>& paths, QvPropertyListFormat format) {
  std::atomic<int> failed = 0, waiting = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread, path = paths[static_cast<std::size_t>(thread) % paths.size()]] {
      ++waiting;
      while (waiting < kThreads) std::this_thread::yield();
      failed += addAndSave(path, format, thread);
    });
  }
  for (std::thread& each : threads) each.join();
  EXPECT_EQ(failed, 0);
}

// Where flushing takes no time, however busy the disk is.
class InMemory {
 protected:
  InMemory() { environment_.set("TMPDIR", test::folderInMemory()); }

 private:
  test::ScopedEnvironment environment_;
};

class SharedFilesTests : InMemory, public testing::TestWithParam<QvPropertyListFormat> {
 protected:
  const test::ScratchFolder folder;
};

TEST_P(SharedFilesTests, KeepWhatTheStoreOfEachThreadHasSaved) {
  const Ref<NSString> path = folder.string("settings");
  addAndSaveAtOnce({path}, GetParam());
  const Ref<NSDictionary> all = valuesIn(path, GetParam());
  ASSERT_TRUE(all);
  EXPECT_EQ(all->count(), static_cast<NSUInteger>(kThreads * kSaves));
  for (int thread = 0; thread < kThreads; ++thread) {
    for (int save = 0; save < kSaves; ++save) {
      EXPECT_TRUE(all->objectForKey(Ref<NSString>(keyOf(thread, save)))) << keyOf(thread, save);
    }
  }
}

// The lock is that of the folder.
TEST_P(SharedFilesTests, OfOneFolderKeepWhatTheirOwnThreadHasSaved) {
  const std::vector<Ref<NSString>> paths = {folder.string("0"), folder.string("1"), folder.string("2")};
  addAndSaveAtOnce(paths, GetParam());
  for (int thread = 0; thread < kThreads; ++thread) {
    const Ref<NSDictionary> own = valuesIn(paths[static_cast<std::size_t>(thread)], GetParam());
    ASSERT_TRUE(own);
    EXPECT_EQ(own->count(), static_cast<NSUInteger>(kSaves));
    for (int save = 0; save < kSaves; ++save) {
      EXPECT_TRUE(own->objectForKey(Ref<NSString>(keyOf(thread, save)))) << keyOf(thread, save);
    }
  }
  EXPECT_EQ(folder.names(), (std::set<std::string>{"0", "1", "2"}));
}

INSTANTIATE_TEST_SUITE_P(Formats, SharedFilesTests, testing::Values(100, 200, QvPropertyListINIFormat));

}  // namespace
}  // namespace ZtFoundation
