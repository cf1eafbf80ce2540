#include "platform/linux/system/Unicode.h"

#include "platform/linux/process/ModuleLoader.h"

namespace ZtFoundation {

namespace {

constexpr char32_t lowercaseASCII(char32_t unit) { return unit >= 'A' && unit <= 'Z' ? unit + 0x20 : unit; }
constexpr char32_t uppercaseASCII(char32_t unit) { return unit >= 'a' && unit <= 'z' ? unit - 0x20 : unit; }

template <class Map>
std::u16string mapped(std::u16string_view units, Map map) {
  std::u16string result(units);
  for (char16_t& unit : result) unit = static_cast<char16_t>(map(unit));
  return result;
}

// Answers when the module is missing.
class NoUnicode final : public Unicode {
 public:
  bool compareNaturally(std::u16string_view, std::u16string_view, int&) override { return false; }

  std::optional<std::string> registeredCharset(std::string_view) override { return std::nullopt; }
  std::optional<std::uint32_t> indexOfCharset(const std::string&) override { return std::nullopt; }
  std::optional<std::string> charsetAtIndex(std::uint32_t) override { return std::nullopt; }
  std::optional<std::u16string> decode(const std::string&, std::string_view) override { return std::nullopt; }
  std::optional<std::string> encode(const std::string&, std::u16string_view, bool) override { return std::nullopt; }

  bool isComposed(std::u16string_view) override { return true; }
  bool extends(char32_t) override { return false; }
  void fold(std::u16string_view units, unsigned foldings, std::u16string& out) override {
    out += (foldings & kFoldCase) != 0 ? lowercase(units) : std::u16string(units);
  }

  std::u16string lowercase(std::u16string_view units) override { return mapped(units, lowercaseASCII); }
  std::u16string uppercase(std::u16string_view units) override { return mapped(units, uppercaseASCII); }
  char32_t lowercase(char32_t codePoint) override { return lowercaseASCII(codePoint); }
  char32_t uppercase(char32_t codePoint) override { return uppercaseASCII(codePoint); }

  std::vector<CodePointRange> members(CharacterClass characters) override {
    const CodePointRange digits{'0', '9'}, capitals{'A', 'Z'}, smalls{'a', 'z'};
    switch (characters) {
      case CharacterClass::Letter:
        return {capitals, smalls};
      case CharacterClass::DecimalDigit:
        return {digits};
      case CharacterClass::Alphanumeric:
        break;
    }
    return {digits, capitals, smalls};
  }
};

using UnicodeInModule = ServiceInModule<Unicode, NoUnicode>;

}  // namespace

Unicode& unicodeInModule(const char* file) { return UnicodeInModule(file, kUnicodeModuleEntry).get(); }

Unicode& Unicode::production() {
  static constinit UnicodeInModule module("libZtFoundationUnicode.so", kUnicodeModuleEntry);
  return module.get();
}

}  // namespace ZtFoundation
