#include <ZtFoundation/platform/Dictionary.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <new>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSDictionary);
ZT_IMPLEMENT_CLASS(NSMutableDictionary);

namespace {

// Up to this many entries a walk over their hashes beats an index.
constexpr NSUInteger kLargestWithoutIndex = 8;
constexpr std::uint32_t kFreeSlot = 0;
// What one entry takes at most: itself, its hash, and three slots of the index.
constexpr NSUInteger kMostBytesOfEntry = sizeof(DictionaryEntry) + 4 * sizeof(std::uint32_t);
constexpr NSUInteger kMaximumCount = std::min<NSUInteger>(0x5FFFFFFF, NSNotFound / kMostBytesOfEntry);

// The index is at most two thirds full; it holds slot numbers plus one.
NSUInteger indexSize(NSUInteger capacity) {
  return capacity <= kLargestWithoutIndex ? 0 : std::bit_ceil(capacity + capacity / 2);
}

// Keys are mostly values, for which lookups spare themselves the detour.
bool isOfHost(const NSObject& key) { return key.kind() == ObjectKind::Other; }
NSUInteger hashOf(const NSObject& key) { return isOfHost(key) ? detail::hashOf(&key) : key.hash(); }
bool areEqual(const NSObject& a, const NSObject& b) { return isOfHost(a) ? detail::areEqual(&a, &b) : a.isEqual(&b); }

bool sameKey(const NSObject& a, const NSObject& b) { return &a == &b || areEqual(a, b); }

Ref<NSObject> keyToKeep(const Ref<NSObject>& key) {
  if (!key) detail::raiseInvalidArgument("a dictionary key cannot be none");
  if (detail::isCollection(*key)) detail::raiseInvalidArgument("a collection cannot be a dictionary key");
  if (const NSMutableString* text = as<NSMutableString>(key.get())) return text->copy();
  return key;
}

void requireValue(const Ref<NSObject>& value) {
  if (!value) detail::raiseInvalidArgument("a dictionary value cannot be none");
}

}  // namespace

// --- The table

std::uint32_t NSDictionary::hashOfKey(const NSObject& key) {
  const std::uint64_t mixed = static_cast<std::uint64_t>(hashOf(key)) * 0x9E3779B97F4A7C15U;
  return static_cast<std::uint32_t>(mixed >> 32);
}

void NSDictionary::allocate(NSUInteger capacity) {
  if (capacity == 0) return;
  if (capacity > kMaximumCount) throw std::bad_alloc();
  const NSUInteger indexed = indexSize(capacity);
  const std::size_t bytes =
      capacity * (sizeof(DictionaryEntry) + sizeof(std::uint32_t)) + indexed * sizeof(std::uint32_t);
  entries_ = static_cast<DictionaryEntry*>(::operator new(bytes));
  hashes_ = reinterpret_cast<std::uint32_t*>(entries_ + capacity);
  index_ = indexed != 0 ? hashes_ + capacity : nullptr;
  indexMask_ = static_cast<std::uint32_t>(indexed - 1);
  std::fill_n(index_, indexed, kFreeSlot);
  capacity_ = static_cast<std::uint32_t>(capacity);
  used_ = first_ = 0;
}

void NSDictionary::placeInIndex(std::uint32_t hash, NSUInteger slot) noexcept {
  if (index_ == nullptr) return;
  std::uint32_t at = hash & indexMask_;
  while (index_[at] != kFreeSlot) at = (at + 1) & indexMask_;
  index_[at] = static_cast<std::uint32_t>(slot + 1);
}

NSUInteger NSDictionary::findSlot(const NSObject& key, std::uint32_t hash) const {
  const auto matches = [&](NSUInteger slot) {
    return hashes_[slot] == hash && entries_[slot].key && sameKey(*entries_[slot].key, key);
  };
  if (index_ == nullptr) {
    for (NSUInteger slot = 0; slot < used_; ++slot) {
      if (matches(slot)) return slot;
    }
    return kNoSlot;
  }
  for (std::uint32_t at = hash & indexMask_; index_[at] != kFreeSlot; at = (at + 1) & indexMask_) {
    if (matches(index_[at] - 1)) return index_[at] - 1;
  }
  return kNoSlot;
}

