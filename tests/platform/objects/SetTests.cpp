#include <ZtFoundation/platform/Set.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <string>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

std::string membersOf(const Ref<NSSet>& set) { return set->allObjects()->componentsJoinedByString(",")->utf8(); }

TEST(Set, HoldsEachMemberOnceInOrder) {
  Ref<NSSet> set = NSSet::setWithObjects({"b", "a", "b", 1, 1.0});
  EXPECT_EQ(set->count(), 3U);
  EXPECT_EQ(membersOf(set), "b,a,1");
  std::string walked;
  for (const auto& [member, same] : *set) walked += member->description()->utf8();
  EXPECT_EQ(walked, "ba1");
}

TEST(Set, FindsEqualMembers) {
  const Ref<NSString> text = "a";
  Ref<NSSet> set = NSSet::setWithObjects({text});
  EXPECT_TRUE(set->containsObject("a"));
  EXPECT_FALSE(set->containsObject("b"));
  EXPECT_FALSE(set->containsObject(nullptr));
  EXPECT_EQ(set->member("a"), text);
  EXPECT_EQ(set->member("b"), nullptr);
}

TEST(Set, AddingAnEqualObjectKeepsTheOldMember) {
  const Ref<NSString> first = "a";
  const Ref<NSString> second = "a";
  Ref<NSMutableSet> set = NSMutableSet::set();
  set->addObject(first);
  set->addObject(second);
  EXPECT_EQ(set->count(), 1U);
  EXPECT_EQ(set->anyObject(), first);
  EXPECT_EQ(set->member("a"), first);
}

TEST(Set, AMemberStaysWhatItWasWhenTheTextAddedChanges) {
  const Ref<NSMutableString> text = NSMutableString::stringWithString("a");
  const Ref<NSSet> set = NSSet::setWithObjects({text});
  text->appendString("b");
  EXPECT_TRUE(isEqual(set->member("a"), Ref<NSObject>("a")));
  EXPECT_EQ(set->member("a"), set->anyObject());
}

TEST(Set, AnyObjectOfAnEmptySetIsNone) { EXPECT_EQ(NSSet::set()->anyObject(), nullptr); }

TEST(Set, ComesFromArraysAndSets) {
  Ref<NSSet> set = NSSet::setWithArray(NSArray::of("a", "b", "a"));
  EXPECT_EQ(membersOf(set), "a,b");
  EXPECT_EQ(NSSet::setWithSet(set), set);
  EXPECT_EQ(set->copy(), set);
  EXPECT_EQ(NSSet::setWithArray(nullptr), nullptr);
  EXPECT_EQ(NSSet::setWithSet(nullptr), nullptr);
  EXPECT_EQ(NSMutableSet::setWithSet(nullptr), nullptr);
}

TEST(Set, CopiesAreIndependent) {
  Ref<NSMutableSet> set = NSMutableSet::setWithSet(NSSet::setWithObjects({"a"}));
  Ref<NSSet> copy = set->copy();
  Ref<NSMutableSet> mutableCopy = set->mutableCopy();
  set->addObject("b");
  EXPECT_EQ(copy->count(), 1U);
  EXPECT_EQ(mutableCopy->count(), 1U);
  EXPECT_FALSE(copy->isMutable());
  EXPECT_TRUE(mutableCopy->isMutable());
}

TEST(Set, EqualsByMembersInAnyOrder) {
  Ref<NSSet> set = NSSet::setWithObjects({"a", 1});
  Ref<NSSet> other = NSSet::setWithObjects({1.0, "a"})->mutableCopy();
  EXPECT_TRUE(isEqual(set, other));
  EXPECT_EQ(set->hash(), other->hash());
  EXPECT_FALSE(isEqual(set, NSSet::setWithObjects({"a"})));
  EXPECT_FALSE(isEqual(NSSet::setWithObjects({"a"}), set));
  EXPECT_NE(NSSet::setWithObjects({"a"})->hash(), NSSet::setWithObjects({"b"})->hash());
  EXPECT_FALSE(isEqual(set, NSSet::setWithObjects({"a", 2})));
  EXPECT_FALSE(set->isEqual(nullptr));
  EXPECT_FALSE(isEqual(set, NSArray::of("a", 1)));
}

TEST(Set, Subsets) {
  Ref<NSSet> small = NSSet::setWithObjects({"a"});
  Ref<NSSet> large = NSSet::setWithObjects({"a", "b"});
  EXPECT_TRUE(small->isSubsetOfSet(large));
  EXPECT_FALSE(large->isSubsetOfSet(small));
  EXPECT_TRUE(NSSet::set()->isSubsetOfSet(small));
  EXPECT_FALSE(small->isSubsetOfSet(nullptr));
}

