#include "platform/linux/references/AliasRecord.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>

namespace ZtFoundation::test {
namespace {

using detail::AliasContents;
using detail::decodeAlias;
using detail::encodeAlias;
using detail::FileHandle;
using detail::ItemTraits;

ItemTraits item(std::uint64_t number, bool folder) {
  ItemTraits traits;
  traits.identity = {0x1122334455667788, number, -5, 999'999'999, true, folder};
  traits.kind = folder ? 4 : 8;
  return traits;
}

AliasContents sample() {
  AliasContents contents;
  contents.userType = 0x41424344;
  contents.path = "/media/a/\xFF\xFE name";
  contents.item = item(0xFEDCBA9876543210, false);
  contents.volume = {"ext4", "/dev/sda1", item(2, true), 0x0102030405060708, "/media/a"};
  contents.handle = FileHandle{-2, std::string("\0\1\2", 3)};
  contents.parentHandle = FileHandle{1, std::string(128, 'h')};
  return contents;
}

std::string bytesOf(const AliasContents& contents) { return encodeAlias(contents).value(); }

std::size_t numberAt(const std::string& bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]) + std::size_t{256} * static_cast<unsigned char>(bytes[at + 1]);
}

void putNumber(std::string& bytes, std::size_t at, std::size_t number) {
  bytes[at] = static_cast<char>(number & 0xFF);
  bytes[at + 1] = static_cast<char>(number >> 8);
}

/// A record whose field `tag` has been changed; the sizes fit.
template <class Change>
std::string withField(std::string bytes, std::size_t tag, Change change) {
  std::size_t at = 16;
  while (numberAt(bytes, at) != tag) at += 4 + numberAt(bytes, at + 2);
  const std::size_t size = numberAt(bytes, at + 2);
  std::string field = bytes.substr(at + 4, size);
  change(field);
  bytes.replace(at + 4, size, field);
  putNumber(bytes, at + 2, field.size());
  putNumber(bytes, 4, bytes.size());
  putNumber(bytes, 12, bytes.size());
  return bytes;
}

TEST(AliasRecordTests, WhatIsWrittenIsReadAgain) {
  AliasContents contents = sample();
  EXPECT_EQ(decodeAlias(bytesOf(contents)), contents);
  contents.parentHandle.reset();
  EXPECT_EQ(decodeAlias(bytesOf(contents)), contents);
  contents.handle.reset();
  EXPECT_EQ(decodeAlias(bytesOf(contents)), contents);
  contents.item.identity.hasBirth = false;
  contents.item.identity.bornSeconds = 0;
  contents.item.identity.bornNanoseconds = 0;
  EXPECT_EQ(decodeAlias(bytesOf(contents)), contents);
  contents.parentHandle = FileHandle{0, ""};
  contents.volume.source.clear();
  EXPECT_EQ(decodeAlias(bytesOf(contents)), contents);
}

// Stored records must be readable for ever, on every machine.
TEST(AliasRecordTests, TheBytesAreTheDocumentedOnes) {
  AliasContents contents;
  contents.userType = 0x01020304;
  contents.path = "/a/b";
  contents.item.identity = {0x10, 0x20, 0x30, 0x40, true, false};
  contents.item.kind = 8;
  contents.volume = {"tmpfs", "t", item(0, true), 0x50, "/a"};
  contents.volume.root.identity = {0x10, 1, 0, 0, false, true};
  contents.handle = FileHandle{0x81, "xy"};
  const std::string expected(
      "\x04\x03\x02\x01"
      "\x86\x00"
      "\x01\x00"
      "ZtAl"
      "\x86\x00\x00\x00"
      "\x01\x00\x04\x00/a/b"
      "\x02\x00\x1E\x00"
      "\x20\0\0\0\0\0\0\0"
      "\x10\0\0\0\0\0\0\0"
      "\x30\0\0\0\0\0\0\0"
      "\x40\0\0\0"
      "\x01\x08"
      "\x03\x00\x05\x00tmpfs"
      "\x04\x00\x01\x00t"
      "\x05\x00\x1E\x00"
      "\x01\0\0\0\0\0\0\0"
      "\x10\0\0\0\0\0\0\0"
      "\0\0\0\0\0\0\0\0"
      "\0\0\0\0"
      "\x00\x04"
      "\x06\x00\x08\x00"
      "\x50\0\0\0\0\0\0\0"
      "\x07\x00\x02\x00/a"
      "\x08\x00\x06\x00"
      "\x81\0\0\0"
      "xy",
      0x86);
  EXPECT_EQ(bytesOf(contents), expected);
  EXPECT_EQ(decodeAlias(expected), contents);
}

TEST(AliasRecordTests, AnyBeginningOfARecordIsNone) {
  const std::string bytes = bytesOf(sample());
  for (std::size_t size = 0; size < bytes.size(); ++size) EXPECT_EQ(decodeAlias(bytes.substr(0, size)), std::nullopt);
  EXPECT_EQ(decodeAlias(bytes + '\0'), std::nullopt);
}

