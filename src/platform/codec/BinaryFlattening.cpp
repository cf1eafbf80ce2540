#include "platform/codec/BinaryFlattening.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Number.h>

#include "platform/codec/BinaryFormat.h"
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

std::uint64_t bitsOf(const NSNumber& number) {
  return number.isReal() ? std::bit_cast<std::uint64_t>(number.doubleValue()) : number.unsignedLongLongValue();
}

/// All that tells a leaf without text or bytes from others: 1 is not 1.0 here, and -0.0 not 0.0.
struct Scalar {
  std::uint64_t bits = 0;
  std::uint64_t kind = 0;

  friend bool operator==(const Scalar&, const Scalar&) = default;
};

Scalar scalarOf(const NSObject& leaf) {
  constexpr std::uint64_t kDateKind = 0x100;
  constexpr std::uint64_t kUIDKind = 0x200;
  if (leaf.kind() == ObjectKind::Number) {
    const NSNumber& number = static_cast<const NSNumber&>(leaf);
    return {bitsOf(number), static_cast<std::uint64_t>(number.type())};
  }
  if (leaf.kind() == ObjectKind::Date) {
    return {std::bit_cast<std::uint64_t>(static_cast<const NSDate&>(leaf).timeIntervalSinceReferenceDate()), kDateKind};
  }
  return {*uidOf(leaf), kUIDKind};
}

std::uint32_t folded(NSUInteger hash) {
  const std::uint64_t wide = hash;
  return static_cast<std::uint32_t>(wide ^ wide >> 32);
}

std::uint32_t hashOfLeaf(const NSObject& leaf) {
  if (leaf.kind() == ObjectKind::String) return folded(detail::hashUnits(static_cast<const NSString&>(leaf).units()));
  if (leaf.kind() == ObjectKind::Data) {
    const std::string_view bytes = static_cast<const NSData&>(leaf).view();
    return folded(detail::hashUnits({bytes.data(), bytes.size()}));
  }
  const Scalar scalar = scalarOf(leaf);
  return folded(detail::hashUnits({reinterpret_cast<const char*>(&scalar), sizeof scalar}));
}

bool sameLeaf(const NSObject& a, const NSObject& b) {
  if (&a == &b) return true;
  if (a.kind() != b.kind()) return false;
  if (a.kind() == ObjectKind::String) {
    return equalUnits(static_cast<const NSString&>(a).units(), static_cast<const NSString&>(b).units());
  }
  if (a.kind() == ObjectKind::Data) return static_cast<const NSData&>(a).view() == static_cast<const NSData&>(b).view();
  // A dictionary among the objects may be a container; only a UID is a leaf.
  return (a.kind() != ObjectKind::Dictionary || uidOf(b)) && scalarOf(a) == scalarOf(b);
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

std::uint32_t LeafTable::findOrAdd(const std::vector<const NSObject*>& objects, const NSObject& leaf,
                                   std::uint32_t number) {
  if (2 * used_ >= entries_.size()) grow();
  const std::uint32_t hash = hashOfLeaf(leaf);
  const std::size_t mask = entries_.size() - 1;
  std::size_t at = hash & mask;
  for (; entries_[at].number != kFree; at = (at + 1) & mask) {
    if (entries_[at].hash == hash && sameLeaf(*objects[entries_[at].number], leaf)) return entries_[at].number;
  }
  entries_[at] = {hash, number};
  ++used_;
  return number;
}

LeafTable::Entry& LeafTable::freeEntryFor(std::uint32_t hash) {
  const std::size_t mask = entries_.size() - 1;
  std::size_t at = hash & mask;
  while (entries_[at].number != kFree) at = (at + 1) & mask;
  return entries_[at];
}

void LeafTable::grow() {
  constexpr std::size_t kSmallest = 64;
  std::vector<Entry> old(std::max(kSmallest, entries_.size() * 4), Entry{0, kFree});
  old.swap(entries_);
  for (const Entry& entry : old) {
    if (entry.number != kFree) freeEntryFor(entry.hash) = entry;
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
  place(*root);
  while (!frames_.empty()) advance();
}

void Flattening::advance() {
  Frame& frame = frames_.back();
  const std::size_t depth = frames_.size();
  while (frames_.size() == depth) {
    if (frame.next == frame.count) return close();
    place(nextValue(frame));
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
  references_[frame.references + frame.next - 1] = leafNumber(key);
}

void Flattening::place(const NSObject& object) {
  if (uidOf(object)) return placeUID(object);
  if (isContainer(object)) return placeContainer(object);
  checkLeaf(object);
  cost_ += costOfLeaf(object);
  deliver(leafNumber(object), 0);
}

void Flattening::placeUID(const NSObject& dictionary) {
  requireDepth(frames_.size() + 1);
  cost_ += 2;
  deliver(leafNumber(dictionary), 1);
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

std::uint32_t Flattening::leafNumber(const NSObject& leaf) {
  Recent& recent = recent_[reinterpret_cast<std::uintptr_t>(&leaf) / 32 % recent_.size()];
  if (recent.object == &leaf) return recent.number;
  const auto next = static_cast<std::uint32_t>(objects_.size());
  const std::uint32_t number = leaves_.findOrAdd(objects_, leaf, next);
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
  const std::string where = path();
  throw Failure{what + (where.empty() ? "." : " at " + where + ".")};
}

/// The keys and indexes that lead to the value at hand, such as "/Tracks/12/Name".
std::string Flattening::path() const {
  constexpr std::size_t kLongest = 16;
  std::string text;
  for (std::size_t depth = 0; depth < std::min(frames_.size(), kLongest); ++depth) {
    const Frame& frame = frames_[depth];
    text += '/';
    if (frame.element != nullptr) {
      text += std::to_string(frame.next - 1);
    } else {
      auto entry = static_cast<const NSDictionary*>(frame.container)->begin();
      for (std::size_t at = 1; at < frame.next; ++at) ++entry;
      text += entry->key->description()->utf8();
    }
  }
  return frames_.size() > kLongest ? text + "/..." : text;
}

}  // namespace ZtFoundation::codec::binary
