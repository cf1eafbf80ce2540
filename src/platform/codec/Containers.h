/// \file Containers.h
/// Containers of what a reader has gathered: the elements of all open ones lie in one vector, those of the innermost at
/// its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>

#include "platform/codec/Codec.h"

namespace ZtFoundation::codec {

/// An array of the items from `base` on, which the vector loses.
inline Ref<NSObject> takeArray(std::vector<Ref<NSObject>>& items, std::size_t base, Mutability mutability) {
  const std::span<Ref<NSObject>> own = std::span(items).subspan(base);
  Ref<NSObject> result;
  if (mutability == Mutability::Immutable) {
    result = NSArray::arrayByTaking(own);
  } else {
    result = NSMutableArray::arrayByTaking(own);
  }
  items.resize(base);
  return result;
}

/// A dictionary of the entries from `base` on, which the vector loses. `hashes` are those of their keys, or none.
inline Ref<NSObject> takeDictionary(std::vector<DictionaryEntry>& entries, std::size_t base, Mutability mutability,
                                    std::span<const std::uint32_t> hashes = {}) {
  const std::span<DictionaryEntry> own = std::span(entries).subspan(base);
  Ref<NSObject> result;
  if (mutability == Mutability::Immutable) {
    result = NSDictionary::dictionaryByTaking(own, hashes);
  } else {
    result = NSMutableDictionary::dictionaryByTaking(own, hashes);
  }
  entries.resize(base);
  return result;
}

}  // namespace ZtFoundation::codec
