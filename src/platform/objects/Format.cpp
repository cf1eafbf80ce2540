#include <ZtFoundation/platform/Format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <string>

#include <ZtFoundation/platform/Runtime.h>

#include "platform/objects/FormatParser.h"
#include "platform/objects/NumberText.h"
#include "platform/objects/RealFormat.h"
#include "platform/objects/TextBuilder.h"
#include "platform/objects/UTF8.h"

namespace ZtFoundation {

namespace {

using detail::Conversion;
using detail::FormatCount;
using Kind = FormatArgument::Kind;

constexpr std::string_view kNull = "(null)";

UnitView view(std::string_view ascii) { return {ascii.data(), ascii.size()}; }

std::string integerDigits(std::uint64_t value, int base) {
  std::array<char, 24> digits;
  return {digits.data(), std::to_chars(digits.begin(), digits.end(), value, base).ptr};
}

void makeUpperCase(std::string& text) {
  for (char& character : text) {
    if (character >= 'a') character = static_cast<char>(character - 'a' + 'A');
  }
}

std::uint64_t magnitudeOf(std::int64_t value) {
  return value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
}

Ref<NSString> characterText(const FormatArgument& argument) {
  const auto code = static_cast<char32_t>(argument.unsignedValue());
  std::array<char16_t, 2> units;
  const char16_t* end = detail::putCodePoint(units.data(), code > 0x10FFFF ? detail::kReplacementCharacter : code);
  return NSString::stringWithCharacters_length(units.data(), static_cast<NSUInteger>(end - units.data()));
}

Ref<NSString> descriptionOf(const NSObject* object) {
  return object != nullptr ? detail::describe(object) : Ref<NSString>(kNull);
}

// What "%p" prints.
std::string addressText(const void* pointer) {
  return "0x" + integerDigits(reinterpret_cast<std::uintptr_t>(pointer), 16);
}

// An argument by itself, whatever it is.
Ref<NSString> textOf(const FormatArgument& argument) {
  switch (argument.kind()) {
    case Kind::Signed:
      return std::to_string(argument.signedValue());
    case Kind::Unsigned:
      return std::to_string(argument.unsignedValue());
    case Kind::Character:
      return characterText(argument);
    case Kind::Real:
      return detail::realText(argument.real());
    case Kind::Object:
      return descriptionOf(argument.object());
    case Kind::UTF8:
      return argument.utf8();
    case Kind::UTF16:
      return argument.utf16();
    case Kind::Pointer:
      break;
  }
  return argument.pointer() != nullptr ? addressText(argument.pointer()) : std::string(kNull);
}

bool isText(const FormatArgument& argument) {
  if (argument.kind() == Kind::UTF8 || argument.kind() == Kind::UTF16) return true;
  if (argument.kind() == Kind::Pointer) return argument.pointer() == nullptr;
  return argument.kind() == Kind::Object &&
         (argument.object() == nullptr || argument.object()->kind() == ObjectKind::String);
}

bool fits(const FormatArgument& argument, char letter) {
  switch (letter) {
    case '@':
      return true;
    case 's':
    case 'S':
      return isText(argument);
    case 'p':
      return argument.kind() >= Kind::Pointer;
    case 'e':
    case 'f':
    case 'g':
    case 'a':
    case 'E':
    case 'F':
    case 'G':
    case 'A':
      return argument.isInteger() || argument.kind() == Kind::Real;
    default:
      return argument.isInteger();
  }
}

class Formatter {
 public:
  Formatter(detail::TextBuilder& out, UnitView format, FormatArguments arguments)
      : out_(out), format_(format), arguments_(arguments) {}

  void run() {
    NSUInteger position = 0;
    while (position < format_.size()) {
      const NSUInteger percent = findPercent(position);
      literal({position, percent - position});
      if (percent == format_.size()) break;
      position = convertCommon(percent);
      if (position != 0) continue;
      const Conversion conversion = detail::parseConversion(format_, percent);
      convert(conversion);
      position = NSMaxRange(conversion.range);
    }
  }

 private:
  NSUInteger findPercent(NSUInteger from) const {
    const NSUInteger found = format_.isWide() ? format_.wide().find(u'%', from) : format_.narrow().find('%', from);
    return std::min(found, format_.size());
  }

  // "%%", and most conversions, which are "%@", "%d", "%s" or "%.2f" and need not be parsed. Answers where one of these
  // ends; 0, and nothing is done, for all others.
  NSUInteger convertCommon(NSUInteger percent) {
    if (percent + 1 == format_.size()) return 0;
    const unichar letter = format_[percent + 1];
    NSUInteger end = percent + 2;
    if (letter == '%') return out_.append(1, '%'), end;
    if (next_ >= arguments_.size()) return 0;
    const FormatArgument& value = arguments_[next_];
    if (letter == '@' || (letter == 's' && isText(value))) {
      plainText(value);
    } else if (letter == 'd' && value.kind() == Kind::Signed) {
      number(value.signedValue());
    } else if (letter == '.' && isShortFixed(percent + 2) && value.kind() == Kind::Real &&
               std::isfinite(value.real())) {
      shortFixed(value.real(), format_[percent + 2] - '0');
      end = percent + 4;
    } else {
      return 0;
    }
    ++next_;
    return end;
  }

