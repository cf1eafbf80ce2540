#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ZtFoundation {
namespace {

Ref<NSDictionary> settings() {
  return NSDictionary::of({
      {"Name", "Grüße"},
      {"Count", 300},
      {"Ratio", 0.5},
      {"Whole", 2.0},
      {"On", true},
      {"Huge", ~0ULL},
      {"Servers", NSArray::of(NSDictionary::of({{"Port", 80}}), "between", NSDictionary::of({{"Port", 443}}))},
  });
}

TEST(Values, DictionariesGiveTypes) {
  const auto values = settings();
  EXPECT_EQ(values->get<std::string>("Name"), "Grüße");
  EXPECT_EQ(values->get<int>("Count"), 300);
  EXPECT_EQ(values->get<double>("Ratio"), 0.5);
  EXPECT_EQ(values->get<int>("Whole"), 2);
  EXPECT_EQ(values->get<double>("Count"), 300.0);
  EXPECT_EQ(values->get<bool>("On"), true);
  EXPECT_EQ(values->get<unsigned long long>("Huge"), ~0ULL);
  EXPECT_EQ(values->get<NSArray>("Servers")->count(), 3U);
}

TEST(Values, WhatIsOfAnotherKindOrDoesNotFitIsEmpty) {
  const auto values = settings();
  EXPECT_FALSE(values->get<int>("Name"));
  EXPECT_FALSE(values->get<int>("Ratio"));
  EXPECT_FALSE(values->get<signed char>("Count"));
  EXPECT_FALSE(values->get<long long>("Huge"));
  EXPECT_FALSE(values->get<int>("On"));
  EXPECT_FALSE(values->get<double>("On"));
  EXPECT_FALSE(values->get<bool>("Count"));
  EXPECT_FALSE(values->get<std::string>("Count"));
  EXPECT_FALSE(values->get<NSDictionary>("Servers"));
  EXPECT_FALSE(values->get<std::string>("Absent"));
}

TEST(Values, StepsLeadThroughDictionariesAndArrays) {
  const auto values = settings();
  EXPECT_EQ(valueAt<int>(values, "Servers", 2, "Port"), 443);
  EXPECT_EQ(valueAt<NSObject>(values), values);
  EXPECT_TRUE(isEqual(valueAt<NSObject>(values, "Servers", 1), Ref<NSString>("between")));
}

TEST(Values, AStepThatLeadsNowhereIsEmpty) {
  const auto values = settings();
  EXPECT_FALSE(valueAt<int>(values, "Servers", 3, "Port"));
  EXPECT_FALSE(valueAt<int>(values, "Servers", -1, "Port"));
  EXPECT_FALSE(valueAt<int>(values, "Servers", "0", "Port"));
  EXPECT_FALSE(valueAt<int>(values, "Servers", 1, "Port"));
  EXPECT_FALSE(valueAt<int>(values, 0));
  EXPECT_FALSE(valueAt<int>(values, "Count", "deeper"));
  EXPECT_FALSE(valueAt<int>(values, Ref<NSString>()));
  EXPECT_FALSE(valueAt<NSObject>(Ref<NSDictionary>(), "Count"));
}

TEST(Values, EachPassesOverOtherClasses) {
  std::vector<int> ports;
  for (const Ref<NSDictionary>& server : each<NSDictionary>(settings()->get<NSArray>("Servers"))) {
    ports.push_back(server->get<int>("Port").value_or(0));
  }
  EXPECT_EQ(ports, (std::vector<int>{80, 443}));
  for (const auto& none : each<NSArray>(NSArray::of(1, "a", true))) ADD_FAILURE() << none;
  for (const auto& none : each<NSString>(nullptr)) ADD_FAILURE() << none;
}

TEST(Values, LiteralsMakeMutableDictionariesToo) {
  const auto literal = NSMutableDictionary::of({{"a", 1}, {"b", "two"}, {"a", 3}});
  EXPECT_TRUE(literal->isMutable());
  EXPECT_EQ(literal->count(), 2U);
  literal->setObject_forKey(4, "c");
  EXPECT_TRUE(isEqual(literal, NSDictionary::of({{"a", 3}, {"b", "two"}, {"c", 4}})));
}

}  // namespace
}  // namespace ZtFoundation
