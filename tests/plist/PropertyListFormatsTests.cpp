#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/Set.h>
#include <gtest/gtest.h>

namespace ZtFoundation::test {
namespace {

bool isValid(const Ref<NSObject>& value, QvPropertyListFormat format = QvPropertyListINIFormat) {
  return QvPropertyListSerialization::propertyList_isValidForFormat(value, format);
}

Ref<NSDictionary> dictionary(const Ref<NSObject>& value, const Ref<NSObject>& key = "k") {
  return NSDictionary::dictionaryWithObject_forKey(value, key);
}

TEST(PropertyListFormatsTests, TheINIFormatHasItsNumber) { EXPECT_EQ(QvPropertyListINIFormat, 65535); }

TEST(PropertyListFormatsTests, INITextTakesDictionariesOfSectionsOfSimpleValues) {
  for (const Ref<NSObject>& file : {
           Ref<NSObject>(NSDictionary::dictionary()), Ref<NSObject>(NSMutableDictionary::dictionary()),
           Ref<NSObject>(dictionary(NSDictionary::dictionary())),
           Ref<NSObject>(dictionary(NSMutableDictionary::dictionary())), Ref<NSObject>(dictionary(dictionary("text"))),
           Ref<NSObject>(dictionary(dictionary(NSMutableString::string()))), Ref<NSObject>(dictionary(dictionary(5))),
           Ref<NSObject>(dictionary(dictionary(2.5))), Ref<NSObject>(dictionary(dictionary(true))),
           Ref<NSObject>(dictionary(dictionary(NSDate::date()))), Ref<NSObject>(dictionary(dictionary(NSData::data()))),
           Ref<NSObject>(dictionary(dictionary("text", 5), true)),  // keys are not examined
       }) {
    EXPECT_TRUE(isValid(file)) << file;
  }
}

TEST(PropertyListFormatsTests, INITextTakesNothingElse) {
  for (const Ref<NSObject>& value : {
           Ref<NSObject>(),
           Ref<NSObject>("text"),
           Ref<NSObject>(5),
           Ref<NSObject>(NSArray::array()),
           Ref<NSObject>(NSArray::of(NSDictionary::dictionary())),
           Ref<NSObject>(dictionary("no section")),
           Ref<NSObject>(dictionary(NSArray::array())),
           Ref<NSObject>(dictionary(dictionary(NSArray::array()))),
           Ref<NSObject>(dictionary(dictionary(NSDictionary::dictionary()))),
           Ref<NSObject>(dictionary(dictionary(NSSet::set()))),
           Ref<NSObject>(dictionary(dictionary(make<NSObject>()))),
           Ref<NSObject>(NSDictionary::dictionaryWithEntries({{"good", NSDictionary::dictionary()}, {"bad", 1}})),
           Ref<NSObject>(dictionary(NSDictionary::dictionaryWithEntries({{"good", 1}, {"bad", NSArray::array()}}))),
       }) {
    EXPECT_FALSE(isValid(value)) << value;
  }
}

TEST(PropertyListFormatsTests, TheWholeNumberIsCompared) {
  const Ref<NSDictionary> file = dictionary(dictionary("text"));
  for (const QvPropertyListFormat format : {65536, 65535 + 65536, 0, -1, 65534}) EXPECT_FALSE(isValid(file, format));
}

TEST(PropertyListFormatsTests, OtherFormatsAreTheCodecs) {
  for (const Ref<NSObject>& value :
       {Ref<NSObject>(), Ref<NSObject>(NSArray::of(1, "two")), Ref<NSObject>(dictionary("text")),
        Ref<NSObject>(NSSet::set()), Ref<NSObject>(dictionary(dictionary(5)))}) {
    for (const QvPropertyListFormat format : {1, 100, 200, 0, 7, -5}) {
      EXPECT_EQ(isValid(value, format),
                NSPropertyListSerialization::propertyList_isValidForFormat(value, static_cast<NSUInteger>(format)))
          << value << format;
    }
  }
  EXPECT_TRUE(isValid(NSArray::of(1), 100));
  EXPECT_TRUE(isValid(NSArray::of(1), 200));
}

TEST(PropertyListFormatsTests, TheOperationsAreMessagesOfTheClass) {
  const Class one = NSClassFromString("QvPropertyListSerialization");
  ASSERT_EQ(one, QvPropertyListSerialization::classObject());
  const Ref<NSDictionary> file = dictionary(dictionary("text"));
  EXPECT_TRUE(QvPropertyListSerialization::propertyList_isValidForFormat(one, file, QvPropertyListINIFormat));
  EXPECT_FALSE(QvPropertyListSerialization::propertyList_isValidForFormat(nullptr, file, QvPropertyListINIFormat));
  for (const char* name : {"propertyList:isValidForFormat:", "dataFromPropertyList:format:errorDescription:",
                           "propertyListFromData:mutabilityOption:format:errorDescription:"}) {
    EXPECT_TRUE(respondsToSelector(one, NSSelectorFromString(name))) << name;
  }
}

}  // namespace
}  // namespace ZtFoundation::test
