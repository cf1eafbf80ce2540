#include "platform/codec/Base64.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>

namespace ZtFoundation::codec {
namespace {

std::optional<std::string> decoded(std::string_view text) {
  std::string bytes = "what was there before";
  return decodeBase64(text, bytes) ? std::optional(bytes) : std::nullopt;
}

std::string encoded(std::string_view bytes) {
  std::string text(base64Length(bytes.size()), '?');
  EXPECT_EQ(encodeBase64(bytes, text.data()), text.data() + text.size());
  return text;
}

TEST(Base64, KnownTexts) {
  const struct {
    std::string bytes, text;
  } cases[] = {{"", ""},
               {"f", "Zg=="},
               {"fo", "Zm8="},
               {"foo", "Zm9v"},
               {"foob", "Zm9vYg=="},
               {"fooba", "Zm9vYmE="},
               {"foobar", "Zm9vYmFy"}};
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(encoded(bytes), text);
    EXPECT_EQ(decoded(text), bytes);
  }
}

TEST(Base64, EveryLengthSurvivesWithAndWithoutSpace) {
  std::mt19937 random(5);
  for (std::size_t length = 0; length < 200; ++length) {
    std::string bytes;
    while (bytes.size() < length) bytes += static_cast<char>(random());
    const std::string text = encoded(bytes);
    EXPECT_EQ(decoded(text), bytes);
    std::string spaced;
    for (const char c : text) spaced.append(random() % 3, " \t\n\v\f\r"[random() % 6]) += c;
    EXPECT_EQ(decoded(spaced + "\n"), bytes);
  }
}

TEST(Base64, RefusesAllElse) {
  for (const char* text :
       {"A",     "AA",      "AAA",  "AA=",  "=",    "A===", "AAAA=",    "AA==A",   "AA==AAAA", "AA=A", "A=AA",
        "AAA=A", "AAAA AA", "AA-A", "AA_A", "AA,A", "AA.A", "\xC2\xA0", "AAA\x80", "====",     "AA==="}) {
    EXPECT_EQ(decoded(text), std::nullopt) << text;
  }
  EXPECT_EQ(decoded(std::string_view("AAA\0", 4)), std::nullopt);
}

// The last digit of a text can hold bits that no byte takes up; they count for nothing.
TEST(Base64, SpareBitsAreIgnored) { EXPECT_EQ(decoded("Zh=="), "f"); }

}  // namespace
}  // namespace ZtFoundation::codec
