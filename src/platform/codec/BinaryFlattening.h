/// \file BinaryFlattening.h
/// A property list as the sequence of different objects that a binary file holds.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include <ZtFoundation/platform/Dictionary.h>

#include "platform/codec/Codec.h"

namespace ZtFoundation::codec::binary {

/// The number of a UID that `object` stands for, when it is a dictionary with nothing but the key "CF$UID" and an
/// integer not below zero.
std::optional<std::uint64_t> uidOf(const NSObject& object);

/// Numbers by content, in expected constant time each.
class LeafTable {
 public:
  /// What a leaf is filed under; never 0.
  static std::uint32_t tagOf(const NSObject& leaf);
  /// The number of the first leaf with the same content; `number`, which is filed then, when there is none.
  std::uint32_t findOrAdd(const NSObject& leaf, std::uint32_t tag, std::uint32_t number);
  /// Where `tag` is looked for first, null in an empty table; for fetching it early.
  const void* addressOf(std::uint32_t tag) const { return entries_.empty() ? nullptr : &entries_[placeOf(tag)]; }

 private:
  struct Entry {
    std::uint64_t word;  // the bits of a scalar; of text and data the address of the object
    std::uint32_t tag;
    std::uint32_t number;
  };
  static constexpr std::uint32_t kFree = 0xFFFFFFFF;
  static constexpr unsigned kHashBits = 28;

  void grow();
  Entry& freeEntryFor(std::uint32_t tag);
  std::size_t placeOf(std::uint32_t tag) const { return std::size_t{tag} << spread_ & (entries_.size() - 1); }
  std::size_t placeAfter(std::size_t place) const { return (place + 1) & (entries_.size() - 1); }

  std::vector<Entry> entries_;
  std::size_t used_ = 0;
  unsigned spread_ = 0;  // how far tags lie apart, by shifting; a table can have more places than there are hashes
};

/// Numbers the objects of a tree in the order in which a walk from the root meets them. Equal leaves, and containers
/// that are the same object, are numbered once; the work is linear in what the tree holds before sharing is expanded.
class Flattening {
 public:
  /// False, with the reason and the path of keys in `error`, when a binary file cannot hold `root`: none, an object of
  /// a kind that is no property list, a key that is no string, a date that is no number, containers too deep or inside
  /// themselves.
  bool run(const NSObject* root, CodecError& error);

  const std::vector<const NSObject*>& objects() const { return objects_; }
  /// The numbers of the contents of all containers, in the order of the containers: of an array the elements, of a
  /// dictionary the keys and then the values. A UID has none.
  const std::vector<std::uint32_t>& references() const { return references_; }
  /// What all places count together; see `largestExpansion`.
  std::uint64_t cost() const { return cost_; }

 private:
  static constexpr std::uint32_t kUnshared = 0xFFFFFFFF;
  static constexpr std::size_t kAhead = 16;

  /// A container that several owners hold, so that it may stand in several places.
  struct Shared {
    std::uint32_t number;
    std::uint16_t height = 0;  // 0 as long as it is open
    std::uint64_t cost = 0;
  };
  struct Frame {
    const NSObject* container;
    const Ref<NSObject>* element;  // of an array, the next one
    NSDictionary::Iterator entry;  // of a dictionary, the next one
    std::size_t references;        // where the numbers of its contents begin
    std::size_t next = 0;
    std::size_t count;
    std::uint32_t shared = kUnshared;
    std::uint16_t height = 1;
    std::uint64_t costBefore;
    std::array<std::uint32_t, kAhead> tags = {};  // of the values at hand, 0 where there is none
  };
  struct Recent {
    const NSObject* object = nullptr;
    std::uint32_t number = 0;
  };

  void walk(const NSObject* root);
  void advance();
  void prepare(Frame& frame);
  void prepare(Frame& frame, std::span<const NSObject* const> values);
  const NSObject& nextValue(Frame& frame);
  void placeKey(Frame& frame, const NSObject& key);
  void place(const NSObject& object, std::uint32_t tag);
  void placeUID(const NSObject& dictionary);
  void placeContainer(const NSObject& container);
  void placeAgain(const Shared& shared);
  void open(const NSObject& container, std::uint32_t shared);
  void close();
  void deliver(std::uint32_t number, std::uint16_t height);
  Recent& recentOf(const NSObject& leaf);
  std::uint32_t leafNumber(const NSObject& leaf, std::uint32_t tag);
  std::uint32_t newNumber(const NSObject& object);
  void checkLeaf(const NSObject& leaf) const;
  void requireDepth(std::size_t depth) const;
  [[noreturn]] void fail(const std::string& what) const;
  static std::string stepAt(const Frame& frame);  // the key or index of its value at hand

  std::vector<const NSObject*> objects_;
  std::vector<std::uint32_t> references_;
  std::vector<Frame> frames_;
  std::vector<Shared> shared_;
  std::unordered_map<const NSObject*, std::uint32_t> sharedIndex_;  // into `shared_`
  LeafTable leaves_;
  std::array<Recent, 1024> recent_;  // the same few keys come again and again
  std::uint64_t cost_ = 0;
};

}  // namespace ZtFoundation::codec::binary
