// Ten million keys, ten million elements, containers a million levels deep.

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Number.h>

#include <functional>
#include <ostream>
#include <vector>

#include "limits/Limits.h"

namespace ZtFoundation::limits {
namespace {

// --- Many keys

std::size_t manyKeys() { return sized(10'000'000, 20'000); }

Ref<NSString> keyAt(std::size_t number) { return NSString::stringWithASCII("key" + std::to_string(number)); }

Ref<NSMutableDictionary> dictionaryOfMany() {
  const Ref<NSMutableDictionary> many = NSMutableDictionary::dictionary();
  for (std::size_t i = 0; i < manyKeys(); ++i) {
    many->setObject_forKey(NSNumber::numberWithInt(static_cast<int>(i)), keyAt(i));
  }
  return many;
}

int valueOf(const Ref<NSObject>& value) { return value ? as<NSNumber>(value)->intValue() : -1; }

TEST(ManyKeysTests, AreAddedFoundAndRemoved) {
  Case measured("dictionary: add, find and remove each key", std::to_string(manyKeys()) + " keys");
  measured.measure([] {
    const Ref<NSMutableDictionary> many = dictionaryOfMany();
    EXPECT_EQ(many->count(), manyKeys());
    for (std::size_t i = 0; i < manyKeys(); ++i) ASSERT_EQ(valueOf(many->objectForKey(keyAt(i))), static_cast<int>(i));
    for (std::size_t i = 0; i < manyKeys(); ++i) many->removeObjectForKey(keyAt(i));
    EXPECT_EQ(many->count(), 0U);
  });
}

void expectRoundTrip(const char* name, NSUInteger format) {
  Case measured(name, std::to_string(manyKeys()) + " keys");
  const Ref<NSMutableDictionary> many = dictionaryOfMany();
  const Written written = measured.measure([&] { return write(many, format); });
  ASSERT_TRUE(written.bytes) << written.error;
  const Answer answer = measured.measure([&] { return read(written.bytes); });
  ASSERT_TRUE(answer.value) << answer.error;
  EXPECT_TRUE(measured.measure([&] { return isEqual(many, answer.value); }));
  measured.answer("equal after writing and reading " + inUnits(written.bytes->length()));
}

TEST(ManyKeysTests, GoThroughXML) { expectRoundTrip("write and read XML", NSPropertyListXMLFormat_v1_0); }
TEST(ManyKeysTests, GoThroughBinary) { expectRoundTrip("write and read binary", NSPropertyListBinaryFormat_v1_0); }

TEST(ManyKeysTests, AreReadFromOpenStepText) {
  Case measured("read OpenStep", std::to_string(manyKeys()) + " keys");
  std::string text = "{";
  for (std::size_t i = 0; i < manyKeys(); ++i) {
    const std::string number = std::to_string(i);
    text.append("key").append(number).append("=").append(number).append(";\n");
  }
  text += '}';
  const Answer answer = measured.measure([&] { return read(text); });
  const Ref<NSDictionary> many = as<NSDictionary>(answer.value);
  ASSERT_TRUE(many) << answer.error;
  EXPECT_EQ(many->count(), manyKeys());
  for (std::size_t i = 0; i < manyKeys(); ++i) {
    ASSERT_TRUE(isEqual(many->objectForKey(keyAt(i)), Ref<NSString>(std::to_string(i)))) << i;
  }
  measured.answer("all found in " + inUnits(text.size()));
}

TEST(ManyKeysTests, GoThroughINI) {
  Case measured("write and read INI", std::to_string(manyKeys()) + " keys");
  const Ref<NSDictionary> settings = NSDictionary::dictionaryWithObject_forKey(dictionaryOfMany(), "S");
  const Ref<NSData> bytes = measured.measure([&] { return writeINI(settings); });
  ASSERT_TRUE(bytes);
  const Ref<NSObject> again = measured.measure([&] { return readINI(bytes); });
  const Ref<NSDictionary> many = as<NSDictionary>(as<NSDictionary>(again)->objectForKey("S"));
  ASSERT_EQ(many->count(), manyKeys());
  for (std::size_t i = 0; i < manyKeys(); ++i) {
    // What is no string gets quotes.
    ASSERT_TRUE(isEqual(many->objectForKey(keyAt(i)), Ref<NSString>("\"" + std::to_string(i) + "\""))) << i;
  }
  measured.answer("all found after writing and reading " + inUnits(bytes->length()));
}

std::size_t manyElements() { return sized(10'000'000, 20'000); }

TEST(ManyElementsTests, AreReadFromOpenStepText) {
  Case measured("read OpenStep", std::to_string(manyElements()) + " elements");
  std::string text = "(";
  for (std::size_t i = 0; i < manyElements(); ++i) text.append(std::to_string(i)).append(",");
  text.back() = ')';
  const Answer answer = measured.measure([&] { return read(text); });
  const Ref<NSArray> many = as<NSArray>(answer.value);
  ASSERT_TRUE(many) << answer.error;
  ASSERT_EQ(many->count(), manyElements());
  for (std::size_t i = 0; i < manyElements(); ++i) {
    ASSERT_TRUE(isEqual(many->objectAtIndex(i), Ref<NSString>(std::to_string(i)))) << i;
  }
  measured.answer("all there in " + inUnits(text.size()));
}

TEST(ManyElementsTests, GoThroughXMLAndBinary) {
  const std::size_t count = manyElements();
  Case measured("array: add, write, read, compare, copy", std::to_string(count) + " elements");
  measured.measure([&] {
    const Ref<NSMutableArray> many = NSMutableArray::array();
    for (std::size_t i = 0; i < count; ++i) many->addObject(NSNumber::numberWithInt(static_cast<int>(i)));
    for (const NSUInteger format : {NSPropertyListXMLFormat_v1_0, NSPropertyListBinaryFormat_v1_0}) {
      const Answer answer = read(write(many, format).bytes);
      ASSERT_TRUE(answer.value) << answer.error;
      EXPECT_TRUE(isEqual(many, answer.value));
    }
    EXPECT_TRUE(isEqual(QvFoundationExtensions::deepMutableCopy(many), many));
  });
}

// --- Many levels

std::size_t manyLevels() { return sized(1'000'000, 20'000); }

std::string repeated(std::string_view part, std::size_t times) {
  std::string text;
  text.reserve(part.size() * times);
  for (std::size_t i = 0; i < times; ++i) text += part;
  return text;
}

// The objects are of these sizes, and the first is the root.
void finishBinary(std::string& bytes, const std::vector<std::size_t>& sizes) {
  const std::size_t table = bytes.size();
  std::size_t offset = 8;
  for (const std::size_t size : sizes) {
    append(bytes, offset, 4);
    offset += size;
  }
  bytes += std::string(6, '\0');
  append(bytes, 0x0404, 2);
  append(bytes, sizes.size(), 8);
  append(bytes, 0, 8);
  append(bytes, table, 8);
}

// Each array, or whatever the marker says, holds the next one by the reference that follows it.
std::string deepBinary(char marker, std::size_t levels) {
  std::string bytes = "bplist00";
  for (std::size_t level = 0; level < levels; ++level) {
    bytes += static_cast<char>(marker | 1);
    append(bytes, level + 1, 4);
  }
  bytes += marker;
  std::vector<std::size_t> sizes(levels, 5);
  sizes.push_back(1);
  finishBinary(bytes, sizes);
  return bytes;
}

// All have the one key, which is the last object.
std::string deepBinaryDictionaries(std::size_t levels) {
  std::string bytes = "bplist00";
  for (std::size_t level = 0; level < levels; ++level) {
    bytes += '\xD1';
    append(bytes, levels + 1, 4);
    append(bytes, level + 1, 4);
  }
  bytes += "\xD0\x51k";
  std::vector<std::size_t> sizes(levels, 9);
  sizes.insert(sizes.end(), {1, 2});
  finishBinary(bytes, sizes);
  return bytes;
}

struct Nesting {
  friend void PrintTo(const Nesting& nesting, std::ostream* stream) { *stream << nesting.name; }

  const char* name;
  std::function<std::string(std::size_t)> text;
  const char* reason = "512";
};

const Nesting kNestings[] = {
    {"XML arrays",
     [](std::size_t levels) {
       return "<plist>" + repeated("<array>", levels) + repeated("</array>", levels) + "</plist>";
     }},
    {"XML dictionaries",
     [](std::size_t levels) {
       return "<plist>" + repeated("<dict><key>a</key>", levels) + "<true/>" + repeated("</dict>", levels) + "</plist>";
     }},
    {"XML arrays that never end", [](std::size_t levels) { return repeated("<array>", levels); }},
    {"OpenStep arrays", [](std::size_t levels) { return repeated("(", levels) + repeated(")", levels); }},
    {"OpenStep dictionaries",
     [](std::size_t levels) { return repeated("{a=", levels) + "b" + repeated(";}", levels); }},
    {"binary arrays", [](std::size_t levels) { return deepBinary('\xA0', levels); }},
    {"binary dictionaries", deepBinaryDictionaries},
    {"binary sets", [](std::size_t levels) { return deepBinary('\xC0', levels); }, "unknown marker 0xc1"},
};

class NestingTests : public testing::TestWithParam<Nesting> {};

// Sets at the first, since property lists have none.
TEST_P(NestingTests, BeyondTheLimitIsRefused) {
  Case measured(std::string("read ") + GetParam().name + " in each other", std::to_string(manyLevels()) + " levels");
  const std::string text = GetParam().text(manyLevels());
  const Answer answer = measured.measure([&] { return read(text); });
  EXPECT_FALSE(answer.value);
  EXPECT_NE(answer.error.find(GetParam().reason), std::string::npos) << answer.error;
  measured.answer(answer.error);
}

INSTANTIATE_TEST_SUITE_P(Shapes, NestingTests, testing::ValuesIn(kNestings));

Ref<NSObject> deepTree(bool ofArrays) {
  Ref<NSObject> tree = Ref<NSString>("innermost");
  for (std::size_t level = 0; level < manyLevels(); ++level) {
    if (ofArrays) {
      tree = NSMutableArray::arrayWithArray(NSArray::arrayWithObject(tree));
    } else {
      const Ref<NSMutableDictionary> outer = NSMutableDictionary::dictionary();
      outer->setObject_forKey(tree, "key");
      tree = outer;
    }
  }
  return tree;
}

class DeepTreeTests : public testing::TestWithParam<bool> {
 protected:
  std::string sizeText() const { return std::to_string(manyLevels()) + (GetParam() ? " arrays" : " dictionaries"); }
};

TEST_P(DeepTreeTests, IsMadeAndDestroyed) {
  Case measured("tree in memory: make and destroy", sizeText());
  measured.measure([] { EXPECT_TRUE(deepTree(GetParam())); });
}

TEST_P(DeepTreeTests, IsRefusedByTheWriters) {
  Case measured("tree in memory: write XML, binary, INI", sizeText());
  const Ref<NSObject> tree = deepTree(GetParam());
  for (const NSUInteger format : {NSPropertyListXMLFormat_v1_0, NSPropertyListBinaryFormat_v1_0}) {
    const Written written = measured.measure([&] { return write(tree, format); });
    EXPECT_FALSE(written.bytes);
    EXPECT_NE(written.error.find("512"), std::string::npos) << written.error.substr(0, 200);
    EXPECT_LT(written.error.size(), 20000U) << "not the whole way";
  }
  EXPECT_FALSE(measured.measure([&] { return writeINI(NSDictionary::dictionaryWithObject_forKey(tree, "S")); }));
  measured.answer("refused");
}

TEST_P(DeepTreeTests, IsCompared) {
  Case measured("tree in memory: compare with its twin", sizeText());
  const Ref<NSObject> tree = deepTree(GetParam());
  const Ref<NSObject> twin = deepTree(GetParam());
  EXPECT_TRUE(measured.measure([&] { return isEqual(tree, twin); }));
  EXPECT_EQ(measured.measure([&] { return tree->hash(); }), twin->hash());
}

TEST_P(DeepTreeTests, IsCopied) {
  Case measured("tree in memory: copy to the bottom", sizeText());
  const Ref<NSObject> tree = deepTree(GetParam());
  const Ref<NSObject> copy = measured.measure([&]() -> Ref<NSObject> {
    if (GetParam()) return QvFoundationExtensions::deepMutableCopy(as<NSArray>(tree));
    return QvFoundationExtensions::deepMutableCopy(as<NSDictionary>(tree));
  });
  ASSERT_TRUE(copy);
  EXPECT_TRUE(isEqual(copy, tree));
}

TEST_P(DeepTreeTests, IsDescribed) {
  Case measured("tree in memory: describe", sizeText());
  const Ref<NSObject> tree = deepTree(GetParam());
  const Ref<NSString> text = measured.measure([&] { return tree->description(); });
  ASSERT_TRUE(text);
  measured.answer("text of " + inUnits(text->length()));
}

TEST_P(DeepTreeTests, HasDifferences) {
  Case measured("tree in memory: differences from its twin", sizeText());
  const Ref<NSDictionary> tree = NSDictionary::dictionaryWithObject_forKey(deepTree(GetParam()), "a");
  const Ref<NSDictionary> twin = NSDictionary::dictionaryWithObject_forKey(deepTree(GetParam()), "a");
  const Ref<NSDictionary> differences =
      measured.measure([&] { return QvFoundationExtensions::differencesFromDictionary(tree, twin); });
  ASSERT_TRUE(differences);
  EXPECT_EQ(differences->count(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeepTreeTests, testing::Bool());

}  // namespace
}  // namespace ZtFoundation::limits
