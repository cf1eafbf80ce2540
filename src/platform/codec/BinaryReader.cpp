#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>
#include <unordered_map>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>

#include "platform/codec/BinaryFormat.h"
#include "platform/codec/Codec.h"
#include "platform/codec/Limits.h"

namespace ZtFoundation::codec {

namespace {

using Byte = unsigned char;

struct Failure {
  std::string text;
};

[[noreturn]] void fail(std::uint64_t offset, const std::string& what) {
  throw Failure{what + " at byte " + std::to_string(offset) + "."};
}

std::string hexadecimal(unsigned marker) {
  std::array<char, 2> digits{'0', '0'};
  std::to_chars(digits.data() + (marker < 16 ? 1 : 0), digits.end(), marker, 16);
  return "0x" + std::string(digits.data(), digits.size());
}

template <class Word>
Word load(const Byte* at) {
  Word word;
  std::memcpy(&word, at, sizeof word);
  if constexpr (std::endian::native == std::endian::big) return word;
  if constexpr (sizeof word == 2) return __builtin_bswap16(word);
  if constexpr (sizeof word == 4) return __builtin_bswap32(word);
  if constexpr (sizeof word == 8) return __builtin_bswap64(word);
}

/// An unsigned number of 1 to 8 bytes. Eight may be loaded always, because what lies before the trailer has 32 more
/// behind it.
std::uint64_t loadBytes(const Byte* at, unsigned width) { return load<std::uint64_t>(at) >> (64 - 8 * width); }

struct Trailer {
  unsigned offsetSize = 0;
  unsigned referenceSize = 0;
  std::uint64_t objectCount = 0;
  std::uint64_t topObject = 0;
  std::uint64_t tableOffset = 0;
};

enum class Progress : std::uint8_t { Unread, Open, Ready };

/// What is known of one object of the file. The object is not owned: a place of the tree owns it for as long as the
/// reader runs.
struct Slot {
  NSObject* object = nullptr;
  std::uint32_t detail = 0;  // of a key its hash, of a container what it counts
  std::uint16_t height = 0;  // how many containers lie inside each other here
  Progress progress = Progress::Unread;
  bool isHashed = false;
};

/// How many values are looked up before they are wanted.
constexpr std::size_t kAhead = 16;

/// A container whose contents are being read.
struct Frame {
  Slot* slot;
  const Byte* keys;  // null for an array
  const Byte* values;
  std::uint64_t count;
  std::uint64_t next;
  std::size_t base;  // where its contents begin among `values_` or `entries_`
  std::uint64_t costBefore;
  std::uint16_t height;
  std::array<Slot*, kAhead> ahead;  // of the values at hand
};

/// Walks the tree without recursion. An immutable container is made once and shared between its places; a mutable one
/// is made anew for each of them.
class BinaryReader {
 public:
  BinaryReader(std::string_view bytes, Mutability mutability)
      : begin_(reinterpret_cast<const Byte*>(bytes.data())), length_(bytes.size()), mutability_(mutability) {}

  Ref<NSObject> read();

 private:
  void readTrailer();
  void checkTrailer(std::uint64_t at) const;

  // --- Finding objects
  Slot& slotAt(std::uint64_t index, const Byte* reference);
  std::uint64_t offsetOf(std::uint64_t index) const;
  std::uint64_t positionOf(const Byte* at) const { return static_cast<std::uint64_t>(at - begin_); }
  /// The contents from `offset` on, which must be `count` items of `size` bytes that end before the table.
  const Byte* contentsAt(std::uint64_t offset, std::uint64_t count, unsigned size, const char* what) const;

  // --- The walk
  void advance();
  void prepare(Frame& frame);
  void placeKey(Frame& frame);
  void place(Slot& slot, const Byte* reference);
  void placeAgain(const Slot& slot, std::uint64_t offset);
  void placeLeaf(Slot& slot, std::uint64_t offset);
  Ref<NSObject> leafAt(std::uint64_t offset, bool asKey);
  bool isLarge(std::uint64_t offset) const;
  void placeUID(Slot& slot, std::uint64_t offset);
  void open(Slot& slot, std::uint64_t offset);
  void close(Frame& frame);
  Ref<NSObject> closeArray(const Frame& frame);
  Ref<NSObject> closeDictionary(const Frame& frame);
  void keepWhatGaveWay(std::span<DictionaryEntry> entries);
  void deliver(Ref<NSObject>&& value, std::uint16_t height);
  void remember(Slot& slot, NSObject* object) const;
  bool isOwnToEachPlace(const NSObject& object) const;
  void spend(std::uint64_t cost, std::uint64_t offset);
  void requireDepth(std::size_t depth, std::uint64_t offset) const;

