#include <ZtFoundation/Utilities.h>
#include <ZtFoundation/platform/StringEncoding.h>

#include <charconv>
#include <string>

namespace ZtFoundation::QvFoundationExtensions {

namespace {

constexpr std::uint64_t kLargestPlainCount = 999;
constexpr double kUnitStep = 1024;
constexpr double kLargestInUnit = 1000;  // on purpose not the step: people read at most three digits before the point
constexpr std::string_view kUnits[] = {"kB", "MB", "GB", "TB", "PB"};

NSRange wholeOf(const Ref<NSString>& string) { return {0, string->length()}; }

Ref<NSString> withOneDecimal(double value, std::string_view unit) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 1).ptr;
  return std::string(digits, end).append(" ").append(unit);
}

Ref<NSString> orEmpty(const Ref<NSString>& string) { return string ? string : NSString::string(); }

struct Escape {
  std::string_view character, replacement;
};

constexpr Escape kEscapes[] = {{"\r", "\\r"}, {"\n", "\\n"}, {"\t", "\\t"}};

}  // namespace

// --- Decoding

Ref<NSString> initWithData_charset(const Ref<NSData>& data, const Ref<NSString>& charset) {
  const CFStringEncoding encoding = CFStringConvertIANACharSetNameToEncoding(charset);
  return NSString::stringWithData_encoding(data, CFStringConvertEncodingToNSStringEncoding(encoding));
}

Ref<NSString> stringWithData_charset(const Ref<NSData>& data, const Ref<NSString>& charset) {
  return initWithData_charset(data, charset);
}

Ref<NSString> stringWithData_encoding(const Ref<NSData>& data, NSStringEncoding encoding) {
  return NSString::stringWithData_encoding(data, encoding);
}

// --- Byte counts

Ref<NSString> abbreviatedStringForByteLength(std::uint64_t length) {
  if (length <= kLargestPlainCount) return std::to_string(length) + " bytes";
  double value = static_cast<double>(length) / kUnitStep;
  const std::string_view* unit = std::begin(kUnits);
  for (; value >= kLargestInUnit && unit + 1 != std::end(kUnits); ++unit) value /= kUnitStep;
  return withOneDecimal(value, *unit);
}

// --- Containment

bool containsString(const Ref<NSString>& self, const Ref<NSString>& substring) {
  return self && self->rangeOfString(substring).length != 0;
}

bool containsString_options(const Ref<NSString>& self, const Ref<NSString>& substring, NSUInteger options) {
  return self && self->rangeOfString_options(substring, options).length != 0;
}

bool containsString_options_range(const Ref<NSString>& self, const Ref<NSString>& substring, NSUInteger options,
                                  NSRange range) {
  return self && self->rangeOfString_options_range(substring, options, range).length != 0;
}

bool containsCharacterInSet(const Ref<NSString>& self, const Ref<NSCharacterSet>& set) {
  return self && self->rangeOfCharacterFromSet(set).length != 0;
}

bool containsCharacterInSet_options(const Ref<NSString>& self, const Ref<NSCharacterSet>& set, NSUInteger options) {
  return self && self->rangeOfCharacterFromSet_options(set, options).length != 0;
}

bool containsCharacterInSet_options_range(const Ref<NSString>& self, const Ref<NSCharacterSet>& set, NSUInteger options,
                                          NSRange range) {
  return self && self->rangeOfCharacterFromSet_options_range(set, options, range).length != 0;
}

// --- Replacing

Ref<NSString> stringByReplacingAllOccurrencesOfString_withString(const Ref<NSString>& self, const Ref<NSString>& target,
                                                                 const Ref<NSString>& replacement) {
  if (!containsString(self, target)) return self;
  const Ref<NSMutableString> result = self->mutableCopy();
  result->replaceOccurrencesOfString_withString_options_range(target, orEmpty(replacement), 0, wholeOf(self));
  return result->copy();
}

Ref<NSString> stringByReplacingAllOccurrencesOfCharactersInSet_withString(const Ref<NSString>& self,
                                                                          const Ref<NSCharacterSet>& set,
                                                                          const Ref<NSString>& replacement) {
  if (!self) return nullptr;
  NSRange found = self->rangeOfCharacterFromSet_options(set, NSLiteralSearch);
  if (found.length == 0) return self;
  const UnitView text = self->units();
  const Ref<NSMutableString> result = NSMutableString::string();
  NSUInteger copied = 0;
  while (found.length != 0) {
    result->appendUnits(text.slice({copied, found.location - copied}));
    result->appendString(replacement);
    copied = NSMaxRange(found);
    found = self->rangeOfCharacterFromSet_options_range(set, NSLiteralSearch, {copied, text.size() - copied});
  }
  result->appendUnits(text.slice({copied, text.size() - copied}));
  return result->copy();
}

Ref<NSString> stringByReplacingAllOccurrencesOfWhiteSpaces(const Ref<NSString>& self) {
  Ref<NSString> text = self;
  for (const Escape& escape : kEscapes) {
    text = stringByReplacingAllOccurrencesOfString_withString(text, escape.character, escape.replacement);
  }
  return text;
}

Ref<NSString> stringByDeletingAllOccurrencesOfString(const Ref<NSString>& self, const Ref<NSString>& target) {
  return stringByReplacingAllOccurrencesOfString_withString(self, target, NSString::string());
}

Ref<NSString> stringByDeletingAllOccurrencesOfCharactersInSet(const Ref<NSString>& self,
                                                              const Ref<NSCharacterSet>& set) {
  return stringByReplacingAllOccurrencesOfCharactersInSet_withString(self, set, NSString::string());
}

}  // namespace ZtFoundation::QvFoundationExtensions
