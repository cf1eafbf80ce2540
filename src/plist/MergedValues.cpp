#include "plist/MergedValues.h"

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>

namespace ZtFoundation::detail {

namespace {

Ref<NSObject> valueIn(const Ref<NSDictionary>& dictionary, const Ref<NSObject>& key) {
  return dictionary ? dictionary->objectForKey(key) : nullptr;
}

Ref<NSMutableDictionary> changeable(const Ref<NSDictionary>& dictionary) {
  const Ref<NSMutableDictionary> itself = as<NSMutableDictionary>(dictionary);
  return itself ? itself : dictionary->mutableCopy();
}

void put(NSMutableDictionary& dictionary, const Ref<NSObject>& key, const Ref<NSObject>& value) {
  if (value) {
    dictionary.setObject_forKey(value, key);
  } else {
    dictionary.removeObjectForKey(key);
  }
}

Ref<NSObject> mergedByKey(const Ref<NSDictionary>& mine, const Ref<NSDictionary>& base,
                          const Ref<NSDictionary>& theirs) {
  const Ref<NSMutableDictionary> result = changeable(mine);
  const auto mergeKey = [&](const Ref<NSObject>& key) {
    put(*result, key, merged(result->objectForKey(key), valueIn(base, key), theirs->objectForKey(key)));
  };
  for (const DictionaryEntry& entry : *theirs) mergeKey(entry.key);
  if (!base) return result;
  for (const DictionaryEntry& entry : *base) {
    if (!theirs->containsKey(entry.key)) mergeKey(entry.key);
  }
  return result;
}

}  // namespace

bool isSame(const Ref<NSObject>& a, const Ref<NSObject>& b) { return a ? ZtFoundation::isEqual(a, b) : !b; }

Ref<NSObject> merged(const Ref<NSObject>& mine, const Ref<NSObject>& base, const Ref<NSObject>& theirs) {
  if (isSame(theirs, base)) return mine;
  const Ref<NSDictionary> myEntries = as<NSDictionary>(mine);
  const Ref<NSDictionary> theirEntries = as<NSDictionary>(theirs);
  if (myEntries && theirEntries) return mergedByKey(myEntries, as<NSDictionary>(base), theirEntries);
  return isSame(mine, base) ? theirs : mine;
}

}  // namespace ZtFoundation::detail
