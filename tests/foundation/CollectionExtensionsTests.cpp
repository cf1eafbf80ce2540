#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Exception.h>

#include "support/LettingGo.h"

namespace ZtFoundation {
namespace {

using namespace QvFoundationExtensions;

constexpr NSUInteger kLargest = std::numeric_limits<NSUInteger>::max();

// --- Arrays

struct RemovalCase {
  Ref<NSArray> array;
  Ref<NSArray> removed;
  Ref<NSArray> result;
};

TEST(CollectionExtensions, RemovesEveryEqualElement) {
  const Ref<NSArray> array = NSArray::of("a", 1, "b", "a", 1.0, true, "a");
  EXPECT_TRUE(isEqual(arrayByRemovingObject(array, "a"), NSArray::of(1, "b", 1.0, true)));
  EXPECT_TRUE(isEqual(arrayByRemovingObject(array, 1), NSArray::of("a", "b", "a", true, "a")));
  EXPECT_TRUE(isEqual(arrayByRemovingObject(NSArray::of(NSArray::of(1)), NSArray::of(1)), NSArray::array()));
}

TEST(CollectionExtensions, RemovingNothingStillMakesANewArray) {
  const Ref<NSArray> array = NSArray::of("a", "b");
  for (const Ref<NSArray>& result :
       {arrayByRemovingObject(array, "x"), arrayByRemovingObject(array, nullptr),
        arrayByRemovingObjects(array, NSArray::of("x")), arrayByRemovingObjects(array, NSArray::array()),
        arrayByRemovingObjects(array, nullptr)}) {
    EXPECT_TRUE(isEqual(result, array));
    EXPECT_NE(result, array);
    EXPECT_FALSE(result->isMutable());
  }
}

TEST(CollectionExtensions, RemovesTheElementsOfAnother) {
  const RemovalCase cases[] = {
      {NSArray::of("a", "b", "a", "c"), NSArray::of("a", "c", "x"), NSArray::of("b")},
      {NSArray::of("a"), NSArray::of("a", "a"), NSArray::array()},
      {NSArray::array(), NSArray::of("a"), NSArray::array()},
      {NSArray::of(NSArray::of(1), 2, NSDictionary::dictionary()), NSArray::of(NSArray::of(1)),
       NSArray::of(2, NSDictionary::dictionary())},
      {NSArray::of(true, 1, 0), NSArray::of(1), NSArray::of(true, 0)},
  };
  for (const auto& [array, removed, result] : cases)
    EXPECT_TRUE(isEqual(arrayByRemovingObjects(array, removed), result));
}

class Chameleon : public NSObject {
  ZT_OBJECT(Chameleon, NSObject)
 public:
  bool isEqual(const NSObject* other) const override { return other == this || as<NSString>(other) != nullptr; }
  using NSObject::isEqual;
};

// Equal to nothing but itself, except to scripts.
class TwoFaced : public NSObject {
  ZT_OBJECT(TwoFaced, NSObject)
 public:
  bool isEqualTo(const NSObject* other) const override { return as<TwoFaced>(other) != nullptr; }
};

// Equal to whatever it is asked about.
class Flatterer : public NSObject {
  ZT_OBJECT(Flatterer, NSObject)
 public:
  bool isEqual(const NSObject*) const override { return true; }
  using NSObject::isEqual;
};

// Passes for a string and nothing else.
class Mimic : public NSObject {
  ZT_OBJECT(Mimic, NSObject)
 public:
  bool isKindOfClass(Class wanted) const { return wanted == NSString::classObject(); }
};

TEST(CollectionExtensions, CountsByTheEqualityOfScripts) {
  const Ref<NSArray> objects = NSArray::of(make<TwoFaced>(), make<TwoFaced>(), "a", make<Chameleon>());
  EXPECT_EQ(numberOfObjectsEqualTo(objects, make<TwoFaced>()), 2U);
  EXPECT_EQ(numberOfObjectsEqualTo(objects, "a"), 2U);
  EXPECT_EQ(arrayByRemovingObject(objects, make<TwoFaced>())->count(), 4U);
}

// Notes that it was asked.
class Asked : public NSObject {
  ZT_OBJECT(Asked, NSObject)
 public:
  Asked(std::string& order, char name) : order_(order), name_(name) {}
  bool isEqualTo(const NSObject*) const override {
    order_ += name_;
    return true;
  }