  // --- Reading one object
  struct Length {
    std::uint64_t value;
    std::uint64_t contents;  // offset
  };
  Length readLength(std::uint64_t offset) const;
  Ref<NSObject> readLeaf(std::uint64_t offset, bool asKey) const;
  Ref<NSObject> readSimple(std::uint64_t offset) const;
  Ref<NSObject> readInteger(std::uint64_t offset) const;
  Ref<NSObject> readReal(std::uint64_t offset) const;
  Ref<NSObject> readDate(std::uint64_t offset) const;
  Ref<NSObject> readData(std::uint64_t offset) const;
  Ref<NSObject> readNarrowString(std::uint64_t offset, bool asMutable) const;
  Ref<NSObject> readWideString(std::uint64_t offset, bool asMutable) const;
  Ref<NSObject> readUID(std::uint64_t offset) const;

  const Byte* begin_;
  std::uint64_t length_;
  Mutability mutability_;
  Trailer trailer_;
  std::vector<Slot> slots_;
  std::vector<Frame> frames_;
  std::vector<Ref<NSObject>> values_;                         // of all open arrays
  std::vector<DictionaryEntry> entries_;                      // of all open dictionaries
  std::vector<std::uint32_t> hashes_;                         // beside `entries_`
  std::vector<DictionaryEntry> gaveWay_;                      // to a later entry with an equal key
  std::unordered_map<std::uint64_t, NSObject*> largeLeaves_;  // immutable ones by their offsets
  std::uint64_t cost_ = 0;
  Ref<NSObject> result_;
};

Ref<NSObject> BinaryReader::read() {
  readTrailer();
  slots_.resize(static_cast<std::size_t>(trailer_.objectCount));
  frames_.reserve(kMaximumNestingDepth);  // so that frames never move
  const Byte* const top = begin_ + length_ - 16;
  place(slotAt(trailer_.topObject, top), top);
  while (!frames_.empty()) advance();
  return std::move(result_);
}

// --- The trailer

void BinaryReader::readTrailer() {
  if (length_ < binary::kMagic.size() || std::memcmp(begin_, binary::kMagic.data(), binary::kMagic.size()) != 0) {
    fail(0, "Expected \"bplist00\", the beginning of a binary property list of the version that is understood");
  }
  if (length_ < binary::kMagic.size() + binary::kTrailerSize) {
    fail(length_, "Expected a trailer of 32 bytes after the objects, but found the end of the data");
  }
  const std::uint64_t at = length_ - binary::kTrailerSize;
  const Byte* const trailer = begin_ + at;
  trailer_ = {trailer[6], trailer[7], load<std::uint64_t>(trailer + 8), load<std::uint64_t>(trailer + 16),
              load<std::uint64_t>(trailer + 24)};
  checkTrailer(at);
}

void BinaryReader::checkTrailer(std::uint64_t at) const {
  const Trailer& t = trailer_;
  if (t.offsetSize < 1 || t.offsetSize > 8) {
    fail(at + 6, "Expected a size of offsets from 1 to 8, but found " + std::to_string(t.offsetSize));
  }
  if (t.referenceSize < 1 || t.referenceSize > 8) {
    fail(at + 7, "Expected a size of references from 1 to 8, but found " + std::to_string(t.referenceSize));
  }
  if (t.tableOffset <= binary::kMagic.size() || t.tableOffset > at) {
    fail(at + 24, "Expected the offset table between the objects and the trailer, but found the offset " +
                      std::to_string(t.tableOffset));
  }
  if (t.objectCount < 1 || t.objectCount > (at - t.tableOffset) / t.offsetSize) {
    fail(at + 8, "Expected as many objects as the offset table has room for, but found the count " +
                     std::to_string(t.objectCount));
  }
}

// --- Finding objects

Slot& BinaryReader::slotAt(std::uint64_t index, const Byte* reference) {
  if (index >= slots_.size()) {
    fail(positionOf(reference), "Expected the number of one of " + std::to_string(slots_.size()) +
                                    " objects, but found " + std::to_string(index));
  }
  return slots_[static_cast<std::size_t>(index)];
}

std::uint64_t BinaryReader::offsetOf(std::uint64_t index) const {
  const Byte* const entry = begin_ + trailer_.tableOffset + index * trailer_.offsetSize;
  const std::uint64_t offset = loadBytes(entry, trailer_.offsetSize);
  if (offset < binary::kMagic.size() || offset >= trailer_.tableOffset) {
    fail(positionOf(entry),
         "Expected the offset of an object before the offset table, but found " + std::to_string(offset));
  }
  return offset;
}

const Byte* BinaryReader::contentsAt(std::uint64_t offset, std::uint64_t count, unsigned size, const char* what) const {
  if (offset > trailer_.tableOffset || count > (trailer_.tableOffset - offset) / size) {
    fail(offset, "Expected " + std::to_string(count) + what + ", but found the end of the objects");
  }
  return begin_ + offset;
}

// --- The walk

void BinaryReader::advance() {
  Frame& frame = frames_.back();
  const std::size_t depth = frames_.size();
  while (frames_.size() == depth) {
    if (frame.next == frame.count) return close(frame);
    if (frame.next % kAhead == 0) prepare(frame);
    if (frame.keys != nullptr) placeKey(frame);
    Slot& slot = *frame.ahead[frame.next % kAhead];
    const Byte* const reference = frame.values + frame.next++ * trailer_.referenceSize;
    place(slot, reference);
  }
}

/// Slots, and the objects that some of them know already, lie anywhere in memory. So the memory is asked for a few of
/// them at once.
void BinaryReader::prepare(Frame& frame) {
  const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(kAhead, frame.count - frame.next));
  const Byte* reference = frame.values + frame.next * trailer_.referenceSize;
  for (std::size_t at = 0; at < count; ++at, reference += trailer_.referenceSize) {
    frame.ahead[at] = &slotAt(loadBytes(reference, trailer_.referenceSize), reference);
    __builtin_prefetch(frame.ahead[at]);
  }
  for (std::size_t at = 0; at < count; ++at) __builtin_prefetch(frame.ahead[at]->object);
}

void BinaryReader::placeKey(Frame& frame) {
  const Byte* const reference = frame.keys + frame.next * trailer_.referenceSize;
  const std::uint64_t index = loadBytes(reference, trailer_.referenceSize);
  Slot& slot = slotAt(index, reference);
  Ref<NSObject> key;
  if (slot.progress == Progress::Ready) {
    key = slot.object;
  } else {
    const std::uint64_t offset = offsetOf(index);
    const unsigned kind = begin_[offset] >> 4;
    if (kind == binary::kASCIIString || kind == binary::kUTF16String) {
      key = leafAt(offset, true);
      slot.object = key.get();
      slot.progress = Progress::Ready;
    }
  }
  if (!key || key->kind() != ObjectKind::String) fail(positionOf(reference), "Expected a string as a key");
  spend(binary::costOfLeaf(*key), positionOf(reference));
  if (!slot.isHashed) {
    slot.detail = NSDictionary::hashOfKey(*key);
    slot.isHashed = true;
  }
  entries_.push_back({std::move(key), nullptr});
  hashes_.push_back(slot.detail);
}

/// `reference` is where the file refers to the object.
void BinaryReader::place(Slot& slot, const Byte* reference) {
  if (slot.progress == Progress::Open) fail(positionOf(reference), "A container cannot hold itself");
  if (slot.progress == Progress::Ready && !isOwnToEachPlace(*slot.object)) {
    return placeAgain(slot, positionOf(reference));
  }
  const std::uint64_t offset = offsetOf(static_cast<std::uint64_t>(&slot - slots_.data()));
  switch (begin_[offset] >> 4) {
    case binary::kArray:
    case binary::kDictionary:
      return open(slot, offset);
    case binary::kUID:
      return placeUID(slot, offset);
    default:
      return placeLeaf(slot, offset);
  }
}

void BinaryReader::placeAgain(const Slot& slot, std::uint64_t offset) {
  requireDepth(frames_.size() + slot.height, offset);
  spend(slot.height == 0 ? binary::costOfLeaf(*slot.object) : slot.detail, offset);
  deliver(slot.object, slot.height);
}

void BinaryReader::placeLeaf(Slot& slot, std::uint64_t offset) {
  Ref<NSObject> leaf = leafAt(offset, false);
  spend(binary::costOfLeaf(*leaf), offset);
  remember(slot, leaf.get());
  deliver(std::move(leaf), 0);
}

/// Many entries of the table may give the same offset. They share what is large there.
Ref<NSObject> BinaryReader::leafAt(std::uint64_t offset, bool asKey) {
  if (!isLarge(offset)) return readLeaf(offset, asKey);
  NSObject*& known = largeLeaves_[offset];
  if (known != nullptr && (asKey || !isOwnToEachPlace(*known))) return known;
  Ref<NSObject> leaf = readLeaf(offset, asKey);
  if (asKey || !isOwnToEachPlace(*leaf)) known = leaf.get();
  return leaf;
}

/// Whether there are text or data of at least 1 KiB, as in few places of a usual file.
bool BinaryReader::isLarge(std::uint64_t offset) const {
  constexpr std::uint64_t kLarge = 1024;
  const unsigned kind = begin_[offset] >> 4;
  return (begin_[offset] & 0xFU) == binary::kLengthFollows && kind >= binary::kData && kind <= binary::kUTF16String &&
         readLength(offset).value >= kLarge;
}

void BinaryReader::placeUID(Slot& slot, std::uint64_t offset) {
  constexpr std::uint32_t kCost = 2;
  requireDepth(frames_.size() + 1, offset);
  spend(kCost, offset);
  Ref<NSObject> dictionary = readUID(offset);
  slot.height = 1;
  slot.detail = kCost;
  remember(slot, dictionary.get());
  deliver(std::move(dictionary), 1);
}

void BinaryReader::open(Slot& slot, std::uint64_t offset) {
  requireDepth(frames_.size() + 1, offset);
  const Length length = readLength(offset);
  const bool isDictionary = begin_[offset] >> 4 == binary::kDictionary;
  const unsigned size = trailer_.referenceSize;
  const Byte* const references = isDictionary ? contentsAt(length.contents, length.value, 2 * size, " keys and values")
                                              : contentsAt(length.contents, length.value, size, " elements");
  const std::uint64_t costBefore = cost_;
  spend(1, offset);
  slot.progress = Progress::Open;
  frames_.push_back({&slot,
                     isDictionary ? references : nullptr,
                     isDictionary ? references + length.value * size : references,
                     length.value,
                     0,
                     isDictionary ? entries_.size() : values_.size(),
                     costBefore,
                     1,
                     {}});
}

void BinaryReader::close(Frame& frame) {
  Slot& slot = *frame.slot;
  const std::uint16_t height = frame.height;
  Ref<NSObject> container = frame.keys != nullptr ? closeDictionary(frame) : closeArray(frame);
  slot.height = height;
  slot.detail = static_cast<std::uint32_t>(
      std::min<std::uint64_t>(cost_ - frame.costBefore, std::numeric_limits<std::uint32_t>::max()));
  slot.progress = Progress::Unread;
  remember(slot, container.get());
  frames_.pop_back();
  deliver(std::move(container), height);
}

Ref<NSObject> BinaryReader::closeArray(const Frame& frame) {
  const std::span<Ref<NSObject>> elements = std::span(values_).subspan(frame.base);
  Ref<NSObject> array = mutability_ == Mutability::Immutable ? NSArray::arrayByTaking(elements)
                                                             : Ref<NSArray>(NSMutableArray::arrayByTaking(elements));
  values_.resize(frame.base);
  return array;
}

Ref<NSObject> BinaryReader::closeDictionary(const Frame& frame) {
  const std::span<DictionaryEntry> entries = std::span(entries_).subspan(frame.base);
  const std::span<const std::uint32_t> hashes = std::span(hashes_).subspan(frame.base);
  Ref<NSDictionary> dictionary = mutability_ == Mutability::Immutable
                                     ? NSDictionary::dictionaryByTaking(entries, hashes)
                                     : Ref<NSDictionary>(NSMutableDictionary::dictionaryByTaking(entries, hashes));
  if (dictionary->count() != entries.size()) keepWhatGaveWay(entries);
  entries_.resize(frame.base);
  hashes_.resize(frame.base);
  return dictionary;
}

// Slots may still point to a value whose key came twice.
void BinaryReader::keepWhatGaveWay(std::span<DictionaryEntry> entries) {
  for (DictionaryEntry& entry : entries) {
    if (entry.key) gaveWay_.push_back(std::move(entry));
  }
}

void BinaryReader::deliver(Ref<NSObject>&& value, std::uint16_t height) {
  if (frames_.empty()) {
    result_ = std::move(value);
    return;
  }
  Frame& frame = frames_.back();
  frame.height = std::max<std::uint16_t>(frame.height, static_cast<std::uint16_t>(height + 1));
  if (frame.keys != nullptr) {
    entries_.back().value = std::move(value);
  } else {
    values_.push_back(std::move(value));
  }
}

void BinaryReader::remember(Slot& slot, NSObject* object) const {
  if (isOwnToEachPlace(*object)) return;
  slot.object = object;
  slot.progress = Progress::Ready;
}

bool BinaryReader::isOwnToEachPlace(const NSObject& object) const {
  switch (object.kind()) {
    case ObjectKind::Array:
    case ObjectKind::Dictionary:
      return mutability_ != Mutability::Immutable;
    case ObjectKind::String:
      return mutability_ == Mutability::ContainersAndLeaves;
    default:
      return false;
  }
}

void BinaryReader::spend(std::uint64_t cost, std::uint64_t offset) {
  cost_ += cost;
  if (cost_ > binary::largestExpansion(length_)) {
    fail(offset, "Objects are shared between so many places that they expand to more than " +
                     std::to_string(binary::largestExpansion(length_)) + " values");
  }
}

void BinaryReader::requireDepth(std::size_t depth, std::uint64_t offset) const {
  if (depth > kMaximumNestingDepth) {
    fail(offset, "Containers lie more than " + std::to_string(kMaximumNestingDepth) + " deep inside each other");
  }
}

// --- Reading one object

BinaryReader::Length BinaryReader::readLength(std::uint64_t offset) const {
  const unsigned low = begin_[offset] & 0xFU;
  if (low != binary::kLengthFollows) return {low, offset + 1};
  const Byte marker = *contentsAt(offset + 1, 1, 1, " byte of a length");
  if (marker >> 4 != binary::kInteger || (marker & 0xFU) > 4) {
    fail(offset + 1, "Expected an integer as the length, but found the marker " + hexadecimal(marker));
  }
  const unsigned width = 1U << (marker & 0xFU);
  const Byte* const digits = contentsAt(offset + 2, width, 1, " bytes of a length");
  const bool tooWide = width == 16 && load<std::uint64_t>(digits) != 0;
  return {tooWide ? std::numeric_limits<std::uint64_t>::max()
                  : loadBytes(digits + (width == 16 ? 8 : 0), std::min(width, 8U)),
          offset + 2 + width};
}

Ref<NSObject> BinaryReader::readLeaf(std::uint64_t offset, bool asKey) const {
  const bool asMutable = !asKey && mutability_ == Mutability::ContainersAndLeaves;
  switch (begin_[offset] >> 4) {
    case binary::kSimple:
      return readSimple(offset);
    case binary::kInteger:
      return readInteger(offset);
    case binary::kReal:
      return readReal(offset);
    case binary::kDate:
      return readDate(offset);
    case binary::kData:
      return readData(offset);
    case binary::kASCIIString:
      return readNarrowString(offset, asMutable);
    case binary::kUTF16String:
      return readWideString(offset, asMutable);
    default:
      fail(offset, "Expected an object, but found the unknown marker " + hexadecimal(begin_[offset]));
  }
}

Ref<NSObject> BinaryReader::readSimple(std::uint64_t offset) const {
  switch (begin_[offset]) {
    case binary::kFalseMarker:
      return NSNumber::numberWithBool(false);
    case binary::kTrueMarker:
      return NSNumber::numberWithBool(true);
    case 0x00:
      fail(offset, "Null (marker 0x00) is no property-list value");
    case 0x0C:
    case 0x0D:
      fail(offset, "A URL (marker " + hexadecimal(begin_[offset]) + ") is no property-list value");
    case 0x0E:
      fail(offset, "A UUID (marker 0x0e) is no property-list value");
    case 0x0F:
      fail(offset, "A fill byte (marker 0x0f) is no property-list value");
    default:
      fail(offset, "Expected an object, but found the unknown marker " + hexadecimal(begin_[offset]));
  }
}

Ref<NSObject> BinaryReader::readInteger(std::uint64_t offset) const {
  const unsigned low = begin_[offset] & 0xFU;
  if (low > 4)
    fail(offset, "Expected an integer of at most 16 bytes, but found the marker " + hexadecimal(begin_[offset]));
  const unsigned width = 1U << low;
  const Byte* const digits = contentsAt(offset + 1, width, 1, " bytes of an integer");
  if (width < 8) return NSNumber::numberWithLongLong(static_cast<long long>(loadBytes(digits, width)));
  const std::uint64_t value = load<std::uint64_t>(digits + width - 8);
  if (width == 8) return NSNumber::numberWithLongLong(static_cast<long long>(value));

  const std::uint64_t high = load<std::uint64_t>(digits);
  if (high == 0) return NSNumber::numberWithUnsignedLongLong(value);
  const bool isSignExtended = high == ~std::uint64_t{0} && value >> 63 != 0;
  if (!isSignExtended) fail(offset, "Expected an integer that fits 64 bits");
  return NSNumber::numberWithLongLong(static_cast<long long>(value));
}

Ref<NSObject> BinaryReader::readReal(std::uint64_t offset) const {
  switch (begin_[offset]) {
    case 0x22:
      return NSNumber::numberWithFloat(
          std::bit_cast<float>(load<std::uint32_t>(contentsAt(offset + 1, 4, 1, " bytes of a real"))));
    case 0x23:
      return NSNumber::numberWithDouble(
          std::bit_cast<double>(load<std::uint64_t>(contentsAt(offset + 1, 8, 1, " bytes of a real"))));
    default:
      fail(offset, "Expected a real of 4 or 8 bytes, but found the marker " + hexadecimal(begin_[offset]));
  }
}

Ref<NSObject> BinaryReader::readDate(std::uint64_t offset) const {
  if (begin_[offset] != 0x33)
    fail(offset, "Expected a date of 8 bytes, but found the marker " + hexadecimal(begin_[offset]));
  const double seconds = std::bit_cast<double>(load<std::uint64_t>(contentsAt(offset + 1, 8, 1, " bytes of a date")));
  if (!std::isfinite(seconds)) fail(offset, "Expected a date, but found a number of seconds that is infinite or none");
  return NSDate::dateWithTimeIntervalSinceReferenceDate(seconds);
}

Ref<NSObject> BinaryReader::readData(std::uint64_t offset) const {
  const Length length = readLength(offset);
  const Byte* const bytes = contentsAt(length.contents, length.value, 1, " bytes of data");
  return NSData::dataWithBytes_length(bytes, static_cast<NSUInteger>(length.value));
}

Ref<NSObject> BinaryReader::readNarrowString(std::uint64_t offset, bool asMutable) const {
  const Length length = readLength(offset);
  const Byte* const characters = contentsAt(length.contents, length.value, 1, " characters");
  // Some writers put UTF-8 here.
  const std::string_view text(reinterpret_cast<const char*>(characters), static_cast<std::size_t>(length.value));
  Ref<NSString> string = NSString::stringWithValidUTF8(text);
  if (!string) fail(offset, "Expected a string in ASCII or UTF-8");
  if (asMutable) return string->mutableCopy();
  return string;
}

Ref<NSObject> BinaryReader::readWideString(std::uint64_t offset, bool asMutable) const {
  const Length length = readLength(offset);
  const Byte* const bytes = contentsAt(length.contents, length.value, 2, " UTF-16 units");
  std::u16string units(static_cast<std::size_t>(length.value), u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) units[i] = static_cast<char16_t>(load<std::uint16_t>(bytes + 2 * i));
  if (asMutable) return NSMutableString::stringWithUnits({units.data(), units.size()});
  return NSString::stringWithCharacters_length(units.data(), units.size());
}

Ref<NSObject> BinaryReader::readUID(std::uint64_t offset) const {
  const unsigned width = (begin_[offset] & 0xFU) + 1;
  const Byte* const digits = contentsAt(offset + 1, width, 1, " bytes of a UID");
  if (std::any_of(digits, digits + width - std::min(width, 8U), [](Byte digit) { return digit != 0; })) {
    fail(offset, "Expected a UID that fits 64 bits");
  }
  const unsigned used = std::min(width, 8U);
  DictionaryEntry entry{NSString::stringWithASCII(binary::kUIDKey),
                        NSNumber::numberWithUnsignedLongLong(loadBytes(digits + width - used, used))};
  if (mutability_ == Mutability::Immutable) return NSDictionary::dictionaryByTaking({&entry, 1});
  return NSMutableDictionary::dictionaryByTaking({&entry, 1});
}

}  // namespace

Ref<NSObject> readBinary(std::string_view bytes, Mutability mutability, CodecError& error) {
  try {
    return BinaryReader(bytes, mutability).read();
  } catch (const Failure& failure) {
    error.text = failure.text;
    return nullptr;
  }
}

}  // namespace ZtFoundation::codec
