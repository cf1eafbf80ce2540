#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cmath>
#include <ctime>
#include <limits>
#include <new>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>

#include "support/BinaryFile.h"
#include "support/ChildProcess.h"
#include "support/PeakMemory.h"
#include "support/Sanitizers.h"
#include "support/Serialization.h"

namespace ZtFoundation {
namespace {

using namespace support;

constexpr NSUInteger kImmutable = NSPropertyListImmutable;
constexpr NSUInteger kContainers = NSPropertyListMutableContainers;
constexpr NSUInteger kLeaves = NSPropertyListMutableContainersAndLeaves;
constexpr NSUInteger kAllOptions[] = {kImmutable, kContainers, kLeaves};

const std::string kZeros7(7, '\0');
const std::string kZeros8(8, '\0');
const std::string kOnes8(8, '\xFF');

std::string fileOf(const std::string& object) { return BinaryFile{.objects = {object}}.text(); }

// A dictionary, two arrays, a shared string and one scalar of each kind.
std::string sample() {
  return BinaryFile{.objects = {dictionary({1, 2, 3}, {4, 5, 6}), ascii("Name"), ascii("List"), ascii("Empty"),
                                bytes({0x62, 0x00, 0xE9, 0xD8, 0x00}), array({1, 7, 8, 9, 10, 11, 12, 13}), array({}),
                                bytes({0x11, 0x01, 0x00}), bytes({0x23}) + realBytes(1.5),
                                bytes({0x33}) + realBytes(-1e9), bytes({0x43, 1, 2, 3}), bytes({0x09}),
                                bytes({0x80, 0x07}), ascii("longer than fifteen units")}}
      .text();
}

const NSDictionary& dictionaryIn(const Ref<NSObject>& value) { return *as<NSDictionary>(value); }
const NSArray& arrayIn(const Ref<NSObject>& value) { return *as<NSArray>(value); }
NSObject* at(const NSObject* value, NSUInteger index) { return as<NSArray>(value)->objectAtIndex(index).get(); }

// --- Scalars

TEST(BinaryReader, ReadsEachScalar) {
  const struct {
    std::string object;
    Ref<NSObject> expected;
  } cases[] = {
      {bytes({0x08}), false},
      {bytes({0x09}), true},
      {bytes({0x10, 0xFF}), 255},
      {bytes({0x11, 0xFF, 0xFE}), 0xFFFE},
      {bytes({0x12, 0xFF, 0xFF, 0xFF, 0xFE}), 0xFFFFFFFEU},
      {bytes({0x13}) + kOnes8, -1},
      {bytes({0x13, 0x80}) + kZeros7, std::numeric_limits<std::int64_t>::min()},
      {bytes({0x14}) + kZeros8 + kZeros7 + bytes({1}), 1},
      {bytes({0x14}) + kZeros8 + kOnes8, ~std::uint64_t{0}},
      {bytes({0x14}) + kZeros8 + bytes({0x80}) + kZeros7, std::uint64_t{1} << 63},
      {bytes({0x14}) + kOnes8 + kOnes8, -1},
      {bytes({0x22, 0x3F, 0xC0, 0, 0}), 1.5},
      {bytes({0x23}) + realBytes(8263.0072447640268), 8263.0072447640268},
      {bytes({0x23}) + realBytes(HUGE_VAL), HUGE_VAL},
      {bytes({0x23}) + realBytes(std::nan("")), std::nan("")},
      {bytes({0x40}), NSData::data()},
      {bytes({0x42, 0, 255}), NSData::dataWithBytes(bytes({0, 255}))},
      {bytes({0x4F, 0x10, 0x10}) + std::string(16, 'x'), NSData::dataWithBytes(std::string(16, 'x'))},
      {bytes({0x50}), ""},
      {ascii("abc"), "abc"},
      {ascii(std::string("\0\1\x1F", 3)), std::u16string(u"\0\1\x1F", 3)},
      {ascii("Gr\xC3\xBC\xC3\x9F"), u"Gr\u00FC\u00DF"},
      {bytes({0x63, 0x00, 0x41, 0x20, 0xAC, 0x00, 0xFC}), u"A\u20AC\u00FC"},
      {bytes({0x62, 0x00, 0x41, 0x00, 0x42}), "AB"},
      {bytes({0x60}), ""},
      {bytes({0x62, 0xD8, 0x00, 0x00, 0x41}), std::u16string{u'\xD800', u'A'}},
      {bytes({0x62, 0xD8, 0x3D, 0xDE, 0x80}), u"\U0001F680"},
  };
  for (const auto& [object, expected] : cases) {
    for (const NSUInteger option : kAllOptions) {
      SCOPED_TRACE(::testing::PrintToString(object) + " with option " + std::to_string(option));
      const ReadResult result = read(fileOf(object), option);
      ASSERT_TRUE(result.value) << result.error;
      EXPECT_EQ(result.error, "");
      EXPECT_TRUE(isEqual(result.value, expected)) << result.value;
      EXPECT_EQ(result.value->kind(), expected->kind());
      EXPECT_EQ(result.format, NSUInteger{NSPropertyListBinaryFormat_v1_0});
    }
  }
}

TEST(BinaryReader, KeepsTheTypesOfNumbers) {
  const auto typeOf = [](const std::string& object) { return as<NSNumber>(read(fileOf(object)).value)->type(); };
  EXPECT_EQ(typeOf(bytes({0x09})), NumberType::Boolean);
  EXPECT_EQ(typeOf(bytes({0x10, 1})), NumberType::Signed);
  EXPECT_EQ(typeOf(bytes({0x14}) + kZeros8 + kOnes8), NumberType::Unsigned);
  EXPECT_EQ(typeOf(bytes({0x22, 0, 0, 0, 0})), NumberType::Float);
  EXPECT_EQ(typeOf(bytes({0x23}) + kZeros8), NumberType::Double);
}

// Findings: year 0, "distant past", times before 1970 and far in the future.
TEST(BinaryReader, ReadsDatesBitForBit) {
  for (const double seconds : {0.0, -0.0, -1e9, -63114076800.0, -62135769600.0, 2147483648.0, 1e300, 5e-324, 0.1}) {
    const ReadResult result = read(fileOf(bytes({0x33}) + realBytes(seconds)));
    const NSDate* date = as<NSDate>(result.value.get());
    ASSERT_NE(date, nullptr) << result.error;
    EXPECT_EQ(realBytes(date->timeIntervalSinceReferenceDate()), realBytes(seconds));
  }
}

TEST(BinaryReader, RefusesDatesThatAreNoTime) {
  for (const double seconds : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_EQ(read(fileOf(bytes({0x33}) + realBytes(seconds))).error,
              "Expected a date, but found a number of seconds that is infinite or none at byte 8.");
  }
}

// --- Lengths and widths

TEST(BinaryReader, TakesLengthsOfAnyWidth) {
  const std::string text = "sixteen letters!";
  const std::string lengths[] = {bytes({0x10, 16}), bytes({0x11, 0, 16}), bytes({0x12, 0, 0, 0, 16}),
                                 bytes({0x13}) + kZeros7 + bytes({16}),
                                 bytes({0x14}) + kZeros8 + kZeros7 + bytes({16})};
  for (const std::string& length : lengths) {
    EXPECT_TRUE(isEqual(read(fileOf(bytes({0x5F}) + length + text)).value, Ref<NSObject>(text)));
    EXPECT_TRUE(isEqual(read(fileOf(bytes({0x4F}) + length + text)).value, NSData::dataWithBytes(text)));
  }
}

TEST(BinaryReader, TakesOffsetsAndReferencesOfOneToEightBytes) {
  for (unsigned offsetSize = 1; offsetSize <= 8; ++offsetSize) {
    for (unsigned referenceSize = 1; referenceSize <= 8; ++referenceSize) {
      const BinaryFile file{
          .objects = {dictionary({1, 2}, {2, 3}, referenceSize), ascii("a"), ascii("b"), array({1}, referenceSize)},
          .offsetSize = offsetSize,
          .referenceSize = referenceSize};
      const ReadResult result = read(file.text());
      ASSERT_TRUE(result.value) << offsetSize << ' ' << referenceSize << ' ' << result.error;
      EXPECT_TRUE(isEqual(result.value, NSDictionary::dictionaryWithEntries({{"a", "b"}, {"b", NSArray::of("a")}})));
    }
  }
}

TEST(BinaryReader, TheTopObjectMayBeAnyOne) {
  EXPECT_TRUE(isEqual(read(BinaryFile{.objects = {ascii("a"), ascii("b"), array({0, 1})}, .top = 2}.text()).value,
                      NSArray::of("a", "b")));
}

TEST(BinaryReader, ObjectsThatNobodyRefersToAreNotLookedAt) {
  EXPECT_TRUE(isEqual(read(BinaryFile{.objects = {ascii("a"), bytes({0xFF})}}.text()).value, Ref<NSObject>("a")));
}

// --- Containers

TEST(BinaryReader, KeepsTheOrderOfKeys) {
  const ReadResult result =
      read(BinaryFile{.objects = {dictionary({2, 1, 3}, {1, 2, 3}), ascii("m"), ascii("z"), ascii("a")}}.text());
  std::string keys;
  for (const auto& [key, value] : dictionaryIn(result.value)) keys += key->description()->utf8();
  EXPECT_EQ(keys, "zma");
}

TEST(BinaryReader, EachDictionaryFindsItsOwnKeys) {
  const BinaryFile file{.objects = {array({1, 2}), dictionary({3, 4}, {3, 4}), dictionary({5, 6}, {7, 6}), ascii("a"),
                                    ascii("b"), ascii("c"), ascii("d"), dictionary({4}, {3})}};
  for (const NSUInteger option : kAllOptions) {
    const Ref<NSObject> value = read(file.text(), option).value;
    ASSERT_TRUE(value);
    const NSDictionary& second = *as<NSDictionary>(at(value.get(), 1));
    EXPECT_TRUE(isEqual(second.objectForKey("c"), NSDictionary::dictionaryWithEntries({{"b", "a"}})));
    EXPECT_TRUE(isEqual(second.objectForKey("d"), Ref<NSObject>("d")));
  }
}

TEST(BinaryReader, AKeyOfSeveralDictionariesIsOneString) {
  const BinaryFile file{.objects = {array({1, 2}), dictionary({3}, {3}), dictionary({3}, {3}), ascii("key")}};
  for (const NSUInteger option : kAllOptions) {
    const Ref<NSObject> value = read(file.text(), option).value;
    ASSERT_TRUE(value);
    EXPECT_EQ(as<NSDictionary>(at(value.get(), 0))->begin()->key, as<NSDictionary>(at(value.get(), 1))->begin()->key);
  }
}

TEST(BinaryReader, EmptyKeysAndContainersAreValues) {
  const ReadResult result = read(BinaryFile{.objects = {dictionary({1}, {2}), ascii(""), dictionary({}, {})}}.text());
  EXPECT_TRUE(isEqual(result.value, NSDictionary::dictionaryWithEntries({{"", NSDictionary::dictionary()}})));
}

TEST(BinaryReader, OfEqualKeysTheLastValueCountsInTheFirstPlace) {
  for (const NSUInteger option : kAllOptions) {
    // The keys are one object twice, and two objects with equal text.
    for (const std::vector<std::uint64_t>& keys : {std::vector<std::uint64_t>{1, 2, 1}, {1, 2, 3}}) {
      const BinaryFile file{.objects = {dictionary(keys, {4, 5, 6}), ascii("a"), ascii("b"), ascii("a"),
                                        bytes({0x10, 1}), bytes({0x10, 2}), bytes({0x10, 3})}};
      const ReadResult result = read(file.text(), option);
      ASSERT_TRUE(isEqual(result.value, NSDictionary::dictionaryWithEntries({{"a", 3}, {"b", 2}}))) << result.error;
      EXPECT_TRUE(isEqual(dictionaryIn(result.value).begin()->key, Ref<NSObject>("a")));
    }
  }
}

// What gave way to a later value may still be wanted in another place.
TEST(BinaryReader, ValuesThatGaveWayCanBeSharedLater) {
  for (const NSUInteger option : kAllOptions) {
    const BinaryFile file{.objects = {array({1, 4, 5, 3}), dictionary({2, 3}, {4, 5}), ascii("key"), ascii("key"),
                                      ascii("first value"), array({4})}};
    const ReadResult result = read(file.text(), option);
    ASSERT_TRUE(result.value) << result.error;
    const Ref<NSObject> list = NSArray::of("first value");
    EXPECT_TRUE(isEqual(result.value,
                        NSArray::of(NSDictionary::dictionaryWithEntries({{"key", list}}), "first value", list, "key")));
  }
}

TEST(BinaryReader, UIDsAreDictionaries) {
  const struct {
    std::string object;
    std::uint64_t number;
  } cases[] = {{bytes({0x80, 7}), 7},
               {bytes({0x81, 1, 0}), 256},
               {bytes({0x82, 1, 0, 0}), 65536},
               {bytes({0x87}) + kOnes8, ~std::uint64_t{0}},
               {bytes({0x8F}) + kZeros8 + kOnes8, ~std::uint64_t{0}}};
  for (const auto& [object, number] : cases) {
    for (const NSUInteger option : kAllOptions) {
      const Ref<NSObject> value = read(fileOf(object), option).value;
      ASSERT_TRUE(isEqual(value, NSDictionary::dictionaryWithEntries({{"CF$UID", number}}))) << value;
      EXPECT_EQ(value->isMutable(), option != kImmutable);
    }
  }
  EXPECT_EQ(read(fileOf(bytes({0x8F, 1}) + kZeros7 + kOnes8)).error, "Expected a UID that fits 64 bits at byte 8.");
}

// --- Mutability

TEST(BinaryReader, TheOptionDecidesTheFlavours) {
  const struct {
    NSUInteger option;
    bool containers;
    bool strings;
  } cases[] = {{kImmutable, false, false}, {kContainers, true, false}, {kLeaves, true, true}};
  for (const auto& [option, containers, strings] : cases) {
    const Ref<NSObject> value = read(sample(), option).value;
    ASSERT_TRUE(value);
    const NSDictionary& dictionary = dictionaryIn(value);
    EXPECT_EQ(dictionary.isMutable(), containers);
    EXPECT_EQ(dictionary.lookUp("List")->isMutable(), containers);
    EXPECT_EQ(dictionary.lookUp("Empty")->isMutable(), containers);
    EXPECT_EQ(dictionary.lookUp("Name")->isMutable(), strings);
    EXPECT_EQ(at(dictionary.lookUp("List"), 0)->isMutable(), strings);
    for (const auto& [key, item] : dictionary) EXPECT_FALSE(key->isMutable());
    for (const Ref<NSObject>& item : *as<NSArray>(dictionary.lookUp("List"))) {
      if (item->kind() == ObjectKind::Number || item->kind() == ObjectKind::Date || item->kind() == ObjectKind::Data) {
        EXPECT_FALSE(item->isMutable());
      }
    }
  }
}

std::string sharing() {
  return BinaryFile{.objects =
                        {
                            array({1, 1, 2, 2}),
                            array({2}),
                            ascii("shared"),
                        }}
      .text();
}

TEST(BinaryReader, ImmutableResultsShare) {
  const Ref<NSObject> value = read(sharing()).value;
  EXPECT_EQ(at(value.get(), 0), at(value.get(), 1));
  EXPECT_EQ(at(value.get(), 2), at(value.get(), 3));
  EXPECT_EQ(at(at(value.get(), 0), 0), at(value.get(), 2));
  const Ref<NSObject> uids = read(BinaryFile{.objects = {array({1, 1}), bytes({0x80, 7})}}.text()).value;
  EXPECT_EQ(at(uids.get(), 0), at(uids.get(), 1));
}

TEST(BinaryReader, MutableContainersAreOwnToEachPlace) {
  const Ref<NSObject> value = read(sharing(), kContainers).value;
  EXPECT_NE(at(value.get(), 0), at(value.get(), 1));
  EXPECT_EQ(at(value.get(), 2), at(value.get(), 3));
  as<NSMutableArray>(at(value.get(), 0))->addObject("more");
  EXPECT_EQ(as<NSArray>(at(value.get(), 1))->count(), 1U);
}

TEST(BinaryReader, MutableStringsAreOwnToEachPlace) {
  const Ref<NSObject> value = read(sharing(), kLeaves).value;
  EXPECT_NE(at(value.get(), 2), at(value.get(), 3));
  as<NSMutableString>(at(value.get(), 2))->setString("changed");
  EXPECT_TRUE(at(value.get(), 3)->isEqual("shared"));
  EXPECT_TRUE(at(at(value.get(), 0), 0)->isEqual("shared"));
}

TEST(BinaryReader, AStringMayBeKeyAndMutableValueAtOnce) {
  const Ref<NSObject> value =
      read(BinaryFile{.objects = {dictionary({1}, {2}), ascii("a"), array({1, 1})}}.text(), kLeaves).value;
  const auto& [key, list] = *dictionaryIn(value).begin();
  EXPECT_FALSE(key->isMutable());
  EXPECT_TRUE(at(list.get(), 0)->isMutable());
  const Ref<NSObject> valueFirst =
      read(BinaryFile{.objects = {array({1, 2}), ascii("a"), dictionary({1}, {1})}}.text(), kLeaves).value;
  EXPECT_TRUE(at(valueFirst.get(), 0)->isMutable());
  EXPECT_FALSE(as<NSDictionary>(at(valueFirst.get(), 1))->begin()->key->isMutable());
}

// --- What is refused

std::string trailer(const std::string& objectsAndTable, unsigned offsetSize, unsigned referenceSize,
                    std::uint64_t count, std::uint64_t top, std::uint64_t table) {
  return "bplist00" + objectsAndTable + std::string(6, '\0') + bytes({offsetSize, referenceSize}) +
         bigEndian(count, 8) + bigEndian(top, 8) + bigEndian(table, 8);
}

TEST(BinaryReader, SaysWhatIsWrongAndWhere) {
  const std::uint64_t huge = ~std::uint64_t{0};
  const std::string one = bytes({0x09, 0x08});  // true, and a table of one byte
  const struct {
    std::string file;
    const char* error;
  } cases[] = {
      // Too short: CVE-2017-5545
      {"bplist",
       "Expected \"bplist00\", the beginning of a binary property list of the version that is understood at byte 0."},
      {"bplist01" + std::string(40, '\0'),
       "Expected \"bplist00\", the beginning of a binary property list of the version that is understood at byte 0."},
      {"bplist00", "Expected a trailer of 32 bytes after the objects, but found the end of the data at byte 8."},
      {"bplist00" + std::string(31, '\0'),
       "Expected a trailer of 32 bytes after the objects, but found the end of the data at byte 39."},
      // The trailer: CVE-2017-7982 and its kin
      {trailer(one, 0, 1, 1, 0, 9), "Expected a size of offsets from 1 to 8, but found 0 at byte 16."},
      {trailer(one, 9, 1, 1, 0, 9), "Expected a size of offsets from 1 to 8, but found 9 at byte 16."},
      {trailer(one, 1, 0, 1, 0, 9), "Expected a size of references from 1 to 8, but found 0 at byte 17."},
      {trailer(one, 1, 16, 1, 0, 9), "Expected a size of references from 1 to 8, but found 16 at byte 17."},
      {trailer(one, 1, 1, 0, 0, 9),
       "Expected as many objects as the offset table has room for, but found the count 0 at byte 18."},
      {trailer(one, 1, 1, 2, 0, 9),
       "Expected as many objects as the offset table has room for, but found the count 2 at byte 18."},
      {trailer(one, 8, 1, 1, 0, 9),
       "Expected as many objects as the offset table has room for, but found the count 1 at byte 18."},
      {trailer(one, 1, 1, huge, 0, 9),
       "Expected as many objects as the offset table has room for, but found the count 18446744073709551615 at byte "
       "18."},
      {trailer(one, 8, 1, (huge >> 3) + 2, 0, 9),
       "Expected as many objects as the offset table has room for, but found the count 2305843009213693953 at byte "
       "18."},
      {trailer(one, 1, 1, 1, 1, 9), "Expected the number of one of 1 objects, but found 1 at byte 26."},
      {trailer(one, 1, 1, 1, huge, 9),
       "Expected the number of one of 1 objects, but found 18446744073709551615 at byte 26."},
      {trailer(one, 1, 1, 1, 0, 8),
       "Expected the offset table between the objects and the trailer, but found the offset 8 at byte 34."},
      {trailer(one, 1, 1, 1, 0, 11),
       "Expected the offset table between the objects and the trailer, but found the offset 11 at byte 34."},
      {trailer(one, 1, 1, 1, 0, huge),
       "Expected the offset table between the objects and the trailer, but found the offset 18446744073709551615 at "
       "byte "
       "34."},
      // Offsets
      {trailer(bytes({0x09, 0x07}), 1, 1, 1, 0, 9),
       "Expected the offset of an object before the offset table, but found 7 at byte 9."},
      {trailer(bytes({0x09, 0x09}), 1, 1, 1, 0, 9),
       "Expected the offset of an object before the offset table, but found 9 at byte 9."},
      {trailer(bytes({0x09}) + kOnes8, 8, 1, 1, 0, 9),
       "Expected the offset of an object before the offset table, but found 18446744073709551615 at byte 9."},
      // Markers
      {fileOf(bytes({0x00})), "Null (marker 0x00) is no property-list value at byte 8."},
      {fileOf(bytes({0x0C})), "A URL (marker 0x0c) is no property-list value at byte 8."},
      {fileOf(bytes({0x0D})), "A URL (marker 0x0d) is no property-list value at byte 8."},
      {fileOf(bytes({0x0E})), "A UUID (marker 0x0e) is no property-list value at byte 8."},
      {fileOf(bytes({0x0F})), "A fill byte (marker 0x0f) is no property-list value at byte 8."},
      {fileOf(bytes({0x01})), "Expected an object, but found the unknown marker 0x01 at byte 8."},
      {fileOf(bytes({0x70})), "Expected an object, but found the unknown marker 0x70 at byte 8."},
      {fileOf(bytes({0x90})), "Expected an object, but found the unknown marker 0x90 at byte 8."},
      {fileOf(bytes({0xB0})), "Expected an object, but found the unknown marker 0xb0 at byte 8."},
      {fileOf(bytes({0xC0})), "Expected an object, but found the unknown marker 0xc0 at byte 8."},
      {fileOf(bytes({0xE0})), "Expected an object, but found the unknown marker 0xe0 at byte 8."},
      {fileOf(bytes({0xFF})), "Expected an object, but found the unknown marker 0xff at byte 8."},
      // Scalars
      {fileOf(bytes({0x15}) + std::string(32, '\0')),
       "Expected an integer of at most 16 bytes, but found the marker 0x15 at byte 8."},
      {fileOf(bytes({0x12, 0, 0})), "Expected 4 bytes of an integer, but found the end of the objects at byte 9."},
      {fileOf(bytes({0x14}) + kZeros7 + bytes({1}) + kZeros8), "Expected an integer that fits 64 bits at byte 8."},
      {fileOf(bytes({0x14}) + kOnes8 + kZeros8), "Expected an integer that fits 64 bits at byte 8."},
      {fileOf(bytes({0x14}) + kZeros7 + bytes({1}) + kOnes8), "Expected an integer that fits 64 bits at byte 8."},
      {fileOf(bytes({0x21, 0, 0})), "Expected a real of 4 or 8 bytes, but found the marker 0x21 at byte 8."},
      {fileOf(bytes({0x24}) + kZeros8 + kZeros8),
       "Expected a real of 4 or 8 bytes, but found the marker 0x24 at byte 8."},
      {fileOf(bytes({0x22, 0, 0, 0})), "Expected 4 bytes of a real, but found the end of the objects at byte 9."},
      {fileOf(bytes({0x23}) + kZeros7), "Expected 8 bytes of a real, but found the end of the objects at byte 9."},
      {fileOf(bytes({0x32, 0, 0, 0, 0})), "Expected a date of 8 bytes, but found the marker 0x32 at byte 8."},
      {fileOf(bytes({0x33}) + kZeros7), "Expected 8 bytes of a date, but found the end of the objects at byte 9."},
      {fileOf(bytes({0x81, 0})), "Expected 2 bytes of a UID, but found the end of the objects at byte 9."},
      // Lengths beyond the data: CVE-2017-5835, -6435, -6436, -6438, -6439, -6440
      {fileOf(bytes({0x44, 1, 2, 3})), "Expected 4 bytes of data, but found the end of the objects at byte 9."},
      {fileOf(bytes({0x4F})), "Expected 1 byte of a length, but found the end of the objects at byte 9."},
      {fileOf(bytes({0x4F, 0x11, 0})), "Expected 2 bytes of a length, but found the end of the objects at byte 10."},
      {fileOf(bytes({0x4F, 0x23}) + kZeros8),
       "Expected an integer as the length, but found the marker 0x23 at byte 9."},
      {fileOf(bytes({0x4F, 0x15}) + std::string(32, '\0')),
       "Expected an integer as the length, but found the marker 0x15 at byte 9."},
      {fileOf(bytes({0x4F, 0x13}) + kOnes8),
       "Expected 18446744073709551615 bytes of data, but found the end of the objects at byte 18."},
      {fileOf(bytes({0x4F, 0x14}) + kOnes8 + kZeros8),
       "Expected 18446744073709551615 bytes of data, but found the end of the objects at byte 26."},
      {fileOf(bytes({0x5F, 0x13, 0x7F}) + std::string(7, '\xFF')),
       "Expected 9223372036854775807 characters, but found the end of the objects at byte 18."},
      {fileOf(bytes({0x6F, 0x13, 0x80}) + kZeros7),
       "Expected 9223372036854775808 UTF-16 units, but found the end of the objects at byte 18."},
      {fileOf(bytes({0x62, 0, 0, 0})), "Expected 2 UTF-16 units, but found the end of the objects at byte 9."},
      {fileOf(bytes({0x51, 0xFF})), "Expected a string in ASCII or UTF-8 at byte 8."},
      {fileOf(bytes({0x53, 0xED, 0xA0, 0x80})), "Expected a string in ASCII or UTF-8 at byte 8."},
      // Containers that the data cannot back: CVE-2017-5834, cpython#119342
      {fileOf(bytes({0xAF, 0x12, 0x80, 0, 0, 0})),
       "Expected 2147483648 elements, but found the end of the objects at byte 14."},
      {fileOf(bytes({0xAF, 0x13}) + kOnes8),
       "Expected 18446744073709551615 elements, but found the end of the objects at byte 18."},
      {fileOf(bytes({0xDF, 0x13, 0x80}) + kZeros7),
       "Expected 9223372036854775808 keys and values, but found the end of the objects at byte 18."},
      {fileOf(bytes({0xD2, 0, 0, 0})), "Expected 2 keys and values, but found the end of the objects at byte 9."},
      {fileOf(bytes({0xA1, 5})), "Expected the number of one of 1 objects, but found 5 at byte 9."},
      {fileOf(bytes({0xD1, 5, 0})), "Expected the number of one of 1 objects, but found 5 at byte 9."},
      // Keys that are no strings: CVE-2017-5836
      {BinaryFile{.objects = {dictionary({1}, {1}), bytes({0x10, 1})}}.text(), "Expected a string as a key at byte 9."},
      {BinaryFile{.objects = {dictionary({1}, {1}), array({})}}.text(), "Expected a string as a key at byte 9."},
      {BinaryFile{.objects = {dictionary({0}, {1}), array({})}}.text(), "Expected a string as a key at byte 9."},
      {BinaryFile{.objects = {array({1, 2}), bytes({0x10, 1}), dictionary({1}, {1})}}.text(),
       "Expected a string as a key at byte 14."},
      // Containers in themselves
      {fileOf(array({0})), "A container cannot hold itself at byte 9."},
      {BinaryFile{.objects = {dictionary({1}, {2}), ascii("k"), array({0})}}.text(),
       "A container cannot hold itself at byte 14."},
  };
  for (const auto& [file, error] : cases) {
    for (const NSUInteger option : kAllOptions) {
      SCOPED_TRACE(error);
      const ReadResult result = read(file, option);
      EXPECT_FALSE(result.value) << result.value;
      EXPECT_EQ(result.error, error);
      EXPECT_EQ(result.format, 0U);
    }
  }
}

// --- Depth

// `depth` containers inside each other, each a different object: arrays around `innermost`.
BinaryFile nested(std::size_t depth, const std::string& innermost = array({})) {
  BinaryFile file{.offsetSize = 4, .referenceSize = 4};
  for (std::size_t level = 1; level < depth; ++level) file.objects.push_back(array({level}, 4));
  file.objects.push_back(innermost);
  return file;
}

TEST(BinaryReader, NestsUpToTheLimit) {
  for (const NSUInteger option : kAllOptions) {
    EXPECT_TRUE(read(nested(512).text(), option).value);
    const ReadResult result = read(nested(513).text(), option);
    EXPECT_FALSE(result.value);
    EXPECT_EQ(result.error, "Containers lie more than 512 deep inside each other at byte 2568.");
    EXPECT_FALSE(read(nested(500000).text(), option).value);
  }
}

TEST(BinaryReader, SharedContainersCountWithTheirDepth) {
  // The second element is reached 300 deep at first and then once more inside of 300 others.
  BinaryFile file{.offsetSize = 4, .referenceSize = 4};
  file.objects.push_back(array({1, 301}, 4));
  for (std::size_t level = 1; level < 300; ++level) file.objects.push_back(array({level + 1}, 4));
  file.objects.push_back(array({}));
  for (std::size_t level = 301; level < 600; ++level) file.objects.push_back(array({level + 1}, 4));
  file.objects.push_back(array({1}, 4));
  for (const NSUInteger option : kAllOptions) {
    EXPECT_NE(read(file.text(), option).error.find("Containers lie more than 512 deep"), std::string::npos);
  }
}

TEST(BinaryReader, AUIDIsAContainerInDepth) {
  const std::string uid = bytes({0x80, 7});
  for (const NSUInteger option : kAllOptions) {
    EXPECT_TRUE(read(nested(512, uid).text(), option).value);
    EXPECT_EQ(read(nested(513, uid).text(), option).error,
              "Containers lie more than 512 deep inside each other at byte 2568.");
    // The UID is met at the top at first.
    for (const std::size_t depth : {512U, 513U}) {
      BinaryFile file = nested(depth, uid);
      file.objects[0] = array({depth - 1, 1}, 4);
      EXPECT_EQ(static_cast<bool>(read(file.text(), option).value), depth == 512);
    }
  }
}

// --- Small files that stand for large trees

// Arrays that each hold the next one `width` times: width^levels places.
std::string bomb(std::size_t levels, std::size_t width) {
  BinaryFile file{.offsetSize = 2};
  for (std::size_t level = 0; level < levels; ++level) {
    file.objects.push_back(array(std::vector<std::uint64_t>(width, level + 1)));
  }
  file.objects.push_back(array({}));
  return file.text();
}

TEST(BinaryReader, WhatSharedContainersExpandToIsLimited) {
  for (const NSUInteger option : kAllOptions) {
    const std::clock_t start = std::clock();
    EXPECT_TRUE(read(bomb(10, 2), option).value);
    for (const std::string& file : {bomb(30, 2), bomb(64, 2), bomb(200, 3), bomb(10, 200)}) {
      const ReadResult result = read(file, option);
      EXPECT_FALSE(result.value);
      EXPECT_NE(result.error.find("Objects are shared between so many places that they expand to more than"),
                std::string::npos)
          << result.error;
    }
    EXPECT_LT(std::clock() - start, 20 * CLOCKS_PER_SEC);  // of the processor
  }
}

TEST(BinaryReader, WhatSharedTextExpandsToIsLimited) {
  BinaryFile file{.objects = {array(std::vector<std::uint64_t>(100000, 1)), ascii(std::string(1000000, 'x'))},
                  .offsetSize = 4};
  for (const NSUInteger option : kAllOptions) EXPECT_FALSE(read(file.text(), option).value);
  file.objects[0] = array(std::vector<std::uint64_t>(100, 1));
  for (const NSUInteger option : kAllOptions) EXPECT_TRUE(read(file.text(), option).value);
}

TEST(BinaryReader, KeysAndUIDsCountInEachPlaceOfTheirContainer) {
  std::vector<std::string> keys;
  std::vector<std::uint64_t> numbers;
  for (std::size_t at = 0; at < 100; ++at) {
    numbers.push_back(4 + at);
    keys.push_back(ascii(std::to_string(at)));
  }
  const std::vector<std::uint64_t> contents(100, 3);
  for (const std::size_t places : {100U, 200U}) {
    // The text takes up most of what is allowed.
    std::vector<std::uint64_t> list(144, 1);
    list.resize(144 + places, 2);
    BinaryFile uids{.objects = {array(list), ascii(std::string(1000000, 'x')), array(contents), bytes({0x80, 7})},
                    .offsetSize = 4};
    BinaryFile dictionaries = uids;
    dictionaries.objects[2] = dictionary(numbers, contents);
    dictionaries.objects[3] = bytes({0x09});
    dictionaries.objects.insert(dictionaries.objects.end(), keys.begin(), keys.end());
    for (const NSUInteger option : {kImmutable, kContainers}) {
      EXPECT_EQ(static_cast<bool>(read(uids.text(), option).value), places == 100);
      EXPECT_EQ(static_cast<bool>(read(dictionaries.text(), option).value), places == 100);
    }
  }
}

// An array of `count` different entries of the table, all of which give the offset of `object`.
std::string sameOffset(const std::string& object, std::size_t count) {
  std::vector<std::uint64_t> elements;
  for (std::size_t at = 1; at <= count; ++at) elements.push_back(at);
  const std::string list = array(elements, 4);
  std::vector<std::uint64_t> offsets(count + 1, 8 + list.size());
  offsets[0] = 8;
  return BinaryFile{
      .objects = {list, object}, .offsetSize = 3, .referenceSize = 4, .objectCount = count + 1, .offsets = offsets}
      .text();
}

std::string wide(std::size_t length) {
  std::string units;
  for (std::size_t at = 0; at < length; ++at) units += bytes({0x20, 0xAC});
  return header(0x6, length) + units;
}

// A limit of 16 MiB and 128 bytes for each of at most 250 KB, and as much again for all that surrounds it.
TEST(BinaryReader, MemoryForTextAndDataIsLimited) {
  const std::string x(10000, 'x');
  for (const std::string& object : {ascii(x), wide(5000), wide(1000), header(0x4, x.size()) + x}) {
    const std::string files[] = {
        sameOffset(object, 26000),
        BinaryFile{.objects = {array(std::vector<std::uint64_t>(100000, 1)), object}, .offsetSize = 4}.text()};
    for (const std::string& file : files) {
      for (const NSUInteger option : kAllOptions) {
        std::string error;
        const std::size_t peak = peakMemoryOf([&] { error = read(file, option).error; });
        EXPECT_NE(error.find("Objects are shared between so many places"), std::string::npos) << error;
        EXPECT_TRUE(test::kIsSanitized || peak < std::size_t{96} << 20) << peak;
      }
    }
  }
}

TEST(BinaryReader, EntriesWithTheSameOffsetShareWhatIsLarge) {
  for (const std::string& object : {ascii(std::string(2000, 'x')), wide(1024)}) {
    const Ref<NSObject> value = read(sameOffset(object, 3)).value;
    ASSERT_TRUE(value);
    EXPECT_EQ(at(value.get(), 0), at(value.get(), 2));
    const Ref<NSObject> own = read(sameOffset(object, 3), kLeaves).value;
    EXPECT_NE(at(own.get(), 0), at(own.get(), 2));
    EXPECT_TRUE(at(own.get(), 0)->isMutable());
  }
}

// A key is immutable always, a value at the same offset perhaps not.
TEST(BinaryReader, ALargeKeyMayBeAValueAtOnce) {
  const std::string root = dictionary({1}, {2});
  for (const NSUInteger option : kAllOptions) {
    const Ref<NSObject> value = read(BinaryFile{.objects = {root, ascii(std::string(2000, 'x'))},
                                                .objectCount = 3,
                                                .offsets = {{8, 8 + root.size(), 8 + root.size()}}}
                                         .text(),
                                     option)
                                    .value;
    ASSERT_TRUE(value);
    const auto& [key, item] = *dictionaryIn(value).begin();
    EXPECT_TRUE(isEqual(key, item));
    EXPECT_FALSE(key->isMutable());
    EXPECT_EQ(item->isMutable(), option == kLeaves);
  }
}

TEST(BinaryReader, LargeKeysWithTheSameOffsetAreOneImmutableString) {
  const std::string root = array({1, 2, 3}), text = ascii(std::string(2000, 'x'));
  const std::string first = dictionary({4}, {1}), second = dictionary({5}, {1});
  const std::uint64_t place = 8 + root.size(), behind = place + text.size();
  const BinaryFile file{.objects = {root, text, first, second},
                        .offsetSize = 2,
                        .objectCount = 6,
                        .offsets = {{8, place, behind, behind + first.size(), place, place}}};
  for (const NSUInteger option : kAllOptions) {
    const Ref<NSObject> value = read(file.text(), option).value;
    ASSERT_TRUE(value);
    const Ref<NSObject> key = as<NSDictionary>(at(value.get(), 1))->begin()->key;
    EXPECT_FALSE(key->isMutable());
    EXPECT_EQ(key, as<NSDictionary>(at(value.get(), 2))->begin()->key);
    EXPECT_EQ(at(value.get(), 0)->isMutable(), option == kLeaves);
  }
}

// Without shared containers, up to 127 bytes are never too much, in however many places.
TEST(BinaryReader, ShortTextMayBeSharedByAnyNumberOfPlaces) {
  constexpr NSUInteger kPlaces = test::kIsSanitized ? 100000 : 1000000;
  for (const std::size_t length : {30U, 127U}) {
    const Ref<NSObject> text = std::string(length, 'x');
    const Ref<NSMutableArray> list = NSMutableArray::array();
    for (NSUInteger place = 0; place < kPlaces; ++place) list->addObject(text);
    const std::string file = write(list).bytes();
    const ReadResult result = read(file, kLeaves);
    ASSERT_TRUE(result.value) << result.error;
    EXPECT_EQ(arrayIn(result.value).count(), kPlaces);
    EXPECT_NE(at(result.value.get(), 0), at(result.value.get(), kPlaces - 1));
  }
}

TEST(BinaryReader, LongTextMayBeSharedByAFewPlaces) {
  const std::string text = ascii(std::string(1000000, 'x'));
  for (const std::size_t places : {144U, 145U}) {
    const BinaryFile file{.objects = {array(std::vector<std::uint64_t>(places, 1)), text}, .offsetSize = 4};
    for (const NSUInteger option : kAllOptions) {
      EXPECT_EQ(static_cast<bool>(read(file.text(), option).value), places == 144) << places;
    }
  }
}

TEST(BinaryReader, ManyPlacesOfSmallObjectsAreNoBomb) {
  const BinaryFile file{.objects = {array(std::vector<std::uint64_t>(500000, 1)), ascii("genre")}, .offsetSize = 4};
  for (const NSUInteger option : kAllOptions) {
    const ReadResult result = read(file.text(), option);
    ASSERT_TRUE(result.value) << result.error;
    EXPECT_EQ(arrayIn(result.value).count(), 500000U);
  }
}

// What is kept of each object is more than a 32-bit build can count bytes of.
TEST(BinaryReader, MoreObjectsThanMemoryHasRoomForAreRefused) {
  if (test::kIsSanitized) GTEST_SKIP() << "this build needs more address space than the test leaves";
  EXPECT_EQ(test::inChild([]() -> int {
              constexpr NSUInteger kObjects = NSUInteger{0xC00'0000};
              const rlimit limit{1 << 30, 1 << 30};
              if (::setrlimit(RLIMIT_AS, &limit) != 0) return 2;
              const Ref<NSMutableData> file = NSMutableData::dataWithLength(9 + kObjects);
              const std::string trailer = BinaryFile{.objectCount = kObjects, .tableOffset = 9}.text();
              file->replaceBytesInRange_withBytes_length({0, 8}, "bplist00", 8);
              file->appendBytes_length(trailer.data() + 8, 32);
              Ref<NSString> error;
              EXPECT_THROW(NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
                               file, kImmutable, nullptr, &error),
                           std::bad_alloc);
              return ::testing::Test::HasFailure();
            }),
            0);
}

// --- Damage

TEST(BinaryReader, SurvivesTruncationAnywhere) {
  const std::string whole = sample();
  ASSERT_TRUE(read(whole).value);
  // Less than the first word could be text.
  for (std::size_t length = 6; length < whole.size(); ++length) {
    for (const NSUInteger option : kAllOptions) {
      const ReadResult result = read(whole.substr(0, length), option);
      EXPECT_FALSE(result.value) << length;
      EXPECT_FALSE(result.error.empty()) << length;
    }
  }
}

TEST(BinaryReader, SurvivesAnyChangeOfOneByte) {
  const std::string whole = sample();
  for (std::size_t place = 0; place < whole.size(); ++place) {
    for (unsigned value = 0; value < 256; ++value) {
      std::string damaged = whole;
      damaged[place] = static_cast<char>(value);
      const ReadResult result = read(damaged, kAllOptions[value % 3]);
      ASSERT_EQ(static_cast<bool>(result.value), result.error.empty()) << place << ' ' << value;
    }
  }
}

}  // namespace
}  // namespace ZtFoundation
