#include "platform/codec/TextInput.h"

#include <gtest/gtest.h>

namespace ZtFoundation::codec {
namespace {

using namespace std::literals;

TEST(TextInput, TheFormIsToldByTheMarkOrByZeros) {
  const struct {
    std::string bytes;
    UnitForm form;
    std::size_t markLength;
  } cases[] = {
      {"", UnitForm::Bytes, 0},
      {"<", UnitForm::Bytes, 0},
      {"\0"s, UnitForm::Bytes, 0},
      {"\0\0"s, UnitForm::Bytes, 0},
      {"<p", UnitForm::Bytes, 0},
      {"\xEF\xBB\xBF<", UnitForm::Bytes, 3},
      {"\xEF\xBB", UnitForm::Bytes, 0},
      {"\xFF\xFE", UnitForm::UTF16Little, 2},
      {"\xFF\xFE\0"s, UnitForm::UTF16Little, 2},
      {"\xFF\xFE\0\0"s, UnitForm::UTF32Little, 4},
      {"\xFE\xFF\0<"s, UnitForm::UTF16Big, 2},
      {"\0\0\xFE\xFF"s, UnitForm::UTF32Big, 4},
      {"\0<\0p"s, UnitForm::UTF16Big, 0},
      {"<\0p\0"s, UnitForm::UTF16Little, 0},
      {"<\0"s, UnitForm::UTF16Little, 0},
      {"\0\0\0<"s, UnitForm::UTF32Big, 0},
      {"<\0\0\0"s, UnitForm::UTF32Little, 0},
      {"\0\0\0"s, UnitForm::Bytes, 0},
      {"\0\0\0\0"s, UnitForm::Bytes, 0},
      {"\0\0p<"s, UnitForm::Bytes, 0},
      {"<p\0\0"s, UnitForm::Bytes, 0},
      {"<\0\0p"s, UnitForm::UTF16Little, 0},
  };
  for (const auto& [bytes, form, markLength] : cases) {
    SCOPED_TRACE(::testing::PrintToString(bytes));
    EXPECT_EQ(formOfText(bytes).form, form);
    EXPECT_EQ(formOfText(bytes).markLength, markLength);
  }
}

TEST(TextInput, UTF8IsUsedWhereItLies) {
  const std::string bytes = "\xEF\xBB\xBFtext";
  TextInput input;
  CodecError error;
  ASSERT_TRUE(readUnicodeText(bytes, input, error));
  EXPECT_EQ(input.text, "text");
  EXPECT_EQ(input.text.data(), bytes.data() + 3);
}

TEST(TextInput, EveryCharacterIsRecoded) {
  for (char32_t character = 1; character < 0x110000; character += character < 0x3000 ? 1 : 97) {
    if (character >= 0xD800 && character < 0xE000) continue;
    const auto byte = [&](unsigned shift) { return static_cast<char>(character >> shift & 0xFF); };
    TextInput big, little;
    CodecError error;
    ASSERT_TRUE(readUnicodeText("\0\0\xFE\xFF"s + byte(24) + byte(16) + byte(8) + byte(0), big, error));
    ASSERT_TRUE(readUnicodeText("\xFF\xFE\0\0"s + byte(0) + byte(8) + byte(16) + byte(24), little, error));
    EXPECT_EQ(big.text, little.text);
    EXPECT_EQ(big.text.size(), character < 0x80 ? 1U : character < 0x800 ? 2U : character < 0x10000 ? 3U : 4U);
  }
}

TEST(TextInput, WhatIsValidBeforeDamageIsKept) {
  TextInput input;
  CodecError error;
  EXPECT_FALSE(readUnicodeText("<\0a\0\0\xD8"s, input, error));
  EXPECT_EQ(input.text, "<a");
  EXPECT_EQ(error.text, "The text is not valid UTF-16 at byte offset 4.");
}

TEST(TextInput, OnlyAWholeDeclarationNamesAnEncoding) {
  for (const std::string text :
       {"<?xml", "<?xml ", "<?xml encoding='koi8-r'", "<?xmlencoding='koi8-r'?>", "<?xml encoding=koi8-r?>",
        "<?xml encoding=xkoi8-rx?>", "<?xml encoding='koi8-r?>", "<?xml encoding'koi8-r'?>", "<?xml encoding=?>",
        "<?xml encoding?>", "<a/><?xml encoding='koi8-r'?>", "<true encoding='koi8-r'?>"}) {
    for (const std::string& bytes : {text, text + "\xC3\xA9"}) {
      TextInput input;
      CodecError error;
      EXPECT_TRUE(readXMLText(bytes, input, error)) << bytes;
      EXPECT_EQ(input.text, bytes);
    }
  }
}

TEST(TextInput, TheFirstByteThatIsInvalidInADeclaredEncodingIsNamed) {
  struct Case {
    std::string encoding;
    std::string valid;
    std::string rest;
  };
  const std::string many(5000, 'x');
  const std::vector<Case> cases{
      {"EUC-JP", "", "\xFF"},
      {"EUC-JP", "", "\xFF and more"},
      {"EUC-JP", "\xC6\xFC", "\xC6"},            // half a character at the end
      {"EUC-JP", "\xC6\xFC\xC6\xFC", "\xC6<>"},  // and before others
      {"Shift_JIS", many + "\x93\xFA", "\xFF" + many},
      {"Shift_JIS", "\x93\xFA", "\xFF\x93\xFA\xFF"},
      {"GB18030", "\x81\x30\x81\x30", "\x81\x30\x81"},
      {"Shift_JIS", "\xB1" + many + "\x93\xFA", "\x93"},
      {"ISO-2022-JP", "\x1B$BF|\x1B(B", "\xFF"},
      {"ISO-2022-JP", "\x1B$BF|F|\x1B(B" + many, "\xFF" + many},
      {"ISO-2022-JP", "\x1B$BF|F|F|F|", "~~~~F|\x1B(B" + many},
      {"HZ-GB-2312", "~{V~PVV~PVV~PVV~PVV~PVV~PVV~PVV~PVV~PVV~PVV~PVV~PV~}", "\xFF"},
  };
  for (const auto& [encoding, valid, rest] : cases) {
    SCOPED_TRACE(encoding + " " + ::testing::PrintToString(rest));
    const std::string declaration = "<?xml encoding='" + encoding + "'?>" + valid;
    TextInput input;
    CodecError error;
    ASSERT_TRUE(readXMLText(declaration, input, error)) << error.text;
    EXPECT_FALSE(readXMLText(declaration + rest, input, error));
    EXPECT_EQ(error.text, "The text is not valid in the encoding \"" + encoding +
                              "\", which the XML declaration names, at byte offset " +
                              std::to_string(declaration.size()) + ".");
  }
}

TEST(TextInput, AnEncodingThatIsNotKnownIsNamedWithItsPlace) {
  TextInput input;
  CodecError error;
  EXPECT_FALSE(readXMLText("\n<?xml encoding='klingon'?>", input, error));
  EXPECT_EQ(error.text, "The encoding \"klingon\" that the XML declaration names at byte offset 17 is not known.");
}

TEST(TextInput, OfALongNameOfAnEncodingTheBeginningIsShown) {
  TextInput input;
  CodecError error;
  EXPECT_FALSE(readXMLText("<?xml encoding='" + std::string(100'000, 'x') + "'?>", input, error));
  EXPECT_EQ(error.text, "The encoding \"" + std::string(24, 'x') +
                            "\" that the XML declaration names at byte offset 16 is not known.");
}

TEST(TextInput, AMarkOutranksTheDeclaration) {
  TextInput input;
  CodecError error;
  ASSERT_TRUE(readXMLText("\xEF\xBB\xBF<?xml encoding='ISO-8859-1'?>\xC3\xA9", input, error));
  EXPECT_TRUE(input.text.ends_with("\xC3\xA9"));
}

}  // namespace
}  // namespace ZtFoundation::codec