void NSDictionary::insert(Ref<NSObject>&& key, std::uint32_t hash, Ref<NSObject>&& value) {
  const NSUInteger known = findSlot(*key, hash);
  if (known != kNoSlot) {
    std::swap(entries_[known].value, value);
    return;
  }
  if (used_ == capacity_) rebuild(std::max<NSUInteger>(4, count_ + count_ / 2 + 1));
  new (entries_ + used_) DictionaryEntry{std::move(key), std::move(value)};
  hashes_[used_] = hash;
  placeInIndex(hash, used_);
  ++used_;
  ++count_;
}

// Moves the living entries, in order, to a table of another size.
void NSDictionary::rebuild(NSUInteger capacity) {
  DictionaryEntry* const oldEntries = entries_;
  const std::uint32_t* const oldHashes = hashes_;
  const std::uint32_t oldUsed = used_;
  allocate(capacity);
  for (std::uint32_t slot = 0; slot < oldUsed; ++slot) {
    if (!oldEntries[slot].key) continue;
    new (entries_ + used_) DictionaryEntry(std::move(oldEntries[slot]));
    hashes_[used_] = oldHashes[slot];
    placeInIndex(oldHashes[slot], used_);
    ++used_;
  }
  count_ = used_;
  ::operator delete(oldEntries);
}

void NSDictionary::fill(std::span<DictionaryEntry> entries, std::span<const std::uint32_t> hashes) {
  allocate(entries.size());
  for (std::size_t at = 0; at < entries.size(); ++at) {
    DictionaryEntry& entry = entries[at];
    if (!entry.key || !entry.value) detail::raiseInvalidArgument("a dictionary holds no none");
    const std::uint32_t hash = hashes.empty() ? hashOfKey(*entry.key) : hashes[at];
    insert(std::move(entry.key), hash, std::move(entry.value));
  }
}

void NSDictionary::clear() noexcept {
  DictionaryEntry* const entries = std::exchange(entries_, nullptr);
  const std::uint32_t used = std::exchange(used_, 0);
  hashes_ = index_ = nullptr;
  count_ = capacity_ = indexMask_ = first_ = 0;
  std::destroy_n(entries, used);
  ::operator delete(entries);
}

NSDictionary::~NSDictionary() { clear(); }

// --- Making

Ref<NSDictionary> NSDictionary::dictionary() { return Ref<NSDictionary>::adopt(new NSDictionary(0)); }

Ref<NSDictionary> NSDictionary::dictionaryWithObject_forKey(const Ref<NSObject>& object, const Ref<NSObject>& key) {
  return dictionaryWithEntries({{key, object}});
}

Ref<NSDictionary> NSDictionary::dictionaryWithEntries(std::initializer_list<DictionaryEntry> entries) {
  Ref<NSDictionary> result = dictionary();
  result->allocate(entries.size());
  for (const DictionaryEntry& entry : entries) {
    requireValue(entry.value);
    Ref<NSObject> key = keyToKeep(entry.key);
    const std::uint32_t hash = hashOfKey(*key);
    result->insert(std::move(key), hash, Ref<NSObject>(entry.value));
  }
  return result;
}

Ref<NSDictionary> NSDictionary::dictionaryWithDictionary(const Ref<NSDictionary>& other) {
  return other ? other->copy() : nullptr;
}

Ref<NSDictionary> NSDictionary::dictionaryByTaking(std::span<DictionaryEntry> entries,
                                                   std::span<const std::uint32_t> hashes) {
  Ref<NSDictionary> result = dictionary();
  result->fill(entries, hashes);
  return result;
}

// --- Asking

NSObject* NSDictionary::lookUp(const NSObject* key) const {
  if (key == nullptr || count_ == 0) return nullptr;
  const NSUInteger slot = findSlot(*key, hashOfKey(*key));
  return slot != kNoSlot ? entries_[slot].value.get() : nullptr;
}

NSObject* NSDictionary::lookUp(std::string_view asciiKey) const {
  return lookUp(NSString::stringWithASCII(asciiKey).get());
}

