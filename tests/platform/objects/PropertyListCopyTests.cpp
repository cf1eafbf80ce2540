#include <ZtFoundation/platform/PropertyListCopy.h>

#include <gtest/gtest.h>

#include <limits>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

constexpr NSUInteger kOptions[] = {0, 1, 2};

Ref<NSDictionary> sample() {
  return NSDictionary::dictionaryWithEntries(
      {{"list", NSArray::of("text", 1, true, 2.5, std::numeric_limits<unsigned long long>::max(),
                            NSNumber::numberWithFloat(0.1F))},
       {"date", NSDate::dateWithTimeIntervalSinceReferenceDate(0.5)},
       {"data", NSData::dataWithBytes("abc")->mutableCopy()},
       {"text", NSMutableString::stringWithString("\xC3\xBC\xE2\x82\xAC")}});
}

TEST(PropertyListCopy, OptionsDecideTheFlavours) {
  for (const NSUInteger option : {0U, 1U, 2U, 3U}) {
    const Ref<NSObject> copy = CFPropertyListCreateDeepCopy(sample(), option);
    ASSERT_TRUE(isEqual(copy, sample()));
    const Ref<NSDictionary> dictionary = as<NSDictionary>(copy);
    const bool mutableContainers = option != 0;
    EXPECT_EQ(dictionary->isMutable(), mutableContainers);
    EXPECT_EQ(dictionary->objectForKey("list")->isMutable(), mutableContainers);
    EXPECT_EQ(dictionary->objectForKey("text")->isMutable(), option == 2);
    EXPECT_FALSE(dictionary->objectForKey("data")->isMutable());
  }
}

TEST(PropertyListCopy, NumbersKeepTheirTypes) {
  const Ref<NSArray> original = as<NSArray>(sample()->objectForKey("list"));
  const Ref<NSArray> copy = as<NSArray>(CFPropertyListCreateDeepCopy(original, 0));
  for (NSUInteger index = 1; index < original->count(); ++index) {
    EXPECT_EQ(as<NSNumber>(copy->objectAtIndex(index))->type(), as<NSNumber>(original->objectAtIndex(index))->type());
  }
}

TEST(PropertyListCopy, LeavesAreCopiedToo) {
  EXPECT_TRUE(CFPropertyListCreateDeepCopy("text", 2)->isMutable());
  const Ref<NSObject> text = "text";
  EXPECT_NE(CFPropertyListCreateDeepCopy(text, 0), text);
  EXPECT_TRUE(isEqual(CFPropertyListCreateDeepCopy(text, 0), text));
}

TEST(PropertyListCopy, RefusesWhatIsNoPropertyList) {
  for (const NSUInteger option : kOptions) {
    EXPECT_FALSE(CFPropertyListCreateDeepCopy(nullptr, option));
    EXPECT_FALSE(CFPropertyListCreateDeepCopy(make<NSObject>(), option));
    EXPECT_FALSE(CFPropertyListCreateDeepCopy(NSArray::of(1, NSSet::set()), option));
    EXPECT_FALSE(CFPropertyListCreateDeepCopy(NSDictionary::dictionaryWithObject_forKey("value", 1), option));
  }
}

TEST(PropertyListCopy, SortedKeysAreInTheOrderOfTheirUnits) {
  const Ref<NSObject> leaf = NSMutableString::stringWithString("leaf");
  const Ref<NSDictionary> inner = NSDictionary::of({{"b", leaf}, {"a", 1}});
  const Ref<NSDictionary> value = NSMutableDictionary::of({{"\xC3\xBC", 1},
                                                           {"b", NSArray::of(inner, inner)},
                                                           {"B", 2},
                                                           {"\xF0\x9F\x9A\x80", 3},
                                                           {"\xEF\xBF\xBD", 4},
                                                           {"", NSMutableDictionary::dictionary()},
                                                           {"ba", 5}});
  const Ref<NSDictionary> sorted = as<NSDictionary>(propertyListWithSortedKeys(value));
  ASSERT_TRUE(isEqual(sorted, value));
  EXPECT_TRUE(
      isEqual(sorted->allKeys(), NSArray::of("", "B", "b", "ba", "\xC3\xBC", "\xF0\x9F\x9A\x80", "\xEF\xBF\xBD")))
      << sorted->allKeys();
  EXPECT_FALSE(sorted->isMutable());
  const Ref<NSArray> list = as<NSArray>(sorted->objectForKey("b"));
  EXPECT_TRUE(isEqual(as<NSDictionary>(list->objectAtIndex(1))->allKeys(), NSArray::of("a", "b")));
  EXPECT_EQ(list->objectAtIndex(0), list->objectAtIndex(1)) << "what is shared stays so";
  EXPECT_EQ(as<NSDictionary>(list->objectAtIndex(0))->objectForKey("b"), leaf);
}

TEST(PropertyListCopy, WithoutKeysThatAreStringsNothingIsSorted) {
  EXPECT_FALSE(propertyListWithSortedKeys(nullptr));
  EXPECT_FALSE(propertyListWithSortedKeys(NSDictionary::of({{"a", NSDictionary::of({{1, "b"}})}})));
  const Ref<NSMutableArray> cycle = NSMutableArray::array();
  cycle->addObject(cycle);
  EXPECT_FALSE(propertyListWithSortedKeys(cycle));
  cycle->removeAllObjects();
  EXPECT_TRUE(isEqual(propertyListWithSortedKeys("text"), Ref<NSObject>("text")));
}

