#include "platform/codec/XMLScanner.h"

#include <gtest/gtest.h>

namespace ZtFoundation::codec {
namespace {

std::string faultOf(std::string_view text) {
  XMLScanner scanner(text);
  try {
    while (scanner.nextTag().form != TagForm::EndOfText) continue;
  } catch (const XMLFault& fault) {
    return fault.text;
  }
  return "none";
}

std::string tag(std::string_view before, std::string_view name, std::string_view after) {
  return std::string(before).append(name).append(after);
}

TEST(XMLScanner, KnowsEachTagInEachForm) {
  for (unsigned number = 0; number <= static_cast<unsigned>(XMLElement::Data); ++number) {
    const auto element = static_cast<XMLElement>(number);
    const std::string_view name = nameOf(element);
    const struct {
      std::string text;
      TagForm form;
    } cases[] = {{tag("<", name, ">"), TagForm::Start},        {tag("</", name, ">"), TagForm::End},
                 {tag("<", name, "/>"), TagForm::Empty},       {tag("<", name, " >"), TagForm::Start},
                 {tag("</", name, "\n>"), TagForm::End},       {tag("<", name, "\t/>"), TagForm::Empty},
                 {tag("<", name, " a='b'/>"), TagForm::Empty}, {tag("\n<", name, " a='>' b=\"/>\">"), TagForm::Start}};
    for (const auto& [text, form] : cases) {
      XMLScanner scanner(text);
      const XMLTag found = scanner.nextTag();
      EXPECT_EQ(found.element, element) << text;
      EXPECT_EQ(found.form, form) << text;
      EXPECT_EQ(*found.at, '<');
      EXPECT_EQ(scanner.nextTag().form, TagForm::EndOfText);
    }
    EXPECT_NE(faultOf(tag("<", name, "x>")), "none");
    EXPECT_NE(faultOf(tag("<", name, "")), "none");
    EXPECT_NE(faultOf(tag("< ", name, ">")), "none");
  }
}

TEST(XMLScanner, PlainTextStaysWhereItLies) {
  const std::string text = "<string>plain text</string>";
  XMLScanner scanner(text);
  const XMLTag start = scanner.nextTag();
  const XMLText plain = scanner.text(start, "</string>");
  EXPECT_EQ(plain.text, "plain text");
  EXPECT_TRUE(plain.isASCII);
  EXPECT_TRUE(scanner.owns(plain.text));
}

TEST(XMLScanner, ResolvedTextIsItsOwn) {
  const std::string text = "<string>plain &amp; \xC3\xA9</string>";
  XMLScanner scanner(text);
  const XMLTag start = scanner.nextTag();
  const XMLText resolved = scanner.text(start, "</string>");
  EXPECT_EQ(resolved.text, "plain & \xC3\xA9");
  EXPECT_FALSE(resolved.isASCII);
  EXPECT_FALSE(scanner.owns(resolved.text));
}

TEST(XMLScanner, AnExcerptIsShortPrintableAndWhole) {
  EXPECT_EQ(excerpt("short"), "short");
  EXPECT_EQ(excerpt("one line\nanother"), "one line");
  EXPECT_EQ(excerpt("a\x01\tb"), "a??b");
  EXPECT_EQ(excerpt(std::string(30, 'x')), std::string(24, 'x'));
  EXPECT_EQ(excerpt("xxxxxxxxxxxxxxxxxxxxxxx\xC3\xA9"), "xxxxxxxxxxxxxxxxxxxxxxx");
  EXPECT_EQ(excerpt(std::string(30, '\x80')), "");
  EXPECT_EQ(excerpt(""), "");
}

TEST(XMLScanner, NestedDocumentTypesUseNoStack) {
  std::string text;
  for (int at = 0; at < 200'000; ++at) text += "<!DOCTYPE a [";
  EXPECT_EQ(faultOf(text), "An unknown declaration at line 1, column 14.");
}

}  // namespace
}  // namespace ZtFoundation::codec
