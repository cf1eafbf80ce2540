/// \file Dictionary.h
/// `NSDictionary` and `NSMutableDictionary`: maps that keep the order in which keys were first set.
/// \code
///   Ref<NSMutableDictionary> settings = NSMutableDictionary::dictionary();
///   settings->setObject_forKey("Alice", "Name");
///   settings->setObject_forKey(42, "Age");
///   for (const auto& [key, value] : *settings) std::cout << key << " = " << value << "\n";
///   std::string name = settings->get<std::string>("Name").value_or("nobody");
/// \endcode
/// Replacing a value keeps the place of its key; a key removed and set again goes to the end. A key may be any object
/// but a collection and none; a mutable string given as a key is copied. A dictionary must not change while it is
/// iterated.
///
/// Threads: an immutable dictionary may be used by many threads at once, a mutable one by one at a time.
#pragma once

#include <initializer_list>
#include <optional>
#include <span>
#include <string>

#include <ZtFoundation/platform/Collection.h>

namespace ZtFoundation {

class NSArray;
class NSMutableDictionary;

/// One key with its value.
struct DictionaryEntry {
  Ref<NSObject> key;
  Ref<NSObject> value;
};

class ZT_EXPORT NSDictionary : public NSCollection {
  ZT_OBJECT(NSDictionary, NSObject)
 public:
  static constexpr ObjectKind kKind = ObjectKind::Dictionary;

  ~NSDictionary() override;

  /// An empty dictionary.
  static Ref<NSDictionary> dictionary();
  /// A dictionary of one entry. Raises NSInvalidArgumentException when either is none.
  static Ref<NSDictionary> dictionaryWithObject_forKey(const Ref<NSObject>& object, const Ref<NSObject>& key);
  /// Of two entries with equal keys the later value stands in the earlier place.
  static Ref<NSDictionary> dictionaryWithEntries(std::initializer_list<DictionaryEntry> entries);
  /// The same, for literals: `NSDictionary::of({{"Name", "Alice"}, {"Age", 42}})`.
  static Ref<NSDictionary> of(std::initializer_list<DictionaryEntry> entries) { return dictionaryWithEntries(entries); }
  /// An immutable dictionary with the same entries; `other` itself when it is immutable, none for none.
  static Ref<NSDictionary> dictionaryWithDictionary(const Ref<NSDictionary>& other);
  /// Takes keys and values out of `entries`, which are left empty; keys must be immutable strings. `hashes` gives
  /// `hashOfKey` of each key, or is empty. Of equal keys the later value stands in the earlier place; the value that
  /// gave way and the later key stay behind in `entries`, so that a producer which remembers them can keep them alive.
  static Ref<NSDictionary> dictionaryByTaking(std::span<DictionaryEntry> entries,
                                              std::span<const std::uint32_t> hashes = {});

  /// The hash under which a dictionary files `key`.
  static std::uint32_t hashOfKey(const NSObject& key);

  /// How many entries there are.
  NSUInteger count() const noexcept { return count_; }
  /// The value, none when the key is absent or none.
  Ref<NSObject> objectForKey(const Ref<NSObject>& key) const { return lookUp(key.get()); }
  /// The value without sharing ownership, null when absent.
  NSObject* lookUp(const NSObject* key) const;
  NSObject* lookUp(std::string_view asciiKey) const;
  /// True when there is a value for `key`; false for none.
  bool containsKey(const Ref<NSObject>& key) const { return lookUp(key.get()) != nullptr; }
  /// The keys in order.
  Ref<NSArray> allKeys() const;
  /// The values in the order of their keys.
  Ref<NSArray> allValues() const;
  /// A mutable dictionary with the same entries.
  Ref<NSMutableDictionary> mutableCopy() const;
  /// An immutable dictionary with the same entries: the receiver itself when it is immutable.
  Ref<NSDictionary> copy() const;

  /// The value under `key` as a T: std::string, bool, an integer or floating type, or a class of objects (then a `Ref`,
  /// else a std::optional). Empty when it is absent, of another kind, or would not fit without loss; only floating
  /// types round, an integer read as a double and any number read as a float.
  template <class T>
  auto get(const Ref<NSObject>& key) const;