TEST(PropertyListCopy, GoesToAnyDepth) {
  Ref<NSObject> value = "leaf";
  for (int level = 0; level < 50'000; ++level) {
    value = level % 2 == 0 ? Ref<NSObject>(NSArray::of(value)) : NSDictionary::dictionaryWithObject_forKey(value, "k");
  }
  EXPECT_TRUE(isEqual(CFPropertyListCreateDeepCopy(value, 2), value));
}

Ref<NSObject> shared(int levels) {
  Ref<NSObject> value = NSArray::of(1);
  for (int level = 0; level < levels; ++level) value = NSArray::of(value, value);
  return value;
}

TEST(PropertyListCopy, MutableCopiesHaveAContainerForEachPlace) {
  const Ref<NSArray> copy = as<NSArray>(CFPropertyListCreateDeepCopy(shared(3), 1));
  EXPECT_TRUE(isEqual(copy, shared(3)));
  EXPECT_NE(copy->objectAtIndex(0), copy->objectAtIndex(1));
}

TEST(PropertyListCopy, ImmutableCopiesMayShare) {
  const Ref<NSArray> copy = as<NSArray>(CFPropertyListCreateDeepCopy(shared(200), 0));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->objectAtIndex(0), copy->objectAtIndex(1));
}

TEST(PropertyListCopy, SharedContainersCannotFillTheMemory) {
  EXPECT_TRUE(CFPropertyListCreateDeepCopy(shared(10), 1));
  EXPECT_FALSE(CFPropertyListCreateDeepCopy(shared(60), 1));
}

TEST(PropertyListCopy, ManyReferencesToOneContainerAreCopied) {
  constexpr NSUInteger kReferences = 600'000;
  const Ref<NSDictionary> one = NSDictionary::dictionaryWithObject_forKey(1, "a");
  Ref<NSMutableArray> list = NSMutableArray::arrayWithCapacity(kReferences);
  for (NSUInteger index = 0; index < kReferences; ++index) list->addObject(one);
  const Ref<NSArray> value = NSArray::of(NSDictionary::of({{"list", list}}));
  for (const Ref<NSObject>& copied : {CFPropertyListCreateDeepCopy(value, 2), detail::copyContainers(value)}) {
    ASSERT_TRUE(copied);
    const Ref<NSArray> copy =
        as<NSArray>(as<NSDictionary>(as<NSArray>(copied)->objectAtIndex(0))->objectForKey("list"));
    ASSERT_TRUE(copy);
    ASSERT_EQ(copy->count(), kReferences);
    EXPECT_TRUE(isEqual(copy->objectAtIndex(kReferences - 1), one));
    EXPECT_NE(copy->objectAtIndex(kReferences - 1), copy->objectAtIndex(0));
  }
}

// The first copy of what is shared costs nothing, each further one its elements and itself.
TEST(PropertyListCopy, RepeatedCopiesHoldAsMuchAsTheLimitSays) {
  constexpr NSUInteger kElements = 1023;
  const Ref<NSMutableArray> shared = NSMutableArray::array();
  for (NSUInteger index = 0; index < kElements; ++index) shared->addObject("element");
  const Ref<NSMutableArray> list = NSMutableArray::array();
  for (NSUInteger left = kRepeatedElements / (kElements + 1) + 1; left != 0; --left) list->addObject(shared);
  EXPECT_TRUE(detail::copyContainers(list));
  list->addObject(shared);
  EXPECT_FALSE(detail::copyContainers(list));
}

// However large the rest is, what doubles with each level is refused.
TEST(PropertyListCopy, ALargeValueDoesNotBuyExponentialCopies) {
  Ref<NSMutableArray> list = NSMutableArray::array();
  for (int index = 0; index < 100'000; ++index) list->addObject(index);
  list->addObject(shared(60));
  EXPECT_FALSE(CFPropertyListCreateDeepCopy(list, 2));
  EXPECT_FALSE(detail::copyContainers(list));
}

TEST(PropertyListCopy, ContainersInsideThemselvesGiveNone) {
  Ref<NSMutableArray> one = NSMutableArray::array();
  one->addObject(NSDictionary::dictionaryWithObject_forKey(one, "self"));
  for (const NSUInteger option : kOptions) EXPECT_FALSE(CFPropertyListCreateDeepCopy(one, option));
  EXPECT_FALSE(detail::copyContainers(one));
  one->removeAllObjects();
}

TEST(PropertyListCopy, OfContainersSharesEverythingElse) {
  const Ref<NSObject> object = make<NSObject>();
  const Ref<NSArray> copy = as<NSArray>(detail::copyContainers(NSArray::of(object, NSArray::of(object))));
  EXPECT_EQ(copy->objectAtIndex(0), object);
  EXPECT_EQ(as<NSMutableArray>(copy->objectAtIndex(1))->objectAtIndex(0), object);
  EXPECT_FALSE(detail::copyContainers(nullptr));
}

}  // namespace
}  // namespace ZtFoundation