  // One digit and "f".
  bool isShortFixed(NSUInteger at) const {
    return at + 1 < format_.size() && format_[at] >= '0' && format_[at] <= '9' && format_[at + 1] == 'f';
  }

  void number(std::int64_t value) {
    std::array<char, 24> digits;
    out_.append(std::string_view(digits.begin(), std::to_chars(digits.begin(), digits.end(), value).ptr));
  }

  void shortFixed(double value, int precision) {
    std::array<char, detail::kFixedTextSize> digits;
    out_.append(std::string_view(digits.begin(), detail::putFixed(digits.begin(), value, precision)));
  }

  void plainText(const FormatArgument& value) {
    const NSString* string = value.kind() == Kind::Object ? as<NSString>(value.object()) : nullptr;
    if (string != nullptr) {
      out_.append(string->units());
    } else if (value.kind() == Kind::UTF8 && detail::isASCII(value.utf8())) {
      out_.append(value.utf8());
    } else {
      out_.append(textOf(value)->units());
    }
  }

  void convert(const Conversion& conversion) {
    if (conversion.letter == 0) return asItStands(conversion);

    const std::int64_t width = counted(conversion.width).value_or(0);
    left_ = conversion.left || width < 0;
    width_ = static_cast<NSUInteger>(std::min<std::uint64_t>(magnitudeOf(width), kMaximumFormatWidth));
    const auto precision = counted(conversion.precision);
    precision_.reset();
    if (precision && *precision >= 0) {
      precision_ = static_cast<NSUInteger>(std::min<std::uint64_t>(magnitudeOf(*precision), kMaximumFormatWidth));
    }
    const FormatArgument* value = argument(conversion.argument);
    if (value == nullptr) return unfit(conversion, "missing");
    if (misfit_ != nullptr) return unfit(conversion, textOf(*misfit_));
    if (!fits(*value, conversion.letter)) return unfit(conversion, textOf(*value));
    convert(conversion, *value);
  }

  void convert(const Conversion& conversion, const FormatArgument& value) {
    switch (conversion.letter) {
      case 'd':
      case 'i':
      case 'D':
        return signedInteger(conversion, value);
      case 'u':
      case 'U':
        return unsignedInteger(conversion, value, 10);
      case 'o':
      case 'O':
        return unsignedInteger(conversion, value, 8);
      case 'x':
      case 'X':
        return unsignedInteger(conversion, value, 16);
      case 'c':
      case 'C':
        return character(conversion, value);
      case 's':
      case 'S':
      case '@':
        return text(*textOf(value));
      case 'p':
        return padded({}, addressText(value.pointer()), false);
      default:
        return real(conversion, value);
    }
  }

  const FormatArgument* argument(const FormatCount& which) {
    const NSUInteger index = which.source == FormatCount::Source::NextArgument ? next_++ : which.value - 1;
    return index < arguments_.size() ? &arguments_[index] : nullptr;
  }

  // A width or precision; an argument that is none is remembered as a misfit.
  std::optional<std::int64_t> counted(const FormatCount& count) {
    if (count.source == FormatCount::Source::None) return std::nullopt;
    if (count.source == FormatCount::Source::Number) return static_cast<std::int64_t>(count.value);
    const FormatArgument* value = argument(count);
    if (value == nullptr) return std::nullopt;
    if (value->isInteger()) return value->signedValue();
    misfit_ = value;
    return std::nullopt;
  }

  void asItStands(const Conversion& conversion) { literal(conversion.range); }

  void literal(NSRange range) {
    if (format_.isWide()) return out_.append(format_.slice(range));
    out_.append(std::string_view(format_.narrow().data() + range.location, range.length));
  }

  void unfit(const Conversion& conversion, const Ref<NSString>& shown) {
    misfit_ = nullptr;
    asItStands(conversion);
    out_.append(1, '(');
    out_.append(shown->units());
    out_.append(1, ')');
  }

  void signedInteger(const Conversion& conversion, const FormatArgument& value) {
    bool negative = value.kind() != Kind::Unsigned && value.signedValue() < 0;
    std::uint64_t magnitude = negative ? magnitudeOf(value.signedValue()) : value.unsignedValue();
    if (conversion.length != detail::FormatLength::Own) {
      const auto low = conversion.length == detail::FormatLength::Byte ? static_cast<std::int8_t>(value.signedValue())
                                                                       : static_cast<std::int16_t>(value.signedValue());
      negative = low < 0;
      magnitude = magnitudeOf(low);
    }
    integer(conversion, sign(conversion, negative), integerDigits(magnitude, 10));
  }

