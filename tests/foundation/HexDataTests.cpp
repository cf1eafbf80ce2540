#include <new>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/Exception.h>

#include "support/Sanitizers.h"

namespace ZtFoundation {
namespace {

using namespace QvFoundationExtensions;

std::string dump(const std::string& bytes) { return hexRepresentation(NSData::dataWithBytes(bytes))->utf8(); }

std::string bytesOf(const Ref<NSString>& text) { return std::string(dataWithHexRepresentation(text)->view()); }

std::string counting(std::size_t count) {
  std::string bytes;
  for (std::size_t at = 0; at < count; ++at) bytes += static_cast<char>(at);
  return bytes;
}

// The layout, one byte after the other.
std::string plainDump(const std::string& bytes) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (at != 0 && at % 16 == 0) {
      text += '\n';
    } else if (at != 0 && at % 4 == 0) {
      text += ' ';
    }
    const auto byte = static_cast<unsigned char>(bytes[at]);
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

TEST(HexDataTests, WritesGroupsAndLines) {
  EXPECT_EQ(dump(""), "");
  EXPECT_EQ(dump(counting(1)), "00");
  EXPECT_EQ(dump(counting(4)), "00010203");
  EXPECT_EQ(dump(counting(5)), "00010203 04");
  EXPECT_EQ(dump(counting(16)), "00010203 04050607 08090a0b 0c0d0e0f");
  EXPECT_EQ(dump(counting(17)), "00010203 04050607 08090a0b 0c0d0e0f\n10");
  EXPECT_EQ(dump(counting(20)), "00010203 04050607 08090a0b 0c0d0e0f\n10111213");
  EXPECT_EQ(dump("\xAB\xCD\xEF\xFF"), "abcdefff");
}

TEST(HexDataTests, WritesAnyLengthInTheSameLayout) {
  for (std::size_t length = 0; length < 100; ++length) EXPECT_EQ(dump(counting(length)), plainDump(counting(length)));
}

TEST(HexDataTests, ReadsBackWhatItWrote) {
  std::mt19937 random(7);
  for (std::size_t length = 0; length < 300; ++length) {
    std::string bytes;
    for (std::size_t at = 0; at < length; ++at) bytes += static_cast<char>(random());
    EXPECT_EQ(bytesOf(dump(bytes)), bytes);
  }
}

struct Reading {
  Ref<NSString> text;
  std::string bytes;
};

TEST(HexDataTests, ReadsOtherLayouts) {
  using namespace std::string_literals;
  const Reading readings[] = {
      {"", ""},
      {" \t\r\n", ""},
      {"0", "\0"s},
      {"0x", ""},
      {"0X1f", "\x1F"},
      {" 0 x 1f", "\x1F"},
      {"f", "\x0F"},
      {"abc", "\x0A\xBC"},
      {"0xabc", "\x0A\xBC"},
      {"1 2 3", "\x01\x23"},
      {"ABCDEF", "\xAB\xCD\xEF"},
      {"aBcDeF", "\xAB\xCD\xEF"},
      {u"\u2028"
       u"12\u3000"
       u"34",
       "\x12\x34"},               // white space beyond ASCII
      {u"\u0131\u0132", "\x12"},  // only the low byte of a unit counts
      {std::string(64, '1').append("\r\n").append(64, '2'), std::string(32, 0x11).append(32, 0x22)},
      {std::string(65, '1'), std::string("\x01").append(32, 0x11)},
      {std::string("0x").append(64, '1'), std::string(32, 0x11)},
      {plainDump(counting(60)) + " ", counting(60)},
  };
  for (const Reading& reading : readings) EXPECT_EQ(bytesOf(reading.text), reading.bytes) << reading.text;
}

TEST(HexDataTests, AnOddNumberOfDigitsShiftsADumpAsItShiftsAnyText) {
  std::string digits = plainDump(counting(60)) + "3";
  const std::string odd = bytesOf(digits);
  std::erase_if(digits, [](char character) { return character == ' ' || character == '\n'; });
  EXPECT_EQ(odd, bytesOf(std::string("0").append(digits)));
  EXPECT_EQ(odd.size(), 61U);
}

std::string withByte(std::string text, std::size_t place, char byte) {
  text[place] = byte;
  return text;
}

std::string reasonFor(const Ref<NSString>& text) {
  try {
    (void)dataWithHexRepresentation(text);
  } catch (const NSException& exception) {
    EXPECT_EQ(exception.name()->utf8(), "IllegalHexDigit");
    return exception.reason()->utf8();
  }
  return "nothing raised";
}

std::string reasonNaming(const std::string& digit) {
  std::string reason = "Attempt to interpret a string containing '";
  return reason.append(digit).append("' as a hexidecimal value");
}

TEST(HexDataTests, TheFirstIllegalDigitRaises) {
  EXPECT_EQ(reasonFor("12g4"), reasonNaming("g"));
  EXPECT_EQ(reasonFor("0x0x12"), reasonNaming("x"));
  EXPECT_EQ(reasonFor("x1"), reasonNaming("x"));
  EXPECT_EQ(reasonFor("1x23"), reasonNaming("x")) << "only 0 stands before an x";
  EXPECT_EQ(reasonFor(u"0\u015812"), reasonNaming("X")) << "an x by its low byte only";
  EXPECT_EQ(reasonFor(u"\u0130x12"), reasonNaming("x")) << "a 0 by its low byte only";
  EXPECT_EQ(reasonFor("y"), reasonNaming("y"));
  EXPECT_EQ(reasonFor("1-2z"), reasonNaming("-"));
  EXPECT_EQ(reasonFor("\xC3\xA9"), reasonNaming("\xC3\xA9"));
  EXPECT_EQ(reasonFor(u"\u0167"), reasonNaming("g"));
  EXPECT_EQ(reasonFor("\x1b"), reasonNaming("\x1b"));
  EXPECT_EQ(reasonFor(u"\u0100"), reasonNaming(std::string(1, '\0')));
  EXPECT_EQ(reasonFor(std::string(80, '1').append("g").append(79, '!')), reasonNaming("g"));
  EXPECT_EQ(reasonFor(withByte(plainDump(counting(40)), 40, '@')), reasonNaming("@"));
}

// Every byte that is no digit is refused at every place of a group, in each layout that has a way of its own.
TEST(HexDataTests, NoIllegalDigitSlipsThrough) {
  const std::string texts[] = {plainDump(counting(40)), std::string(80, 'a')};
  for (const std::string& text : texts) {
    for (unsigned byte = 0x21; byte < 0x7F; ++byte) {
      const bool legal = std::isxdigit(static_cast<int>(byte)) != 0;
      for (const std::size_t place : {std::size_t{2}, std::size_t{25}, text.size() - 1}) {
        std::string changed = text;
        changed[place] = static_cast<char>(byte);
        if (text[place] == ' ' || text[place] == '\n') continue;
        EXPECT_EQ(reasonFor(changed) == "nothing raised", legal) << changed;
      }
    }
  }
}

TEST(HexDataTests, WhatStandsBetweenTheGroupsOfADumpCounts) {
  const std::string dump = plainDump(counting(64));
  for (std::size_t place = 0; place < dump.size(); ++place) {
    if (dump[place] != ' ' && dump[place] != '\n') continue;
    EXPECT_EQ(reasonFor(withByte(dump, place, 'g')), reasonNaming("g")) << place;
    EXPECT_EQ(bytesOf(withByte(dump, place, '\t')), counting(64)) << place;
    const std::string longer = withByte(dump, place, '7');
    EXPECT_EQ(bytesOf(longer), bytesOf(std::string("0").append(longer))) << place;
    EXPECT_EQ(bytesOf(longer).size(), 65U) << place;
  }
}

// One byte less is written among the cases of tests/limits.
TEST(HexDataTests, DataOfTwoToThe31BytesGivesNone) {
  constexpr NSUInteger kLength = NSUInteger{1} << 31;
  if (test::kIsSanitized) GTEST_SKIP() << "a sanitizer would take memory for data that nobody touches";
  Ref<NSData> data;
  try {
    data = NSData::dataWithLength(kLength, [](unsigned char*) {});  // nothing is written, so no memory is taken
  } catch (const std::bad_alloc&) {
    GTEST_SKIP() << "there is no room for the data here";
  }
  EXPECT_FALSE(hexRepresentation(data));
}

// A 32-bit build could not even count the units.
TEST(HexDataTests, ADumpThatMemoryHasNoRoomForIsRefused) {
  constexpr NSUInteger kLength = 0x7300'0000;
  if (sizeof(void*) > 4)
    GTEST_SKIP() << "this build has room for the dump of everything that is not refused as too long";
  Ref<NSMutableData> data;
  try {
    data = NSMutableData::dataWithLength(kLength);
  } catch (const std::bad_alloc&) {
    GTEST_SKIP() << "not even the data has room here";
  }
  EXPECT_THROW(hexRepresentation(data), std::bad_alloc);
}

TEST(HexDataTests, NoneGivesNone) {
  EXPECT_FALSE(hexRepresentation(nullptr));
  EXPECT_FALSE(initWithHexRepresentation(nullptr));
  EXPECT_FALSE(dataWithHexRepresentation(nullptr));
}

}  // namespace
}  // namespace ZtFoundation
