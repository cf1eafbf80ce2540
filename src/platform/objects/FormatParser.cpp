#include "platform/objects/FormatParser.h"

#include <algorithm>
#include <string_view>

#include <ZtFoundation/platform/Format.h>

namespace ZtFoundation::detail {

namespace {

constexpr std::string_view kLetters = "diDuUxXoOcCsSpeEfFgGaA@";

class Parser {
 public:
  Parser(UnitView format, NSUInteger start) : format_(format), position_(start + 1) { result_.range.location = start; }

  Conversion parse() {
    result_.argument = numbered().value_or(FormatCount{FormatCount::Source::NextArgument, 0});
    flags();
    result_.width = count();
    if (take('.')) {
      result_.precision = count();
      if (result_.precision.source == FormatCount::Source::None) result_.precision.source = FormatCount::Source::Number;
    }
    length();
    letter();
    result_.range.length = position_ - result_.range.location;
    return result_;
  }

 private:
  unichar peek() const { return position_ < format_.size() ? format_[position_] : u'\0'; }
  bool peekDigit() const { return peek() >= '0' && peek() <= '9'; }

  bool take(char wanted) {
    const bool found = peek() == static_cast<unichar>(wanted);
    if (found) ++position_;
    return found;
  }

  NSUInteger number() {
    NSUInteger value = 0;
    for (; peekDigit(); ++position_) value = std::min<NSUInteger>(value * 10 + (peek() - u'0'), kMaximumFormatWidth);
    return value;
  }

  // Digits with a "$" behind them; anything else is left where it is.
  std::optional<FormatCount> numbered() {
    const NSUInteger start = position_;
    if (const NSUInteger value = number(); value != 0 && take('$')) {
      return FormatCount{FormatCount::Source::NumberedArgument, value};
    }
    position_ = start;
    return std::nullopt;
  }

  void flags() {
    for (;; ++position_) {
      switch (peek()) {
        case '-':
          result_.left = true;
          break;
        case '+':
          result_.plus = true;
          break;
        case ' ':
          result_.blank = true;
          break;
        case '#':
          result_.alternate = true;
          break;
        case '0':
          result_.zero = true;
          break;
        case '\'':
          break;
        default:
          return;
      }
    }
  }

  FormatCount count() {
    if (take('*')) return numbered().value_or(FormatCount{FormatCount::Source::NextArgument, 0});
    if (!peekDigit()) return {};
    return {FormatCount::Source::Number, number()};
  }

  void length() {
    if (take('h')) {
      result_.length = take('h') ? FormatLength::Byte : FormatLength::Short;
    } else if (take('l')) {
      result_.wide = !take('l');
    } else if (constexpr std::string_view kOthers = "qztjL";
               peek() < 0x80 && kOthers.find(static_cast<char>(peek())) != std::string_view::npos) {
      ++position_;
    }
  }

  void letter() {
    if (position_ == format_.size()) return;
    const unichar unit = format_[position_++];
    if (unit >= 0x80 || kLetters.find(static_cast<char>(unit)) == std::string_view::npos) return;
    result_.letter = static_cast<char>(unit);
  }

  UnitView format_;
  NSUInteger position_;
  Conversion result_;
};

}  // namespace

Conversion parseConversion(UnitView format, NSUInteger start) { return Parser(format, start).parse(); }

}  // namespace ZtFoundation::detail