TEST(AliasRecordTests, ContradictionsAreNone) {
  const auto refuses = [](const auto& change) {
    AliasContents contents = sample();
    change(contents);
    const auto bytes = encodeAlias(contents);
    return bytes && !decodeAlias(*bytes);
  };
  EXPECT_TRUE(refuses([](AliasContents& c) { c.path = "relative"; }));
  EXPECT_TRUE(refuses([](AliasContents& c) { c.path = ""; }));
  EXPECT_TRUE(refuses([](AliasContents& c) { c.path = std::string("/media/a/\0", 10); }));
  EXPECT_TRUE(refuses([](AliasContents& c) { c.path = "/media/ab"; })) << "not on the volume";
  for (const char* path :
       {"/media/a/../b", "/media/a/..", "/media/a/./b", "/media/a/.", "/media/a//b", "/media/a/b/"}) {
    EXPECT_TRUE(refuses([&](AliasContents& c) { c.path = path; })) << path << " is another spelling of a path";
    EXPECT_TRUE(refuses([&](AliasContents& c) { c.path = c.volume.mountPoint = path; })) << path;
  }
  for (const char* path : {"/media/a", "/media/a/..b/.c/d..", "/media/a/..."}) {
    EXPECT_FALSE(refuses([&](AliasContents& c) { c.path = path; })) << path;
  }
  EXPECT_FALSE(refuses([](AliasContents& c) { c.path = c.volume.mountPoint = "/"; }));
  EXPECT_TRUE(refuses([](AliasContents& c) { c.volume.mountPoint = "media"; }));
  for (const char* path : {"", "relative", "rela/tive"}) {
    EXPECT_TRUE(refuses([&](AliasContents& c) {
      c.path = path;
      c.volume.mountPoint = "/";
    })) << path
        << " is on every volume or on none";
    EXPECT_TRUE(refuses([&](AliasContents& c) { c.path = c.volume.mountPoint = path; })) << path;
  }
  EXPECT_TRUE(refuses([](AliasContents& c) { c.item.identity.bornNanoseconds = 1'000'000'000; }));
  EXPECT_TRUE(refuses([](AliasContents& c) { c.item.identity.hasBirth = false; })) << "a date that is none";
  EXPECT_TRUE(refuses([](AliasContents& c) {
    c.item.identity.hasBirth = false;
    c.item.identity.bornSeconds = 0;
  })) << "the rest of a date that is none";
  EXPECT_TRUE(refuses([](AliasContents& c) {
    c.item.identity.hasBirth = false;
    c.item.identity.bornNanoseconds = 0;
  })) << "the rest of a date that is none";
  EXPECT_TRUE(refuses([](AliasContents& c) { c.item.kind = 16; }));
  EXPECT_TRUE(refuses([](AliasContents& c) { c.handle->bytes.assign(129, 'h'); }));
  EXPECT_FALSE(refuses([](AliasContents&) {}));
}

TEST(AliasRecordTests, FieldsOfAnotherLengthAreNone) {
  const std::string good = bytesOf(sample());
  constexpr std::size_t kItem = 2, kVolumeRoot = 5, kVolumeIdentifier = 6, kHandle = 8, kParentHandle = 9;
  for (const std::size_t tag : {kItem, kVolumeRoot, kVolumeIdentifier}) {
    EXPECT_EQ(decodeAlias(withField(good, tag, [](std::string&) {})), sample()) << tag;
    EXPECT_EQ(decodeAlias(withField(good, tag, [](std::string& field) { field += '\0'; })), std::nullopt) << tag;
    EXPECT_EQ(decodeAlias(withField(good, tag, [](std::string& field) { field.pop_back(); })), std::nullopt) << tag;
  }
  for (const std::size_t tag : {kHandle, kParentHandle}) {
    EXPECT_EQ(decodeAlias(withField(good, tag, [](std::string& field) { field.resize(3); })), std::nullopt) << tag;
    EXPECT_NE(decodeAlias(withField(good, tag, [](std::string& field) { field.resize(4); })), std::nullopt) << tag;
  }
}

TEST(AliasRecordTests, WhetherThereIsADateIsYesOrNo) {
  AliasContents contents = sample();
  contents.item.identity.bornSeconds = 0;
  contents.item.identity.bornNanoseconds = 0;
  for (const int answer : {0, 1, 2, 255}) {
    const std::string bytes =
        withField(bytesOf(contents), 2, [&](std::string& field) { field[28] = static_cast<char>(answer); });
    contents.item.identity.hasBirth = answer != 0;
    EXPECT_EQ(decodeAlias(bytes), answer <= 1 ? std::optional(contents) : std::nullopt) << answer;
  }
}

TEST(AliasRecordTests, WhatIsTooLongIsNotWritten) {
  AliasContents contents = sample();
  contents.volume.source.assign(65536, 's');
  EXPECT_EQ(encodeAlias(contents), std::nullopt);
  contents.volume.source.pop_back();
  const std::string bytes = bytesOf(contents);
  EXPECT_EQ(bytes.substr(4, 2), std::string(2, '\0')) << "more than its short size can tell";
  EXPECT_EQ(decodeAlias(bytes), contents);
}

TEST(AliasRecordTests, ChangedBytesAreNoneOrAnotherAlias) {
  const std::string good = bytesOf(sample());
  std::mt19937 random(4711);
  int decoded = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string bytes = good;
    bytes[random() % bytes.size()] = static_cast<char>(random());
    if (round % 3 == 0) bytes[random() % bytes.size()] = static_cast<char>(random());
    const auto contents = decodeAlias(bytes);
    if (!contents) continue;
    ++decoded;
    EXPECT_EQ(encodeAlias(*contents), bytes) << "each alias has one form";
  }
  EXPECT_GT(decoded, 0);
}

TEST(AliasRecordTests, RecordsAreTheSameForEveryMachineWord) {
  std::ifstream file(ZT_TEST_DATA "/interchange/alias", std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  EXPECT_EQ(bytesOf(sample()), bytes);
  EXPECT_EQ(decodeAlias(bytes), sample());
}

}  // namespace
}  // namespace ZtFoundation::test
