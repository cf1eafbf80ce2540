#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <string>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

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

std::string joined(const Ref<NSArray>& array) { return array->componentsJoinedByString(",")->utf8(); }

TEST(ArrayTests, HoldsElementsInOrder) {
  const Ref<NSArray> array = NSArray::of(1, "two", true);
  ASSERT_EQ(array->count(), 3U);
  EXPECT_EQ(array->objectAtIndex(1)->description()->utf8(), "two");
  EXPECT_EQ(joined(array), "1,two,1");
  EXPECT_EQ(array->firstObject()->description()->utf8(), "1");
  EXPECT_TRUE(as<NSNumber>(array->lastObject())->isBoolean());
}

TEST(ArrayTests, AnEmptyArrayHasNoEnds) {
  EXPECT_EQ(NSArray::array()->count(), 0U);
  EXPECT_FALSE(NSArray::array()->firstObject());
  EXPECT_FALSE(NSArray::array()->lastObject());
  EXPECT_EQ(joined(NSArray::array()), "");
}

TEST(ArrayTests, IndexesOutsideRaise) {
  const Ref<NSMutableArray> array = NSMutableArray::of(1);
  EXPECT_EQ(nameRaisedBy([&] { (void)array->objectAtIndex(1); }), "NSRangeException");
  EXPECT_EQ(nameRaisedBy([&] { array->removeObjectAtIndex(1); }), "NSRangeException");
  EXPECT_EQ(nameRaisedBy([&] { array->insertObject_atIndex(2, 2); }), "NSRangeException");
  EXPECT_EQ(nameRaisedBy([&] { array->replaceObjectAtIndex_withObject(1, 2); }), "NSRangeException");
  EXPECT_EQ(nameRaisedBy([&] { (void)array->subarrayWithRange({1, 1}); }), "NSRangeException");
  EXPECT_EQ(nameRaisedBy([&] { (void)array->subarrayWithRange({1, ~NSUInteger{0}}); }), "NSRangeException");
  EXPECT_EQ(nameRaisedBy([] { NSMutableArray::array()->removeLastObject(); }), "NSRangeException");
  EXPECT_EQ(joined(array), "1");
}

TEST(ArrayTests, TheReasonTellsThatThereIsNoLastObject) {
  try {
    NSMutableArray::array()->removeLastObject();
    ADD_FAILURE() << "nothing was raised";
  } catch (const NSException& raised) {
    EXPECT_EQ(raised.reason()->utf8(), "the array is empty");
  }
}

TEST(ArrayTests, NoneIsRefused) {
  const Ref<NSMutableArray> array = NSMutableArray::array();
  EXPECT_EQ(nameRaisedBy([&] { array->addObject(nullptr); }), "NSInvalidArgumentException");
  EXPECT_EQ(nameRaisedBy([&] { (void)NSArray::arrayWithObject(nullptr); }), "NSInvalidArgumentException");
  std::vector<Ref<NSObject>> objects = {1, nullptr};
  EXPECT_EQ(nameRaisedBy([&] { (void)NSArray::arrayByTaking(objects); }), "NSInvalidArgumentException");
  EXPECT_EQ(nameRaisedBy([&] { (void)NSMutableArray::arrayByTaking(objects); }), "NSInvalidArgumentException");
  EXPECT_EQ(array->count(), 0U);
  array->addObject(1);
  EXPECT_EQ(nameRaisedBy([&] { array->replaceObjectAtIndex_withObject(0, nullptr); }), "NSInvalidArgumentException");
  array->addObjectsFromArray(nullptr);
  EXPECT_EQ(joined(array), "1");
}

TEST(ArrayTests, MoreRoomThanMemoryHasIsRefused) {
  constexpr NSUInteger kNoBytesInAll = std::numeric_limits<NSUInteger>::max() / sizeof(void*) + 1;
  EXPECT_THROW(NSMutableArray::arrayWithCapacity(kNoBytesInAll), std::bad_alloc);
}

/// An object that takes itself for equal to everything.
class Alike : public NSObject {
 public:
  bool isEqual(const NSObject*) const override { return true; }
};

