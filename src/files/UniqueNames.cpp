#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <ZtFoundation/Files.h>

#include "platform/services/FolderListing.h"
#include "platform/services/Service.h"
#include "platform/services/Unicode.h"

namespace ZtFoundation::JxTalvoZtWdExensions {

namespace {

using JxFileExistence::exists;

enum class Style : char { Finder = ' ', Talvo = '_' };

constexpr std::size_t kLongestName = 255;
// So many names are asked for one by one before the folder is listed: most calls need a few, and a folder may be large.
constexpr int kAttemptsBeforeListing = 64;

bool isHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool isLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

char32_t lastCodePoint(std::u16string_view text) {
  const char16_t last = text.back();
  if (text.size() < 2 || !isLowSurrogate(last) || !isHighSurrogate(text[text.size() - 2])) return last;
  return 0x10000 + ((text[text.size() - 2] - char32_t{0xD800}) << 10) + (last - char32_t{0xDC00});
}

bool cutsPair(std::u16string_view text, std::size_t place) {
  return place > 0 && place < text.size() && isHighSurrogate(text[place - 1]) && isLowSurrogate(text[place]);
}

bool belongsToTheOneBefore(char32_t codePoint) { return codePoint >= 0x80 && service<Unicode>().extends(codePoint); }

std::string bytesOf(std::u16string_view name) {
  return NSString::stringWithCharacters_length(name.data(), name.size())->fileSystemRepresentation();
}

// A base, a counter and an ending. The base only ever loses whole characters at its end, so what it loses in bytes
// stands at their end, too.
class NumberedName {
 public:
  NumberedName(std::u16string base, Style style, std::u16string ending)
      : base_(std::move(base)), separator_(static_cast<char>(style)), ending_(std::move(ending)) {
    shortenBase(base_.size());
  }

  std::string baseBytes() const { return bytesOf(base_); }
  std::size_t baseSizeInBytes() const { return baseSizeInBytes_; }
  char separator() const { return separator_; }
  std::string endingBytes() const { return bytesOf(ending_); }
  std::uint64_t number() const { return number_; }

  Ref<NSString> text() const {
    std::u16string text = base_;
    text += static_cast<char16_t>(separator_);
    for (const char digit : std::to_string(number_)) text += static_cast<char16_t>(digit);
    text += ending_;
    return NSString::stringWithCharacters_length(text.data(), text.size());
  }

  void advance() { ++number_; }

  // Takes as many units off the base as the name is too long by, and counts from 1 again. False when the base has
  // fewer.
  bool keepToLongest() {
    const std::size_t length = base_.size() + 1 + std::to_string(number_).size() + ending_.size();
    if (length <= kLongestName) return true;
    const std::size_t excess = length - kLongestName;
    if (excess > base_.size()) return false;
    const std::size_t left = base_.size() - excess;
    shortenBase(cutsPair(base_, left) ? left - 1 : left);
    return true;
  }

  // Takes the last character off the base, with the marks on it, and counts from 1 again. False when there is none.
  bool dropLastCharacter() {
    if (base_.empty()) return false;
    std::u16string_view rest = base_;
    bool isMark = true;
    while (isMark && !rest.empty()) {
      const char32_t last = lastCodePoint(rest);
      isMark = belongsToTheOneBefore(last);
      rest.remove_suffix(last > 0xFFFF ? 2 : 1);
    }
    shortenBase(rest.size());
    return true;
  }

 private:
  void shortenBase(std::size_t units) {
    base_.resize(units);
    baseSizeInBytes_ = baseBytes().size();
    number_ = 1;
  }

