#include <gtest/gtest.h>

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Number.h>

namespace ZtFoundation {
namespace {

Ref<NSObject> copyOf(const Ref<NSObject>& value, NSUInteger option, Ref<NSString>* error) {
  return QvFoundationExtensions::propertyListFromPropertyList_mutabilityOption_errorDescription(value, option, error);
}

Ref<NSObject> sample() {
  return NSDictionary::dictionaryWithEntries({{"list", NSArray::of("text", 1, true, 1.5)},
                                              {"date", NSDate::date()},
                                              {"data", NSData::dataWithBytes("bytes")},
                                              {"string", "more text"},
                                              {"integer", 123456789},
                                              {"real", 2.5}});
}

TEST(RoundTripCopy, IsEqualAndNewThroughout) {
  const Ref<NSObject> value = sample();
  Ref<NSString> error = "old";
  const Ref<NSObject> copy = copyOf(value, 0, &error);
  ASSERT_TRUE(isEqual(copy, value));
  EXPECT_FALSE(error);
  EXPECT_NE(copy, value);
  const NSDictionary* const before = as<NSDictionary>(value.get());
  for (const auto& [key, item] : *as<NSDictionary>(copy)) EXPECT_NE(item.get(), before->lookUp(key.get())) << key;
  const NSObject* const text = as<NSArray>(before->lookUp("list"))->objectAtIndex(0).get();
  EXPECT_NE(as<NSArray>(as<NSDictionary>(copy)->lookUp("list"))->objectAtIndex(0).get(), text);
}

TEST(RoundTripCopy, TheTextMayBeNoneOfInterest) {
  const Ref<NSObject> value = sample();
  EXPECT_TRUE(isEqual(copyOf(value, 0, nullptr), value));
}

TEST(RoundTripCopy, TheOptionDecidesTheFlavours) {
  for (const NSUInteger option : {0U, 1U, 2U, 3U}) {
    const Ref<NSDictionary> copy = as<NSDictionary>(copyOf(sample(), option, nullptr));
    ASSERT_TRUE(copy);
    const NSArray* list = as<NSArray>(copy->lookUp("list"));
    EXPECT_EQ(copy->isMutable(), option != 0);
    EXPECT_EQ(list->isMutable(), option != 0);
    EXPECT_EQ(list->objectAtIndex(0)->isMutable(), option == 2);
  }
}

TEST(RoundTripCopy, WhatBinaryCannotHoldGivesNothingAndAText) {
  for (const Ref<NSObject>& value : {Ref<NSObject>(), Ref<NSObject>(NSArray::of(make<NSObject>())),
                                     Ref<NSObject>(NSDictionary::dictionaryWithEntries({{1, 2}}))}) {
    Ref<NSString> error;
    EXPECT_FALSE(copyOf(value, 1, &error));
    Ref<NSString> reason;
    NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, NSPropertyListBinaryFormat_v1_0,
                                                                              &reason);
    ASSERT_TRUE(error && reason);
    EXPECT_EQ(error->utf8(), reason->utf8());
    EXPECT_FALSE(copyOf(value, 1, nullptr));
  }
}

TEST(RoundTripCopy, AContainerInTwoPlacesBecomesTwoMutableOnes) {
  const Ref<NSArray> shared = NSArray::of("a");
  const Ref<NSArray> copy = as<NSArray>(copyOf(NSArray::of(shared, shared), 1, nullptr));
  ASSERT_TRUE(copy);
  EXPECT_NE((*copy)[0], (*copy)[1]);
}

}  // namespace
}  // namespace ZtFoundation