TEST(ArrayTests, NoneIsNeverFoundWhateverTheElements) {
  const Ref<NSMutableArray> array = NSMutableArray::array();
  array->addObject(make<Alike>());
  EXPECT_EQ(array->indexOfObject("anything"), 0U);
  EXPECT_EQ(array->indexOfObject(nullptr), NSNotFound);
  array->removeObject(nullptr);
  EXPECT_EQ(array->count(), 1U);
}

TEST(ArrayTests, NoSeparatorStandsBetweenNothing) {
  EXPECT_EQ(NSArray::of("a", "b")->componentsJoinedByString(nullptr)->utf8(), "ab");
}

TEST(ArrayTests, TakingEmptiesTheSource) {
  std::vector<Ref<NSObject>> objects = {1, "two"};
  const Ref<NSArray> array = NSArray::arrayByTaking(objects);
  EXPECT_EQ(joined(array), "1,two");
  EXPECT_FALSE(objects[0]);
  EXPECT_EQ(array->objectAtIndex(1)->retainCount(), 1U);
}

TEST(ArrayTests, FindsByEqualityAndByIdentity) {
  const Ref<NSString> held = "b";
  const Ref<NSArray> array = NSArray::of("a", held, "b");
  EXPECT_EQ(array->indexOfObject("b"), 1U);
  EXPECT_EQ(array->indexOfObject("z"), NSNotFound);
  EXPECT_EQ(array->indexOfObject(nullptr), NSNotFound);
  EXPECT_EQ(array->indexOfObjectIdenticalTo(held), 1U);
  EXPECT_EQ(array->indexOfObjectIdenticalTo(NSMutableString::stringWithString("b")), NSNotFound);
  EXPECT_TRUE(array->containsObject("a"));
}

TEST(ArrayTests, FirstCommonObjectIsTheReceiversOwn) {
  const Ref<NSArray> array = NSArray::of("a", "b", "c");
  EXPECT_EQ(array->firstObjectCommonWithArray(NSArray::of("c", "b"))->description()->utf8(), "b");
  EXPECT_FALSE(array->firstObjectCommonWithArray(NSArray::of("z")));
  EXPECT_FALSE(array->firstObjectCommonWithArray(nullptr));
}

TEST(ArrayTests, CopiesKeepOrChangeMutability) {
  const Ref<NSArray> fixed = NSArray::of(1, 2);
  EXPECT_TRUE(fixed->copy() == fixed);
  EXPECT_TRUE(NSArray::arrayWithArray(fixed) == fixed);
  const Ref<NSMutableArray> changing = fixed->mutableCopy();
  const Ref<NSArray> snapshot = changing->copy();
  changing->addObject(3);
  EXPECT_EQ(joined(snapshot), "1,2");
  EXPECT_FALSE(snapshot->isMutable());
  EXPECT_EQ(joined(fixed), "1,2");
  EXPECT_FALSE(NSArray::arrayWithArray(nullptr));
  EXPECT_FALSE(NSMutableArray::arrayWithArray(nullptr));
  EXPECT_EQ(joined(fixed->arrayByAddingObject(9)), "1,2,9");
  EXPECT_EQ(joined(changing->subarrayWithRange({1, 2})), "2,3");
}

TEST(ArrayTests, ChangesInPlace) {
  const Ref<NSMutableArray> array = NSMutableArray::array();
  array->addObject("b");
  array->insertObject_atIndex("a", 0);
  array->insertObject_atIndex("d", 2);
  array->insertObject_atIndex("c", 2);
  EXPECT_EQ(joined(array), "a,b,c,d");
  array->replaceObjectAtIndex_withObject(0, "A");
  array->removeObjectAtIndex(1);
  EXPECT_EQ(joined(array), "A,c,d");
  array->addObjectsFromArray(array);
  EXPECT_EQ(joined(array), "A,c,d,A,c,d");
  array->removeObject("A");
  EXPECT_EQ(joined(array), "c,d,c,d");
  array->removeObject(array->objectAtIndex(0));
  EXPECT_EQ(joined(array), "d,d");
  array->removeLastObject();
  EXPECT_EQ(joined(array), "d");
  array->removeAllObjects();
  EXPECT_EQ(array->count(), 0U);
  array->addObject("again");
  EXPECT_EQ(joined(array), "again");
}

