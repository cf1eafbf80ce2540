#include "Display.h"

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "Streams.h"

namespace ztplist {

using namespace ZtFoundation;

namespace {

constexpr std::size_t kDataShown = 32;
constexpr std::size_t kIndent = 2;
// Beyond it a double has no half seconds left, and a 64-bit count of seconds is still far away.
constexpr double kFractionLimit = 4503599627370496.0;

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
bool isControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

void appendUTF8(std::string& to, char32_t point) {
  const auto byte = [](char32_t value) { return static_cast<char>(static_cast<unsigned char>(value)); };
  if (point < 0x80) {
    to += byte(point);
  } else if (point < 0x800) {
    to += {byte(0xC0 | point >> 6U), byte(0x80 | (point & 0x3F))};
  } else if (point < 0x10000) {
    to += {byte(0xE0 | point >> 12U), byte(0x80 | (point >> 6U & 0x3F)), byte(0x80 | (point & 0x3F))};
  } else {
    to += {byte(0xF0 | point >> 18U), byte(0x80 | (point >> 12U & 0x3F)), byte(0x80 | (point >> 6U & 0x3F)),
           byte(0x80 | (point & 0x3F))};
  }
}

void appendEscape(std::string& to, char16_t unit) {
  switch (unit) {
    case u'\n':
      to += "\\n";
      return;
    case u'\r':
      to += "\\r";
      return;
    case u'\t':
      to += "\\t";
      return;
    default:
      break;
  }
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(unit));
  to += text.data();
}

void appendUnit(std::string& to, char16_t unit, std::string_view special) {
  if (isControl(unit) || isHighSurrogate(unit) || isLowSurrogate(unit)) return appendEscape(to, unit);
  if (unit == u'\\' || (unit < 0x80 && special.find(static_cast<char>(unit)) != std::string_view::npos)) to += '\\';
  appendUTF8(to, unit);
}

std::string hexDigits(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const char character : bytes) {
    const auto byte = static_cast<unsigned char>(character);
    text += {kDigits[byte >> 4U], kDigits[byte & 15U]};
  }
  return text;
}

// ".25" for a quarter second, nothing for none.
std::string fractionText(double fraction) {
  std::array<char, 32> text{};
  const auto written = std::to_chars(text.data(), text.data() + text.size(), fraction, std::chars_format::fixed, 9);
  const std::string digits(text.data() + 1, written.ptr);
  const std::size_t last = digits.find_last_not_of('0');
  return last == 0 ? "" : digits.substr(0, last + 1);
}

std::string dateText(const NSDate& date) {
  const double seconds = date.timeIntervalSinceReferenceDate();
  if (!(std::abs(seconds) < kFractionLimit)) return date.description()->utf8();
  const double whole = std::floor(seconds);
  const CalendarDate calendar = calendarFromSeconds(static_cast<std::int64_t>(whole));
  const char* sign = calendar.year < 0 ? "-" : calendar.year > 9999 ? "+" : "";
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%s%04lld-%02u-%02uT%02u:%02u:%02u", sign,
                static_cast<long long>(std::abs(calendar.year)), calendar.month, calendar.day, calendar.hour,
                calendar.minute, calendar.second);
  return text.data() + fractionText(std::min(seconds - whole, 0.999999999)) + "Z";
}

std::string quoted(const NSString& text) {
  std::string result = "\"";
  appendEscaped(result, text, "\"");
  return result += '"';
}

std::string counted(NSUInteger count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string shownData(const NSData& data) {
  std::string text = counted(data.length(), "byte", "bytes");
  if (data.length() > 0) text += " " + hexDigits(data.view().substr(0, kDataShown));
  if (data.length() > kDataShown) text += "...";
  return text;
}

std::string shownValue(const NSObject& value) {
  switch (value.kind()) {
    case ObjectKind::Dictionary:
      return counted(as<NSDictionary>(&value)->count(), "entry", "entries");
    case ObjectKind::Array:
      return counted(as<NSArray>(&value)->count(), "element", "elements");
    case ObjectKind::String:
      return quoted(*as<NSString>(&value));
    case ObjectKind::Data:
      return shownData(*as<NSData>(&value));
    default:
      return plainText(value);
  }
}

bool isPlainKey(const std::string& key) {
  return !key.empty() && std::ranges::all_of(key, [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x80 || (byte > ' ' && byte != '"' && byte != ':' && byte != '\\');
  });
}

std::string shownKey(const NSObject& key) {
  const NSString& text = *as<NSString>(&key);
  std::string escaped;
  appendEscaped(escaped, text, "\"");
  return isPlainKey(escaped) ? escaped : '"' + escaped + '"';
}

class TreePrinter {
 public:
  TreePrinter(Output& output, std::string_view prefix) : output_(output), prefix_(prefix) {}

  void print(const std::string& label, const NSObject& value) {
    output_ << prefix_ << indent_ << label << typedText(value) << '\n';
    indent_.append(kIndent, ' ');
    if (const auto* dictionary = as<NSDictionary>(&value)) printEntries(*dictionary);
    if (const auto* array = as<NSArray>(&value)) printElements(*array);
    indent_.resize(indent_.size() - kIndent);
  }

 private:
  void printEntries(const NSDictionary& dictionary) {
    for (const auto& [key, value] : dictionary) print(shownKey(*key) + ": ", *value);
  }

  void printElements(const NSArray& array) {
    std::size_t index = 0;
    for (const auto& element : array) print(std::to_string(index++) + ": ", *element);
  }

  Output& output_;
  std::string_view prefix_;
  std::string indent_;
};

}  // namespace

std::string_view typeName(const NSObject& value) {
  switch (value.kind()) {
    case ObjectKind::Dictionary:
      return "dictionary";
    case ObjectKind::Array:
      return "array";
    case ObjectKind::String:
      return "string";
    case ObjectKind::Date:
      return "date";
    case ObjectKind::Data:
      return "data";
    case ObjectKind::Number:
      break;
    default:
      return "object";
  }
  const NSNumber& number = *as<NSNumber>(&value);
  return number.isBoolean() ? "boolean" : number.isReal() ? "real" : "integer";
}

void appendEscaped(std::string& to, const NSString& text, std::string_view special) {
  const UnitView units = text.units();
  for (NSUInteger index = 0; index < units.size(); ++index) {
    const char16_t unit = units[index];
    const bool isPair = isHighSurrogate(unit) && index + 1 < units.size() && isLowSurrogate(units[index + 1]);
    if (isPair) {
      appendUTF8(to, 0x10000 + (static_cast<char32_t>(unit - 0xD800) << 10U) + (units[++index] - 0xDC00U));
    } else {
      appendUnit(to, unit, special);
    }
  }
}

std::string plainText(const NSObject& value) {
  switch (value.kind()) {
    case ObjectKind::String:
      return as<NSString>(&value)->utf8();
    case ObjectKind::Date:
      return dateText(*as<NSDate>(&value));
    case ObjectKind::Data:
      return hexDigits(as<NSData>(&value)->view());
    default:
      break;
  }
  const auto* number = as<NSNumber>(&value);
  if (number != nullptr && number->isBoolean()) return number->boolValue() ? "true" : "false";
  return value.description()->utf8();
}

std::string typedText(const NSObject& value) {
  const bool isContainer = value.kind() == ObjectKind::Dictionary || value.kind() == ObjectKind::Array;
  return std::string(typeName(value)) + (isContainer ? ", " : " ") + shownValue(value);
}

void printTree(Output& output, std::string_view prefix, const std::string& label, const NSObject& value) {
  TreePrinter(output, prefix).print(label, value);
}

}  // namespace ztplist
