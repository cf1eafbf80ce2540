/// \file Unicode.h
/// What strings need of the Unicode data: collation, charsets, normalization, case and character properties.
///
/// The data is large, so it comes in a module that is opened when one of these is first asked. When the module is
/// missing, each operation answers as its comment says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZtFoundation {

/// Differences that folded text does not show; may be combined.
enum Folding : unsigned {
  kFoldNothing = 0,     ///< canonical decomposition only
  kFoldCase = 1,        ///< full case folding
  kFoldDiacritics = 2,  ///< nonspacing marks left out
  kFoldWidth = 4,       ///< full-width and half-width forms as the ordinary ones
  kFoldLiterally = 8,   ///< no decomposition
};

enum class CharacterClass { Letter, DecimalDigit, Alphanumeric };

/// The code points from `first` to `last`, both included.
struct CodePointRange {
  char32_t first;
  char32_t last;
};

class Unicode {
 public:
  virtual ~Unicode() = default;
  static Unicode& production();

  /// Writes the order (-1, 0, 1) by the root collation: numbers by value, case and width and composition ignored,
  /// punctuation and diacritics significant. False, and nothing is written, when it cannot be told (missing: always).
  virtual bool compareNaturally(std::u16string_view a, std::u16string_view b, int& order) = 0;

  /// The preferred registered name of the charset whose registered name or alias is `name`, in any case; none when
  /// there is none (missing: always).
  virtual std::optional<std::string> registeredCharset(std::string_view name) = 0;
  /// A number that stands for the charset in this process, and the charset of such a number.
  virtual std::optional<std::uint32_t> indexOfCharset(const std::string& registeredName) = 0;
  virtual std::optional<std::string> charsetAtIndex(std::uint32_t index) = 0;
  /// None when the bytes are not valid in the charset (missing: always).
  virtual std::optional<std::u16string> decode(const std::string& charset, std::string_view bytes) = 0;
  /// A character that the charset lacks becomes one "?" if loss is allowed, else there is no result (missing: never
  /// one).
  virtual std::optional<std::string> encode(const std::string& charset, std::u16string_view units, bool lossy) = 0;

  /// True when the text is composed (form C) for certain (missing: true).
  virtual bool isComposed(std::u16string_view units) = 0;
  /// True when the character belongs to the one before it: marks, joiners, later parts of a Hangul syllable (missing:
  /// false).
  virtual bool extends(char32_t codePoint) = 0;
  /// Appends the text without the differences in `foldings` (missing: as it is, ASCII case folded).
  virtual void fold(std::u16string_view units, unsigned foldings, std::u16string& out) = 0;

  /// The whole text in lower or upper case, by the rules of no particular language (missing: ASCII letters only).
  virtual std::u16string lowercase(std::u16string_view units) = 0;
  virtual std::u16string uppercase(std::u16string_view units) = 0;
  /// The one character in lower or upper case (missing: ASCII letters only).
  virtual char32_t lowercase(char32_t codePoint) = 0;
  virtual char32_t uppercase(char32_t codePoint) = 0;

  /// In ascending order, not touching each other (missing: those of ASCII).
  virtual std::vector<CodePointRange> members(CharacterClass characters) = 0;
};

/// The name and type of the function by which the module hands itself out; the object lives as long as the process.
inline constexpr char kUnicodeModuleEntry[] = "ZtFoundationUnicodeModule";
using UnicodeModuleEntry = Unicode* (*)();

}  // namespace ZtFoundation
