#include <ZtFoundation/platform/Notification.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Notifications : public testing::Test {
 protected:
  NSNotificationCenter::Block noting(const std::string& mark) {
    return [this, mark](const Ref<NSNotification>&) { calls.push_back(mark); };
  }
  Ref<NSObject> observe(const std::string& mark, const Ref<NSString>& name = {}, const Ref<NSObject>& object = {}) {
    return center->addObserverForName_object_usingBlock(name, object, noting(mark));
  }

  Ref<NSNotificationCenter> center = make<NSNotificationCenter>();
  std::vector<std::string> calls;
};

TEST_F(Notifications, FilterByNameAndObject) {
  const Ref<NSObject> one = "sender";
  const Ref<NSObject> other = "sender";
  observe("both", "Saved", one);
  observe("name", "Saved");
  observe("object", nullptr, one);
  observe("all");
  center->postNotificationName_object("Saved", one);
  EXPECT_THAT(calls, ElementsAre("both", "name", "object", "all"));
  calls.clear();
  center->postNotificationName_object("Saved", other);  // equal, but not the same
  EXPECT_THAT(calls, ElementsAre("name", "all"));
  calls.clear();
  center->postNotificationName_object("Closed", one);
  EXPECT_THAT(calls, ElementsAre("object", "all"));
  calls.clear();
  center->postNotificationName_object("Closed", nullptr);
  EXPECT_THAT(calls, ElementsAre("all"));
}

TEST_F(Notifications, CarryNameObjectAndInformation) {
  const Ref<NSObject> sender = 1;
  const Ref<NSDictionary> information = NSDictionary::dictionaryWithObject_forKey("v", "k");
  Ref<NSNotification> seen;
  center->addObserverForName_object_usingBlock("Saved", nullptr, [&](const Ref<NSNotification>& note) { seen = note; });
  center->postNotificationName_object_userInfo("Saved", sender, information);
  ASSERT_TRUE(seen);
  EXPECT_EQ(seen->name()->utf8(), "Saved");
  EXPECT_EQ(seen->object(), sender);
  EXPECT_EQ(seen->userInfo(), information);
  center->postNotificationName_object("Saved", nullptr);
  EXPECT_EQ(seen->object(), nullptr);
  EXPECT_EQ(seen->userInfo(), nullptr);
}

