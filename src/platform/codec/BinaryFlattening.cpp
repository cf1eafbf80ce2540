#include "platform/codec/BinaryFlattening.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Runtime.h>

#include "platform/codec/BinaryFormat.h"
#include "platform/codec/KeyPath.h"
#include "platform/codec/Limits.h"
#include "platform/objects/StringHash.h"

namespace ZtFoundation::codec::binary {

namespace {

struct Failure {
  std::string text;
};

bool isContainer(const NSObject& object) {
  return object.kind() == ObjectKind::Array || object.kind() == ObjectKind::Dictionary;
}

/// What tells a leaf from others: 1 is not 1.0 here, and -0.0 not 0.0.
struct LeafKey {
  enum class Kind : std::uint32_t { Boolean = 1, Signed, Unsigned, Double, Float, Date, UID, String, Data };

  Kind kind;
  std::uint64_t word;

  bool isScalar() const { return kind < Kind::String; }
};

LeafKey keyOf(const NSNumber& number) {
  using Kind = LeafKey::Kind;
  switch (number.type()) {
    case NumberType::Boolean:
      return {Kind::Boolean, number.boolValue()};
    case NumberType::Signed:
      return {Kind::Signed, number.unsignedLongLongValue()};
    case NumberType::Unsigned:
      return {Kind::Unsigned, number.unsignedLongLongValue()};
    case NumberType::Double:
      return {Kind::Double, std::bit_cast<std::uint64_t>(number.doubleValue())};
    default:
      return {Kind::Float, std::bit_cast<std::uint64_t>(number.doubleValue())};
  }
}

LeafKey keyOf(const NSObject& leaf) {
  using Kind = LeafKey::Kind;
  switch (leaf.kind()) {
    case ObjectKind::Number:
      return keyOf(static_cast<const NSNumber&>(leaf));
    case ObjectKind::Date:
      return {Kind::Date,
              std::bit_cast<std::uint64_t>(static_cast<const NSDate&>(leaf).timeIntervalSinceReferenceDate())};
    case ObjectKind::String:
      return {Kind::String, reinterpret_cast<std::uintptr_t>(&leaf)};
    case ObjectKind::Data:
      return {Kind::Data, reinterpret_cast<std::uintptr_t>(&leaf)};
    default:
      return {Kind::UID, *uidOf(leaf)};
  }
}

UnitView unitsOf(const NSObject& textOrData) {
  if (textOrData.kind() == ObjectKind::String) return static_cast<const NSString&>(textOrData).units();
  const std::string_view bytes = static_cast<const NSData&>(textOrData).view();
  return {bytes.data(), bytes.size()};
}

bool sameUnits(std::uint64_t address, const NSObject& leaf) {
  const NSObject& known = *reinterpret_cast<const NSObject*>(static_cast<std::uintptr_t>(address));
  return &known == &leaf || equalUnits(unitsOf(known), unitsOf(leaf));
}

NSUInteger countOf(const NSObject& container) {
  return container.kind() == ObjectKind::Array ? static_cast<const NSArray&>(container).count()
                                               : static_cast<const NSDictionary&>(container).count();
}

}  // namespace

std::optional<std::uint64_t> uidOf(const NSObject& object) {
  if (object.kind() != ObjectKind::Dictionary) return std::nullopt;
  const NSDictionary& dictionary = static_cast<const NSDictionary&>(object);
  if (dictionary.count() != 1) return std::nullopt;
  const DictionaryEntry& entry = *dictionary.begin();
  const NSNumber* number = as<NSNumber>(entry.value.get());
  const NSString* key = as<NSString>(entry.key.get());
  if (number == nullptr || !number->isInteger() || key == nullptr) return std::nullopt;
  if (!equalUnits(key->units(), {kUIDKey.data(), kUIDKey.size()})) return std::nullopt;
  const bool isNegative = number->type() == NumberType::Signed && number->longLongValue() < 0;
  return isNegative ? std::nullopt : std::optional<std::uint64_t>(number->unsignedLongLongValue());
}

// --- LeafTable

/// The kind, which must agree, above the hash.
std::uint32_t LeafTable::tagOf(const NSObject& leaf) {
  const LeafKey key = keyOf(leaf);
  const UnitView units =
      key.isScalar() ? UnitView(reinterpret_cast<const char*>(&key.word), sizeof key.word) : unitsOf(leaf);
  const std::uint64_t hash = detail::hashUnits(units);
  return static_cast<std::uint32_t>(key.kind) << kHashBits |
         (static_cast<std::uint32_t>(hash ^ hash >> 32) & ((1U << kHashBits) - 1));
}

std::uint32_t LeafTable::findOrAdd(const NSObject& leaf, std::uint32_t tag, std::uint32_t number) {
  if (2 * used_ >= entries_.size()) grow();
  const LeafKey key = keyOf(leaf);
  std::size_t at = placeOf(tag);
  for (; entries_[at].number != kFree; at = placeAfter(at)) {
    const Entry& entry = entries_[at];
    if (entry.tag != tag) continue;
    if (key.isScalar() ? entry.word == key.word : sameUnits(entry.word, leaf)) return entry.number;
  }
  entries_[at] = {key.word, tag, number};
  ++used_;
  return number;
}

LeafTable::Entry& LeafTable::freeEntryFor(std::uint32_t tag) {
  std::size_t at = placeOf(tag);
  while (entries_[at].number != kFree) at = placeAfter(at);
  return entries_[at];
}

void LeafTable::grow() {
  constexpr std::size_t kSmallest = 64;
  std::vector<Entry> old(std::max(kSmallest, entries_.size() * 2), Entry{0, 0, kFree});
  old.swap(entries_);
  spread_ = std::max<unsigned>(static_cast<unsigned>(std::countr_zero(entries_.size())), kHashBits) - kHashBits;
  for (const Entry& entry : old) {
    if (entry.number != kFree) freeEntryFor(entry.tag) = entry;
  }
}

// --- Flattening

bool Flattening::run(const NSObject* root, CodecError& error) {
  try {
    walk(root);
    return true;
  } catch (const Failure& failure) {
    error.text = failure.text;
    return false;
  }
}

void Flattening::walk(const NSObject* root) {
  if (root == nullptr) fail("There is no value to write");
  frames_.reserve(kMaximumNestingDepth);  // so that frames never move
  place(*root, 0);
  while (!frames_.empty()) advance();
}

void Flattening::advance() {
  Frame& frame = frames_.back();
  const std::size_t depth = frames_.size();
  while (frames_.size() == depth) {
    if (frame.next == frame.count) return close();
    if (frame.next % kAhead == 0) prepare(frame);
    const std::uint32_t tag = frame.tags[frame.next % kAhead];
    place(nextValue(frame), tag);
  }
}

/// Values lie anywhere in memory, and so do their places in the table. So the memory is asked for a few of them at
/// once.
void Flattening::prepare(Frame& frame) {
  std::array<const NSObject*, kAhead> values;
  const std::size_t count = std::min(kAhead, frame.count - frame.next);
  NSDictionary::Iterator entry = frame.entry;
  for (std::size_t at = 0; at < count; ++at) {
    values[at] = frame.element != nullptr ? frame.element[at].get() : entry++->value.get();
    __builtin_prefetch(values[at]);
  }
  prepare(frame, std::span(values).first(count));
}

void Flattening::prepare(Frame& frame, std::span<const NSObject* const> values) {
  for (std::size_t at = 0; at < values.size(); ++at) {
    const NSObject& value = *values[at];
    const bool isNew =
        value.kind() >= ObjectKind::String && value.kind() <= ObjectKind::Data && recentOf(value).object != &value;
    frame.tags[at] = isNew ? LeafTable::tagOf(value) : 0;
    if (isNew) __builtin_prefetch(leaves_.addressOf(frame.tags[at]));
  }
}

/// The next value; a key before it is placed on the way.
const NSObject& Flattening::nextValue(Frame& frame) {
  ++frame.next;
  if (frame.element != nullptr) return **frame.element++;
  const DictionaryEntry& entry = *frame.entry;
  placeKey(frame, *entry.key);
  ++frame.entry;
  return *entry.value;
}

void Flattening::placeKey(Frame& frame, const NSObject& key) {
  if (key.kind() != ObjectKind::String) fail("The keys of a dictionary must be strings");
  cost_ += costOfLeaf(key);
  references_[frame.references + frame.next - 1] = leafNumber(key, 0);
}

/// `tag` is that of a leaf, or 0.
void Flattening::place(const NSObject& object, std::uint32_t tag) {
  if (uidOf(object)) return placeUID(object);
  if (isContainer(object)) return placeContainer(object);
  checkLeaf(object);
  cost_ += costOfLeaf(object);
  deliver(leafNumber(object, tag), 0);
}

void Flattening::placeUID(const NSObject& dictionary) {
  requireDepth(frames_.size() + 1);
  cost_ += 2;
  deliver(leafNumber(dictionary, 0), 1);
}

void Flattening::placeContainer(const NSObject& container) {
  if (container.retainCount() <= 1) return open(container, kUnshared);
  const auto [known, isNew] = sharedIndex_.try_emplace(&container, static_cast<std::uint32_t>(shared_.size()));
  if (!isNew) return placeAgain(shared_[known->second]);
  shared_.push_back({static_cast<std::uint32_t>(objects_.size())});
  open(container, known->second);
}

void Flattening::placeAgain(const Shared& shared) {
  if (shared.height == 0) fail("A container cannot hold itself");
  requireDepth(frames_.size() + shared.height);
  constexpr std::uint64_t kMost = std::uint64_t{1} << 62;
  cost_ += std::min(shared.cost, kMost - std::min(cost_, kMost));
  deliver(shared.number, shared.height);
}

void Flattening::open(const NSObject& container, std::uint32_t shared) {
  requireDepth(frames_.size() + 1);
  const NSUInteger count = countOf(container);
  const bool isArray = container.kind() == ObjectKind::Array;
  deliver(newNumber(container), 0);
  frames_.push_back({&container, isArray ? static_cast<const NSArray&>(container).begin() : nullptr,
                     isArray ? NSDictionary::Iterator() : static_cast<const NSDictionary&>(container).begin(),
                     references_.size(), 0, count, shared, 1, cost_});
  ++cost_;
  references_.resize(references_.size() + (isArray ? count : 2 * count));
}

void Flattening::close() {
  const Frame frame = frames_.back();
  frames_.pop_back();
  if (frame.shared != kUnshared) {
    shared_[frame.shared].height = frame.height;
    shared_[frame.shared].cost = cost_ - frame.costBefore;
  }
  if (frames_.empty()) return;
  Frame& parent = frames_.back();
  parent.height = std::max<std::uint16_t>(parent.height, static_cast<std::uint16_t>(frame.height + 1));
}

/// Writes the number of the value that was placed last into its container.
void Flattening::deliver(std::uint32_t number, std::uint16_t height) {
  if (frames_.empty()) return;
  Frame& frame = frames_.back();
  frame.height = std::max<std::uint16_t>(frame.height, static_cast<std::uint16_t>(height + 1));
  const std::size_t values = frame.references + (frame.element != nullptr ? 0 : frame.count);
  references_[values + frame.next - 1] = number;
}

Flattening::Recent& Flattening::recentOf(const NSObject& leaf) {
  return recent_[reinterpret_cast<std::uintptr_t>(&leaf) / 32 % recent_.size()];
}

std::uint32_t Flattening::leafNumber(const NSObject& leaf, std::uint32_t tag) {
  Recent& recent = recentOf(leaf);
  if (recent.object == &leaf) return recent.number;
  const auto next = static_cast<std::uint32_t>(objects_.size());
  const std::uint32_t number = leaves_.findOrAdd(leaf, tag != 0 ? tag : LeafTable::tagOf(leaf), next);
  if (number == next) newNumber(leaf);
  recent = {&leaf, number};
  return number;
}

std::uint32_t Flattening::newNumber(const NSObject& object) {
  if (objects_.size() >= std::numeric_limits<std::uint32_t>::max()) fail("There are more objects than a file can hold");
  objects_.push_back(&object);
  return static_cast<std::uint32_t>(objects_.size() - 1);
}

void Flattening::checkLeaf(const NSObject& leaf) const {
  switch (leaf.kind()) {
    case ObjectKind::String:
    case ObjectKind::Number:
    case ObjectKind::Data:
      return;
    case ObjectKind::Date:
      if (std::isfinite(static_cast<const NSDate&>(leaf).timeIntervalSinceReferenceDate())) return;
      fail("A date must be a finite number of seconds");
    case ObjectKind::Set:
      fail("A set is no property-list value");
    case ObjectKind::URL:
      fail("A URL is no property-list value");
    default:
      fail("An object of this class is no property-list value");
  }
}

void Flattening::requireDepth(std::size_t depth) const {
  if (depth > kMaximumNestingDepth) {
    fail("Containers lie more than " + std::to_string(kMaximumNestingDepth) + " deep inside each other");
  }
}

void Flattening::fail(const std::string& what) const {
  throw Failure{failureAt(what, frames_.size(), [this](std::size_t level) { return stepAt(frames_[level]); })};
}

std::string Flattening::stepAt(const Frame& frame) {
  if (frame.element != nullptr) return std::to_string(frame.next - 1);
  auto entry = static_cast<const NSDictionary*>(frame.container)->begin();
  for (std::size_t at = 1; at < frame.next; ++at) ++entry;
  return detail::describe(entry->key.get())->utf8();
}

}  // namespace ZtFoundation::codec::binary