  void unsignedInteger(const Conversion& conversion, const FormatArgument& value, int base) {
    std::uint64_t bits = value.unsignedValue();
    if (conversion.length == detail::FormatLength::Byte) bits = static_cast<std::uint8_t>(bits);
    if (conversion.length == detail::FormatLength::Short) bits = static_cast<std::uint16_t>(bits);
    std::string digits = integerDigits(bits, base);
    std::string prefix = conversion.alternate && base == 16 && bits != 0 ? "0x" : "";
    if (conversion.alternate && base == 8 && bits != 0) digits.insert(0, 1, '0');
    if (conversion.letter == 'X') {
      makeUpperCase(prefix);
      makeUpperCase(digits);
    }
    integer(conversion, prefix, std::move(digits));
  }

  void integer(const Conversion& conversion, std::string prefix, std::string digits) {
    const bool octalZero = conversion.alternate && (conversion.letter == 'o' || conversion.letter == 'O');
    if (precision_ == 0U && digits == "0" && !octalZero) digits.clear();
    if (precision_ && *precision_ > digits.size()) digits.insert(0, *precision_ - digits.size(), '0');
    padded(std::move(prefix), std::move(digits), conversion.zero && !precision_);
  }

  void real(const Conversion& conversion, const FormatArgument& value) {
    const double number = realValue(value);
    const char letter = static_cast<char>(conversion.letter | 0x20);
    const bool finite = std::isfinite(number);
    std::string prefix = sign(conversion, std::signbit(number) && !std::isnan(number));
    if (finite && letter == 'a') prefix += "0x";
    std::string digits = finite ? detail::formatReal(std::fabs(number), {letter, precision_, conversion.alternate})
                                : std::string(std::isnan(number) ? "nan" : "inf");
    if (letter != conversion.letter) {
      makeUpperCase(prefix);
      makeUpperCase(digits);
    }
    padded(std::move(prefix), std::move(digits), conversion.zero && finite);
  }

  static double realValue(const FormatArgument& value) {
    if (value.kind() == Kind::Real) return value.real();
    if (value.kind() == Kind::Unsigned) return static_cast<double>(value.unsignedValue());
    return static_cast<double>(value.signedValue());
  }

  static std::string sign(const Conversion& conversion, bool negative) {
    return negative ? "-" : conversion.plus ? "+" : conversion.blank ? " " : "";
  }

  // "%c" takes a byte or, from a wider type, a character; "%C" one unit.
  void character(const Conversion& conversion, const FormatArgument& value) {
    if (value.kind() == Kind::Character && value.size() > 1) return padText(characterText(value)->units());
    const bool unit = conversion.letter == 'C' || conversion.wide;
    const auto code = static_cast<char16_t>(unit ? value.unsignedValue() : value.unsignedValue() & 0xFF);
    padText(UnitView(&code, 1));
  }

  void text(const NSString& string) {
    UnitView units = string.units();
    if (precision_ && *precision_ < units.size()) {
      NSUInteger end = *precision_;
      if (end != 0 && detail::isHighSurrogate(units[end - 1]) && detail::isLowSurrogate(units[end])) --end;
      units = units.slice({0, end});
    }
    padText(units);
  }

  void padText(const UnitView& units) {
    const NSUInteger padding = width_ > units.size() ? width_ - units.size() : 0;
    if (!left_) fill(padding, ' ');
    out_.append(units);
    if (left_) fill(padding, ' ');
  }

  void padded(std::string prefix, std::string digits, bool zeros) {
    const NSUInteger length = prefix.size() + digits.size();
    if (zeros && !left_ && width_ > length) digits.insert(0, width_ - length, '0');
    padText(view(prefix += digits));
  }

  void fill(NSUInteger count, char character) { out_.append(count, character); }

  detail::TextBuilder& out_;
  UnitView format_;
  FormatArguments arguments_;
  NSUInteger next_ = 0;
  const FormatArgument* misfit_ = nullptr;

  // Of the conversion at hand:
  bool left_ = false;
  NSUInteger width_ = 0;
  std::optional<NSUInteger> precision_;
};

}  // namespace

void detail::appendFormatted(TextBuilder& out, const Ref<NSString>& format, FormatArguments arguments) {
  // A description could change the format, or let go of it, while it is read.
  const Ref<NSString> kept = format->isMutable() ? format->copy() : format;
  Formatter(out, kept->units(), arguments).run();
}

Ref<NSString> formatText(const Ref<NSString>& format, FormatArguments arguments) {
  if (!format) return nullptr;
  detail::TextBuilder out;
  detail::appendFormatted(out, format, arguments);
  return NSString::stringWithUnits(out.units());
}

}  // namespace ZtFoundation
