// What readers owe to files that are meant to harm them.

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Number.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "limits/Limits.h"
#include "support/PeakMemory.h"
#include "support/Sanitizers.h"

namespace ZtFoundation::limits {
namespace {

void append(std::string& bytes, std::uint64_t number, unsigned size) {
  for (unsigned at = size; at-- > 0;) bytes += at < 8 ? static_cast<char>(number >> (8 * at)) : '\0';
}

struct Trailer {
  std::uint64_t offsetSize = 1;
  std::uint64_t referenceSize = 1;
  std::uint64_t count = 0;  // 0: as many as there are
  std::uint64_t top = 0;
  std::uint64_t table = 0;  // 0: where it is
};

// A file of these objects, in this order; offsets and references have one byte.
std::string fileOf(const std::vector<std::string>& objects, Trailer trailer = {}) {
  std::string bytes = "bplist00";
  std::string offsets;
  for (const std::string& object : objects) {
    append(offsets, bytes.size(), 1);
    bytes += object;
  }
  const std::size_t table = bytes.size();
  bytes += offsets + std::string(6, '\0');
  append(bytes, trailer.offsetSize, 1);
  append(bytes, trailer.referenceSize, 1);
  append(bytes, trailer.count != 0 ? trailer.count : objects.size(), 8);
  append(bytes, trailer.top, 8);
  append(bytes, trailer.table != 0 ? trailer.table : table, 8);
  return bytes;
}

void expectRefused(const std::string& file, const std::string& why) {
  const Answer answer = read(file);
  EXPECT_FALSE(answer.value) << why;
  EXPECT_NE(answer.error.find_first_of("0123456789"), std::string::npos) << why << ": where? " << answer.error;
}

TEST(RobustReaderTests, BelieveNoTrailer) {
  const std::vector<std::string> objects{"\xA1\x01", "\x51x"};
  ASSERT_TRUE(read(fileOf(objects)).value);
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  for (const std::uint64_t wrong : {std::uint64_t{9}, std::uint64_t{255}}) {
    expectRefused(fileOf(objects, {.offsetSize = wrong}), "size of offsets");
    expectRefused(fileOf(objects, {.referenceSize = wrong}), "size of references");
  }
  for (const std::uint64_t wrong :
       {std::uint64_t{3}, std::uint64_t{1} << 31, std::uint64_t{1} << 61, kMost / 8, kMost}) {
    expectRefused(fileOf(objects, {.count = wrong}), "count");
    expectRefused(fileOf(objects, {.top = wrong}), "root");
    if (wrong != 3) {
      expectRefused(fileOf(objects, {.table = wrong}), "table");
    }
  }
  std::string zeroSizes = fileOf(objects);
  zeroSizes[zeroSizes.size() - 26] = '\0';
  expectRefused(zeroSizes, "no size of offsets");
  const std::string whole = fileOf(objects);
  constexpr std::size_t kWord = 6;  // what is shorter is a word of OpenStep text
  for (std::size_t length = kWord; length < whole.size(); ++length) {
    EXPECT_FALSE(read(whole.substr(0, length)).value) << length;
  }
}

TEST(RobustReaderTests, TakeNoMemoryForWhatIsNotThere) {
  const std::size_t peak = support::peakMemoryOf([] {
    for (const char marker : {'\x4F', '\x5F', '\x6F', '\x7F', '\xAF', '\xCF', '\xDF'}) {
      for (unsigned shift = 16; shift < 64; ++shift) {
        std::string object(1, marker);
        object += '\x13';
        append(object, std::uint64_t{1} << shift, 8);
        expectRefused(fileOf({object}), "a length of 2^" + std::to_string(shift));
      }
    }
  });
  EXPECT_LT(peak, test::kIsSanitized ? std::size_t{200} << 20 : std::size_t{4} << 20);
}

TEST(RobustReaderTests, FollowNoReferenceOutOfTheFileOrInACircle) {
  expectRefused(fileOf({"\xA1\x01"}), "no such object");
  expectRefused(fileOf({std::string("\xA1\x00", 2)}), "itself");
  expectRefused(fileOf({"\xA1\x01", std::string("\xA1\x00", 2)}), "each other");
  expectRefused(fileOf({"\xD1\x01\x02", "\x51k", std::string("\xA1\x00", 2)}), "by way of a value");
  std::string outside = fileOf({"\xA1\x01", "\x51x"});
  outside[outside.size() - 33] = '\xFF';
  expectRefused(outside, "an offset behind the file");
  outside[outside.size() - 33] = '\x02';
  expectRefused(outside, "an offset before the objects");
}

// Forty arrays, each of which holds the next one twice: small here, 2^40 places where each gets a copy of its own.
TEST(RobustReaderTests, AreNotBlownUpBySharing) {
  std::vector<std::string> objects;
  for (char level = 0; level < 40; ++level) {
    const char next = static_cast<char>(level + 1);
    objects.push_back(std::string("\xA2") + next + next);
  }
  objects.push_back("\x51x");
  const std::string file = fileOf(objects);
  Case measured("binary whose 40 arrays hold each other twice, each mutability", "200 bytes");
  for (const NSUInteger option : {0U, 1U, 2U}) {
    Ref<NSString> error;
    const Ref<NSObject> value = measured.measure([&] {
      return NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
          NSData::dataWithBytes(file), option, nullptr, &error);
    });
    EXPECT_FALSE(value);
    EXPECT_TRUE(error);
    if (error) measured.answer(error->utf8());
  }
}

TEST(RobustReaderTests, WantStringsAsKeys) {
  for (const char* key : {"\x10\x07", "\x09", "\xA0", "\x41k"}) {
    expectRefused(fileOf({"\xD1\x01\x02", key, "\x51v"}), "a key that is no string");
  }
}

TEST(RobustReaderTests, DeclareNoEntities) {
  const char* const files[] = {
      "<!DOCTYPE plist [<!ENTITY a \"aa\">]><plist><string>&a;</string></plist>",
      "<!DOCTYPE plist [<!ENTITY a SYSTEM \"file:///etc/passwd\">]><plist><string>&a;</string></plist>",
      "<!DOCTYPE plist [<!ENTITY a \"b\"><!ENTITY b \"&a;&a;\">]><plist><string>x</string></plist>",
      "<!DOCTYPE plist [<!ENTITY % a SYSTEM \"http://example.invalid/\">%a;]><plist><string>x</string></plist>",
      "<plist><string>&unknown;</string></plist>",
      "<plist><string>&#0;</string></plist>",
      "<plist><string>&#xD800;</string></plist>",
      "<plist><string>&#x110000;</string></plist>",
      "<plist><string>&#99999999999999999999;</string></plist>",
  };
  for (const char* file : files) expectRefused(file, file);
  EXPECT_TRUE(read("<!DOCTYPE plist SYSTEM \"http://example.invalid/none.dtd\"><plist><true/></plist>").value);
}

// Numbers that no calendar has.
TEST(RobustReaderTests, CalculateWithDatesOfAnySize) {
  constexpr double kDoubles[] = {std::numeric_limits<double>::quiet_NaN(),
                                 std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(),
                                 1e300,
                                 -1e300,
                                 1e19,
                                 -1e19,
                                 9.3e18,
                                 1e17,
                                 -1e17,
                                 5e-324,
                                 -0.0};
  for (const double seconds : kDoubles) {
    std::uint64_t bits;
    std::memcpy(&bits, &seconds, sizeof bits);
    std::string object = "\x33";
    append(object, bits, 8);
    const Answer answer = read(fileOf({object}));
    EXPECT_EQ(answer.value != nullptr, std::isfinite(seconds)) << seconds;
    if (!answer.value) continue;
    EXPECT_TRUE(answer.value->description()) << seconds;
    EXPECT_TRUE(isEqual(answer.value, answer.value));
    const Written written = write(answer.value, NSPropertyListXMLFormat_v1_0);
    EXPECT_EQ(written.bytes != nullptr, std::abs(seconds) < 9.2e18) << seconds;
    EXPECT_TRUE(written.bytes || !written.error.empty());
  }
  for (const char* date : {"9999999999999999999-01-01T00:00:00Z", "2001-13-01T00:00:00Z", "2001-00-01T00:00:00Z",
                           "2001-01-32T00:00:00Z", "2001-01-01T24:00:01Z", "2001-01-01T00:60:00Z", "nan", ""}) {
    expectRefused(std::string("<plist><date>") + date + "</date></plist>", date);
  }
}

// Each byte as the marker of the only object, with sixteen bytes behind it.
TEST(RobustReaderTests, DecideOnEveryMarker) {
  std::string known;
  for (int marker = 0; marker < 256; ++marker) {
    const std::string object = std::string(1, static_cast<char>(marker)) + std::string(16, '\x01');
    const Answer answer = read(fileOf({object}));
    if (answer.value) {
      known += static_cast<char>(marker);
    } else {
      EXPECT_NE(answer.error.find_first_of("0123456789"), std::string::npos) << marker << ": " << answer.error;
    }
  }
  std::string expected = "\x08\x09";
  for (const char integer : {'\x10', '\x11', '\x12', '\x13'}) expected += integer;
  expected += "\x22\x23\x33";
  for (int size = 0; size < 15; ++size) expected += static_cast<char>(0x40 + size);
  EXPECT_EQ(known.substr(0, expected.size()), expected);
  EXPECT_EQ(known.find('\x00'), std::string::npos) << "null is no value of a property list";
  EXPECT_EQ(known.find('\x0F'), std::string::npos) << "nor is a filler";
  for (const char container : {'\xA1', '\xC1', '\xD1'}) {
    EXPECT_EQ(known.find(container), std::string::npos) << "its reference leads nowhere";
  }
}

TEST(RobustReaderTests, SayWhereTextGoesWrongAndGiveNoPart) {
  const char* const files[] = {"<plist><array><true/>",
                               "<plist><dict><key>a</key></dict></plist>",
                               "<plist><true/></plist>x",
                               "<plist><integer>1x</integer></plist>",
                               "<plist><data>A*</data></plist>",
                               "(a, b",
                               "{ a = ; }",
                               "{ a = b; } }",
                               "<0g>",
                               "\"open",
                               "<plist/>"};
  for (const char* file : files) expectRefused(file, file);
}

}  // namespace
}  // namespace ZtFoundation::limits
