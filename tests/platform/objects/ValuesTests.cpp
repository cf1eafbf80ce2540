#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
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

TEST(Values, RealsWithoutFractionAreIntegersWhereTheyFit) {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  const auto real = [](double value) { return Ref<NSObject>(value); };
  EXPECT_EQ(valueAs<std::uint64_t>(real(1e19)), 10'000'000'000'000'000'000U);
  EXPECT_EQ(valueAs<std::uint64_t>(real(kTwoTo63)), std::uint64_t{1} << 63);
  EXPECT_EQ(valueAs<std::int64_t>(real(-kTwoTo63)), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(valueAs<std::int8_t>(real(-128)), -128);
  EXPECT_EQ(valueAs<unsigned>(real(-0.0)), 0U);
  EXPECT_FALSE(valueAs<std::uint64_t>(real(2 * kTwoTo63)));
  EXPECT_FALSE(valueAs<std::uint64_t>(real(-1)));
  EXPECT_FALSE(valueAs<std::int64_t>(real(kTwoTo63)));
  EXPECT_FALSE(valueAs<std::int8_t>(real(128)));
  EXPECT_FALSE(valueAs<std::int8_t>(real(-129)));
  EXPECT_FALSE(valueAs<std::int8_t>(real(127.5)));
  EXPECT_FALSE(valueAs<int>(real(std::numeric_limits<double>::infinity())));
  EXPECT_FALSE(valueAs<int>(real(std::numeric_limits<double>::quiet_NaN())));
}

TEST(Values, FloatsRoundButHoldNothingTooLarge) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const auto asFloat = [](const Ref<NSObject>& number) { return valueAs<float>(number); };
  EXPECT_EQ(asFloat(0.1), 0.1F);
  EXPECT_EQ(asFloat(16777217), 16777216.0F);
  EXPECT_EQ(asFloat(-kInfinity), -std::numeric_limits<float>::infinity());
  EXPECT_FALSE(asFloat(1e300));
  EXPECT_FALSE(asFloat(-1e300));
  EXPECT_FALSE(asFloat(true));
  EXPECT_EQ(valueAs<double>(Ref<NSObject>(1e300)), 1e300);
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
