/// \file PropertyLists.h
/// Property lists read and written as the fuzz targets want it: a value or an error text, never both.
#pragma once

#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>

#include "Input.h"

namespace ZtFoundation::fuzz {

inline Ref<NSObject> read(const Ref<NSData>& data, NSUInteger option = NSPropertyListImmutable) {
  Ref<NSString> error;
  Ref<NSObject> value = NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
      data, option, nullptr, &error);
  require(static_cast<bool>(value) != static_cast<bool>(error), "a value or an error text");
  return value;
}

inline Ref<NSData> write(const Ref<NSObject>& value, NSUInteger format) {
  Ref<NSString> error;
  Ref<NSData> data = NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, format, &error);
  require(static_cast<bool>(data) != static_cast<bool>(error), "bytes or an error text");
  return data;
}

/// A few bytes of a binary property list can stand for so large a tree that nothing else would be tried; the unit tests
/// have those.
inline bool isLarge(const Ref<NSObject>& root) {
  constexpr std::size_t kLargestTree = 20000;
  std::size_t places = 0;
  std::vector<const NSObject*> waiting{root.get()};
  while (!waiting.empty() && places <= kLargestTree) {
    const NSObject* const value = waiting.back();
    waiting.pop_back();
    ++places;
    if (const NSArray* array = as<NSArray>(value)) {
      for (const Ref<NSObject>& element : *array) waiting.push_back(element.get());
    } else if (const NSDictionary* dictionary = as<NSDictionary>(value)) {
      for (const DictionaryEntry& entry : *dictionary) waiting.push_back(entry.value.get());
    }
  }
  return places > kLargestTree;
}

}  // namespace ZtFoundation::fuzz
