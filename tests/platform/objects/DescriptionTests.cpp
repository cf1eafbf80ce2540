#include <gtest/gtest.h>

#include <string>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

std::string text(const Ref<NSObject>& value) { return value->description()->utf8(); }

TEST(Description, EmptyCollections) {
  EXPECT_EQ(text(NSArray::array()), "(\n)");
  EXPECT_EQ(text(NSDictionary::dictionary()), "{\n}");
  EXPECT_EQ(text(NSSet::set()), "{(\n)}");
}

TEST(Description, NestsWithFourBlanks) {
  const Ref<NSDictionary> value =
      NSDictionary::dictionaryWithEntries({{"Name", "Alice B"},
                                           {"List", NSArray::of(1, NSArray::of("x"), NSDictionary::dictionary())},
                                           {"Set", NSSet::setWithObjects({"a", "b"})}});
  EXPECT_EQ(text(value),
            "{\n"
            "    Name = \"Alice B\";\n"
            "    List = (\n"
            "        1,\n"
            "        (\n"
            "            x\n"
            "        ),\n"
            "        {\n"
            "        }\n"
            "    );\n"
            "    Set = {(\n"
            "        a,\n"
            "        b\n"
            "    )};\n"
            "}");
}

TEST(Description, QuotesWhatIsNoPlainWord) {
  const std::pair<Ref<NSObject>, const char*> cases[] = {
      {"plain_Word-1.0$/a:b", "plain_Word-1.0$/a:b"},
      {"", "\"\""},
      {"two words", "\"two words\""},
      {"http://x", "\"http://x\""},
      {"a\"b\\c", "\"a\\\"b\\\\c\""},
      {"\n\t\r", "\"\\n\\t\\r\""},
      {Ref<NSString>(std::u16string_view(u"\0\x1B\x7F", 3)), "\"\\000\\033\\177\""},
      {"\xC3\xBC", "\"\\U00fc\""},
      {u"\u012F", "\"\\U012f\""},
      {"\xF0\x9F\x98\x80", "\"\\Ud83d\\Ude00\""},
      {Ref<NSString>(u"\xD800"), "\"\\Ud800\""},
      {-5, "-5"},
      {2.5, "2.5"},
      {1e30, "\"1e+30\""},
      {true, "1"},
      {NSData::dataWithBytes("abcde"), "<61626364 65>"},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(0), "\"2001-01-01 00:00:00 +0000\""},
  };
  for (const auto& [value, expected] : cases) {
    EXPECT_EQ(text(NSArray::of(value)), "(\n    " + std::string(expected) + "\n)");
  }
}

TEST(Description, QuotesKeysToo) {
  EXPECT_EQ(text(NSDictionary::dictionaryWithEntries({{"my key", 1}})), "{\n    \"my key\" = 1;\n}");
}

TEST(Description, MembersOfASetAreShownAsTheyWereWhenTheyCame) {
  const Ref<NSMutableString> member = NSMutableString::stringWithString("a");
  const Ref<NSSet> set = NSSet::setWithObjects({member});
  member->appendString("b");
  EXPECT_EQ(text(set), "{(\n    a\n)}");
}

TEST(Description, WhatIsHeldTwiceIsShownTwice) {
  const Ref<NSArray> shared = NSArray::of(1);
  EXPECT_EQ(text(NSArray::of(shared, shared)), "(\n    (\n        1\n    ),\n    (\n        1\n    )\n)");
}

TEST(Description, DeepValuesNeedNoStackAndLittleText) {
  Ref<NSObject> value = "leaf";
  for (int level = 0; level < 200'000; ++level) value = NSArray::of(value);
  const std::string described = text(value);
  EXPECT_EQ(described.substr(0, 8), "(\n    (\n");
  EXPECT_NE(described.find("leaf"), std::string::npos);
  EXPECT_LT(described.size(), 60'000'000U);
}

TEST(Description, SharedContainersCannotFillTheMemory) {
  Ref<NSObject> value = NSArray::of("a leaf of some length");
  for (int level = 0; level < 60; ++level) value = NSArray::of(value, value);
  const std::string described = text(value);
  EXPECT_LT(described.size(), 20U << 20);
  EXPECT_NE(described.find("(...)"), std::string::npos);
}

TEST(Description, EndsOnCycles) {
  Ref<NSMutableArray> array = NSMutableArray::array();
  array->addObject(array);
  EXPECT_NE(text(array).find("(...)"), std::string::npos);
  array->removeAllObjects();
}

}  // namespace
}  // namespace ZtFoundation