Ref<NSArray> NSDictionary::allKeys() const {
  Ref<NSMutableArray> keys = NSMutableArray::arrayWithCapacity(count_);
  for (const DictionaryEntry& entry : *this) keys->addObject(entry.key);
  return keys->copy();
}

Ref<NSArray> NSDictionary::allValues() const {
  Ref<NSMutableArray> values = NSMutableArray::arrayWithCapacity(count_);
  for (const DictionaryEntry& entry : *this) values->addObject(entry.value);
  return values->copy();
}

Ref<NSMutableDictionary> NSDictionary::mutableCopy() const {
  Ref<NSMutableDictionary> result = NSMutableDictionary::dictionaryWithCapacity(count_);
  result->addEntriesFromDictionary(const_cast<NSDictionary*>(this));
  return result;
}

Ref<NSDictionary> NSDictionary::copy() const {
  if (!isMutable()) return const_cast<NSDictionary*>(this);
  Ref<NSDictionary> result = dictionary();
  result->allocate(count_);
  for (std::uint32_t slot = 0; slot < used_; ++slot) {
    const DictionaryEntry& entry = entries_[slot];
    if (entry.key) result->insert(Ref<NSObject>(entry.key), hashes_[slot], Ref<NSObject>(entry.value));
  }
  return result;
}

bool NSDictionary::isEqual(const NSObject* other) const { return detail::deepEqual(this, other); }

// Looking no deeper keeps hashing bounded; equal dictionaries have equal counts.
NSUInteger NSDictionary::hash() const { return count_; }

// --- NSMutableDictionary

Ref<NSMutableDictionary> NSMutableDictionary::dictionary() {
  return Ref<NSMutableDictionary>::adopt(new NSMutableDictionary);
}

Ref<NSMutableDictionary> NSMutableDictionary::dictionaryWithCapacity(NSUInteger capacity) {
  Ref<NSMutableDictionary> result = dictionary();
  result->allocate(capacity);
  return result;
}

Ref<NSMutableDictionary> NSMutableDictionary::dictionaryWithDictionary(const Ref<NSDictionary>& other) {
  return other ? other->mutableCopy() : nullptr;
}

Ref<NSMutableDictionary> NSMutableDictionary::dictionaryByTaking(std::span<DictionaryEntry> entries,
                                                                 std::span<const std::uint32_t> hashes) {
  Ref<NSMutableDictionary> result = dictionary();
  result->fill(entries, hashes);
  return result;
}

void NSMutableDictionary::setObject_forKey(Ref<NSObject> object, const Ref<NSObject>& key) {
  requireValue(object);
  Ref<NSObject> kept = keyToKeep(key);
  const std::uint32_t hash = hashOfKey(*kept);
  insert(std::move(kept), hash, std::move(object));
}

void NSMutableDictionary::removeObjectForKey(const Ref<NSObject>& key) {
  if (!key) return;
  const NSUInteger slot = findSlot(*key, hashOfKey(*key));
  if (slot == kNoSlot) return;
  // The slot stays in the index without a key, so that searches still pass over it.
  const DictionaryEntry removed = std::move(entries_[slot]);
  --count_;
  while (first_ != used_ && !entries_[first_].key) ++first_;
}

void NSMutableDictionary::removeAllObjects() { clear(); }

// All at once, so that the entries go in together or not at all.
void NSMutableDictionary::makeRoomFor(const NSDictionary& other) {
  if (capacity_ - used_ >= other.count()) return;
  const auto missing = static_cast<NSUInteger>(std::count_if(
      other.begin(), other.end(), [this](const auto& entry) { return lookUp(entry.key.get()) == nullptr; }));
  if (capacity_ - used_ < missing) rebuild(count_ + std::max(missing, count_ / 2 + 1));
}

void NSMutableDictionary::addEntriesFromDictionary(const Ref<NSDictionary>& other) {
  if (!other || other.get() == this) return;
  makeRoomFor(*other);
  for (const DictionaryEntry& entry : *other) setObject_forKey(entry.value, entry.key);
}

}  // namespace ZtFoundation
