// Every code and every character, both ways, beside an independent converter.

#include <gtest/gtest.h>

#include <iconv.h>

#include <cstdlib>
#include <optional>
#include <string>

#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {
namespace {

constexpr NSStringEncoding kShiftJIS = NSShiftJISStringEncoding;

std::optional<std::u16string> decode(const std::string& bytes) {
  const Ref<NSString> text = NSString::stringWithBytes_length_encoding(bytes.data(), bytes.size(), kShiftJIS);
  return text ? std::optional(text->utf16()) : std::nullopt;
}

std::optional<std::string> encode(const std::u16string& units, bool lossy = false) {
  const Ref<NSData> data = Ref<NSString>(units)->dataUsingEncoding_allowLossyConversion(kShiftJIS, lossy);
  return data ? std::optional(std::string(data->view())) : std::nullopt;
}

std::string twoBytes(unsigned lead, unsigned trail) { return {static_cast<char>(lead), static_cast<char>(trail)}; }
unsigned char leadOf(const std::string& code) { return static_cast<unsigned char>(code[0]); }

template <class Visit>
void visitTwoByteCodes(Visit visit) {
  for (unsigned lead = 0x80; lead <= 0xFF; ++lead) {
    if (lead >= 0xA1 && lead <= 0xDF) continue;
    for (unsigned trail = 0; trail <= 0xFF; ++trail) visit(twoBytes(lead, trail));
  }
}

// Rows whose characters may have another code that is preferred.
bool mayRepeat(const std::string& code) {
  const unsigned char lead = leadOf(code);
  return lead == 0x87 || lead == 0xED || lead == 0xEE || lead >= 0xFA;
}

TEST(ShiftJISTests, SingleBytes) {
  for (unsigned byte = 0; byte <= 0xFF; ++byte) {
    const std::string code(1, static_cast<char>(byte));
    const std::optional<std::u16string> units = decode(code);
    const bool isKana = byte >= 0xA1 && byte <= 0xDF;
    ASSERT_EQ(units.has_value(), byte < 0x80 || isKana) << byte;
    if (!units) continue;
    EXPECT_EQ(*units, std::u16string(1, static_cast<char16_t>(isKana ? 0xFF61 + byte - 0xA1 : byte)));
    EXPECT_EQ(encode(*units), code);
  }
}

TEST(ShiftJISTests, EveryCodeIsReadAndWrittenBack) {
  int read = 0, writtenBack = 0;
  visitTwoByteCodes([&](const std::string& code) {
    const std::optional<std::u16string> units = decode(code);
    if (!units) return;
    ++read;
    ASSERT_EQ(units->size(), 1U);
    const std::optional<std::string> back = encode(*units);
    ASSERT_TRUE(back);
    if (*back == code) {
      ++writtenBack;
    } else {
      EXPECT_TRUE(mayRepeat(code)) << testing::PrintToString(code);
    }
    EXPECT_EQ(decode(*back), units);
  });
  EXPECT_EQ(read,
            9604);  // 6879 of JIS X 0208, 83 of NEC row 13, 374 and 388 of rows ED to EE and FA to FC, 1880 private
  EXPECT_EQ(writtenBack, 9206);  // 24 characters have two codes or more beside the 374 of rows ED and EE
}

TEST(ShiftJISTests, EveryCharacterWithACodeComesBack) {
  const std::u16string otherForms = u"\u00A2\u00A3\u00AC\u2014\u2016\u2212\u301C";
  int written = 0;
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    const std::u16string units(1, static_cast<char16_t>(unit));
    const std::optional<std::string> code = encode(units);
    EXPECT_EQ(encode(units, true), code.value_or("?")) << unit;
    if (!code) continue;
    ++written;
    EXPECT_EQ(decode(*code) == units, otherForms.find(units) == std::u16string::npos) << unit;
    EXPECT_FALSE(leadOf(*code) == 0xED || leadOf(*code) == 0xEE) << unit;
  }
  EXPECT_EQ(written, 128 + 63 + 9206 + 7);
}

TEST(ShiftJISTests, CharactersOtherFlavoursHaveElsewhere) {
  const struct {
    char16_t unit, comesBackAs;
    const char* code;
  } cases[] = {{0x301C, 0xFF5E, "\x81\x60"}, {0x2212, 0xFF0D, "\x81\x7C"}, {0x2016, 0x2225, "\x81\x61"},
               {0x2014, 0x2015, "\x81\x5C"}, {0x00A2, 0xFFE0, "\x81\x91"}, {0x00A3, 0xFFE1, "\x81\x92"},
               {0x00AC, 0xFFE2, "\x81\xCA"}, {0x005C, 0x005C, "\x5C"},     {0x007E, 0x007E, "\x7E"}};
  for (const auto& each : cases) {
    EXPECT_EQ(encode(std::u16string(1, each.unit)), each.code) << unsigned{each.unit};
    EXPECT_EQ(decode(each.code), std::u16string(1, each.comesBackAs)) << unsigned{each.unit};
  }
}

