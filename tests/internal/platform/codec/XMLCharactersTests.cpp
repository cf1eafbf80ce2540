#include "platform/codec/XMLCharacters.h"

#include <gtest/gtest.h>

#include <string>

namespace ZtFoundation::codec {
namespace {

// Each byte at each place of texts that are shorter and longer than a block.
TEST(XMLCharacters, ARunEndsAtTheFirstStop) {
  for (std::size_t length = 0; length < 20; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      for (unsigned byte = 0; byte < 256; ++byte) {
        std::string text(length, 'x');
        text[place] = static_cast<char>(byte);
        const bool isStop = byte == '<' || byte == '&' || (byte < 0x20 && byte != '\n' && byte != '\t');
        const TextRun run = scanText<'<', '&'>(text.data(), text.data() + length);
        ASSERT_EQ(run.end - text.data(), static_cast<std::ptrdiff_t>(isStop ? place : length))
            << byte << " at " << place;
        ASSERT_EQ(run.isASCII, byte < 0x80);
      }
    }
  }
}

TEST(XMLCharacters, BytesBehindTheStopDoNotCount) {
  const std::string text = "abc<\xC3\xA9";
  EXPECT_TRUE(scanText<'<'>(text.data(), text.data() + text.size()).isASCII);
  const std::string late = "abcdefghijk<\xC3\xA9";
  EXPECT_TRUE(scanText<'<'>(late.data(), late.data() + late.size()).isASCII);
}

TEST(XMLCharacters, FindsTheFirstIllegalCharacterWhereverItLies) {
  const std::string around = "\xC3\xA9plain text \xF0\x9F\x98\x80";
  EXPECT_EQ(findIllegalCharacter(around), nullptr);
  EXPECT_EQ(findIllegalCharacter(""), nullptr);
  for (const std::string& bad :
       {std::string(1, '\0'), std::string("\x1F"), std::string("\xFF"), std::string("\xED\xA0\x80"),
        std::string("\xEF\xBF\xBE"), std::string("\xC3"), std::string("\xE2\x82"), std::string("\x82\x80"),
        std::string("\xBF\xBF"), std::string("\xF8\x90\x80\x80")}) {
    for (std::size_t fill = 0; fill < 20; ++fill) {
      const std::string before = around + std::string(fill, 'x');
      const std::string text = before + bad + around;
      ASSERT_EQ(findIllegalCharacter(text), text.data() + before.size());
      const std::string atEnd = before + bad;
      ASSERT_EQ(findIllegalCharacter(atEnd), atEnd.data() + before.size());
    }
  }
}

TEST(XMLCharacters, OnlyFourCharactersAreSpace) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(isXMLSpace(static_cast<char>(byte)), byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r');
  }
}

}  // namespace
}  // namespace ZtFoundation::codec
