#include <gtest/gtest.h>

#include <cmath>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/Set.h>

#include "support/Interchange.h"
#include "support/Serialization.h"

namespace ZtFoundation {

namespace test {

/// A host's object that has nothing to say of itself.
class Silent : public NSObject {
  ZT_OBJECT(Silent, NSObject)
 public:
  Ref<NSString> description() const override { return nullptr; }
};

ZT_IMPLEMENT_CLASS(Silent);

}  // namespace test

namespace {

using namespace support;
using Codec = NSPropertyListSerialization;

constexpr NSUInteger kOpenStep = NSPropertyListOpenStepFormat;
constexpr NSUInteger kXML = NSPropertyListXMLFormat_v1_0;
constexpr NSUInteger kBinary = NSPropertyListBinaryFormat_v1_0;

Ref<NSObject> settings() {
  return NSDictionary::dictionaryWithEntries(
      {{"Name", "Alice"}, {"Age", 42}, {"Admin", true}, {"List", NSArray::of("a", NSData::dataWithBytes("b"))}});
}

TEST(PropertyListSerialization, FormatsHaveTheirNumbers) {
  EXPECT_EQ(kOpenStep, 1U);
  EXPECT_EQ(kXML, 100U);
  EXPECT_EQ(kBinary, 200U);
}

TEST(PropertyListSerialization, WhatIsWrittenIsRead) {
  for (const NSUInteger format : {kXML, kBinary}) {
    const WriteResult written = write(settings(), format);
    ASSERT_TRUE(written.data) << written.error;
    const ReadResult result = read(written.bytes());
    EXPECT_TRUE(isEqual(result.value, settings())) << result.error;
    EXPECT_EQ(result.format, format);
  }
}

TEST(PropertyListSerialization, BinaryFilesAreTheSameForEveryMachineWord) {
  const std::string file = test::interchangedFile("binary.plist");
  EXPECT_EQ(write(test::interchangedValue(), kBinary).bytes(), file);
  const ReadResult result = read(file);
  EXPECT_TRUE(isEqual(result.value, test::interchangedValue())) << result.error << result.value;
}

TEST(PropertyListSerialization, LimitsOfMachineWordsSurviveXML) {
  const WriteResult written = write(test::interchangedValue(), kXML);
  EXPECT_TRUE(isEqual(read(written.bytes()).value, test::interchangedValue())) << written.bytes();
}

TEST(PropertyListSerialization, RefusesFormatsThatAreNotWritten) {
  EXPECT_EQ(write(settings(), kOpenStep).error, "OpenStep text can be read but not written.");
  for (const NSUInteger format : {NSUInteger{0}, NSUInteger{2}, NSUInteger{65535}, ~NSUInteger{0}}) {
    const WriteResult result = write(settings(), format);
    EXPECT_FALSE(result.data);
    EXPECT_EQ(result.error, "There is no property-list format with the number " + std::to_string(format) + ".");
    EXPECT_FALSE(Codec::propertyList_isValidForFormat(settings(), format));
  }
}

TEST(PropertyListSerialization, NothingIsNoPropertyList) {
  for (const NSUInteger format : {kOpenStep, kXML, kBinary}) {
    EXPECT_FALSE(write(nullptr, format).data);
    EXPECT_FALSE(write(nullptr, format).error.empty());
    EXPECT_FALSE(Codec::propertyList_isValidForFormat(nullptr, format));
  }
  EXPECT_EQ(read("").error, "There are no bytes that could hold a property list.");
  Ref<NSString> error;
  EXPECT_FALSE(Codec::propertyListFromData_mutabilityOption_format_errorDescription(nullptr, 0, nullptr, &error));
  EXPECT_TRUE(error);
  for (const char* text : {" ", "\n\t \r", "// comment", "/* comment */ ", "<!-- comment -->", "\xEF\xBB\xBF"}) {
    EXPECT_FALSE(read(text).value) << text;
    EXPECT_FALSE(read(text).error.empty()) << text;
  }
}

TEST(PropertyListSerialization, OutParametersMayBeAbsent) {
  const Ref<NSData> data = Codec::dataFromPropertyList_format_errorDescription(settings(), kBinary, nullptr);
  ASSERT_TRUE(data);
  EXPECT_TRUE(Codec::propertyListFromData_mutabilityOption_format_errorDescription(data, 0, nullptr, nullptr));
  EXPECT_FALSE(Codec::dataFromPropertyList_format_errorDescription(nullptr, kBinary, nullptr));
  EXPECT_FALSE(Codec::propertyListFromData_mutabilityOption_format_errorDescription(NSData::dataWithBytes("["), 0,
                                                                                    nullptr, nullptr));
}

TEST(PropertyListSerialization, SuccessClearsTheErrorAndSetsTheFormat) {
  Ref<NSString> error = "old";
  NSUInteger format = 7;
  const Ref<NSData> data = Codec::dataFromPropertyList_format_errorDescription(settings(), kBinary, &error);
  EXPECT_FALSE(error);
  error = "old";
  EXPECT_TRUE(Codec::propertyListFromData_mutabilityOption_format_errorDescription(data, 0, &format, &error));
  EXPECT_FALSE(error);
  EXPECT_EQ(format, kBinary);
}

TEST(PropertyListSerialization, FailureLeavesTheFormatAlone) {
  Ref<NSString> error;
  NSUInteger format = 7;
  const Ref<NSData> data = NSData::dataWithBytes("bplist00");
  EXPECT_FALSE(Codec::propertyListFromData_mutabilityOption_format_errorDescription(data, 0, &format, &error));
  EXPECT_EQ(format, 7U);
  EXPECT_TRUE(error);
}

TEST(PropertyListSerialization, OtherOptionsMeanMutableContainers) {
  for (const NSUInteger format : {kXML, kBinary}) {
    const std::string bytes = write(settings(), format).bytes();
    for (const NSUInteger option : {NSUInteger{1}, NSUInteger{3}, NSUInteger{4}, ~NSUInteger{0}}) {
      const Ref<NSDictionary> value = as<NSDictionary>(read(bytes, option).value);
      ASSERT_TRUE(value);
      EXPECT_TRUE(value->isMutable()) << option;
      EXPECT_TRUE(value->lookUp("List")->isMutable()) << option;
      EXPECT_FALSE(value->lookUp("Name")->isMutable()) << option;
    }
  }
}

TEST(PropertyListSerialization, ValidityIsWhetherAFormatCanBeWritten) {
  const Ref<NSObject> self = NSMutableArray::array();
  as<NSMutableArray>(self)->addObject(self);
  Ref<NSObject> deep = NSArray::array();
  for (int level = 0; level < 512; ++level) deep = NSArray::of(deep);
  const struct {
    Ref<NSObject> value;
    bool xml;
    bool binary;
  } cases[] = {
      {"text", true, true},
      {NSData::dataWithBytes("x"), true, true},
      {NSArray::of("a", NSData::data()), true, true},
      {NSDictionary::dictionaryWithEntries({{"a", NSArray::of("b")}}), true, true},
      {NSDictionary::dictionary(), true, true},
      {1, true, true},
      {true, true, true},
      {1.5, true, true},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(0), true, true},
      {NSArray::of("a", 1), true, true},
      {NSDictionary::dictionaryWithEntries({{"CF$UID", 1}}), true, true},
      {std::u16string(1, u'\xD800'), false, true},
      {std::string(1, '\1'), false, true},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(-0x1.fffffffffffffp62), true, true},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(0x1.fffffffffffffp62), true, true},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(-0x1p63), false, true},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(-0x1.8p63), false, true},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(0x1p63), false, true},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(HUGE_VAL), false, false},
      {NSDictionary::dictionaryWithEntries({{1, "a"}}), false, false},
      {NSSet::set(), false, false},
      {NSArray::of(NSSet::set()), false, false},
      {make<NSObject>(), false, false},
      {deep, false, false},
      {self, false, false},
  };
  for (std::size_t at = 0; at < std::size(cases); ++at) {
    SCOPED_TRACE(at);
    const auto& [value, xml, binary] = cases[at];
    EXPECT_FALSE(Codec::propertyList_isValidForFormat(value, kOpenStep));
    EXPECT_EQ(Codec::propertyList_isValidForFormat(value, kXML), xml);
    EXPECT_EQ(Codec::propertyList_isValidForFormat(value, kBinary), binary);
    EXPECT_EQ(static_cast<bool>(write(value, kXML).data), xml);
    EXPECT_EQ(static_cast<bool>(write(value, kBinary).data), binary);
  }
  as<NSMutableArray>(self)->removeAllObjects();
}

TEST(PropertyListSerialization, AKeyWithoutADescriptionHasAPlaceToo) {
  const Ref<NSObject> value = NSDictionary::dictionaryWithEntries({{make<test::Silent>(), 1}});
  for (const NSUInteger format : {kXML, kBinary}) EXPECT_TRUE(write(value, format).error.ends_with(" at /(null)."));
}

}  // namespace
}  // namespace ZtFoundation