TEST(ShiftJISTests, WhatHasNoCodeIsOneMark) {
  EXPECT_EQ(encode(u"a\u00E9\xD83D\xDE00z", true), "a??z");
  EXPECT_EQ(encode(u"\xD83D", true), "?");
  EXPECT_EQ(encode(u"\xDE00\xD83Dx", true), "??x");
  EXPECT_EQ(encode(u"\u00E9\xDE00", true), "??");  // half a pair joins nothing but its other half
  EXPECT_EQ(encode(u"\u200B\uFEFF\u00AD", true), "???");
  EXPECT_FALSE(encode(u"\xD83D\xDE00"));
}

TEST(ShiftJISTests, ZeroIsACharacterLikeOthers) {
  using namespace std::string_literals;
  EXPECT_EQ(encode(u"\u65E5\0\uFF71\0"s), "\x93\xFA\0\xB1\0"s);
  EXPECT_EQ(decode("\x93\xFA\0\xB1\0"s), u"\u65E5\0\uFF71\0"s);
}

TEST(ShiftJISTests, BrokenBytesAreNone) {
  for (const char* bytes : {"\x93", "a\x93", "\x93\x20", "\x93\x7F", "\x93\xFD", "\x80", "\xA0", "\xFD\x40", "\xFE",
                            "abcdefgh\xFF", "\x85\x40", "\xFC\x4C"}) {
    EXPECT_FALSE(decode(bytes)) << testing::PrintToString(bytes);
  }
  EXPECT_FALSE(NSString::stringWithBytes_length_encoding("\x93\xFA", 1, kShiftJIS)) << "what follows is not asked for";
}

TEST(ShiftJISTests, LongRunsOfEachKind) {
  std::u16string units;
  std::string bytes;
  for (int run = 0; run < 40; ++run) {
    units += std::u16string(static_cast<std::size_t>(run), u'a');
    bytes += std::string(static_cast<std::size_t>(run), 'a');
    units += u"\u65E5\xFF71";
    bytes += "\x93\xFA\xB1";
  }
  EXPECT_EQ(decode(bytes), units);
  EXPECT_EQ(encode(units), bytes);
}

class SystemConverter {
 public:
  SystemConverter() : descriptor_(iconv_open("UTF-16LE", "CP932")) {}
  SystemConverter(const SystemConverter&) = delete;
  SystemConverter& operator=(const SystemConverter&) = delete;
  ~SystemConverter() {
    if (isOpen()) iconv_close(descriptor_);
  }
  bool isOpen() const { return descriptor_ != reinterpret_cast<iconv_t>(-1); }

  std::optional<std::u16string> decode(std::string bytes) {
    char16_t units[8];
    char *from = bytes.data(), *to = reinterpret_cast<char*>(units);
    std::size_t left = bytes.size(), room = sizeof units;
    iconv(descriptor_, nullptr, nullptr, nullptr, nullptr);
    if (iconv(descriptor_, &from, &left, &to, &room) != 0) return std::nullopt;
    return std::u16string(units, (sizeof units - room) / sizeof *units);
  }

 private:
  iconv_t descriptor_;
};

TEST(ShiftJISTests, CodesMeanWhatTheSystemsConverterSays) {
  SystemConverter system;
  if (!system.isOpen()) GTEST_SKIP() << "the system has no converter for code page 932";
  visitTwoByteCodes([&](const std::string& code) {
    if (decode(code.substr(0, 1))) return;
    const bool isInvalid = leadOf(code) == 0x80 || leadOf(code) == 0xA0 || leadOf(code) >= 0xFD;
    EXPECT_EQ(decode(code), isInvalid ? std::nullopt : system.decode(code)) << testing::PrintToString(code);
  });
}

// Is destroyed after whatever was made on first use in main.
class Late {
 public:
  Late() = default;
  Late(const Late&) = delete;
  Late& operator=(const Late&) = delete;
  ~Late() {
    if (text) std::_Exit(encode(text->utf16()) == "\x93\xFA\x96\x7B" ? 0 : 1);
  }
  Ref<NSString> text;
} late;

TEST(ShiftJISTests, TablesServeDuringExitToo) {
  const auto leave = [] {
    late.text = u"\u65E5\u672C";
    static_cast<void>(encode(u"\u65E5"));
    std::exit(2);
  };
  EXPECT_EXIT(leave(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace ZtFoundation
