#include <ZtFoundation/platform/Data.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <new>
#include <string>

#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

constexpr NSUInteger kHuge = std::numeric_limits<NSUInteger>::max();

TEST(Data, HoldsACopyOfTheBytes) {
  char bytes[] = {1, 0, 2};
  Ref<NSData> data = NSData::dataWithBytes_length(bytes, 3);
  bytes[0] = 9;
  EXPECT_EQ(data->view(), std::string_view("\1\0\2", 3));
  EXPECT_FALSE(data->isMutable());
}

TEST(Data, EmptyDataHasAnAddress) {
  EXPECT_EQ(NSData::data()->length(), 0U);
  EXPECT_NE(NSData::data()->bytes(), nullptr);
  EXPECT_EQ(NSData::dataWithBytes_length(nullptr, 0)->length(), 0U);
}

TEST(Data, TakesAStringOver) {
  std::string bytes(100, 'x');
  const void* address = bytes.data();
  Ref<NSData> data = NSData::dataWithString(std::move(bytes));
  EXPECT_EQ(data->bytes(), address);
  EXPECT_EQ(data->view(), std::string(100, 'x'));
  EXPECT_EQ(NSData::dataWithString("short")->view(), "short");
  EXPECT_TRUE(data->isMemberOfClass(NSData::classObject()));
}

TEST(Data, CanBeFilledByItsProducer) {
  Ref<NSData> data = NSData::dataWithLength(3, [](unsigned char* bytes) { std::memcpy(bytes, "abc", 3); });
  EXPECT_EQ(data->view(), "abc");
}

TEST(Data, LengthsBeyondMemoryAreRefused) {
  const auto nothing = [](unsigned char*) {};
  EXPECT_THROW(NSData::dataWithLength(kHuge, nothing), std::bad_alloc);
  EXPECT_THROW(NSData::dataWithLength(kHuge - 8, nothing), std::bad_alloc);
  Ref<NSMutableData> data = NSMutableData::data();
  EXPECT_THROW(data->setLength(kHuge), std::bad_alloc);
  data->appendBytes_length("abc", 3);
  EXPECT_THROW(data->appendBytes_length("abc", kHuge - 1), std::bad_alloc);
  EXPECT_EQ(data->view(), "abc");
}

TEST(Data, SubdataIsACopyOfTheRange) {
  Ref<NSData> data = NSData::dataWithBytes("abcdef");
  EXPECT_EQ(data->subdataWithRange({1, 3})->view(), "bcd");
  EXPECT_EQ(data->subdataWithRange({6, 0})->length(), 0U);
  EXPECT_THROW(data->subdataWithRange({5, 2}), NSException);
  EXPECT_THROW(data->subdataWithRange({7, 0}), NSException);
  EXPECT_THROW(data->subdataWithRange({1, kHuge}), NSException);
}

TEST(Data, EqualsByContents) {
  Ref<NSData> data = NSData::dataWithBytes("abc");
  EXPECT_TRUE(isEqual(data, data));
  EXPECT_TRUE(isEqual(data, data->mutableCopy()));
  EXPECT_EQ(data->hash(), data->mutableCopy()->hash());
  EXPECT_FALSE(isEqual(data, NSData::dataWithBytes("abd")));
  EXPECT_FALSE(isEqual(data, NSData::dataWithBytes("ab")));
  EXPECT_FALSE(data->isEqual(Ref<NSObject>("abc")));
  EXPECT_FALSE(data->isEqual(nullptr));
  EXPECT_TRUE(isEqual(NSData::data(), NSMutableData::data()));
}

TEST(Data, DescribesItselfInGroupsOfFour) {
  EXPECT_EQ(NSData::data()->description()->utf8(), "<>");
  EXPECT_EQ(NSData::dataWithBytes("abcd")->description()->utf8(), "<61626364>");
  EXPECT_EQ(NSData::dataWithBytes({"\0\1\2\3\xff", 5})->description()->utf8(), "<00010203 ff>");
}

TEST(Data, CopyingAnImmutableOneGivesItself) {
  Ref<NSData> data = NSData::dataWithBytes("abc");
  EXPECT_EQ(data->copy(), data);
  EXPECT_EQ(NSData::dataWithData(data), data);
  Ref<NSMutableData> mutableData = data->mutableCopy();
  Ref<NSData> copy = mutableData->copy();
  EXPECT_FALSE(copy->isMutable());
  mutableData->appendBytes_length("d", 1);
  EXPECT_EQ(copy->view(), "abc");
  EXPECT_EQ(NSData::dataWithData(nullptr), nullptr);
  EXPECT_EQ(NSMutableData::dataWithData(nullptr), nullptr);
}

TEST(MutableData, GrowsAndShrinks) {
  Ref<NSMutableData> data = NSMutableData::dataWithLength(3);
  EXPECT_EQ(data->view(), std::string(3, '\0'));
  static_cast<char*>(data->mutableBytes())[1] = 'x';
  data->setLength(2);
  data->setLength(4);
  EXPECT_EQ(data->view(), std::string_view("\0x\0\0", 4));
  data->setLength(0);
  EXPECT_EQ(data->length(), 0U);
  EXPECT_TRUE(data->isMutable());
}

TEST(MutableData, Appends) {
  Ref<NSMutableData> data = NSMutableData::data();
  std::string expected;
  for (int index = 0; index < 1000; ++index) {
    data->appendBytes_length("xyz", 3);
    expected += "xyz";
  }
  EXPECT_EQ(data->view(), expected);
  data->appendData(nullptr);
  data->appendBytes_length(nullptr, 0);
  EXPECT_EQ(data->view(), expected);
  data->appendData(NSData::dataWithBytes("!"));
  EXPECT_EQ(data->view(), expected + "!");
}

TEST(MutableData, AppendsAPartOfItself) {
  Ref<NSMutableData> data = NSData::dataWithBytes("abcdefgh")->mutableCopy();
  data->appendData(data);
  EXPECT_EQ(data->view(), "abcdefghabcdefgh");
  data->replaceBytesInRange_withBytes_length({0, 1}, static_cast<const char*>(data->bytes()) + 1, 3);
  EXPECT_EQ(data->view(), "bcdbcdefghabcdefgh");
}

TEST(MutableData, ReplacesRanges) {
  Ref<NSMutableData> data = NSData::dataWithBytes("abcdef")->mutableCopy();
  data->replaceBytesInRange_withBytes_length({1, 2}, "XYZ", 3);
  EXPECT_EQ(data->view(), "aXYZdef");
  data->replaceBytesInRange_withBytes_length({1, 3}, nullptr, 0);
  EXPECT_EQ(data->view(), "adef");
  data->replaceBytesInRange_withBytes_length({4, 0}, "g", 1);
  EXPECT_EQ(data->view(), "adefg");
  EXPECT_THROW(data->replaceBytesInRange_withBytes_length({5, 1}, "x", 1), NSException);
  EXPECT_EQ(data->view(), "adefg");
}

}  // namespace
}  // namespace ZtFoundation