  std::u16string base_;
  std::size_t baseSizeInBytes_ = 0;
  char separator_;
  std::u16string ending_;
  std::uint64_t number_ = 1;
};

// The numbers that items of a folder bear for certain, behind the base of a name or what that may be shortened to.
class TakenNumbers {
 public:
  TakenNumbers(const Ref<NSString>& folder, const NumberedName& name)
      : base_(name.baseBytes()), separator_(name.separator()), ending_(name.endingBytes()) {
    service<FolderListing>().visitItems(folder, [this](std::string_view item) { note(item); });
    std::sort(keys_.begin(), keys_.end());
  }

  bool hold(const NumberedName& name) const {
    return std::binary_search(keys_.begin(), keys_.end(), key(name.baseSizeInBytes(), name.number()));
  }

 private:
  // Larger numbers are left to the look at each item; they are not reached anyway.
  static constexpr std::size_t kMostDigits = 14;
  static constexpr unsigned kNumberBits = 48;

  // A shortened base is told by its size.
  static std::uint64_t key(std::size_t baseSize, std::uint64_t number) {
    return std::uint64_t{baseSize} << kNumberBits | number;
  }

  void note(std::string_view item) {
    if (!item.ends_with(ending_)) return;
    item.remove_suffix(ending_.size());
    const std::size_t place = item.find_last_not_of("0123456789");
    if (place == std::string_view::npos || item[place] != separator_ || !base_.starts_with(item.substr(0, place)))
      return;
    const std::string_view digits = item.substr(place + 1);
    if (digits.empty() || digits.size() > kMostDigits || digits.front() == '0') return;
    std::uint64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    keys_.push_back(key(place, number));
  }

  std::string base_;
  char separator_;
  std::string ending_;
  std::vector<std::uint64_t> keys_;
};

// The first path in `parent` from `name` on at which nothing exists; none when the base gets too short.
Ref<NSString> firstFreePath(const Ref<NSString>& parent, NumberedName& name) {
  std::optional<TakenNumbers> taken;
  for (int attempt = 0; name.keepToLongest(); ++attempt, name.advance()) {
    if (attempt == kAttemptsBeforeListing) taken.emplace(parent, name);
    if (taken && taken->hold(name)) continue;
    Ref<NSString> path = parent->stringByAppendingPathComponent(name.text());
    if (!exists(path)) return path;
  }
  return nullptr;
}

// The same, with names that the file system takes.
Ref<NSString> firstFreePathThatFits(const Ref<NSString>& parent, NumberedName name) {
  Ref<NSString> path = firstFreePath(parent, name);
  while (path && service<FolderListing>().isTooLong(path)) {
    path = name.dropLastCharacter() ? firstFreePath(parent, name) : nullptr;
  }
  return path;
}

NumberedName nameLike(const Ref<NSString>& component, Style style, bool isFolder) {
  const Ref<NSString> extension = component->pathExtension();
  if (isFolder || extension->length() == 0) return {component->utf16(), style, {}};
  return {component->stringByDeletingPathExtension()->utf16(), style, u"." + extension->utf16()};
}

Ref<NSString> unusedPath(const Ref<NSString>& self, Style style, bool isFolder) {
  if (!self || !exists(self)) return self;
  const Ref<NSString> parent = self->stringByDeletingLastPathComponent();
  if (parent->length() == 0) return nullptr;
  return firstFreePathThatFits(parent, nameLike(self->lastPathComponent(), style, isFolder));
}

}  // namespace

Ref<NSString> unusedFinderPathForDirectory(const Ref<NSString>& self, bool isFolder) {
  return unusedPath(self, Style::Finder, isFolder);
}

Ref<NSString> unusedFinderFilePath(const Ref<NSString>& self) { return unusedFinderPathForDirectory(self, false); }

Ref<NSString> unusedTalvoPathForDirectory(const Ref<NSString>& self, bool isFolder) {
  return unusedPath(self, Style::Talvo, isFolder);
}

Ref<NSString> unusedTalvoFilePath(const Ref<NSString>& self) { return unusedTalvoPathForDirectory(self, false); }

}  // namespace ZtFoundation::JxTalvoZtWdExensions
