#include "KeyPath.h"

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>

#include <charconv>
#include <optional>

#include "Display.h"
#include "Failure.h"

namespace ztplist {

using namespace ZtFoundation;

namespace {

constexpr std::string_view kRoot = "/";
constexpr std::string_view kLeftOut = "…";

std::optional<char16_t> unitFromHex(std::u16string_view digits) {
  constexpr std::size_t kDigits = 4;
  std::string narrow;
  for (const char16_t unit : digits.substr(0, kDigits)) narrow += unit < 0x80 ? static_cast<char>(unit) : '?';
  std::uint16_t value = 0;
  const char* const end = narrow.data() + narrow.size();
  const auto parsed = std::from_chars(narrow.data(), end, value, 16);
  if (narrow.size() < kDigits || parsed.ptr != end || parsed.ec != std::errc()) return std::nullopt;
  return static_cast<char16_t>(value);
}

class PathParser {
 public:
  explicit PathParser(std::u16string_view text) : rest_(text) {}

  KeyPath parse() {
    while (!rest_.empty()) {
      const char16_t unit = take();
      if (unit == u'.') {
        finishKey();
      } else {
        key_ += unit == u'\\' ? escaped() : unit;
      }
    }
    finishKey();
    return std::move(path_);
  }

 private:
  char16_t take() {
    const char16_t unit = rest_.front();
    rest_.remove_prefix(1);
    return unit;
  }

  void finishKey() {
    path_.emplace_back(key_);
    key_.clear();
  }

  char16_t escaped() {
    if (rest_.empty()) throw Failure(Exit::Usage, "key path: nothing after the last backslash");
    switch (const char16_t unit = take()) {
      case u'n':
        return u'\n';
      case u'r':
        return u'\r';
      case u't':
        return u'\t';
      case u'u':
        return hexadecimal();
      default:
        return unit;
    }
  }

  char16_t hexadecimal() {
    const auto unit = unitFromHex(rest_);
    if (!unit) throw Failure(Exit::Usage, "key path: \\u needs four hexadecimal digits");
    rest_.remove_prefix(4);
    return *unit;
  }

  std::u16string_view rest_;
  std::u16string key_;
  KeyPath path_;
};

std::optional<NSUInteger> indexFrom(const Ref<NSString>& step) {
  const std::string digits = step->utf8();
  NSUInteger index = 0;
  const char* const end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, index);
  return parsed.ptr == end && parsed.ec == std::errc() ? std::optional(index) : std::nullopt;
}

NSObject* childOf(NSObject* parent, const Ref<NSString>& step) {
  if (const auto* dictionary = as<NSDictionary>(parent)) return dictionary->lookUp(step.get());
  const auto* array = as<NSArray>(parent);
  const auto index = array != nullptr ? indexFrom(step) : std::nullopt;
  return index && *index < array->count() ? (*array)[*index].get() : nullptr;
}

void appendShownKey(std::string& to, const NSString& key) {
  constexpr NSUInteger kUnitsShown = 200;
  if (key.length() <= kUnitsShown) return appendEscaped(to, key, ".");
  appendEscaped(to, *key.substringToIndex(kUnitsShown), ".");
  to += kLeftOut;
}

KeyPath beginningOf(const KeyPath& path, std::size_t length) {
  return {path.begin(), path.begin() + static_cast<std::ptrdiff_t>(length)};
}

void setElement(NSMutableArray& array, const KeyPath& path, std::size_t step, const Ref<NSObject>& value) {
  const auto index = indexFrom(path[step]);
  if (!index || *index > array.count()) {
    throw Failure(Exit::No, keyPathText(beginningOf(path, step + 1)) + ": the array takes the indexes 0 to " +
                                std::to_string(array.count()));
  }
  if (*index == array.count()) {
    array.addObject(value);
  } else {
    array.replaceObjectAtIndex_withObject(*index, value);
  }
}

void setChild(NSObject* parent, const KeyPath& path, std::size_t step, const Ref<NSObject>& value) {
  if (auto* dictionary = as<NSMutableDictionary>(parent)) {
    dictionary->setObject_forKey(value, path[step]);
  } else if (auto* array = as<NSMutableArray>(parent)) {
    setElement(*array, path, step, value);
  } else {
    throw Failure(Exit::No, keyPathText(beginningOf(path, step)) + ": holds no other values");
  }
}

NSObject* childForSetting(NSObject* parent, const KeyPath& path, std::size_t step) {
  if (NSObject* child = childOf(parent, path[step])) return child;
  const Ref<NSMutableDictionary> made = NSMutableDictionary::dictionary();
  setChild(parent, path, step, made);
  return made.get();
}

}  // namespace

KeyPath parseKeyPath(std::string_view text) {
  if (text == kRoot) return {};
  const Ref<NSString> units = NSString::stringWithValidUTF8(text);
  if (!units) throw Failure(Exit::Usage, "key path: not UTF-8 text");
  return PathParser(units->utf16()).parse();
}

std::string keyPathText(const KeyPath& path) {
  if (path.empty()) return std::string(kRoot);
  std::string text;
  for (const auto& key : path) {
    if (&key != &path.front()) text += '.';
    appendEscaped(text, *key, ".");
  }
  return text == kRoot ? "\\/" : text;
}

std::string shownKeyPath(const KeyPath& path) {
  constexpr std::size_t kStepsAtEachEnd = 16;
  if (path.empty()) return std::string(kRoot);
  std::string text;
  for (std::size_t step = 0; step < path.size(); ++step) {
    if (step > 0) text += '.';
    if (step == kStepsAtEachEnd && path.size() > 2 * kStepsAtEachEnd) {
      text += kLeftOut;
      step = path.size() - kStepsAtEachEnd - 1;
    } else {
      appendShownKey(text, *path[step]);
    }
  }
  return text == kRoot ? "\\/" : text;
}

NSObject* findValue(const Ref<NSObject>& root, const KeyPath& path) {
  NSObject* at = root.get();
  for (const auto& step : path) at = childOf(at, step);
  return at;
}

std::string firstMissing(const Ref<NSObject>& root, const KeyPath& path) {
  std::size_t length = 1;
  while (length < path.size() && findValue(root, beginningOf(path, length)) != nullptr) ++length;
  return keyPathText(beginningOf(path, length));
}

Ref<NSObject> setValue(const Ref<NSObject>& root, const KeyPath& path, const Ref<NSObject>& value) {
  if (path.empty()) return value;
  NSObject* parent = root.get();
  for (std::size_t step = 0; step + 1 < path.size(); ++step) parent = childForSetting(parent, path, step);
  setChild(parent, path, path.size() - 1, value);
  return root;
}

bool removeValue(const Ref<NSObject>& root, const KeyPath& path) {
  if (findValue(root, path) == nullptr) return false;
  NSObject* parent = findValue(root, beginningOf(path, path.size() - 1));
  if (auto* dictionary = as<NSMutableDictionary>(parent)) {
    dictionary->removeObjectForKey(path.back());
  } else {
    as<NSMutableArray>(parent)->removeObjectAtIndex(*indexFrom(path.back()));
  }
  return true;
}

}  // namespace ztplist