TEST(ArrayTests, ReleasesWhatItGivesUp) {
  const Ref<NSString> text = NSMutableString::stringWithString("held");
  {
    const Ref<NSMutableArray> array = NSMutableArray::of(text, text, text);
    EXPECT_EQ(text->retainCount(), 4U);
    array->removeObjectAtIndex(0);
    array->replaceObjectAtIndex_withObject(0, 1);
    EXPECT_EQ(text->retainCount(), 2U);
    array->removeObject(text);
    EXPECT_EQ(text->retainCount(), 1U);
    array->addObject(text);
    array->removeAllObjects();
    EXPECT_EQ(text->retainCount(), 1U);
    array->addObject(text);
  }
  EXPECT_EQ(text->retainCount(), 1U);
}

/// An object that cannot be compared.
class Incomparable : public NSObject {
 public:
  bool isEqual(const NSObject*) const override { throw std::bad_alloc(); }
};

TEST(ArrayTests, RemovesNothingWhenComparingFails) {
  const Ref<NSMutableArray> array = NSMutableArray::of("x", "kept", make<Incomparable>(), "x");
  const Ref<NSArray> before = array->copy();
  EXPECT_THROW(array->removeObject("x"), std::bad_alloc);
  ASSERT_EQ(array->count(), 4U);
  for (NSUInteger index = 0; index < 4; ++index) EXPECT_EQ((*array)[index], (*before)[index]) << index;
}

/// An object that adds to an array when it is destroyed; all such are equal.
class Parting : public NSObject {
 public:
  explicit Parting(NSMutableArray* array) : array_(array) {}
  ~Parting() override {
    for (int count = 0; count < 20; ++count) array_->addObject("late");
  }
  bool isEqual(const NSObject* other) const override { return other->kind() == ObjectKind::Other; }

 private:
  NSMutableArray* array_;
};

TEST(ArrayTests, IsWholeWhenWhatItLostIsDestroyed) {
  const Ref<NSMutableArray> array = NSMutableArray::of("a", "b");
  array->insertObject_atIndex(make<Parting>(array.get()), 0);
  array->insertObject_atIndex(make<Parting>(array.get()), 2);
  array->removeObject(make<Alike>());
  std::string expected = "a,b";
  for (int count = 0; count < 40; ++count) expected += ",late";
  EXPECT_EQ(joined(array), expected);
}

bool isAnything(const NSObject&, const NSObject* other) { return other != nullptr; }

TEST(ArrayTests, ObjectsOfHostsAreComparedByMessage) {
  Class made = registerSubclass(NSObject::classObject(), "AlikeInArrays");
  class_addMethod<&isAnything>(made, ZT_SELECTOR("isEqual:"));
  const Ref<NSMutableArray> array = NSMutableArray::of("a", class_createInstance(made));
  const Ref<NSObject> other = class_createInstance(made);
  EXPECT_EQ(array->indexOfObject(other), 1U);
  EXPECT_TRUE(NSArray::of(other)->firstObjectCommonWithArray(array));
  array->removeObject(other);
  EXPECT_EQ(joined(array), "a");
}

TEST(ArrayTests, EqualityIsByElements) {
  EXPECT_TRUE(isEqual(NSArray::of(1, "a"), NSMutableArray::of(1.0, "a")));
  EXPECT_FALSE(isEqual(NSArray::of(1), NSArray::of(true)));
  EXPECT_FALSE(isEqual(NSArray::of(1), NSArray::of(1, 1)));
  EXPECT_FALSE(isEqual(NSArray::of(1, 2), NSArray::of(2, 1)));
  EXPECT_EQ(NSArray::of(1, "a")->hash(), NSMutableArray::of(1.0, "a")->hash());
}

TEST(ArrayTests, GrowsALotInLinearTime) {
  const Ref<NSMutableArray> array = NSMutableArray::array();
  for (int number = 0; number < 200000; ++number) array->addObject(number);
  EXPECT_EQ(array->count(), 200000U);
  int expected = 0;
  for (const Ref<NSObject>& object : *array) ASSERT_EQ(as<NSNumber>(object)->intValue(), expected++);
}

}  // namespace
}  // namespace ZtFoundation
