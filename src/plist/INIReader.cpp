#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Exception.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <vector>

#include "plist/INIText.h"

namespace ZtFoundation {

namespace {

// The text is read as UTF-8 just as it lies in the data. That gives what reading its UTF-16 units would give, because
// everything looked for is ASCII, or a terminator whose bytes stand for nothing else in valid UTF-8. Whether the text
// is valid shows when its pieces become strings.

// --- Lines

std::size_t find(std::string_view text, char byte, std::size_t from) noexcept {
  return std::min(text.find(byte, from), text.size());
}

// Where a terminator of several bytes comes next. Each byte of the text is looked at once, however many lines there
// are.
class LongTerminator {
 public:
  LongTerminator(std::string_view text, char lead, std::string_view second, std::string_view third) noexcept
      : text_(text), lead_(lead), second_(second), third_(third), next_(search(0)) {}

  std::size_t next(std::size_t position) noexcept {
    if (next_ < position) next_ = search(position);
    return next_;
  }

 private:
  std::size_t search(std::size_t position) const noexcept {
    position = find(text_, lead_, position);
    while (position < text_.size() && !matches(position)) position = find(text_, lead_, position + 1);
    return position;
  }

  bool matches(std::size_t position) const noexcept {
    return isOneOf(second_, position + 1) && (third_.empty() || isOneOf(third_, position + 2));
  }
  bool isOneOf(std::string_view allowed, std::size_t position) const noexcept {
    return position < text_.size() && allowed.find(text_[position]) != std::string_view::npos;
  }

  std::string_view text_;
  char lead_;
  std::string_view second_;
  std::string_view third_;
  std::size_t next_;
};

class Lines {
 public:
  explicit Lines(std::string_view text) noexcept : text_(text) {}

  bool atEnd() const noexcept { return position_ >= text_.size(); }

  // Without its terminator. Of the pair CR LF the second makes an empty line of its own, which says nothing.
  std::string_view take() noexcept {
    if (lineFeed_ < position_) lineFeed_ = find(text_, '\n', position_);
    if (rare_ < position_) rare_ = nextRare();
    const std::size_t end = std::min(lineFeed_, rare_);
    const std::string_view line(text_.data() + position_, end - position_);
    position_ = end + (lineFeed_ < rare_ ? 1 : lengthOfRare(end));
    return line;
  }

 private:
  std::size_t nextRare() noexcept {
    if (carriageReturn_ < position_) carriageReturn_ = find(text_, '\r', position_);
    return std::min({carriageReturn_, nextLine_.next(position_), separator_.next(position_)});
  }

  std::size_t lengthOfRare(std::size_t at) const noexcept {
    if (at == text_.size() || text_[at] == '\r') return 1;
    return text_[at] == '\xC2' ? 2 : 3;
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::size_t lineFeed_{find(text_, '\n', 0)};
  std::size_t carriageReturn_{find(text_, '\r', 0)};
  LongTerminator nextLine_{text_, '\xC2', "\x85", ""};
  LongTerminator separator_{text_, '\xE2', "\x80", "\xA8\xA9"};
  std::size_t rare_{nextRare()};  // the next terminator that is no line feed
};

std::size_t unitsOf(char byte) noexcept {
  const auto value = static_cast<unsigned char>(byte);
  if ((value & 0xC0) == 0x80) return 0;
  return value < 0xF0 ? 1 : 2;
}

bool hasThreeUnits(std::string_view line) noexcept {
  constexpr std::size_t kMostBytesOfUnit = 3;
  if (line.size() >= 3 * kMostBytesOfUnit) return true;
  std::size_t units = 0;
  for (const char byte : line) units += unitsOf(byte);
  return units >= 3;
}

// --- Strings that repeat

struct KnownString {
  std::string_view bytes;
  Ref<NSString> string;
  std::uint32_t hash = 0;
};

// Remembers strings seen lately, so that the same key in many sections is one string, and so is a common value. One
// that is pushed out is made anew.
class StringCache {
 public:
  // The string is none when the bytes are not valid.
  const KnownString& find(std::string_view bytes) {
    KnownString& slot = slots_[slotOf(bytes)];
    if (slot.bytes != bytes || !slot.string) {
      slot.string = NSString::stringWithValidUTF8(bytes);
      slot.hash = slot.string ? NSDictionary::hashOfKey(*slot.string) : 0;
      slot.bytes = bytes;
    }
    return slot;
  }

 private:
  static constexpr unsigned kSlotBits = 9;

  template <class Word>
  static std::uint64_t load(const char* bytes) noexcept {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
  }

  // By the first and the last bytes; what lies between hardly ever makes the difference.
  template <class Word>
  static std::uint64_t mixEnds(std::string_view bytes) noexcept {
    const std::uint64_t head = load<Word>(bytes.data());
    const std::uint64_t tail = load<Word>(bytes.data() + bytes.size() - sizeof(Word));
    return (head * 0x9E3779B97F4A7C15U) ^ (tail * 0xC2B2AE3D27D4EB4FU) ^ bytes.size();
  }

