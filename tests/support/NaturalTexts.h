// Texts that natural comparison may stumble over.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <random>
#include <string>

namespace ZtFoundation {

// Texts that are alike in the ways that matter: shared beginnings, zeros before numbers, very long numbers, case,
// punctuation, control characters, marks, widths.
class NaturalTexts {
 public:
  explicit NaturalTexts(unsigned seed) : random_(seed) {}

  std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }

  std::u16string text() { return text(below(kAlphabets)); }

  std::u16string mostlyLike(const std::u16string& other) { return below(3) == 0 ? text() : similarTo(other); }

 private:
  static constexpr std::size_t kAlphabets = 8;

  std::u16string similarTo(const std::u16string& other) {
    std::u16string result = other;
    for (std::size_t changes = 1 + below(2); changes != 0; --changes) {
      const std::size_t place = below(result.size() + 1);
      result.replace(place, std::min(below(2), result.size() - place), text().substr(0, below(3)));
    }
    return result;
  }

  std::u16string text(std::size_t alphabet) {
    std::u16string result;
    for (std::size_t length = below(12); length != 0; --length) result += unit(alphabet);
    if (below(60) == 0) result.insert(below(result.size() + 1), longNumber());
    return result;
  }

  char16_t unit(std::size_t alphabet) {
    static const std::u16string alphabets[] = {
        u"ab0019-._ ",
        std::u16string(u"aA1\x01\x7F\t0") + u'\0',
        u"IMG_0123456789. copy",
        u"lL\u00B7\u0387e\u0301\u00E9\uAC00\u1100\u1161\u11A8\u3099\u304B\u30AC\uFF76\uFF9E\uFF21\uFF11a1\u0F71\u0F72"
        u"\u0300\xD83D\xDE00-",
        u"写真書カメノーゝ々ｶﾞ0012９٣.aAl ・\u3099\u0E40\u0E01\u1100\u1161가\u0387",
        u"лλשعहก\u0301\u0E4C\u0940✨\uFE0F\xD83D\xD83D\xDCF7\xDCF7"
        u"00112299\u0E51.l",
    };
    constexpr std::size_t kWritten = std::size(alphabets);
    static_assert(kWritten + 2 == kAlphabets);
    if (alphabet < kWritten) return alphabets[alphabet][below(alphabets[alphabet].size())];
    if (alphabet == kWritten) return static_cast<char16_t>(below(128));
    return static_cast<char16_t>(below(3) == 0 ? '0' + below(3) : 0x80 + below(128));
  }

  std::u16string longNumber() {
    std::u16string digits = u"1";
    for (std::size_t length = 250 + below(12); length != 0; --length) digits += below(2) == 0 ? u'0' : u'1';
    return digits;
  }

  std::mt19937_64 random_;
};

}  // namespace ZtFoundation