TEST(Set, HoldsNoNone) {
  EXPECT_THROW(NSSet::setWithObjects({nullptr}), NSException);
  try {
    NSMutableSet::set()->addObject(nullptr);
    ADD_FAILURE() << "nothing was raised";
  } catch (const NSException& raised) {
    EXPECT_EQ(raised.name()->utf8(), NSInvalidArgumentException()->utf8());
    EXPECT_EQ(raised.reason()->utf8(), "a set holds no none");
  }
}

template <class Action>
std::string reasonRaisedBy(Action action) {
  try {
    action();
  } catch (const NSException& raised) {
    EXPECT_EQ(raised.name()->utf8(), NSInvalidArgumentException()->utf8());
    return raised.reason()->utf8();
  }
  return "nothing";
}

TEST(Set, HoldsNoCollections) {
  for (const Ref<NSObject>& collection : {Ref<NSObject>(NSArray::array()), Ref<NSObject>(NSSet::set())}) {
    EXPECT_EQ(reasonRaisedBy([&] { NSSet::setWithObjects({collection}); }), "a set holds no collection");
    EXPECT_EQ(reasonRaisedBy([&] { NSSet::setWithArray(NSArray::of(collection)); }), "a set holds no collection");
    EXPECT_EQ(reasonRaisedBy([&] { NSMutableSet::set()->addObject(collection); }), "a set holds no collection");
    EXPECT_FALSE(NSSet::setWithObjects({"a"})->containsObject(collection));
  }
}

bool isAnything(const NSObject&, const NSObject* other) { return other != nullptr; }
NSUInteger alwaysSeven(const NSObject&) { return 7; }

TEST(Set, MembersOfHostsAreAskedByMessage) {
  Class made = registerSubclass(NSObject::classObject(), "AlikeInSets");
  class_addMethod<&isAnything>(made, ZT_SELECTOR("isEqual:"));
  class_addMethod<&alwaysSeven>(made, ZT_SELECTOR("hash"));
  const Ref<NSSet> one = NSSet::setWithObjects({class_createInstance(made), class_createInstance(made)});
  const Ref<NSSet> other = NSSet::setWithObjects({class_createInstance(made)});
  EXPECT_EQ(one->count(), 1U);
  EXPECT_TRUE(isEqual(one, other));
  EXPECT_EQ(one->hash(), other->hash());
}

// The processor time, in seconds, that it takes to remove the members one by one, each chosen by `next`.
template <class Next>
double secondsToDrain(int members, Next next) {
  const Ref<NSMutableSet> set = NSMutableSet::set();
  for (int number = 0; number < members; ++number) set->addObject(number);
  const std::clock_t start = std::clock();
  for (int left = members; left > 0; --left) set->removeObject(next(*set, left));
  EXPECT_EQ(set->count(), 0U);
  EXPECT_EQ(set->anyObject(), nullptr);
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

TEST(MutableSet, TheFirstMemberIsFoundAsFastWhereOthersWereRemoved) {
  constexpr int kMembers = 20000;
  double fromFront = std::numeric_limits<double>::max();
  double fromBack = 0;
  for (int attempt = 0; attempt < 3; ++attempt) {
    fromBack = std::max(fromBack, secondsToDrain(kMembers, [](NSMutableSet&, int left) { return left - 1; }));
    fromFront = std::min(fromFront, secondsToDrain(kMembers, [](NSMutableSet& set, int) { return set.anyObject(); }));
  }
  EXPECT_LT(fromFront, 20 * fromBack + 1e-3);
}

TEST(MutableSet, KnowsItsFirstMemberAfterEveryChange) {
  const Ref<NSMutableSet> set = NSSet::setWithObjects({"a", "b", "c", "d"})->mutableCopy();
  set->removeObject("b");
  EXPECT_EQ(membersOf(set), "a,c,d");
  set->removeObject("a");
  EXPECT_EQ(membersOf(set), "c,d");
  for (const char* added : {"e", "a", "f", "g"}) set->addObject(added);
  EXPECT_EQ(membersOf(set), "c,d,e,a,f,g");
  set->removeObject("c");
  set->removeAllObjects();
  set->addObject("h");
  EXPECT_EQ(membersOf(set), "h");
}

TEST(MutableSet, RemovesMembers) {
  Ref<NSMutableSet> set = NSSet::setWithObjects({"a", "b", "c"})->mutableCopy();
  set->removeObject("b");
  set->removeObject("x");
  set->removeObject(nullptr);
  EXPECT_EQ(membersOf(set), "a,c");
  set->removeAllObjects();
  EXPECT_EQ(set->count(), 0U);
}

}  // namespace
}  // namespace ZtFoundation
