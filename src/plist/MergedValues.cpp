#include "plist/MergedValues.h"

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>

#include <vector>

namespace ZtFoundation::detail {

namespace {

Ref<NSObject> valueIn(const Ref<NSDictionary>& dictionary, const Ref<NSObject>& key) {
  return dictionary ? dictionary->objectForKey(key) : nullptr;
}

Ref<NSMutableDictionary> changeable(const Ref<NSDictionary>& dictionary) {
  const Ref<NSMutableDictionary> itself = as<NSMutableDictionary>(dictionary);
  return itself ? itself : dictionary->mutableCopy();
}

std::vector<Ref<NSObject>> keysOnlyIn(const Ref<NSDictionary>& base, const Ref<NSDictionary>& theirs) {
  std::vector<Ref<NSObject>> keys;
  if (!base) return keys;
  for (const DictionaryEntry& entry : *base) {
    if (!theirs->containsKey(entry.key)) keys.push_back(entry.key);
  }
  return keys;
}

// What is to change in one dictionary.
class Changes {
 public:
  explicit Changes(const Ref<NSDictionary>& dictionary) : dictionary_(changeable(dictionary)) {}

  const Ref<NSMutableDictionary>& dictionary() const { return dictionary_; }

  // No value removes the key.
  void note(const Ref<NSObject>& key, const Ref<NSObject>& value) {
    const Ref<NSObject> before = dictionary_->objectForKey(key);
    if (before == value) return;
    before ? replaced_.push_back({key, value}) : added_->setObject_forKey(value, key);
  }

  // All or nothing. Only this may need memory.
  void add() const { dictionary_->addEntriesFromDictionary(added_); }
  void takeBack() const {
    for (const DictionaryEntry& entry : *added_) dictionary_->removeObjectForKey(entry.key);
  }
  void replace() const {
    for (const auto& [key, value] : replaced_) {
      value ? dictionary_->setObject_forKey(value, key) : dictionary_->removeObjectForKey(key);
    }
  }

 private:
  Ref<NSMutableDictionary> dictionary_;
  Ref<NSMutableDictionary> added_ = NSMutableDictionary::dictionary();
  std::vector<DictionaryEntry> replaced_;
};

// Nothing changes until all is known, and until there is memory for all.
class Merge {
 public:
  Ref<NSObject> of(const Ref<NSObject>& mine, const Ref<NSObject>& written, const Ref<NSObject>& base,
                   const Ref<NSObject>& theirs) {
    if (isSame(theirs, base)) return mine;
    const Ref<NSDictionary> myEntries = as<NSDictionary>(mine);
    const Ref<NSDictionary> theirEntries = as<NSDictionary>(theirs);
    if (myEntries && theirEntries) {
      return byKey(myEntries, as<NSDictionary>(written), as<NSDictionary>(base), theirEntries);
    }
    const bool isUnchanged = isSame(mine, base) || (written && isSame(written, base));
    return isUnchanged ? theirs : mine;
  }

  void apply() const {
    addAll();
    for (const Changes& changes : changes_) changes.replace();
  }

 private:
  Ref<NSObject> byKey(const Ref<NSDictionary>& mine, const Ref<NSDictionary>& written, const Ref<NSDictionary>& base,
                      const Ref<NSDictionary>& theirs) {
    Changes changes(mine);
    const auto mergeKey = [&](const Ref<NSObject>& key) {
      changes.note(key,
                   of(mine->objectForKey(key), valueIn(written, key), valueIn(base, key), theirs->objectForKey(key)));
    };
    for (const DictionaryEntry& entry : *theirs) mergeKey(entry.key);
    for (const Ref<NSObject>& key : keysOnlyIn(base, theirs)) mergeKey(key);
    changes_.push_back(std::move(changes));
    return changes_.back().dictionary();
  }

  void addAll() const {
    auto next = changes_.begin();
    try {
      for (; next != changes_.end(); ++next) next->add();
    } catch (...) {
      while (next != changes_.begin()) (--next)->takeBack();
      throw;
    }
  }

  std::vector<Changes> changes_;
};

}  // namespace

bool isSame(const Ref<NSObject>& a, const Ref<NSObject>& b) { return a ? ZtFoundation::isEqual(a, b) : !b; }

Ref<NSObject> merged(Ref<NSObject> mine, const Ref<NSObject>& written, const Ref<NSObject>& base,
                     const Ref<NSObject>& theirs) {
  Merge merge;
  Ref<NSObject> result = merge.of(mine, written, base, theirs);
  merge.apply();
  return result;
}

}  // namespace ZtFoundation::detail
