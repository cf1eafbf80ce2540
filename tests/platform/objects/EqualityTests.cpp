#include <gtest/gtest.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

Ref<NSDictionary> dictionary(std::initializer_list<DictionaryEntry> entries) {
  return NSDictionary::dictionaryWithEntries(entries);
}

TEST(Equality, ArraysByElementsInOrder) {
  EXPECT_TRUE(isEqual(NSArray::of(1, "two", true), NSArray::of(1.0, "two", true)));
  EXPECT_FALSE(isEqual(NSArray::of(1, 2), NSArray::of(2, 1)));
  EXPECT_FALSE(isEqual(NSArray::of(1), NSArray::of(1, 2)));
  EXPECT_TRUE(isEqual(NSArray::array(), NSMutableArray::array()));
  EXPECT_FALSE(NSArray::array()->isEqual(nullptr));
}

TEST(Equality, DictionariesByContentInAnyOrder) {
  const Ref<NSDictionary> one = dictionary({{"a", 1}, {"b", 2}});
  EXPECT_TRUE(isEqual(one, dictionary({{"b", 2}, {"a", 1}})));
  EXPECT_TRUE(isEqual(one, one->mutableCopy()));
  EXPECT_FALSE(isEqual(one, dictionary({{"a", 1}, {"b", 3}})));
  EXPECT_FALSE(isEqual(one, dictionary({{"a", 1}, {"c", 2}})));
  EXPECT_FALSE(isEqual(one, dictionary({{"a", 1}})));
  EXPECT_FALSE(isEqual(one, NSArray::of("a", "b")));
}

TEST(Equality, GoesThroughContainersOfEveryKind) {
  const auto value = [](int leaf) {
    return dictionary({{"list", NSArray::of(dictionary({{"deep", leaf}}), NSSet::setWithObjects({leaf}))}});
  };
  EXPECT_TRUE(isEqual(value(1), value(1)));
  EXPECT_FALSE(isEqual(value(1), value(2)));
  EXPECT_FALSE(isEqual(NSArray::of(NSArray::array()), NSArray::of(NSDictionary::dictionary())));
  EXPECT_FALSE(isEqual(NSArray::of(NSArray::array()), NSArray::of("")));
  EXPECT_FALSE(isEqual(NSArray::of(""), NSArray::of(NSArray::array())));
}

Ref<NSObject> nested(int levels, const Ref<NSObject>& leaf) {
  Ref<NSObject> value = leaf;
  for (int level = 0; level < levels; ++level) {
    value = level % 2 == 0 ? Ref<NSObject>(NSArray::of(value)) : Ref<NSObject>(dictionary({{"k", value}}));
  }
  return value;
}

TEST(Equality, AMillionLevelsNeedNoStack) {
  EXPECT_TRUE(nested(1'000'000, 1)->isEqual(nested(1'000'000, 1)));
  EXPECT_FALSE(nested(1000, 1)->isEqual(nested(1000, 2)));
}

Ref<NSObject> shared(int levels, const Ref<NSObject>& leaf) {
  Ref<NSObject> value = NSArray::of(leaf);
  for (int level = 0; level < levels; ++level) value = NSArray::of(value, value);
  return value;
}

TEST(Equality, SharingMakesNoExponentialWork) {
  EXPECT_TRUE(shared(200, 1)->isEqual(shared(200, 1)));
  EXPECT_FALSE(shared(200, 1)->isEqual(shared(200, 2)));
}

// Each level refers to both objects of the level below, crosswise in one of the values.
Ref<NSObject> braided(int levels, bool crossed) {
  Ref<NSObject> left = NSArray::of(1);
  Ref<NSObject> right = NSArray::of(1);
  for (int level = 0; level < levels; ++level) {
    Ref<NSObject> nextLeft = NSArray::of(left, right);
    right = crossed ? NSArray::of(right, left) : NSArray::of(left, right);
    left = nextLeft;
  }
  return NSArray::of(left, right);
}

TEST(Equality, DifferentSharingOfEqualContentsIsEqual) {
  EXPECT_TRUE(braided(200, true)->isEqual(braided(200, false)));
  EXPECT_TRUE(shared(15, 1)->isEqual(NSArray::of(shared(14, 1), shared(14, 1))));
}

TEST(Equality, ADifferenceBehindSharedPartsIsFound) {
  const Ref<NSArray> common = NSArray::of(1);
  const Ref<NSArray> equalToCommon = NSArray::of(1);
  EXPECT_FALSE(isEqual(NSArray::of(common, common), NSArray::of(equalToCommon, NSArray::of(2))));
  EXPECT_FALSE(isEqual(NSArray::of(common, NSArray::of(2)), NSArray::of(equalToCommon, equalToCommon)));
}

TEST(Equality, EndsOnCycles) {
  Ref<NSMutableArray> one = NSMutableArray::array();
  one->addObject(one);
  Ref<NSMutableArray> two = NSMutableArray::array();
  two->addObject(NSArray::of(NSArray::of(two)));
  EXPECT_TRUE(isEqual(one, two));
  two->addObject(1);
  EXPECT_FALSE(isEqual(one, two));
  one->removeAllObjects();
  two->removeAllObjects();
}

}  // namespace
}  // namespace ZtFoundation
