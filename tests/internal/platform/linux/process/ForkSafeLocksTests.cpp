#include "platform/services/ForkSafeLocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <ZtFoundation/Logging.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Notification.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/ValueTransformer.h>

#include "platform/linux/process/ChildProcesses.h"
#include "platform/services/BundleCode.h"
#include "platform/services/LocalClock.h"
#include "support/ChildProcess.h"
#include "support/OwnPath.h"

namespace ZtFoundation::test {
namespace {

using std::chrono::milliseconds;

bool areAllFree() {
  return std::all_of(detail::forkSafeLocks.begin(), detail::forkSafeLocks.end(), [](std::mutex& lock) {
    const bool isFree = lock.try_lock();
    if (isFree) lock.unlock();
    return isFree;
  });
}

// Another thread has the lock for a while.
class Holder {
 public:
  explicit Holder(std::mutex& lock) {
    thread_ = std::thread([&] {
      lock.lock();
      isTaken_ = true;
      std::this_thread::sleep_for(milliseconds(3));
      lock.unlock();
      while (!isDone_) std::this_thread::yield();
    });
    while (!isTaken_) std::this_thread::yield();
  }
  ~Holder() {
    isDone_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> isTaken_ = false;
  std::atomic<bool> isDone_ = false;
  std::thread thread_;
};

TEST(ForkSafeLocks, AChildFindsNoneTaken) {
  for (std::mutex& lock : detail::forkSafeLocks) {
    const Holder holder(lock);
    EXPECT_EQ(inChild([] { return areAllFree() ? 0 : 1; }), 0);
  }
  EXPECT_TRUE(areAllFree()) << "the parent goes on";
}

struct Use {
  ForkSafe guarded;
  std::function<void()> work;
};

const std::vector<Use>& uses() {
  static const std::vector<Use> all{
      {ForkSafe::Transformers, [] { NSValueTransformer::valueTransformerForName("none"); }},
      {ForkSafe::Transformers, [] { NSValueTransformer::setValueTransformer_forName(nullptr, "none"); }},
      {ForkSafe::Observers,
       [] { NSNotificationCenter::defaultCenter()->postNotificationName_object("none", nullptr); }},
      {ForkSafe::Observers, [] { NSNotificationCenter::defaultCenter()->removeObserver(nullptr); }},
      {ForkSafe::Observers,
       [] {
         const auto ignore = [](const Ref<NSNotification>&) {};
         NSNotificationCenter().addObserverForName_object_usingBlock("none", nullptr, ignore);
       }},
      {ForkSafe::Bundles, [] { NSBundle::mainBundle(); }},
      {ForkSafe::BrokenCode, [] { BundleCode::production().load("/proc/self/exe"); }},
      {ForkSafe::EndedPrograms, [] { detail::WatchedProcess(); }},
      {ForkSafe::Classes, [] { NSClassFromString("none"); }},
      {ForkSafe::Classes, [] { NSSelectorFromString("none"); }},
      {ForkSafe::LoggingManager, [] { ZtLoggingManager::sharedLoggingManager(); }},
      {ForkSafe::LoggingManager,
       [] { ZtLoggingManager::setSharedLoggingManager(ZtLoggingManager::sharedLoggingManager()); }},
      {ForkSafe::LocalTime, [] { LocalClock::production().now(); }},
  };
  return all;
}

// Work that takes a lock cannot end while that is held here.
TEST(ForkSafeLocks, WhatTheyGuardIsUsedUnderThem) {
  if (!knowsItsOwnPath()) GTEST_SKIP() << kNoOwnPath;
  for (std::mutex& lock : detail::forkSafeLocks) lock.lock();
  std::atomic<std::size_t> started = 0;
  std::vector<std::atomic<bool>> ended(uses().size());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < uses().size(); ++i) {
    threads.emplace_back([&, i] {
      ++started;
      uses()[i].work();
      ended[i] = true;
    });
  }
  while (started < uses().size()) std::this_thread::yield();
  std::this_thread::sleep_for(milliseconds(10));
  const auto isHeldUp = [&](ForkSafe guarded) {
    for (std::size_t i = 0; i < uses().size(); ++i) {
      if (uses()[i].guarded == guarded && ended[i]) return false;
    }
    return true;
  };
  for (std::size_t i = detail::forkSafeLocks.size(); i-- > 0;) {
    EXPECT_TRUE(isHeldUp(static_cast<ForkSafe>(i))) << i;
    detail::forkSafeLocks[i].unlock();
    std::this_thread::sleep_for(milliseconds(2));
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace ZtFoundation::test
