#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cmath>
#include <limits>
#include <new>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/URL.h>

#include "support/BinaryFile.h"
#include "support/Serialization.h"

namespace ZtFoundation {
namespace {

using namespace support;

constexpr std::uint64_t kLargestUnsigned = ~std::uint64_t{0};
constexpr std::int64_t kSmallestSigned = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kLargestSigned = std::numeric_limits<std::int64_t>::max();

std::size_t objectCountOf(const std::string& file) {
  return static_cast<unsigned char>(file[file.size() - 17]) + 256U * static_cast<unsigned char>(file[file.size() - 18]);
}

TEST(BinaryWriter, WritesEachScalar) {
  const std::string zeros8(8, '\0');
  const struct {
    Ref<NSObject> value;
    std::string object;
  } cases[] = {
      {false, bytes({0x08})},
      {true, bytes({0x09})},
      {0, bytes({0x10, 0})},
      {255, bytes({0x10, 0xFF})},
      {256, bytes({0x11, 1, 0})},
      {65535, bytes({0x11, 0xFF, 0xFF})},
      {65536, bytes({0x12, 0, 1, 0, 0})},
      {0xFFFFFFFFU, bytes({0x12, 0xFF, 0xFF, 0xFF, 0xFF})},
      {std::int64_t{1} << 32, bytes({0x13, 0, 0, 0, 1, 0, 0, 0, 0})},
      {-1, bytes({0x13}) + std::string(8, '\xFF')},
      {kSmallestSigned, bytes({0x13, 0x80}) + std::string(7, '\0')},
      {kLargestSigned, bytes({0x13, 0x7F}) + std::string(7, '\xFF')},
      {std::uint64_t{1} << 63, bytes({0x14}) + zeros8 + bytes({0x80}) + std::string(7, '\0')},
      {kLargestUnsigned, bytes({0x14}) + zeros8 + std::string(8, '\xFF')},
      {1.5, bytes({0x23}) + realBytes(1.5)},
      {-0.0, bytes({0x23}) + realBytes(-0.0)},
      {8263.0072447640268, bytes({0x23}) + realBytes(8263.0072447640268)},
      {-HUGE_VAL, bytes({0x23}) + realBytes(-HUGE_VAL)},
      {NSNumber::numberWithFloat(1.5F), bytes({0x22, 0x3F, 0xC0, 0, 0})},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(-0.1), bytes({0x33}) + realBytes(-0.1)},
      {NSData::data(), bytes({0x40})},
      {NSData::dataWithBytes(std::string(14, 'x')), bytes({0x4E}) + std::string(14, 'x')},
      {NSData::dataWithBytes(std::string(15, 'x')), bytes({0x4F, 0x10, 15}) + std::string(15, 'x')},
      {NSData::dataWithBytes(std::string(65536, 'x')), bytes({0x4F, 0x12, 0, 1, 0, 0}) + std::string(65536, 'x')},
      {"", bytes({0x50})},
      {"abc", ascii("abc")},
      {std::string(256, 'x'), bytes({0x5F, 0x11, 1, 0}) + std::string(256, 'x')},
      {u"\u00FC", bytes({0x61, 0x00, 0xFC})},
      {u"A\u20AC", bytes({0x62, 0x00, 0x41, 0x20, 0xAC})},
      {std::u16string(1, u'\xD800'), bytes({0x61, 0xD8, 0x00})},
      {NSMutableString::stringWithString("abc"), ascii("abc")},
      {NSArray::array(), bytes({0xA0})},
      {NSDictionary::dictionary(), bytes({0xD0})},
      {NSDictionary::dictionaryWithEntries({{"CF$UID", 0}}), bytes({0x80, 0})},
      {NSDictionary::dictionaryWithEntries({{"CF$UID", 256}}), bytes({0x81, 1, 0})},
      {NSDictionary::dictionaryWithEntries({{"CF$UID", 65536}}), bytes({0x83, 0, 1, 0, 0})},
      {NSDictionary::dictionaryWithEntries({{"CF$UID", kLargestUnsigned}}), bytes({0x87}) + std::string(8, '\xFF')},
  };
  for (const auto& [value, object] : cases) {
    SCOPED_TRACE(::testing::PrintToString(object.substr(0, 40)));
    const WriteResult result = write(value);
    ASSERT_TRUE(result.data) << result.error;
    EXPECT_EQ(result.error, "");
    const unsigned offsetSize = object.size() < 248 ? 1 : object.size() < 65528 ? 2 : 4;
    EXPECT_EQ(result.bytes(), (BinaryFile{.objects = {object}, .offsetSize = offsetSize}.text()));
    EXPECT_TRUE(isEqual(read(result.bytes()).value, value));
  }
}

TEST(BinaryWriter, OnlyADictionaryOfTheRightShapeIsAUID) {
  const Ref<NSObject> others[] = {NSDictionary::dictionaryWithEntries({{"CF$UID", -1}}),
                                  NSDictionary::dictionaryWithEntries({{"CF$UID", true}}),
                                  NSDictionary::dictionaryWithEntries({{"CF$UID", 1.0}}),
                                  NSDictionary::dictionaryWithEntries({{"CF$UID", "1"}}),
                                  NSDictionary::dictionaryWithEntries({{"CF$UIDs", 1}}),
                                  NSDictionary::dictionaryWithEntries({{"CF$UID", 1}, {"b", 1}})};
  for (const Ref<NSObject>& value : others) {
    const std::string file = write(value).bytes();
    EXPECT_EQ(file[8] & 0xF0, 0xD0) << value;
    EXPECT_TRUE(isEqual(read(file).value, value)) << value;
  }
}

TEST(BinaryWriter, WritesContainersInTheirOwnOrder) {
  const Ref<NSObject> value = NSDictionary::dictionaryWithEntries({{"b", NSArray::of(1, "a")}, {"a", 1}});
  const BinaryFile expected{
      .objects = {dictionary({1, 4}, {2, 3}), ascii("b"), array({3, 4}), bytes({0x10, 1}), ascii("a")}};
  EXPECT_EQ(write(value).bytes(), expected.text());
}

TEST(BinaryWriter, WritesTheSameFromRunToRun) {
  const auto make = [] {
    return NSDictionary::dictionaryWithEntries({{"z", 1}, {"y", NSArray::of("z", 2.0)}, {"x", "w"}});
  };
  EXPECT_EQ(write(make()).bytes(), write(make()).bytes());
}

// --- Sharing

TEST(BinaryWriter, EqualLeavesAreWrittenOnce) {
  const auto date = [] { return NSDate::dateWithTimeIntervalSinceReferenceDate(7); };
  const Ref<NSObject> value = NSArray::arrayWithObjects(
      {"text", "text", NSMutableString::stringWithString("text"), 1, 1, 1.5, 1.5, date(), date(),
       NSData::dataWithBytes("text"), NSData::dataWithBytes("text"), u"\u20AC", u"\u20AC", kLargestUnsigned,
       kLargestUnsigned, NSDictionary::dictionaryWithEntries({{"CF$UID", 1}}),
       NSDictionary::dictionaryWithEntries({{"CF$UID", 1}})});
  const std::string file = write(value).bytes();
  EXPECT_EQ(objectCountOf(file), 9U);
  EXPECT_TRUE(isEqual(read(file).value, value));
}

TEST(BinaryWriter, EqualLeavesAreFoundAmongMany) {
  const Ref<NSMutableArray> list = NSMutableArray::array();
  for (int at = 0; at < 2000; ++at) list->addObject("leaf " + std::to_string(at % 1000));
  const std::string file = write(list).bytes();
  EXPECT_EQ(objectCountOf(file), 1001U);
  EXPECT_TRUE(isEqual(read(file).value, list));
}

TEST(BinaryWriter, LeavesThatOnlyCompareEqualStayApart) {
  const Ref<NSObject> value = NSArray::arrayWithObjects(
      {1, 1.0, true, NSNumber::numberWithFloat(1.0F), 0.0, -0.0, false, 0,
       NSDate::dateWithTimeIntervalSinceReferenceDate(0.0), NSDate::dateWithTimeIntervalSinceReferenceDate(-0.0), -1,
       kLargestUnsigned, "1", NSData::dataWithBytes("1"), NSDictionary::dictionaryWithEntries({{"CF$UID", 1}}),
       u"\u20ACa", u"\u20ACb"});
  const std::string file = write(value).bytes();
  EXPECT_EQ(objectCountOf(file), 18U);
  const Ref<NSArray> back = as<NSArray>(read(file).value);
  for (NSUInteger at = 0; at < back->count(); ++at) {
    EXPECT_EQ(write((*back)[at]).bytes(), write((*as<NSArray>(value))[at]).bytes()) << at;
  }
}

TEST(BinaryWriter, AMutableStringThatGrewAndShrankIsTheSameLeaf) {
  const Ref<NSMutableString> text = NSMutableString::stringWithString("\u20ACabc");
  text->deleteCharactersInRange({0, 1});
  for (const Ref<NSArray>& value : {NSArray::of("abc", text), NSArray::of(text, "abc")}) {
    const std::string file = write(value).bytes();
    EXPECT_EQ(objectCountOf(file), 2U);
    EXPECT_TRUE(isEqual(read(file).value, NSArray::of("abc", "abc")));
  }
}

TEST(BinaryWriter, AContainerInSeveralPlacesIsWrittenOnce) {
  const Ref<NSArray> shared = NSArray::of(1, 2);
  const Ref<NSObject> value = NSArray::of(shared, shared, NSDictionary::dictionaryWithEntries({{"k", shared}}));
  const std::string file = write(value).bytes();
  EXPECT_EQ(objectCountOf(file), 6U);
  EXPECT_TRUE(isEqual(read(file).value, value));
}

TEST(BinaryWriter, EqualContainersStayApart) {
  EXPECT_EQ(objectCountOf(write(NSArray::of(NSArray::array(), NSArray::array())).bytes()), 3U);
}

TEST(BinaryWriter, ReferencesAreAsWideAsTheyMustBe) {
  for (const std::size_t count : {std::size_t{255}, std::size_t{256}, std::size_t{65535}, std::size_t{65536}}) {
    std::vector<Ref<NSObject>> numbers;
    for (std::size_t at = 0; at < count; ++at) numbers.push_back(at);
    const Ref<NSObject> value = NSArray::arrayByTaking(numbers);
    const std::string file = write(value).bytes();
    EXPECT_EQ(file[file.size() - 25], count < 256 ? 1 : count < 65536 ? 2 : 4) << count;
    EXPECT_TRUE(isEqual(read(file).value, value));
  }
}

// --- What is refused

Ref<NSObject> inside(std::size_t depth, Ref<NSObject> value) {
  for (std::size_t level = 0; level < depth; ++level) value = NSArray::of(value);
  return value;
}

Ref<NSObject> nested(std::size_t depth) { return inside(depth - 1, NSArray::array()); }

TEST(BinaryWriter, SaysWhatIsWrongAndWhere) {
  const auto wrap = [](const Ref<NSObject>& value) {
    return NSDictionary::dictionaryWithEntries(
        {{"Version", 1}, {"Tracks", NSArray::of("a", NSDictionary::dictionaryWithEntries({{"Name", value}}))}});
  };
  const auto infinite = NSDate::dateWithTimeIntervalSinceReferenceDate(HUGE_VAL);
  const struct {
    Ref<NSObject> value;
    const char* error;
  } cases[] = {
      {nullptr, "There is no value to write."},
      {make<NSObject>(), "An object of this class is no property-list value."},
      {wrap(make<NSObject>()), "An object of this class is no property-list value at /Tracks/1/Name."},
      {NSSet::set(), "A set is no property-list value."},
      {wrap(NSSet::set()), "A set is no property-list value at /Tracks/1/Name."},
      {wrap(NSURL::fileURLWithPath("/")), "A URL is no property-list value at /Tracks/1/Name."},
      {wrap(infinite), "A date must be a finite number of seconds at /Tracks/1/Name."},
      {NSDate::dateWithTimeIntervalSinceReferenceDate(std::nan("")), "A date must be a finite number of seconds."},
      {NSDictionary::dictionaryWithEntries({{1, 2}}), "The keys of a dictionary must be strings at /1."},
      {wrap(NSDictionary::dictionaryWithEntries({{"a", 1}, {1.5, 2}})),
       "The keys of a dictionary must be strings at /Tracks/1/Name/1.5."},
  };
  for (const auto& [value, error] : cases) {
    const WriteResult result = write(value);
    EXPECT_FALSE(result.data);
    EXPECT_EQ(result.error, error);
  }
}

// Data whose bytes lie elsewhere.
class View final : public NSData {
 public:
  View(const void* bytes, NSUInteger length) : NSData(bytes, length, 0) {}
};

TEST(BinaryWriter, WhatAWordCannotCountMemoryHasNoRoomFor) {
  if (sizeof(NSUInteger) > 4) GTEST_SKIP() << "64 bits count more than the memory of any machine";
  constexpr NSUInteger kHalf = NSUInteger{1} << 31;
  void* const zeros = ::mmap(nullptr, kHalf, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (zeros == MAP_FAILED) GTEST_SKIP() << "there is no half of the address space in one piece";
  EXPECT_THROW(write(NSArray::of(make<View>(zeros, kHalf), make<View>(zeros, kHalf - 1), 1)), std::bad_alloc);
  ::munmap(zeros, kHalf);
}

TEST(BinaryWriter, NestsUpToTheLimit) {
  EXPECT_TRUE(write(nested(512)).data);
  EXPECT_NE(write(nested(513)).error.find("Containers lie more than 512 deep inside each other at /0/0/0"),
            std::string::npos);
  EXPECT_FALSE(write(nested(200000)).data);
}

TEST(BinaryWriter, SharedContainersCountWithTheirDepth) {
  const Ref<NSObject> deep = nested(300);
  const Ref<NSObject> value = inside(212, deep);
  EXPECT_TRUE(write(NSArray::of(deep, (*as<NSArray>(value))[0])).data);
  EXPECT_FALSE(write(NSArray::of(deep, value)).data);
  EXPECT_FALSE(write(NSArray::of(value, deep)).data);
  const Ref<NSObject> around = NSArray::of(deep);
  EXPECT_TRUE(write(NSArray::of(deep, around, inside(210, around))).data);
  EXPECT_FALSE(write(NSArray::of(deep, around, inside(211, around))).data);
}

TEST(BinaryWriter, AUIDIsAContainerInDepth) {
  const Ref<NSObject> uid = NSDictionary::dictionaryWithEntries({{"CF$UID", 1}});
  const Ref<NSObject> deepest = inside(511, uid);
  EXPECT_TRUE(isEqual(read(write(deepest).bytes()).value, deepest));
  EXPECT_FALSE(write(NSArray::of(deepest)).data);
  const Ref<NSObject> around = NSArray::of(uid);
  EXPECT_TRUE(write(NSArray::of(around, inside(509, around))).data);
  EXPECT_FALSE(write(NSArray::of(around, inside(510, around))).data);
}

TEST(BinaryWriter, AContainerThatHoldsItselfIsRefused) {
  const Ref<NSMutableArray> array = NSMutableArray::array();
  const Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
  array->addObject(array);
  EXPECT_EQ(write(array).error, "A container cannot hold itself at /0.");
  array->removeAllObjects();
  array->addObject(dictionary);
  dictionary->setObject_forKey(array, "list");
  EXPECT_EQ(write(array).error, "A container cannot hold itself at /0/list.");
  array->removeAllObjects();
}

// What the writer makes of a value that shares containers at every level is small, but nobody could read it.
TEST(BinaryWriter, WhatSharedContainersExpandToIsLimited) {
  Ref<NSObject> value = NSArray::array();
  for (int level = 0; level < 12; ++level) value = NSArray::of(value, value);
  EXPECT_TRUE(isEqual(read(write(value).bytes()).value, value));
  for (int level = 0; level < 300; ++level) value = NSArray::of(value, value);
  EXPECT_NE(write(value).error.find("Objects are shared between so many places that they expand to more than"),
            std::string::npos);
}

TEST(BinaryWriter, LeavesKeysAndUIDsCountInEachPlaceOfTheirContainer) {
  const Ref<NSMutableArray> leaves = NSMutableArray::array();
  const Ref<NSMutableArray> uids = NSMutableArray::array();
  const Ref<NSMutableDictionary> keys = NSMutableDictionary::dictionary();
  for (int at = 0; at < 100; ++at) {
    leaves->addObject(at);
    uids->addObject(NSDictionary::dictionaryWithEntries({{"CF$UID", at}}));
    keys->setObject_forKey(1, std::to_string(at));
  }
  const struct {
    Ref<NSObject> container;
    std::size_t few;
    std::size_t many;
  } cases[] = {{leaves, 5000, 6000}, {uids, 2500, 4000}, {keys, 2500, 4000}};
  for (const auto& [container, few, many] : cases) {
    std::vector<Ref<NSObject>> places(few, container);
    EXPECT_TRUE(write(NSArray::arrayByTaking(places)).data) << container;
    places.assign(many, container);
    EXPECT_NE(write(NSArray::arrayByTaking(places)).error.find("shared between so many places"), std::string::npos)
        << container;
  }
}

// --- Round trips

TEST(BinaryWriter, KeepsEveryValueInARoundTrip) {
  const Ref<NSObject> value = NSDictionary::dictionaryWithEntries(
      {{"", ""},
       {"__proto__", "__proto__"},
       {u"\u00FC\u20AC", std::u16string{u'\xDC00', u'\xD800'}},
       {"numbers", NSArray::arrayWithObjects({0, -1, kSmallestSigned, kLargestSigned, kLargestUnsigned, 0.1, -0.0,
                                              std::nan(""), HUGE_VAL, 5e-324, true, false})},
       {"dates", NSArray::of(NSDate::dateWithTimeIntervalSinceReferenceDate(-63114076800.5),
                             NSDate::dateWithTimeIntervalSinceReferenceDate(1e300))},
       {"uid", NSDictionary::dictionaryWithEntries({{"CF$UID", 12}})},
       {"data", NSData::dataWithBytes(std::string(1000, '\0'))},
       {"nested", nested(100)}});
  const std::string file = write(value).bytes();
  for (const NSUInteger option : {0U, 1U, 2U}) {
    const ReadResult back = read(file, option);
    ASSERT_TRUE(back.value) << back.error;
    EXPECT_TRUE(isEqual(back.value, value));
    EXPECT_EQ(write(back.value).bytes(), file);
  }
}

}  // namespace
}  // namespace ZtFoundation