 private:
  std::string& order_;
  char name_;
};

TEST(CollectionExtensions, CountsFromTheLastToTheFirst) {
  std::string order;
  const Ref<NSArray> objects = NSArray::of(make<Asked>(order, 'a'), make<Asked>(order, 'b'), make<Asked>(order, 'c'));
  EXPECT_EQ(numberOfObjectsEqualTo(objects, "x"), 3U);
  EXPECT_EQ(order, "cba");
}

TEST(CollectionExtensions, ObjectsOfHostsDecideThemselves) {
  EXPECT_EQ(arrayByRemovingObjects(NSArray::of(make<Chameleon>(), 1), NSArray::of("any text"))->count(), 1U);
}

TEST(CollectionExtensions, NobodyIsEqualToNone) {
  const Ref<NSArray> objects = NSArray::of(make<Flatterer>(), make<Flatterer>());
  EXPECT_EQ(arrayByRemovingObject(objects, "any text")->count(), 0U);
  EXPECT_EQ(arrayByRemovingObject(objects, nullptr)->count(), 2U);
  EXPECT_EQ(numberOfObjectsEqualTo(objects, "any text"), 2U);
  EXPECT_EQ(numberOfObjectsEqualTo(objects, nullptr), 0U);
}

TEST(CollectionExtensions, TheElementsOfTheReceiverAreAskedNotThoseToRemove) {
  const Ref<NSArray> text = NSArray::of("any text");
  EXPECT_EQ(arrayByRemovingObjects(text, NSArray::of(make<Flatterer>()))->count(), 1U);
  EXPECT_EQ(arrayByRemovingObjects(NSArray::of(make<Flatterer>()), text)->count(), 0U);
}

TEST(CollectionExtensions, RemovingManyFromManyIsQuick) {
  Ref<NSMutableArray> many = NSMutableArray::array();
  for (int index = 0; index < 200'000; ++index) many->addObject(std::to_string(index));
  EXPECT_EQ(arrayByRemovingObjects(many, many)->count(), 0U);
}

TEST(CollectionExtensions, PicksElementsByClass) {
  const Ref<NSMutableString> text = NSMutableString::stringWithString("m");
  const Ref<NSArray> array = NSArray::of("a", 1, text, NSArray::array());
  EXPECT_TRUE(isEqual(objectsKindOfClass(array, NSString::classObject()), NSArray::of("a", "m")));
  EXPECT_TRUE(isEqual(objectsKindOfClass(array, NSMutableString::classObject()), NSArray::of("m")));
  EXPECT_TRUE(isEqual(objectsKindOfClass(array, NSObject::classObject()), array));
  EXPECT_NE(objectsKindOfClass(array, NSObject::classObject()), array);
  EXPECT_EQ(objectsKindOfClass(array, Chameleon::classObject())->count(), 0U);
  EXPECT_EQ(objectsKindOfClass(array, nullptr)->count(), 0U);
}

TEST(CollectionExtensions, ObjectsOfHostsSayWhatKindTheyAre) {
  const Ref<Mimic> mimic = make<Mimic>();
  const Ref<NSArray> array = NSArray::of("a", mimic);
  EXPECT_EQ(objectsKindOfClass(array, NSString::classObject())->count(), 2U);
  EXPECT_EQ(objectsKindOfClass(array, Mimic::classObject())->count(), 0U);
}

TEST(CollectionExtensions, EmptyReceiversGiveNewEmptyCollections) {
  const Ref<NSArray> array = NSArray::array();
  for (const Ref<NSArray>& result : {arrayByRemovingObject(array, "x"), arrayByRemovingObjects(array, array),
                                     objectsKindOfClass(array, NSObject::classObject())}) {
    ASSERT_TRUE(result);
    EXPECT_EQ(result->count(), 0U);
    EXPECT_NE(result, array);
  }
  const Ref<NSIndexSet> indexes = NSIndexSet::indexSet();
  for (const Ref<NSIndexSet>& result :
       {indexSetWithIndexSet(indexes), indexSetByRemovingIndex(indexes, 1), indexSetByRemovingIndexes(indexes, indexes),
        indexSetByAddingIndexes(indexes, indexes)}) {
    ASSERT_TRUE(result);
    EXPECT_EQ(result->count(), 0U);
    EXPECT_NE(result, indexes);
  }
}

TEST(CollectionExtensions, CountsEqualElements) {
  const Ref<NSString> one = "a";
  const Ref<NSString> other = "a";
  EXPECT_EQ(numberOfObjectsEqualTo(NSArray::of(one, "b", other), "a"), 2U);
  EXPECT_EQ(numberOfObjectsEqualTo(NSArray::of(1, 1.0, true), 1), 2U);
  EXPECT_EQ(numberOfObjectsEqualTo(NSArray::array(), "a"), 0U);
  EXPECT_EQ(numberOfObjectsEqualTo(NSArray::of("a"), nullptr), 0U);
}

TEST(CollectionExtensions, NoneGivesNone) {
  EXPECT_FALSE(arrayByRemovingObject(nullptr, "a"));
  EXPECT_FALSE(arrayByRemovingObjects(nullptr, NSArray::array()));
  EXPECT_FALSE(objectsKindOfClass(nullptr, NSObject::classObject()));
  EXPECT_EQ(numberOfObjectsEqualTo(nullptr, "a"), 0U);
  EXPECT_FALSE(indexSetWithIndexSet(nullptr));
  EXPECT_FALSE(indexSetByAddingIndex(nullptr, 1));
  EXPECT_FALSE(indexSetByAddingIndexes(nullptr, NSIndexSet::indexSet()));
  EXPECT_FALSE(indexSetByAddingIndexesInRange(nullptr, {0, 1}));
  EXPECT_FALSE(indexSetByRemovingIndex(nullptr, 1));
  EXPECT_FALSE(indexSetByRemovingIndexes(nullptr, NSIndexSet::indexSet()));
  EXPECT_FALSE(indexSetByRemovingIndexesInRange(nullptr, {0, 1}));
  EXPECT_FALSE(attributedStringWithString(nullptr));
  EXPECT_FALSE(attributedStringWithString_attributes(nullptr, nullptr));
  EXPECT_FALSE(attributedStringWithAttributedString(nullptr));
}

// --- Index sets

std::string text(const Ref<NSIndexSet>& indexes) { return indexes->description()->utf8(); }

TEST(CollectionExtensions, IndexSetsWithMoreOrLess) {
  const Ref<NSIndexSet> indexes = NSIndexSet::indexSetWithIndexesInRange({2, 4});
  const Ref<NSIndexSet> others = NSIndexSet::indexSetWithIndexesInRange({5, 2});
  EXPECT_EQ(text(indexSetByAddingIndex(indexes, 9)), "(2-5, 9)");
  EXPECT_EQ(text(indexSetByAddingIndexes(indexes, others)), "(2-6)");
  EXPECT_EQ(text(indexSetByAddingIndexesInRange(indexes, {kLargest - 1, 10})),
            "(2-5, " + std::to_string(kLargest - 1) + "-" + std::to_string(kLargest) + ")");
  EXPECT_EQ(text(indexSetByRemovingIndex(indexes, 3)), "(2, 4-5)");
  EXPECT_EQ(text(indexSetByRemovingIndexes(indexes, others)), "(2-4)");
  EXPECT_EQ(text(indexSetByRemovingIndexesInRange(indexes, {3, kLargest})), "(2)");
  EXPECT_EQ(text(indexes), "(2-5)");
}

TEST(CollectionExtensions, IndexSetsWithoutChangeAreNewAndImmutable) {
  const Ref<NSIndexSet> base = NSIndexSet::indexSetWithIndexesInRange({2, 4});
  for (const Ref<NSIndexSet>& indexes : {base, Ref<NSIndexSet>(base->mutableCopy())}) {
    for (const Ref<NSIndexSet>& result :
         {indexSetWithIndexSet(indexes), indexSetByAddingIndex(indexes, 3),
          indexSetByAddingIndexes(indexes, NSIndexSet::indexSet()), indexSetByAddingIndexes(indexes, nullptr),
          indexSetByAddingIndexesInRange(indexes, {9, 0}), indexSetByRemovingIndex(indexes, 9),
          indexSetByRemovingIndexes(indexes, NSIndexSet::indexSet()), indexSetByRemovingIndexes(indexes, nullptr),
          indexSetByRemovingIndexesInRange(indexes, {3, 0})}) {
      EXPECT_TRUE(isEqual(result, indexes));
      EXPECT_NE(result, indexes);
      EXPECT_TRUE(result->isMemberOfClass(NSIndexSet::classObject()));
    }
  }
}

TEST(CollectionExtensions, IndexSetsAreCopiedIntoTheClassAskedFor) {
  const Ref<NSMutableIndexSet> copy = indexSetWithIndexSet<NSMutableIndexSet>(NSIndexSet::indexSetWithIndex(1));
  copy->addIndex(2);
  EXPECT_EQ(text(copy), "(1-2)");
}

// --- Attributed strings

class StyledString : public NSAttributedString {
  ZT_OBJECT(StyledString, NSAttributedString)
 public:
  using NSAttributedString::NSAttributedString;
};

TEST(CollectionExtensions, MakesAttributedStrings) {
  const Ref<NSDictionary> bold = NSDictionary::dictionaryWithObject_forKey("bold", "font");
  const Ref<NSAttributedString> plain = attributedStringWithString("abc");
  const Ref<NSAttributedString> styled = attributedStringWithString_attributes("abc", bold);
  const Ref<NSAttributedString> copy = attributedStringWithAttributedString(styled);
  EXPECT_EQ(plain->attributesAtIndex_effectiveRange(0, nullptr)->count(), 0U);
  EXPECT_TRUE(isEqual(styled->attributesAtIndex_effectiveRange(0, nullptr), bold));
  EXPECT_TRUE(isEqual(copy, styled));
  EXPECT_NE(copy, styled);
}

TEST(CollectionExtensions, MakesAttributedStringsOfTheClassAskedFor) {
  const Ref<StyledString> made = attributedStringWithString<StyledString>("abc");
  EXPECT_TRUE(made->isMemberOfClass(StyledString::classObject()));
  EXPECT_TRUE(
      attributedStringWithString_attributes<StyledString>("abc", nullptr)->isKindOfClass(StyledString::classObject()));
  EXPECT_EQ(attributedStringWithAttributedString<StyledString>(made)->string()->utf8(), "abc");
}

// --- Sending a selector for each object

class Collector : public NSObject {
  ZT_OBJECT(Collector, NSObject)
 public:
  void take(const Ref<NSObject>& object) { taken.push_back(object->description()->utf8()); }
  int count(const Ref<NSObject>& object) {
    take(object);
    return static_cast<int>(taken.size());
  }
  std::vector<std::string> taken;
};

// Whatever it is asked, its owner lets go of all objects.
class Leaver : public NSObject {
  ZT_OBJECT(Leaver, NSObject)
 public:
  explicit Leaver(test::Holder& owner) : owner_(owner) {}

  void leave() const { owner_.leave(); }
  bool leaveFor(const NSObject* other) const {
    leave();
    return other == nullptr;
  }
  bool isEqual(const NSObject* other) const override { return leaveFor(other); }
  using NSObject::isEqual;
  bool isEqualTo(const NSObject* other) const override { return leaveFor(other); }
  bool isKindOfClass(Class) const { return leaveFor(this); }
  void leaveWith(const Ref<NSObject>&) { leave(); }

 private:
  test::HeldBy owner_;
};

}  // namespace

ZT_REGISTER_CLASS(Leaver, ZT_METHOD("isKindOfClass:", &Leaver::isKindOfClass),
                  ZT_METHOD("leaveWith:", &Leaver::leaveWith));
ZT_REGISTER_CLASS(Chameleon);
ZT_REGISTER_CLASS(TwoFaced);
ZT_REGISTER_CLASS(Asked);
ZT_REGISTER_CLASS(Flatterer);
ZT_REGISTER_CLASS(Mimic, ZT_METHOD("isKindOfClass:", &Mimic::isKindOfClass));
ZT_REGISTER_CLASS(StyledString);
ZT_REGISTER_CLASS(Collector, ZT_METHOD("take:", &Collector::take), ZT_METHOD("count:", &Collector::count));

namespace {

TEST(CollectionExtensions, SendsOncePerElementInOrder) {
  const Ref<Collector> collector = make<Collector>();
  performSelector_withEachObjectInArray(collector, ZT_SELECTOR("take:"), NSArray::of("a", 1, "a"));
  EXPECT_THAT(collector->taken, testing::ElementsAre("a", "1", "a"));
  performSelector_withEachObjectInArray(collector, ZT_SELECTOR("count:"), NSArray::of("b", "c"));
  EXPECT_THAT(collector->taken, testing::ElementsAre("a", "1", "a", "b", "c")) << "answers are dropped";
}

TEST(CollectionExtensions, SendsOncePerMember) {
  const Ref<Collector> collector = make<Collector>();
  performSelector_withEachObjectInSet(collector, ZT_SELECTOR("take:"), NSSet::setWithObjects({"b", "a", "b"}));
  EXPECT_THAT(collector->taken, testing::ElementsAre("b", "a"));
}

TEST(CollectionExtensions, SendsNothingForNothing) {
  const Ref<Collector> collector = make<Collector>();
  performSelector_withEachObjectInArray(collector, ZT_SELECTOR("take:"), NSArray::array());
  performSelector_withEachObjectInArray(collector, ZT_SELECTOR("take:"), nullptr);
  performSelector_withEachObjectInSet(collector, ZT_SELECTOR("take:"), nullptr);
  performSelector_withEachObjectInArray(nullptr, ZT_SELECTOR("take:"), NSArray::of("a"));
  EXPECT_THAT(collector->taken, testing::IsEmpty());
}

TEST(CollectionExtensions, OwnersMayLetGoOfAnArrayThatIsWalked) {
  const std::function<void(const Ref<NSArray>&)> walks[] = {
      [](const Ref<NSArray>& objects) { arrayByRemovingObject(objects, "text"); },
      [](const Ref<NSArray>& objects) { arrayByRemovingObjects(objects, NSArray::of("text")); },
      [](const Ref<NSArray>& objects) { arrayByRemovingObjects(objects, NSArray::of(NSArray::of("text"))); },
      [](const Ref<NSArray>& objects) { objectsKindOfClass(objects, NSString::classObject()); },
      [](const Ref<NSArray>& objects) { numberOfObjectsEqualTo(objects, "text"); },
  };
  for (const auto& walk : walks) {
    test::Holder owner;
    owner.objects = NSArray::of(make<Leaver>(owner), make<Leaver>(owner));
    walk(owner.objects);
    EXPECT_FALSE(owner.objects) << &walk - walks;
    EXPECT_EQ(owner.fewestAlive, 2) << &walk - walks;
  }
}

TEST(CollectionExtensions, OwnersMayLetGoOfWhatIsSentToEachObject) {
  test::Holder owner;
  const Ref<Leaver> receiver = make<Leaver>(owner);
  owner.objects = NSArray::of(make<Leaver>(owner), make<Leaver>(owner));
  performSelector_withEachObjectInArray(receiver, ZT_SELECTOR("leaveWith:"), owner.objects);
  EXPECT_FALSE(owner.objects);
  EXPECT_EQ(owner.fewestAlive, 3);
  owner.members = NSSet::setWithObjects({make<Leaver>(owner), make<Leaver>(owner)});
  performSelector_withEachObjectInSet(receiver, ZT_SELECTOR("leaveWith:"), owner.members);
  EXPECT_FALSE(owner.members);
  EXPECT_EQ(owner.fewestAlive, 3);
}

TEST(CollectionExtensions, SendingWhatIsNotUnderstoodRaises) {
  EXPECT_THROW(performSelector_withEachObjectInArray(make<Collector>(), ZT_SELECTOR("noSuchMethod:"), NSArray::of("a")),
               NSException);
}

}  // namespace
}  // namespace ZtFoundation
