#include <ZtFoundation/platform/PropertyListCopy.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

namespace {

enum class Leaves { Shared, Immutable, Mutable };

struct CopyRules {
  bool mutableContainers;
  Leaves leaves;
  bool sortsKeys = false;
};

bool isContainer(const NSObject& object) {
  return object.kind() == ObjectKind::Array || object.kind() == ObjectKind::Dictionary;
}

NSUInteger countOf(const NSObject& container) {
  return container.kind() == ObjectKind::Array ? static_cast<const NSArray&>(container).count()
                                               : static_cast<const NSDictionary&>(container).count();
}

template <class Visit>
void visitValues(const NSObject& container, Visit visit) {
  if (const auto* array = as<NSArray>(&container)) {
    for (const Ref<NSObject>& element : *array) visit(*element);
  } else {
    for (const DictionaryEntry& entry : static_cast<const NSDictionary&>(container)) visit(*entry.value);
  }
}

// Elements and containers of `root`, each shared container counted once.
NSUInteger distinctElements(const NSObject& root) {
  NSUInteger elements = 0;
  std::unordered_set<const NSObject*> shared;
  std::vector<const NSObject*> waiting{&root};
  while (!waiting.empty()) {
    const NSObject& container = *waiting.back();
    waiting.pop_back();
    if (container.retainCount() > 1 && !shared.insert(&container).second) continue;
    elements += countOf(container) + 1;
    visitValues(container, [&](const NSObject& value) {
      if (isContainer(value)) waiting.push_back(&value);
    });
  }
  return elements;
}

Ref<NSObject> copiedNumber(const NSNumber& number) {
  switch (number.type()) {
    case NumberType::Boolean:
      return number.boolValue();
    case NumberType::Signed:
      return number.longLongValue();
    case NumberType::Unsigned:
      return number.unsignedLongLongValue();
    case NumberType::Double:
      return number.doubleValue();
    case NumberType::Float:
      break;
  }
  return NSNumber::numberWithFloat(number.floatValue());
}

Ref<NSObject> copiedString(const NSString& string, bool isMutable) {
  if (isMutable) return string.mutableCopy();
  return NSString::stringWithUnits(string.units());
}

// None for what no property list holds.
Ref<NSObject> copiedLeaf(const NSObject& leaf, Leaves leaves) {
  switch (leaf.kind()) {
    case ObjectKind::String:
      return copiedString(static_cast<const NSString&>(leaf), leaves == Leaves::Mutable);
    case ObjectKind::Number:
      return copiedNumber(static_cast<const NSNumber&>(leaf));
    case ObjectKind::Date:
      return NSDate::dateWithTimeIntervalSinceReferenceDate(
          static_cast<const NSDate&>(leaf).timeIntervalSinceReferenceDate());
    case ObjectKind::Data:
      return NSData::dataWithBytes(static_cast<const NSData&>(leaf).view());
    default:
      return nullptr;
  }
}

bool comesBefore(const DictionaryEntry& a, const DictionaryEntry& b) {
  const Ref<NSString> key = as<NSString>(b.key);
  return static_cast<const NSString&>(*a.key).compare(key) == NSOrderedAscending;
}

// Copies from the leaves up without recursion. Copied elements wait in a row until their container is complete.
class DeepCopier {
 public:
  DeepCopier(CopyRules rules, const NSObject& root) : rules_(rules), root_(root), repetitions_(root) {}

  Ref<NSObject> copy() {
    bool possible = take(root_);
    while (possible && !open_.empty()) possible = step();
    return possible ? std::move(copied_.back()) : nullptr;
  }

 private:
  struct Frame {
    const NSObject* source;
    NSUInteger taken = 0;          // elements begun
    NSDictionary::Iterator entry;  // the next one, in a dictionary
    std::size_t firstCopied;       // where its elements begin in `copied_`
    bool repeated;                 // not the first copy of what is in here
  };
  // What is known about a container that has several owners.
  struct Shared {
    bool open = true;
    Ref<NSObject> copy;  // where places may share it
  };

  bool step() {
    Frame& frame = open_.back();
    if (frame.taken == countOf(*frame.source)) return close();
    if (frame.source->kind() == ObjectKind::Array) {
      return take(*static_cast<const NSArray&>(*frame.source).begin()[frame.taken++]);
    }
    ++frame.taken;
    const DictionaryEntry& entry = *frame.entry++;
    return keyFits(*entry.key) && take(*entry.value);
  }