TEST_F(Notifications, ArriveOnThePostingThreadBeforePostingReturns) {
  std::thread::id thread;
  center->addObserverForName_object_usingBlock(
      "x", nullptr, [&](const Ref<NSNotification>&) { thread = std::this_thread::get_id(); });
  center->postNotificationName_object("x", nullptr);
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(Notifications, RemovedObserversHearNoMore) {
  const Ref<NSObject> token = observe("a");
  observe("b");
  center->removeObserver(token);
  center->removeObserver(token);
  center->removeObserver(nullptr);
  center->removeObserver("no observer");
  center->postNotificationName_object("x", nullptr);
  EXPECT_THAT(calls, ElementsAre("b"));
}

TEST_F(Notifications, AnObserverMayRemoveItselfAndOthers) {
  Ref<NSObject> self;
  Ref<NSObject> next;
  self = center->addObserverForName_object_usingBlock("x", nullptr, [&](const Ref<NSNotification>&) {
    calls.push_back("self");
    center->removeObserver(self);
    self.reset();
    center->removeObserver(next);
  });
  next = observe("next");
  observe("last");
  center->postNotificationName_object("x", nullptr);
  center->postNotificationName_object("x", nullptr);
  EXPECT_THAT(calls, ElementsAre("self", "last", "last"));
}

TEST_F(Notifications, AnObserverAddedDuringDeliveryHearsTheNext) {
  Ref<NSObject> token = center->addObserverForName_object_usingBlock("x", nullptr, [&](const Ref<NSNotification>&) {
    calls.push_back("first");
    observe("added");
  });
  center->postNotificationName_object("x", nullptr);
  EXPECT_THAT(calls, ElementsAre("first"));
  center->removeObserver(token);
  center->postNotificationName_object("x", nullptr);
  EXPECT_THAT(calls, ElementsAre("first", "added"));
}

TEST_F(Notifications, AnObserverMayPost) {
  center->addObserverForName_object_usingBlock("outer", nullptr, [&](const Ref<NSNotification>&) {
    center->postNotificationName_object("inner", nullptr);
    calls.push_back("outer");
  });
  observe("inner", "inner");
  center->postNotificationName_object("outer", nullptr);
  EXPECT_THAT(calls, ElementsAre("inner", "outer"));
}

TEST_F(Notifications, WhatAnObserverRaisesReachesThePoster) {
  observe("before");
  center->addObserverForName_object_usingBlock("x", nullptr,
                                               [](const Ref<NSNotification>&) { throw NSException("Name", "reason"); });
  observe("after");
  EXPECT_THROW(center->postNotificationName_object("x", nullptr), NSException);
  EXPECT_THAT(calls, ElementsAre("before"));
}

TEST_F(Notifications, NothingIsPostedWithoutAName) {
  observe("all");
  center->postNotification(nullptr);
  center->postNotificationName_object(nullptr, nullptr);
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(Notifications, ThereIsNoObserverWithoutABlock) {
  EXPECT_EQ(center->addObserverForName_object_usingBlock("x", nullptr, nullptr), nullptr);
  center->postNotificationName_object("x", nullptr);
}

TEST_F(Notifications, NamesThatChangeLaterAreCopied) {
  Ref<NSMutableString> name = NSMutableString::stringWithString("x");
  observe("a", name);
  name->appendString("y");
  center->postNotificationName_object("x", nullptr);
  EXPECT_THAT(calls, ElementsAre("a"));
}

TEST_F(Notifications, TheFilterObjectIsNotKeptAlive) {
  Ref<NSObject> sender = make<NSObject>();
  const Ref<NSObject> token = observe("a", nullptr, sender);
  EXPECT_EQ(sender->retainCount(), 1U);
  center->removeObserver(token);
}

TEST_F(Notifications, RemovingLetsGoOfTheBlock) {
  const auto kept = std::make_shared<int>(1);
  const Ref<NSObject> token =
      center->addObserverForName_object_usingBlock("x", nullptr, [kept](const Ref<NSNotification>&) {});
  EXPECT_EQ(kept.use_count(), 2);
  center->removeObserver(token);
  EXPECT_EQ(kept.use_count(), 1);
}

TEST_F(Notifications, ABlockThatRemovesItselfLivesUntilItReturns) {
  const auto kept = std::make_shared<int>(1);
  long during = 0;
  Ref<NSObject> token;
  token = center->addObserverForName_object_usingBlock("x", nullptr, [&, kept](const Ref<NSNotification>&) {
    center->removeObserver(token);
    token.reset();
    during = kept.use_count();
  });
  center->postNotificationName_object("x", nullptr);
  EXPECT_EQ(during, 2);
  EXPECT_EQ(kept.use_count(), 1);
}

TEST_F(Notifications, WhatARemovedBlockHeldMayPostWhenItGoes) {
  observe("heard", "gone");
  std::shared_ptr<void> held(nullptr, [this](void*) { center->postNotificationName_object("gone", nullptr); });
  const Ref<NSObject> token = center->addObserverForName_object_usingBlock(
      "x", nullptr, [held = std::move(held)](const Ref<NSNotification>&) {});
  EXPECT_THAT(calls, IsEmpty());
  center->removeObserver(token);
  EXPECT_THAT(calls, ElementsAre("heard"));
}

TEST_F(Notifications, ThreadsMayAddPostAndRemoveAtOnce) {
  std::atomic<int> heard = 0;
  std::vector<std::thread> threads;
  for (int index = 0; index < 4; ++index) {
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        const Ref<NSObject> token =
            center->addObserverForName_object_usingBlock("x", nullptr, [&](const Ref<NSNotification>&) { ++heard; });
        center->postNotificationName_object("x", nullptr);
        center->removeObserver(token);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_GE(heard, 800);
  const int before = heard;
  center->postNotificationName_object("x", nullptr);
  EXPECT_EQ(heard, before);
}

TEST(NotificationCenter, ThereIsOneDefaultCenter) {
  EXPECT_NE(NSNotificationCenter::defaultCenter(), nullptr);
  EXPECT_EQ(NSNotificationCenter::defaultCenter(), NSNotificationCenter::defaultCenter());
}

}  // namespace
}  // namespace ZtFoundation
