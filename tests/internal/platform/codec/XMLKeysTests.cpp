#include "platform/codec/XMLKeys.h"

#include <gtest/gtest.h>

#include <ZtFoundation/platform/Dictionary.h>

namespace ZtFoundation::codec {
namespace {

using namespace std::literals;

const XMLKey& added(XMLKeys& keys, std::string_view text, bool isPlain = true) {
  return keys.add(text, isPlain, NSString::stringWithValidUTF8(text));
}

TEST(XMLKeys, FindsWhatWasAdded) {
  XMLKeys keys;
  EXPECT_EQ(keys.find("a"), nullptr);
  const XMLKey& a = added(keys, "a");
  EXPECT_EQ(keys.find("a"), &a);
  EXPECT_EQ(keys.find("b"), nullptr);
  EXPECT_EQ(a.hash, NSDictionary::hashOfKey(*Ref<NSString>("a")));
}

TEST(XMLKeys, GuessesTheKeyThatFollowedTheLastTime) {
  XMLKeys keys;
  EXPECT_EQ(keys.guess("a</key>"), nullptr);
  const XMLKey& a = added(keys, "a");
  const XMLKey& b = added(keys, "b");
  EXPECT_EQ(keys.find("a"), &a);
  EXPECT_EQ(keys.guess("bc</key>"), nullptr);
  EXPECT_EQ(keys.guess("b</ke"), nullptr);
  EXPECT_EQ(keys.guess("b"), nullptr);
  EXPECT_EQ(keys.guess(""), nullptr);
  EXPECT_EQ(keys.guess("b</key><integer>"), &b);
  EXPECT_EQ(keys.guess("a</key>"), &a);  // a came after b when it was found
}

TEST(XMLKeys, NeverGuessesTextThatStandsDifferentlyInTheDocument) {
  XMLKeys keys;
  added(keys, "a");
  added(keys, "b&c", false);
  keys.find("a");
  EXPECT_EQ(keys.guess("b&c</key>"), nullptr);
}

TEST(XMLKeys, CopiesTextThatIsNotPlain) {
  XMLKeys keys;
  std::string text = "some text that is longer than a short string";
  const XMLKey& key = added(keys, text, false);
  text.assign(text.size(), 'x');
  EXPECT_EQ(key.text, "some text that is longer than a short string");
  EXPECT_EQ(keys.find("some text that is longer than a short string"), &key);
}

TEST(XMLKeys, ManyKeysStayDistinct) {
  XMLKeys keys;
  std::vector<std::string> texts;
  for (int at = 0; at < 50'000; ++at) texts.push_back("key " + std::to_string(at));
  for (const std::string& text : texts) {
    ASSERT_EQ(keys.find(text), nullptr);
    added(keys, text);
  }
  for (const std::string& text : texts) {
    const XMLKey* const key = keys.find(text);
    ASSERT_TRUE(key != nullptr);
    ASSERT_EQ(key->text, text);
  }
}

TEST(XMLKeys, KeysThatMeetInOneSlotStayDistinct) {
  XMLKeys keys;
  std::vector<std::string> texts;
  for (int at = 0; texts.size() < 100; ++at) {
    std::string text = "key " + std::to_string(at);
    if (std::hash<std::string_view>{}(text) % 512 == 0) texts.push_back(std::move(text));
  }
  for (const std::string& text : texts) {
    ASSERT_EQ(keys.find(text), nullptr);
    EXPECT_EQ(added(keys, text).text, text);
  }
  for (const std::string& text : texts) {
    const XMLKey* const key = keys.find(text);
    EXPECT_TRUE(key == nullptr || key->text == text);
  }
}

}  // namespace
}  // namespace ZtFoundation::codec
