#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/Set.h>

#include "support/LettingGo.h"
#include "support/ReplacedMethod.h"

namespace ZtFoundation {
namespace {

using namespace JxPropertyListExtensions;
using QvFoundationExtensions::deepMutableCopy;
using QvFoundationExtensions::differencesFromDictionary;

Ref<NSDictionary> dictionary(std::initializer_list<DictionaryEntry> entries) {
  return NSDictionary::dictionaryWithEntries(entries);
}

// --- deepCopyWithMutabilityContainersAndLeavesOption

TEST(DeepCopyWithOption, MakesEverythingNewAndMutable) {
  const Ref<NSArray> inner =
      NSArray::of("text", 1, NSDate::dateWithTimeIntervalSinceReferenceDate(1), NSData::dataWithBytes("abc"));
  const Ref<NSDictionary> original = dictionary({{"list", inner}, {"flag", true}});
  const Ref<NSMutableDictionary> copy = deepCopyWithMutabilityContainersAndLeavesOption(original);
  ASSERT_TRUE(copy);
  EXPECT_TRUE(isEqual(copy, original));
  const Ref<NSMutableArray> list = as<NSMutableArray>(copy->objectForKey("list"));
  ASSERT_TRUE(list);
  EXPECT_TRUE(list->objectAtIndex(0)->isMutable());
  for (NSUInteger index = 0; index < 4; ++index) EXPECT_NE(list->objectAtIndex(index), inner->objectAtIndex(index));
}

TEST(DeepCopyWithOption, WorksOnArrays) {
  const Ref<NSArray> original = NSArray::of(NSArray::of("a"), dictionary({{"k", "v"}}));
  const Ref<NSMutableArray> copy = deepCopyWithMutabilityContainersAndLeavesOption(original);
  EXPECT_TRUE(isEqual(copy, original));
  EXPECT_TRUE(as<NSMutableArray>(copy->objectAtIndex(0)));
  EXPECT_TRUE(as<NSMutableDictionary>(copy->objectAtIndex(1)));
}

TEST(DeepCopyWithOption, WhatIsNoPropertyListGivesNone) {
  EXPECT_FALSE(deepCopyWithMutabilityContainersAndLeavesOption(NSArray::of(make<NSObject>())));
  EXPECT_FALSE(deepCopyWithMutabilityContainersAndLeavesOption(NSArray::of(NSSet::set())));
  EXPECT_FALSE(deepCopyWithMutabilityContainersAndLeavesOption(dictionary({{1, "number as key"}})));
  EXPECT_FALSE(deepCopyWithMutabilityContainersAndLeavesOption(Ref<NSArray>()));
  EXPECT_FALSE(deepCopyWithMutabilityContainersAndLeavesOption(Ref<NSDictionary>()));
}

TEST(DeepCopyWithOption, EmptyGivesEmpty) {
  EXPECT_EQ(deepCopyWithMutabilityContainersAndLeavesOption(NSArray::array())->count(), 0U);
  EXPECT_EQ(deepCopyWithMutabilityContainersAndLeavesOption(NSDictionary::dictionary())->count(), 0U);
}

// --- deepMutableCopy

TEST(DeepMutableCopy, CopiesContainersAndSharesTheRest) {
  const Ref<NSString> text = "text";
  const Ref<NSObject> other = make<NSObject>();
  const Ref<NSArray> innermost = NSArray::of(text, other);
  const Ref<NSDictionary> middle = dictionary({{"list", innermost}});
  const Ref<NSArray> outer = NSArray::of(middle);
  const Ref<NSMutableArray> copy = deepMutableCopy(outer);
  const Ref<NSMutableDictionary> copiedMiddle = as<NSMutableDictionary>(copy->objectAtIndex(0));
  ASSERT_TRUE(copiedMiddle);
  const Ref<NSMutableArray> copiedInnermost = as<NSMutableArray>(copiedMiddle->objectForKey("list"));
  ASSERT_TRUE(copiedInnermost);
  EXPECT_NE(copy, outer);
  EXPECT_NE(copiedMiddle, middle);
  EXPECT_NE(copiedInnermost, innermost);
  EXPECT_EQ(copiedInnermost->objectAtIndex(0), text);
  EXPECT_EQ(copiedInnermost->objectAtIndex(1), other);
}

TEST(DeepMutableCopy, OfADictionaryKeepsKeysAndOrder) {
  const Ref<NSDictionary> original = dictionary({{"b", NSArray::array()}, {"a", 1}, {3, "number as key"}});
  const Ref<NSMutableDictionary> copy = deepMutableCopy(original);
  EXPECT_TRUE(isEqual(copy->allKeys(), original->allKeys()));
  EXPECT_TRUE(isEqual(copy, original));
  EXPECT_EQ(copy->objectForKey("a"), original->objectForKey("a"));
  EXPECT_TRUE(copy->objectForKey("b")->isMutable());
}

TEST(DeepMutableCopy, MutableStringsAreSharedToo) {
  const Ref<NSMutableString> text = NSMutableString::stringWithString("a");
  EXPECT_EQ(deepMutableCopy(NSArray::of(text))->objectAtIndex(0), text);
}

TEST(DeepMutableCopy, EmptyGivesEmptyAndNoneNone) {
  EXPECT_EQ(deepMutableCopy(NSArray::array())->count(), 0U);
  EXPECT_EQ(deepMutableCopy(NSDictionary::dictionary())->count(), 0U);
  EXPECT_FALSE(deepMutableCopy(Ref<NSArray>()));
  EXPECT_FALSE(deepMutableCopy(Ref<NSDictionary>()));
}

// --- differencesFromDictionary

// A key that is not found under its hash any more once that has changed.
class Shifting : public NSObject {
  ZT_OBJECT(Shifting, NSObject)
 public:
  NSUInteger hash() const override { return hash_; }
  NSUInteger hash_ = 1;
};

struct DifferenceCase {
  Ref<NSDictionary> mine;
  Ref<NSDictionary> theirs;
  Ref<NSDictionary> difference;
};

TEST(Differences, TellWhatTheOtherDoesNotHoldEqually) {
  const Ref<NSDictionary> empty = NSDictionary::dictionary();
  const Ref<NSDictionary> mine = dictionary({{"a", 1}, {"b", dictionary({{"x", 1}})}});
  const DifferenceCase cases[] = {
      {mine, dictionary({{"a", 1}, {"b", dictionary({{"x", 2}})}, {"c", 3}}),
       dictionary({{"b", dictionary({{"x", 1}})}})},
      {mine, dictionary({{"a", 1}, {"b", dictionary({{"x", 1}, {"y", 2}})}}), dictionary({{"b", empty}})},
      {mine, empty, mine},
      {mine, nullptr, mine},
      {mine, mine, empty},
      {mine, mine->mutableCopy(), empty},
      {mine, dictionary({{"b", dictionary({{"x", 1}})}, {"a", 1.0}}), empty},
      {mine, dictionary({{"a", true}, {"b", 5}}), mine},
      {empty, mine, empty},
      {dictionary({{"l", NSArray::of(1, 2)}}), dictionary({{"l", NSArray::of(1, 3)}}),
       dictionary({{"l", NSArray::of(1, 2)}})},
      {dictionary({{"d", empty}}), dictionary({{"d", 1}}), dictionary({{"d", empty}})},
      {dictionary({{"d", 1}}), dictionary({{"d", empty}}), dictionary({{"d", 1}})},
      {dictionary({{"d", dictionary({{"e", dictionary({{"f", 1}, {"g", 2}})}})}}),
       dictionary({{"d", dictionary({{"e", dictionary({{"f", 1}, {"g", 3}})}})}}),
       dictionary({{"d", dictionary({{"e", dictionary({{"g", 2}})}})}})},
  };
  for (const auto& [one, other, difference] : cases) {
    const Ref<NSMutableDictionary> result = differencesFromDictionary(one, other);
    EXPECT_TRUE(isEqual(result, difference)) << one << " against " << other << " gives " << result;
    EXPECT_TRUE(result->isMutable());
  }
  EXPECT_FALSE(differencesFromDictionary(nullptr, mine));
}

TEST(Differences, HoldTheReceiversOwnObjects) {
  const Ref<NSArray> list = NSArray::of(1);
  const Ref<NSMutableDictionary> result = differencesFromDictionary(dictionary({{"l", list}}), nullptr);
  EXPECT_EQ(result->objectForKey("l"), list);
}

TEST(Differences, HoldTheReceiversOwnDictionaryWhereTheOtherHasNone) {
  const Ref<NSDictionary> inner = dictionary({{"x", 1}});
  EXPECT_EQ(differencesFromDictionary(dictionary({{"d", inner}}), nullptr)->objectForKey("d"), inner);
}

TEST(Differences, InnerDifferencesAreMutable) {
  const Ref<NSMutableDictionary> result = differencesFromDictionary(dictionary({{"d", dictionary({{"x", 1}})}}),
                                                                    dictionary({{"d", dictionary({{"x", 2}})}}));
  EXPECT_TRUE(result->objectForKey("d")->isMutable());
}

TEST(Differences, ComeInTheReversedOrderOfKeys) {
  const Ref<NSMutableDictionary> result =
      differencesFromDictionary(dictionary({{"a", 1}, {"b", 2}, {"c", 3}}), nullptr);
  EXPECT_TRUE(isEqual(result->allKeys(), NSArray::of("c", "b", "a")));
}

Ref<NSDictionary> nestedDictionary(int levels, const Ref<NSObject>& leaf) {
  Ref<NSDictionary> value = dictionary({{"k", leaf}});
  for (int level = 1; level < levels; ++level) value = dictionary({{"k", value}});
  return value;
}

TEST(Differences, HoldWhatIsUnderAKeyWhoseHashHasChanged) {
  const Ref<Shifting> key = make<Shifting>();
  const Ref<NSDictionary> mine = dictionary({{key, "v"}});
  key->hash_ = 12345;
  const Ref<NSMutableDictionary> result = differencesFromDictionary(mine, NSDictionary::dictionary());
  ASSERT_EQ(result->count(), 1U);
  EXPECT_TRUE(isEqual(result->objectForKey(key), Ref<NSObject>("v")));
}

TEST(Differences, AreFoundAtAnyDepth) {
  constexpr int kLevels = 30'000;
  const Ref<NSDictionary> mine = nestedDictionary(kLevels, 1);
  EXPECT_EQ(differencesFromDictionary(mine, nestedDictionary(kLevels, 1))->count(), 0U);
  EXPECT_TRUE(isEqual(differencesFromDictionary(mine, nestedDictionary(kLevels, 2)), mine));
}

Ref<NSDictionary> sharedDictionary(int levels, const Ref<NSObject>& leaf) {
  Ref<NSDictionary> value = dictionary({{"a", leaf}});
  for (int level = 0; level < levels; ++level) value = dictionary({{"a", value}, {"b", value}});
  return value;
}

TEST(Differences, OfSharedDictionariesAreBounded) {
  EXPECT_TRUE(
      isEqual(differencesFromDictionary(sharedDictionary(5, 1), sharedDictionary(5, 2)), sharedDictionary(5, 1)));
  EXPECT_FALSE(differencesFromDictionary(sharedDictionary(60, 1), sharedDictionary(60, 2)));
}

TEST(Differences, ManyKeysMaySharePartsThatAreLarge) {
  const auto value = [] {
    Ref<NSMutableArray> large = NSMutableArray::array();
    for (int index = 0; index < 20'000; ++index) large->addObject(index);
    Ref<NSMutableDictionary> many = NSMutableDictionary::dictionary();
    for (int index = 0; index < 20'000; ++index) many->setObject_forKey(large, std::to_string(index));
    return many;
  };
  EXPECT_EQ(differencesFromDictionary(value(), value())->count(), 0U);
}

TEST(Differences, ManyKeysMayShareOneDictionary) {
  constexpr NSUInteger kKeys = 600'000;
  const Ref<NSMutableDictionary> mine = NSMutableDictionary::dictionaryWithCapacity(kKeys);
  const Ref<NSMutableDictionary> theirs = NSMutableDictionary::dictionaryWithCapacity(kKeys);
  const Ref<NSDictionary> one = dictionary({{"a", 1}});
  const Ref<NSDictionary> other = dictionary({{"a", 2}});
  for (NSUInteger key = 0; key < kKeys; ++key) {
    const Ref<NSString> name = std::to_string(key);
    mine->setObject_forKey(one, name);
    theirs->setObject_forKey(other, name);
  }
  const Ref<NSMutableDictionary> result = differencesFromDictionary(mine, theirs);
  ASSERT_TRUE(result);
  EXPECT_EQ(result->count(), kKeys);
  EXPECT_TRUE(isEqual(result->objectForKey("599999"), one));
}

TEST(Differences, OfADictionaryInsideItselfAreNone) {
  Ref<NSMutableDictionary> one = NSMutableDictionary::dictionary();
  Ref<NSMutableDictionary> other = NSMutableDictionary::dictionary();
  one->setObject_forKey(one, "k");
  other->setObject_forKey(other, "k");
  EXPECT_FALSE(differencesFromDictionary(one, other));
  EXPECT_FALSE(differencesFromDictionary(one, nestedDictionary(3, 1)));
  EXPECT_EQ(differencesFromDictionary(dictionary({{"d", one}}), dictionary({{"d", one}}))->count(), 0U);
  one->removeAllObjects();
  other->removeAllObjects();
}

// --- Arrays of objects

class Shape : public NSObject {
  ZT_OBJECT(Shape, NSObject)
 public:
  Ref<NSDictionary> propertyListRepresentation() const { return dictionary({{"corners", corners_}})->mutableCopy(); }
  Ref<NSObject> initWithPropertyListRepresentation(const Ref<NSDictionary>& representation) {
    seen_ = representation;
    corners_ = representation->get<int>("corners").value_or(0);
    return corners_ >= 0 ? Ref<NSObject>(this) : nullptr;
  }
  int corners_ = 0;
  Ref<NSDictionary> seen_;
};

// Initialises without answering anything, represents itself by a dictionary that it keeps, and by the wrong thing.
class Plain : public NSObject {
  ZT_OBJECT(Plain, NSObject)
 public:
  Ref<NSDictionary> propertyListRepresentation() const { return kept_; }
  void initWithPropertyListRepresentation(const Ref<NSDictionary>& representation) { kept_ = representation; }
  Ref<NSDictionary> kept_ = NSDictionary::dictionary();
};

class Odd : public NSObject {
  ZT_OBJECT(Odd, NSObject)
 public:
  Ref<NSString> propertyListRepresentation() const { return "no dictionary"; }
};

// Says that it does not respond.
class Shy : public Shape {
  ZT_OBJECT(Shy, Shape)
 public:
  bool respondsToSelector(SEL) const { return false; }
};

// Its class says that its objects do not respond.
class Denied : public Shape {
  ZT_OBJECT(Denied, Shape)
 public:
  static bool instancesRespondToSelector(Class, SEL) { return false; }
};

// Its class makes objects of another one.
class Delegated : public Shape {
  ZT_OBJECT(Delegated, Shape)
 public:
  static Ref<NSObject> alloc() { return make<Plain>(); }
};

class Demanding : public Shape {
  ZT_OBJECT(Demanding, Shape)
 public:
  explicit Demanding(int) {}
};

class Throwing : public Shape {
  ZT_OBJECT(Throwing, Shape)
 public:
  Throwing() { throw std::runtime_error("cannot be made"); }
};

// When it represents itself, its owner lets go of all.
class Leaver : public NSObject {
  ZT_OBJECT(Leaver, NSObject)
 public:
  explicit Leaver(test::Holder& owner) : owner_(owner) {}
  void leave() const { owner_.leave(); }
  Ref<NSDictionary> propertyListRepresentation() const {
    leave();
    return NSDictionary::dictionary();
  }

 private:
  test::HeldBy owner_;
};

// The same when it is made.
class Taker : public NSObject {
  ZT_OBJECT(Taker, NSObject)
 public:
  void initWithPropertyListRepresentation(const Ref<NSDictionary>& representation) {
    as<Leaver>(representation->objectForKey("leaver"))->leave();
  }
};

class Raising : public NSObject {
  ZT_OBJECT(Raising, NSObject)
 public:
  Ref<NSObject> initWithPropertyListRepresentation(const Ref<NSDictionary>&) { throw std::logic_error("not this one"); }
};

}  // namespace

bool respondsToAll(NSObject&, SEL) { return true; }

ZT_REGISTER_CLASS(Shape, ZT_METHOD("propertyListRepresentation", &Shape::propertyListRepresentation),
                  ZT_METHOD("initWithPropertyListRepresentation:", &Shape::initWithPropertyListRepresentation));
ZT_REGISTER_CLASS(Plain, ZT_METHOD("propertyListRepresentation", &Plain::propertyListRepresentation),
                  ZT_METHOD("initWithPropertyListRepresentation:", &Plain::initWithPropertyListRepresentation));
ZT_REGISTER_CLASS(Shy, ZT_METHOD("respondsToSelector:", &Shy::respondsToSelector));
ZT_REGISTER_CLASS(Denied, ZT_CLASS_METHOD("instancesRespondToSelector:", &Denied::instancesRespondToSelector));
ZT_REGISTER_CLASS(Delegated, ZT_CLASS_METHOD("alloc", &Delegated::alloc));
ZT_REGISTER_CLASS(Demanding);
ZT_REGISTER_CLASS(Shifting, ZT_METHOD("hash", &Shifting::hash));
ZT_REGISTER_CLASS(Leaver, ZT_METHOD("propertyListRepresentation", &Leaver::propertyListRepresentation));
ZT_REGISTER_CLASS(Taker, ZT_METHOD("initWithPropertyListRepresentation:", &Taker::initWithPropertyListRepresentation));
ZT_REGISTER_CLASS(Throwing);
ZT_REGISTER_CLASS(Raising,
                  ZT_METHOD("initWithPropertyListRepresentation:", &Raising::initWithPropertyListRepresentation));
ZT_REGISTER_CLASS(Odd, ZT_METHOD("propertyListRepresentation", &Odd::propertyListRepresentation));

namespace {

Ref<Shape> shape(int corners) {
  Ref<Shape> made = make<Shape>();
  made->corners_ = corners;
  return made;
}

TEST(Representation, TagsObjectsAndSkipsTheOthers) {
  const Ref<NSMutableArray> result =
      propertyListRepresentation(NSArray::of(shape(3), "plain text", make<Odd>(), shape(4)));
  EXPECT_TRUE(isEqual(result, NSArray::of(dictionary({{"corners", 3}, {"ClassForPlistRep", "Shape"}}),
                                          dictionary({{"corners", 4}, {"ClassForPlistRep", "Shape"}}))));
  EXPECT_TRUE(result->isMutable());
}

TEST(Representation, ThatCannotBeChangedIsCopied) {
  const Ref<Plain> plain = make<Plain>();
  const Ref<NSMutableArray> result = propertyListRepresentation(NSArray::of(plain));
  EXPECT_TRUE(isEqual(result, NSArray::of(dictionary({{"ClassForPlistRep", "Plain"}}))));
  EXPECT_EQ(plain->kept_->count(), 0U);
}

TEST(Representation, ThatCanBeChangedIsTaggedInPlace) {
  const Ref<Plain> plain = make<Plain>();
  plain->kept_ = NSMutableDictionary::dictionary();
  EXPECT_EQ(propertyListRepresentation(NSArray::of(plain))->objectAtIndex(0), plain->kept_);
  EXPECT_EQ(plain->kept_->count(), 1U);
  as<NSMutableDictionary>(plain->kept_)->setObject_forKey("Other", "ClassForPlistRep");
  propertyListRepresentation(NSArray::of(plain));
  EXPECT_TRUE(isEqual(plain->kept_, dictionary({{"ClassForPlistRep", "Plain"}})));
}

TEST(Representation, GoesThereAndBack) {
  const Ref<NSArray> objects = NSArray::of(shape(5), shape(6));
  const Ref<NSMutableArray> back = arrayFromPropertyListRepresentation(propertyListRepresentation(objects));
  ASSERT_EQ(back->count(), 2U);
  EXPECT_EQ(as<Shape>(back->objectAtIndex(0))->corners_, 5);
  EXPECT_EQ(as<Shape>(back->objectAtIndex(1))->corners_, 6);
}

TEST(Representation, IsGivenWholeToTheObject) {
  const Ref<NSDictionary> whole = dictionary({{"corners", 7}, {"ClassForPlistRep", "Shape"}});
  const Ref<NSMutableArray> back = arrayFromPropertyListRepresentation(NSArray::of(whole));
  EXPECT_EQ(as<Shape>(back->objectAtIndex(0))->seen_, whole);
}

TEST(Representation, WhatCannotBeMadeIsSkipped) {
  const Ref<NSMutableArray> back = arrayFromPropertyListRepresentation(NSArray::of(
      dictionary({{"ClassForPlistRep", "NoSuchClass"}}), dictionary({{"corners", 1}}),
      dictionary({{"ClassForPlistRep", 5}}), dictionary({{"ClassForPlistRep", "Odd"}}), "text",
      dictionary({{"corners", -1}, {"ClassForPlistRep", "Shape"}}), dictionary({{"ClassForPlistRep", "Plain"}})));
  ASSERT_EQ(back->count(), 1U);
  EXPECT_TRUE(as<Plain>(back->objectAtIndex(0)));
}

TEST(Representation, OwnersMayLetGoOfTheArrayThatIsWalked) {
  test::Holder owner;
  owner.objects = NSArray::of(make<Leaver>(owner), make<Leaver>(owner));
  EXPECT_EQ(propertyListRepresentation(owner.objects)->count(), 2U);
  EXPECT_FALSE(owner.objects);
  EXPECT_EQ(owner.fewestAlive, 2);
  const auto taken = [&] { return dictionary({{"ClassForPlistRep", "Taker"}, {"leaver", make<Leaver>(owner)}}); };
  owner.objects = NSArray::of(taken(), taken());
  EXPECT_EQ(arrayFromPropertyListRepresentation(owner.objects)->count(), 2U);
  EXPECT_FALSE(owner.objects);
  EXPECT_EQ(owner.fewestAlive, 2);
}

TEST(Representation, ObjectsOfHostsSayWhetherTheyRespond) {
  EXPECT_EQ(propertyListRepresentation(NSArray::of(make<Shy>(), shape(3)))->count(), 1U);
}

TEST(Representation, OnlyObjectsOfHostsAreAskedByMessage) {
  const test::ReplacedMethod<&respondsToAll> replaced(NSObject::classObject(), ZT_SELECTOR("respondsToSelector:"));
  EXPECT_EQ(propertyListRepresentation(NSArray::of("text", 1, NSArray::array(), shape(3)))->count(), 1U);
}

Ref<NSArray> representationNamed(const char* name) {
  return NSArray::of(dictionary({{"corners", 1}, {"ClassForPlistRep", Ref<NSString>(name)}}));
}

TEST(Representation, OfAClassWithoutDefaultConstructorIsSkipped) {
  EXPECT_EQ(arrayFromPropertyListRepresentation(representationNamed("Demanding"))->count(), 0U);
}

TEST(Representation, ClassesOfHostsSayWhetherAndWhatTheyMake) {
  EXPECT_EQ(arrayFromPropertyListRepresentation(representationNamed("Denied"))->count(), 0U);
  const Ref<NSMutableArray> made = arrayFromPropertyListRepresentation(representationNamed("Delegated"));
  ASSERT_EQ(made->count(), 1U);
  EXPECT_TRUE(as<Plain>(made->objectAtIndex(0)));
}

TEST(Representation, WhatMakingAnObjectThrowsPassesThrough) {
  EXPECT_THROW(arrayFromPropertyListRepresentation(representationNamed("Throwing")), std::runtime_error);
  EXPECT_THROW(arrayFromPropertyListRepresentation(representationNamed("Raising")), std::logic_error);
}

void initialiseWithoutAnswer(const Ref<Shape>& self, const Ref<NSDictionary>&) { self->corners_ = 77; }

TEST(Representation, AReplacedInitialiserNeedNotAnswer) {
  Class shapes = Shape::classObject();
  const SEL selector = ZT_SELECTOR("initWithPropertyListRepresentation:");
  const IMP original =
      QvReplaceMethodImplementation(shapes, selector, methodImplementation<&initialiseWithoutAnswer>());
  const Ref<NSMutableArray> back = arrayFromPropertyListRepresentation(representationNamed("Shape"));
  QvReplaceMethodImplementation(shapes, selector, original);
  ASSERT_EQ(back->count(), 1U);
  EXPECT_EQ(as<Shape>(back->objectAtIndex(0))->corners_, 77);
}

TEST(Representation, EmptyGivesEmptyAndNoneNone) {
  EXPECT_EQ(propertyListRepresentation(NSArray::array())->count(), 0U);
  EXPECT_EQ(arrayFromPropertyListRepresentation(NSArray::array())->count(), 0U);
  EXPECT_FALSE(propertyListRepresentation(nullptr));
  EXPECT_FALSE(arrayFromPropertyListRepresentation(nullptr));
}

}  // namespace
}  // namespace ZtFoundation
