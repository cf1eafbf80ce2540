#include <gtest/gtest.h>

#include "support/BinaryFile.h"
#include "support/Serialization.h"

namespace ZtFoundation {
namespace {

using namespace support;
using namespace std::literals;

std::string wide(std::string_view text, bool isBig, unsigned width) {
  std::string result;
  for (const char c : text) {
    const std::string zeros(width - 1, '\0');
    result += isBig ? zeros + c : c + zeros;
  }
  return result;
}

TEST(Detection, TellsTheFormatsApart) {
  constexpr std::string_view kXML = "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict/></plist>";
  const struct {
    std::string bytes;
    NSUInteger format;
  } cases[] = {
      {BinaryFile{.objects = {array({})}}.text(), NSPropertyListBinaryFormat_v1_0},
      {std::string(kXML), NSPropertyListXMLFormat_v1_0},
      {"<plist version=\"1.0\"><dict/></plist>", NSPropertyListXMLFormat_v1_0},
      {"\n<!-- c -->\n<plist version=\"1.0\"><dict/></plist>", NSPropertyListXMLFormat_v1_0},
      {"\xEF\xBB\xBF" + std::string(kXML), NSPropertyListXMLFormat_v1_0},
      {"\xFE\xFF" + wide(kXML, true, 2), NSPropertyListXMLFormat_v1_0},
      {"\xFF\xFE" + wide(kXML, false, 2), NSPropertyListXMLFormat_v1_0},
      {wide(kXML, true, 2), NSPropertyListXMLFormat_v1_0},
      {wide(kXML, false, 2), NSPropertyListXMLFormat_v1_0},
      {"\0\0\xFE\xFF"s + wide(kXML, true, 4), NSPropertyListXMLFormat_v1_0},
      {"{}", NSPropertyListOpenStepFormat},
      {"\xEF\xBB\xBF{}", NSPropertyListOpenStepFormat},
      {"<0fbd77>", NSPropertyListOpenStepFormat},
      {"<>", NSPropertyListOpenStepFormat},
      {"<da 7a>", NSPropertyListOpenStepFormat},
      {"/* <plist> */ {}", NSPropertyListOpenStepFormat},
      {wide("<ab>", true, 2), NSPropertyListOpenStepFormat},
      {"bplis = t;", NSPropertyListOpenStepFormat},
  };
  for (const auto& [bytes, format] : cases) {
    SCOPED_TRACE(::testing::PrintToString(bytes));
    const ReadResult result = read(bytes);
    EXPECT_TRUE(result.value) << result.error;
    EXPECT_EQ(result.format, format);
  }
}

// The reader that is chosen shows in the error text.
TEST(Detection, DamagedTextGoesToTheReaderItWasMeantFor) {
  EXPECT_NE(read("<dict").error.find("XML"), 0U);
  EXPECT_EQ(read("<dict").error.find("OpenStep"), std::string::npos);
  EXPECT_EQ(read("<data>").error.find("OpenStep"), std::string::npos);
  EXPECT_EQ(read("<date>").error.find("OpenStep"), std::string::npos);
  EXPECT_EQ(read("<a").error.find("OpenStep"), std::string::npos);
  EXPECT_NE(read("<1").error.find("OpenStep"), std::string::npos);
  EXPECT_NE(read("<").error.find("OpenStep"), std::string::npos);
  EXPECT_NE(read("bplist").error.find("at byte 0"), std::string::npos);
  EXPECT_NE(read("{\"json\": 1}").error.find("OpenStep"), std::string::npos);
}

}  // namespace
}  // namespace ZtFoundation
