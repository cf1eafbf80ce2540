#include <sys/resource.h>

#include <map>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>

#include "support/ChildProcess.h"
#include "support/Sanitizers.h"

namespace ZtFoundation {
namespace {

template <class Action>
std::string nameRaisedBy(Action action) {
  try {
    action();
  } catch (const NSException& exception) {
    return exception.name()->utf8();
  }
  return "nothing";
}

template <class Action>
std::string reasonRaisedBy(Action action) {
  try {
    action();
  } catch (const NSException& exception) {
    return exception.reason()->utf8();
  }
  return "nothing";
}

std::string listed(const Ref<NSDictionary>& dictionary) {
  std::string text;
  for (const auto& [key, value] : *dictionary) {
    text += key->description()->utf8() + "=" + value->description()->utf8() + " ";
  }
  return text;
}

TEST(DictionaryTests, KeepsTheOrderInWhichKeysCame) {
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
  for (const char* key : {"zebra", "apple", "mango"}) dictionary->setObject_forKey(1, key);
  dictionary->setObject_forKey(2, "apple");
  EXPECT_EQ(listed(dictionary), "zebra=1 apple=2 mango=1 ");
  dictionary->removeObjectForKey("zebra");
  dictionary->setObject_forKey(3, "zebra");
  EXPECT_EQ(listed(dictionary), "apple=2 mango=1 zebra=3 ");
  EXPECT_EQ(dictionary->allKeys()->componentsJoinedByString(",")->utf8(), "apple,mango,zebra");
  EXPECT_EQ(dictionary->allValues()->componentsJoinedByString(",")->utf8(), "2,1,3");
}

TEST(DictionaryTests, FindsByContents) {
  const Ref<NSDictionary> dictionary = NSDictionary::dictionaryWithEntries({{"a", 1}, {2, "two"}, {"\xC3\xA9", 3}});
  EXPECT_EQ(dictionary->objectForKey("a")->description()->utf8(), "1");
  EXPECT_EQ(dictionary->objectForKey(NSMutableString::stringWithString("a"))->description()->utf8(), "1");
  EXPECT_EQ(dictionary->objectForKey(2.0)->description()->utf8(), "two");
  EXPECT_EQ(dictionary->objectForKey(u"\u00E9")->description()->utf8(), "3");
  EXPECT_FALSE(dictionary->objectForKey("b"));
  EXPECT_FALSE(dictionary->objectForKey(nullptr));
  EXPECT_TRUE(dictionary->containsKey("a"));
  EXPECT_NE(dictionary->lookUp("a"), nullptr);
  EXPECT_EQ(dictionary->lookUp("A"), nullptr);
  EXPECT_FALSE(NSDictionary::dictionary()->objectForKey("a"));
}

TEST(DictionaryTests, RefusesWhatCannotBeHeld) {
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
  EXPECT_EQ(nameRaisedBy([&] { dictionary->setObject_forKey(nullptr, "k"); }), "NSInvalidArgumentException");
  EXPECT_EQ(nameRaisedBy([&] { dictionary->setObject_forKey(1, nullptr); }), "NSInvalidArgumentException");
  EXPECT_EQ(nameRaisedBy([&] { dictionary->setObject_forKey(1, NSArray::array()); }), "NSInvalidArgumentException");
  EXPECT_EQ(nameRaisedBy([] { (void)NSDictionary::dictionaryWithObject_forKey(nullptr, "k"); }),
            "NSInvalidArgumentException");
  std::vector<DictionaryEntry> entries = {{"a", 1}, {"b", nullptr}};
  EXPECT_EQ(nameRaisedBy([&] { (void)NSDictionary::dictionaryByTaking(entries); }), "NSInvalidArgumentException");
  EXPECT_EQ(dictionary->count(), 0U);
}

TEST(DictionaryTests, TheReasonTellsWhichPartIsNone) {
  EXPECT_EQ(reasonRaisedBy([] { NSMutableDictionary::dictionary()->setObject_forKey(1, nullptr); }),
            "a dictionary key cannot be none");
  EXPECT_EQ(reasonRaisedBy([] { NSMutableDictionary::dictionary()->setObject_forKey(nullptr, "k"); }),
            "a dictionary value cannot be none");
  for (const DictionaryEntry& entry : {DictionaryEntry{nullptr, 1}, DictionaryEntry{"k", nullptr}}) {
    std::vector<DictionaryEntry> entries = {entry};
    EXPECT_EQ(reasonRaisedBy([&] { (void)NSDictionary::dictionaryByTaking(entries); }), "a dictionary holds no none");
  }
}

TEST(DictionaryTests, AMutableKeyIsCopied) {
  const Ref<NSMutableString> key = NSMutableString::stringWithString("key");
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
  dictionary->setObject_forKey(1, key);
  key->appendString("s");
  EXPECT_TRUE(dictionary->containsKey("key"));
  EXPECT_FALSE(dictionary->containsKey("keys"));
  EXPECT_FALSE(dictionary->allKeys()->firstObject()->isMutable());
}

TEST(DictionaryTests, OfEqualKeysTheLaterValueStandsInTheEarlierPlace) {
  std::vector<DictionaryEntry> entries = {{"a", 1}, {"b", 2}, {"a", 3}};
  EXPECT_EQ(listed(NSDictionary::dictionaryByTaking(entries)), "a=3 b=2 ");
  EXPECT_FALSE(entries[0].key);
  entries = {{"a", 1}, {"b", 2}, {"a", 3}};
  const Ref<NSMutableDictionary> changing = NSMutableDictionary::dictionaryByTaking(entries);
  changing->setObject_forKey(4, "c");
  EXPECT_EQ(listed(changing), "a=3 b=2 c=4 ");
  EXPECT_EQ(listed(NSDictionary::dictionaryWithEntries({{"x", 1}, {"x", 2}})), "x=2 ");
}

TEST(DictionaryTests, CopiesKeepOrChangeMutability) {
  const Ref<NSDictionary> fixed = NSDictionary::dictionaryWithObject_forKey(1, "a");
  EXPECT_TRUE(fixed->copy() == fixed);
  EXPECT_TRUE(NSDictionary::dictionaryWithDictionary(fixed) == fixed);
  const Ref<NSMutableDictionary> changing = fixed->mutableCopy();
  changing->setObject_forKey(2, "b");
  changing->removeObjectForKey("a");
  const Ref<NSDictionary> snapshot = changing->copy();
  changing->removeAllObjects();
  EXPECT_EQ(listed(snapshot), "b=2 ");
  EXPECT_EQ(listed(fixed), "a=1 ");
  EXPECT_EQ(changing->count(), 0U);
  changing->setObject_forKey(5, "e");
  EXPECT_EQ(listed(changing), "e=5 ");
  EXPECT_FALSE(snapshot->isMutable());
  EXPECT_FALSE(NSDictionary::dictionaryWithDictionary(nullptr));
  EXPECT_FALSE(NSMutableDictionary::dictionaryWithDictionary(nullptr));
}

TEST(DictionaryTests, ADictionaryThatWasEmptiedBeginsAnew) {
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
  for (int round = 0; round < 20; ++round) {
    for (int number = 0; number < 20; ++number) dictionary->setObject_forKey(number, round * 100 + number);
    dictionary->removeAllObjects();
    EXPECT_FALSE(dictionary->containsKey(round * 100));
    dictionary->setObject_forKey(round, "round");
    ASSERT_EQ(listed(dictionary), "round=" + std::to_string(round) + " ");
  }
}

TEST(DictionaryTests, AddingADictionaryToItselfChangesNothing) {
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
  dictionary->setObject_forKey(1, "a");
  dictionary->addEntriesFromDictionary(dictionary);
  dictionary->addEntriesFromDictionary(nullptr);
  dictionary->addEntriesFromDictionary(NSDictionary::dictionaryWithEntries({{"a", 2}, {"b", 3}}));
  EXPECT_EQ(listed(dictionary), "a=2 b=3 ");
  const Ref<NSMutableData> key = NSMutableData::dataWithLength(3);
  dictionary->setObject_forKey(4, key);
  key->setLength(5);
  dictionary->addEntriesFromDictionary(dictionary);
  EXPECT_EQ(dictionary->count(), 3U) << "a key that has changed is not found again";
}

TEST(DictionaryTests, EqualityIgnoresOrder) {
  const Ref<NSDictionary> ab = NSDictionary::dictionaryWithEntries({{"a", 1}, {"b", NSArray::of(2)}});
  const Ref<NSDictionary> ba = NSDictionary::dictionaryWithEntries({{"b", NSMutableArray::of(2)}, {"a", 1.0}});
  EXPECT_TRUE(isEqual(ab, ba));
  EXPECT_TRUE(isEqual(ab, ba->mutableCopy()));
  EXPECT_EQ(ab->hash(), ba->hash());
  EXPECT_FALSE(isEqual(ab, NSDictionary::dictionaryWithObject_forKey(1, "a")));
  EXPECT_FALSE(isEqual(ab, NSDictionary::dictionaryWithEntries({{"a", 1}, {"c", NSArray::of(2)}})));
  EXPECT_FALSE(isEqual(ab, NSDictionary::dictionaryWithEntries({{"a", 1}, {"b", NSArray::of(3)}})));
}

bool isAnything(const NSObject&, const NSObject* other) { return other != nullptr; }
NSUInteger alwaysSeven(const NSObject&) { return 7; }

TEST(DictionaryTests, KeysOfHostsAreFoundByMessage) {
  Class made = registerSubclass(NSObject::classObject(), "AlikeAsKeys");
  class_addMethod<&isAnything>(made, ZT_SELECTOR("isEqual:"));
  class_addMethod<&alwaysSeven>(made, ZT_SELECTOR("hash"));
  const Ref<NSObject> key = class_createInstance(made);
  const Ref<NSDictionary> dictionary = NSDictionary::dictionaryWithObject_forKey("value", key);
  EXPECT_EQ(NSDictionary::hashOfKey(*key), NSDictionary::hashOfKey(*class_createInstance(made)));
  EXPECT_TRUE(dictionary->containsKey(class_createInstance(made)));
}

TEST(DictionaryTests, ReadsAsTheHostsTypes) {
  const Ref<NSDictionary> dictionary = NSDictionary::dictionaryWithEntries({{"text", "abc"},
                                                                            {"int", 300},
                                                                            {"real", 1.5},
                                                                            {"whole", 2.0},
                                                                            {"flag", true},
                                                                            {"list", NSArray::of(1)},
                                                                            {"big", 18446744073709551615ULL}});
  EXPECT_EQ(dictionary->get<std::string>("text"), "abc");
  EXPECT_EQ(dictionary->get<int>("int"), 300);
  EXPECT_EQ(dictionary->get<std::int8_t>("int"), std::nullopt);
  EXPECT_EQ(dictionary->get<double>("int"), 300.0);
  EXPECT_EQ(dictionary->get<int>("real"), std::nullopt);
  EXPECT_EQ(dictionary->get<int>("whole"), 2);
  EXPECT_EQ(dictionary->get<bool>("flag"), true);
  EXPECT_EQ(dictionary->get<int>("flag"), std::nullopt);
  EXPECT_EQ(dictionary->get<bool>("int"), std::nullopt);
  EXPECT_EQ(dictionary->get<std::uint64_t>("big"), 18446744073709551615ULL);
  EXPECT_EQ(dictionary->get<std::int64_t>("big"), std::nullopt);
  EXPECT_EQ(dictionary->get<std::string>("int"), std::nullopt);
  EXPECT_EQ(dictionary->get<NSArray>("list")->count(), 1U);
  EXPECT_FALSE(dictionary->get<NSArray>("text"));
  EXPECT_EQ(dictionary->get<std::string>("absent").value_or("default"), "default");
}

// Random changes, told to an ordinary map and an ordinary list as well.
TEST(DictionaryTests, BehavesLikeAMapWithAMemory) {
  std::mt19937 random(20240131);
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
  std::map<int, int> model;
  std::vector<int> order;
  for (int round = 0; round < 40000; ++round) {
    const int key = static_cast<int>(random() % 300);
    const std::string name = "key" + std::to_string(key);
    if (random() % 3 == 0) {
      dictionary->removeObjectForKey(name);
      if (model.erase(key) != 0) std::erase(order, key);
    } else {
      dictionary->setObject_forKey(round, name);
      if (!model.contains(key)) order.push_back(key);
      model[key] = round;
    }
    ASSERT_EQ(dictionary->count(), model.size());
    ASSERT_EQ(dictionary->get<int>(name).has_value(), model.contains(key));
  }
  std::string expected;
  for (int key : order) expected += "key" + std::to_string(key) + "=" + std::to_string(model[key]) + " ";
  EXPECT_EQ(listed(dictionary), expected);
}

TEST(DictionaryTests, HoldsManyKeys) {
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
  for (int number = 0; number < 200000; ++number) dictionary->setObject_forKey(number, "k" + std::to_string(number));
  ASSERT_EQ(dictionary->count(), 200000U);
  for (int number = 0; number < 200000; number += 997) {
    ASSERT_EQ(dictionary->get<int>("k" + std::to_string(number)), number);
  }
}

// The room for so many entries counted in bytes may not fit a word.
TEST(DictionaryTests, MoreRoomThanMemoryHasIsRefused) {
  if (test::kIsSanitized) GTEST_SKIP() << "this build needs more address space than the test leaves";
  EXPECT_EQ(test::inChild([]() -> int {
              const rlimit limit{1 << 30, 1 << 30};
              if (::setrlimit(RLIMIT_AS, &limit) != 0) return 2;
              for (const NSUInteger capacity :
                   {NSUInteger{1} << 27, NSUInteger{0xAAA'AAAB}, NSUInteger{0x1555'5556}, NSUInteger{0x5FFF'FFFF},
                    ~NSUInteger{0} / 80 * 3 + 1, NSNotFound, ~NSUInteger{0}}) {
                EXPECT_THROW(NSMutableDictionary::dictionaryWithCapacity(capacity), std::bad_alloc) << capacity;
              }
              return ::testing::Test::HasFailure();
            }),
            0);
}

TEST(DictionaryTests, ReleasesWhatItGivesUp) {
  const Ref<NSString> text = NSMutableString::stringWithString("held");
  {
    const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
    for (int number = 0; number < 20; ++number) dictionary->setObject_forKey(text, number);
    EXPECT_EQ(text->retainCount(), 21U);
    for (int number = 0; number < 10; ++number) dictionary->removeObjectForKey(number);
    dictionary->setObject_forKey(1, 15);
    EXPECT_EQ(text->retainCount(), 10U);
  }
  EXPECT_EQ(text->retainCount(), 1U);
}

}  // namespace
}  // namespace ZtFoundation