  /// Walks the entries in order.
  class Iterator {
   public:
    using value_type = DictionaryEntry;
    using difference_type = std::ptrdiff_t;

    Iterator() noexcept = default;
    Iterator(const DictionaryEntry* at, const DictionaryEntry* end) noexcept : at_(at), end_(end) { skipRemoved(); }
    const DictionaryEntry& operator*() const noexcept { return *at_; }
    const DictionaryEntry* operator->() const noexcept { return at_; }
    Iterator& operator++() noexcept {
      ++at_;
      skipRemoved();
      return *this;
    }
    Iterator operator++(int) noexcept {
      Iterator before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) noexcept { return a.at_ == b.at_; }

   private:
    void skipRemoved() noexcept {
      while (at_ != end_ && !at_->key) ++at_;
    }
    const DictionaryEntry* at_ = nullptr;
    const DictionaryEntry* end_ = nullptr;
  };
  Iterator begin() const noexcept { return {entries_ + first_, entries_ + used_}; }
  Iterator end() const noexcept { return {entries_ + used_, entries_ + used_}; }

  bool isEqual(const NSObject* other) const override;
  using NSObject::isEqual;
  NSUInteger hash() const override;
  Ref<NSString> description() const override;

 protected:
  friend class NSSet;

  explicit NSDictionary(std::uint8_t flags) noexcept : NSCollection(ObjectKind::Dictionary, flags) {}

  static constexpr NSUInteger kNoSlot = ~NSUInteger{0};

  // One block holds the entries, the hash of each, and, for more than a few, an index from hash to entry.
  NSUInteger findSlot(const NSObject& key, std::uint32_t hash) const;
  void allocate(NSUInteger capacity);
  void rebuild(NSUInteger capacity);
  void insert(Ref<NSObject>&& key, std::uint32_t hash, Ref<NSObject>&& value);
  void fill(std::span<DictionaryEntry> entries, std::span<const std::uint32_t> hashes);
  void clear() noexcept;
  void placeInIndex(std::uint32_t hash, NSUInteger slot) noexcept;

  DictionaryEntry* entries_ = nullptr;
  std::uint32_t* hashes_ = nullptr;
  std::uint32_t* index_ = nullptr;
  NSUInteger count_ = 0;
  std::uint32_t used_ = 0;   // entries in use or removed
  std::uint32_t first_ = 0;  // the first in use: those before it are removed
  std::uint32_t capacity_ = 0;
  std::uint32_t indexMask_ = 0;
};

class ZT_EXPORT NSMutableDictionary : public NSDictionary {
  ZT_OBJECT(NSMutableDictionary, NSDictionary)
 public:
  static constexpr bool kIsMutable = true;

  /// An empty dictionary.
  static Ref<NSMutableDictionary> dictionary();
  /// An empty dictionary with room for that many entries.
  static Ref<NSMutableDictionary> dictionaryWithCapacity(NSUInteger capacity);
  /// A mutable dictionary with the same entries, none for none.
  static Ref<NSMutableDictionary> dictionaryWithDictionary(const Ref<NSDictionary>& other);
  /// As for NSDictionary.
  static Ref<NSMutableDictionary> of(std::initializer_list<DictionaryEntry> entries) {
    return dictionaryWithDictionary(dictionaryWithEntries(entries));
  }
  /// As for NSDictionary.
  static Ref<NSMutableDictionary> dictionaryByTaking(std::span<DictionaryEntry> entries,
                                                     std::span<const std::uint32_t> hashes = {});

  /// Raises NSInvalidArgumentException when the object or the key is none, or the key a collection.
  void setObject_forKey(Ref<NSObject> object, const Ref<NSObject>& key);
  /// Removing a key that is absent does nothing.
  void removeObjectForKey(const Ref<NSObject>& key);
  /// Leaves the dictionary empty.
  void removeAllObjects();
  /// Sets each entry of `other`; nothing for none.
  void addEntriesFromDictionary(const Ref<NSDictionary>& other);

 private:
  friend class NSDictionary;
  NSMutableDictionary() noexcept : NSDictionary(kMutableFlag) {}
  void makeRoomFor(const NSDictionary& other);
};

}  // namespace ZtFoundation

#include <ZtFoundation/platform/Values.h>