  static std::size_t slotOf(std::string_view bytes) noexcept {
    std::uint64_t mixed = 0;
    if (bytes.size() >= 8) {
      mixed = mixEnds<std::uint64_t>(bytes);
    } else if (bytes.size() >= 4) {
      mixed = mixEnds<std::uint32_t>(bytes);
    } else if (!bytes.empty()) {
      mixed = mixEnds<std::uint8_t>(bytes) + load<std::uint8_t>(&bytes[bytes.size() / 2]);
    }
    return static_cast<std::size_t>((mixed * 0x9E3779B97F4A7C15U) >> (64 - kSlotBits));
  }

  std::array<KnownString, std::size_t{1} << kSlotBits> slots_;
};

// --- The reader

class INIReader {
 public:
  explicit INIReader(std::int32_t mutabilityOption) noexcept
      : isImmutable_(mutabilityOption == 0), hasMutableLeaves_(mutabilityOption == 2) {}

  Ref<NSDictionary> read(std::string_view text) {
    for (Lines lines(text); isValid_ && !lines.atEnd();) readLine(lines.take());
    storeSection();
    if (!isValid_) sections_.clear();
    return dictionaryOf(sections_, {});
  }

 private:
  void readLine(std::string_view line) {
    if (line.empty()) return;
    if (line.front() == ';' || !hasThreeUnits(line)) return drop(line);
    if (line.front() == '[' && line.back() == ']') return openSection(line.substr(1, line.size() - 2));
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || !name_) return drop(line);
    addEntry(line.substr(0, equals), line.substr(equals + 1));
  }

  void openSection(std::string_view name) {
    storeSection();
    name_ = decode(name);
  }

  void addEntry(std::string_view keyBytes, std::string_view valueBytes) {
    const KnownString& key = keys_.find(keyBytes);
    Ref<NSString> value = valueOf(valueBytes);
    if (!key.string || !value) {
      isValid_ = false;
      return;
    }
    entries_.push_back({key.string, std::move(value)});
    hashes_.push_back(key.hash);
  }

  // Short values are the ones that repeat: numbers, switches, names of choices.
  Ref<NSString> valueOf(std::string_view bytes) {
    constexpr std::size_t kLongestShared = 16;
    if (hasMutableLeaves_) return NSMutableString::stringWithString(NSString::stringWithValidUTF8(bytes));
    return bytes.size() <= kLongestShared ? values_.find(bytes).string : NSString::stringWithValidUTF8(bytes);
  }

  void storeSection() {
    if (name_) sections_.push_back({std::move(name_), dictionaryOf(entries_, hashes_)});
    entries_.clear();
    hashes_.clear();
  }

  // A line that says nothing must be valid all the same.
  void drop(std::string_view line) { decode(line); }

  Ref<NSString> decode(std::string_view bytes) {
    Ref<NSString> string = NSString::stringWithValidUTF8(bytes);
    if (!string) isValid_ = false;
    return string;
  }

  Ref<NSDictionary> dictionaryOf(std::vector<DictionaryEntry>& entries, std::span<const std::uint32_t> hashes) const {
    if (isImmutable_) return NSDictionary::dictionaryByTaking(entries, hashes);
    return NSMutableDictionary::dictionaryByTaking(entries, hashes);
  }

  bool isImmutable_;
  bool hasMutableLeaves_;
  bool isValid_ = true;
  StringCache keys_;
  StringCache values_;
  Ref<NSString> name_;  // of the section being filled, none before the first
  std::vector<DictionaryEntry> entries_;
  std::vector<std::uint32_t> hashes_;
  std::vector<DictionaryEntry> sections_;
};

std::string_view withoutMark(std::string_view bytes) noexcept {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  return bytes.starts_with(kMark) ? bytes.substr(kMark.size()) : bytes;
}

Ref<NSObject> readOther(const Ref<NSData>& data, std::int32_t mutabilityOption, QvPropertyListFormat* format,
                        Ref<NSString>* errorDescription) {
  auto detected = static_cast<NSUInteger>(*format);
  Ref<NSObject> result = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      data, static_cast<NSUInteger>(mutabilityOption), &detected, errorDescription);
  *format = static_cast<QvPropertyListFormat>(detected);
  return result;
}

bool isBlankOrComment(std::string_view line) noexcept {
  const std::size_t first = line.find_first_not_of(" \t\f\v");
  return first == std::string_view::npos || line[first] == ';' || line[first] == '#';
}

}  // namespace

bool detail::isINIText(std::string_view bytes) noexcept {
  bytes = withoutMark(bytes);
  if (bytes.starts_with('<') || bytes.starts_with("bplist")) return false;
  bool isEmpty = true;
  for (Lines lines(bytes); !lines.atEnd();) {
    const std::string_view line = lines.take();
    if (line.starts_with('[')) return true;
    isEmpty &= isBlankOrComment(line);
  }
  return isEmpty;
}

Ref<NSObject> QvPropertyListSerialization::read(const Ref<NSData>& data, std::int32_t mutabilityOption,
                                                QvPropertyListFormat* format, Ref<NSString>* errorDescription) {
  if (format == nullptr) detail::raiseInvalidArgument("the format of a property list to be read must be given");
  if (*format != QvPropertyListINIFormat) return readOther(data, mutabilityOption, format, errorDescription);
  return INIReader(mutabilityOption).read(data ? withoutMark(data->view()) : std::string_view());
}

}  // namespace ZtFoundation