  bool keyFits(const NSObject& key) const {
    return (rules_.leaves == Leaves::Shared && !rules_.sortsKeys) || key.kind() == ObjectKind::String;
  }

  bool take(const NSObject& value) {
    if (isContainer(value)) return open(value);
    copied_.push_back(rules_.leaves == Leaves::Shared ? Ref<NSObject>(const_cast<NSObject*>(&value))
                                                      : copiedLeaf(value, rules_.leaves));
    return copied_.back() != nullptr;
  }

  bool open(const NSObject& container) {
    bool repeated = !open_.empty() && open_.back().repeated;
    if (container.retainCount() > 1) {
      const auto [known, isNew] = shared_.try_emplace(&container);
      if (!isNew && known->second.open) return false;  // inside itself
      if (known->second.copy) return copied_.push_back(known->second.copy), true;
      repeated |= !isNew;
    }
    if (repeated && !repetitions_.spend(countOf(container) + 1)) return false;
    open_.push_back({&container, 0, {}, copied_.size(), repeated});
    if (const auto* dictionary = as<NSDictionary>(&container)) open_.back().entry = dictionary->begin();
    return true;
  }

  bool close() {
    const Frame frame = open_.back();
    open_.pop_back();
    const std::span<Ref<NSObject>> elements = std::span(copied_).subspan(frame.firstCopied);
    Ref<NSObject> container = frame.source->kind() == ObjectKind::Array
                                  ? array(elements)
                                  : dictionary(static_cast<const NSDictionary&>(*frame.source), elements);
    copied_.resize(frame.firstCopied);
    if (const auto known = shared_.find(frame.source); known != shared_.end()) {
      known->second.open = false;
      if (!rules_.mutableContainers) known->second.copy = container;
    }
    copied_.push_back(std::move(container));
    return true;
  }

  Ref<NSObject> array(std::span<Ref<NSObject>> elements) const {
    if (rules_.mutableContainers) return NSMutableArray::arrayByTaking(elements);
    return NSArray::arrayByTaking(elements);
  }

  Ref<NSObject> dictionary(const NSDictionary& source, std::span<Ref<NSObject>> values) {
    entries_.clear();
    auto value = values.begin();
    for (const DictionaryEntry& entry : source) entries_.push_back({entry.key, std::move(*value++)});
    if (rules_.sortsKeys) std::sort(entries_.begin(), entries_.end(), comesBefore);
    if (rules_.mutableContainers) return NSMutableDictionary::dictionaryByTaking(entries_);
    return NSDictionary::dictionaryByTaking(entries_);
  }

  CopyRules rules_;
  const NSObject& root_;
  detail::RepetitionBudget repetitions_;
  std::vector<Frame> open_;
  std::vector<Ref<NSObject>> copied_;
  std::vector<DictionaryEntry> entries_;
  std::unordered_map<const NSObject*, Shared> shared_;
};

CopyRules rulesFor(NSUInteger mutabilityOption) {
  return {mutabilityOption != NSPropertyListImmutable,
          mutabilityOption == NSPropertyListMutableContainersAndLeaves ? Leaves::Mutable : Leaves::Immutable};
}

}  // namespace

Ref<NSObject> CFPropertyListCreateDeepCopy(const Ref<NSObject>& propertyList, NSUInteger mutabilityOption) {
  return propertyList ? DeepCopier(rulesFor(mutabilityOption), *propertyList).copy() : nullptr;
}

Ref<NSObject> propertyListWithSortedKeys(const Ref<NSObject>& propertyList) {
  return propertyList ? DeepCopier({false, Leaves::Shared, true}, *propertyList).copy() : nullptr;
}

bool detail::RepetitionBudget::spend(NSUInteger elements) {
  spent_ += elements;
  if (spent_ > limit_) limit_ = std::max(limit_, kRepeatedElementsPerElement * distinctElements(root_));
  return spent_ <= limit_;
}

Ref<NSObject> detail::copyContainers(const Ref<NSObject>& value) {
  return value ? DeepCopier({true, Leaves::Shared}, *value).copy() : nullptr;
}

}  // namespace ZtFoundation
