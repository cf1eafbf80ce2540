#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/PropertyListCopy.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation {

namespace {

constexpr std::string_view kClassKey = "ClassForPlistRep";

// The difference of two dictionaries and of the dictionaries inside, without recursion. Each pair is looked at once:
// whether it is equal shows when its difference is complete.
class Difference {
 public:
  Difference(const NSDictionary& mine, const NSDictionary& theirs) : mine_(mine), theirs_(theirs), repetitions_(mine) {}

  Ref<NSMutableDictionary> find() {
    if (!open(mine_, theirs_, nullptr)) return nullptr;
    for (;;) {
      if (!open_.back().left.empty()) {
        if (!compareNext()) return nullptr;
        continue;
      }
      const Frame frame = std::move(open_.back());
      open_.pop_back();
      if (isShared(*frame.mine)) sharedOpen_[frame.mine] = false;
      if (open_.empty()) return frame.result;
      if (!frame.equal) differ(*frame.key, frame.result);
    }
  }

 private:
  struct Frame {
    const NSDictionary* mine;
    const NSDictionary* theirs;
    NSObject* key;                             // in the frame around
    std::vector<const DictionaryEntry*> left;  // of mine, taken from the last to the first
    Ref<NSMutableDictionary> result;
    bool equal;
    bool repeated;  // not the first time that what is in here is compared
  };

  static bool isShared(const NSObject& object) { return object.retainCount() > 1; }

  bool compareNext() {
    Frame& frame = open_.back();
    const DictionaryEntry& entry = *frame.left.back();
    frame.left.pop_back();
    NSObject* const key = entry.key.get();
    NSObject* const mine = entry.value.get();  // a key whose hash has changed would not be found again
    NSObject* const theirs = frame.theirs->lookUp(key);
    const auto* myDictionary = as<NSDictionary>(mine);
    const auto* theirDictionary = as<NSDictionary>(theirs);
    if (mine != theirs && myDictionary != nullptr && theirDictionary != nullptr) {
      return open(*myDictionary, *theirDictionary, key);
    }
    if (!equal(mine, theirs)) differ(*key, mine);
    return true;
  }

  // False for a dictionary inside itself and when shared dictionaries expand too far.
  bool open(const NSDictionary& mine, const NSDictionary& theirs, NSObject* key) {
    bool repeated = !open_.empty() && open_.back().repeated;
    if (isShared(mine)) {
      const auto [known, isNew] = sharedOpen_.try_emplace(&mine, false);
      if (std::exchange(known->second, true)) return false;
      repeated |= !isNew;
    }
    if (repeated && !repetitions_.spend(mine.count() + 1)) return false;
    open_.push_back({&mine, &theirs, key, entriesOf(mine), NSMutableDictionary::dictionaryWithCapacity(mine.count()),
                     mine.count() == theirs.count(), repeated});
    return true;
  }

  static std::vector<const DictionaryEntry*> entriesOf(const NSDictionary& dictionary) {
    std::vector<const DictionaryEntry*> entries;
    entries.reserve(dictionary.count());
    for (const DictionaryEntry& entry : dictionary) entries.push_back(&entry);
    return entries;
  }

  void differ(NSObject& key, const Ref<NSObject>& mine) {
    open_.back().result->setObject_forKey(mine, Ref<NSObject>(&key));
    open_.back().equal = false;
  }

  // Remembers what came out for values that many keys may share.
  bool equal(const NSObject* mine, const NSObject* theirs) {
    if (mine->kind() != ObjectKind::Array || !isShared(*mine)) return detail::deepEqual(mine, theirs);
    const auto [known, isNew] = sharedEqual_.try_emplace({mine, theirs}, false);
    if (isNew) known->second = detail::deepEqual(mine, theirs);
    return known->second;
  }

  const NSDictionary& mine_;
  const NSDictionary& theirs_;
  detail::RepetitionBudget repetitions_;
  std::vector<Frame> open_;
  std::unordered_map<const NSObject*, bool> sharedOpen_;
  std::map<std::pair<const NSObject*, const NSObject*>, bool> sharedEqual_;
};

template <class Collection>
Ref<Collection> mutableCopyOfAll(const Ref<NSObject>& self) {
  return as<Collection>(CFPropertyListCreateDeepCopy(self, NSPropertyListMutableContainersAndLeaves));
}

// Objects of hosts may say so themselves.
bool responds(const Ref<NSObject>& object, SEL selector) {
  if (object->kind() != ObjectKind::Other) return respondsToSelector(object, selector);
  return send<bool>(object, ZT_SELECTOR("respondsToSelector:"), selector);
}

Ref<NSMutableDictionary> representationOf(const Ref<NSObject>& element) {
  static const SEL selector = NSSelectorFromString("propertyListRepresentation");
  if (!responds(element, selector)) return nullptr;
  const Ref<NSDictionary> representation = as<NSDictionary>(performSelector(element, selector));
  if (!representation || representation->isMutable()) return as<NSMutableDictionary>(representation);
  return representation->mutableCopy();
}

// What a method made in place of none: one without a result works on the receiver.
Ref<NSObject> initialised(const Ref<NSObject>& instance, SEL selector, const Ref<NSDictionary>& representation) {
  const bool givesNothing = instance->isa()->bind(selector).encoding[0] == 'v';
  const Ref<NSObject> result = performSelector_withObject(instance, selector, representation);
  return givesNothing ? instance : result;
}

Ref<NSObject> objectFrom(const Ref<NSDictionary>& representation) {
  static const SEL selector = NSSelectorFromString("initWithPropertyListRepresentation:");
  if (!representation) return nullptr;
  Class const one = NSClassFromString(as<NSString>(representation->objectForKey(kClassKey)));
  if (one == nullptr || !send<bool>(one, ZT_SELECTOR("instancesRespondToSelector:"), selector)) return nullptr;
  const Ref<NSObject> instance = send<Ref<NSObject>>(one, ZT_SELECTOR("alloc"));
  return instance ? initialised(instance, selector, representation) : nullptr;
}

}  // namespace

namespace JxPropertyListExtensions {

Ref<NSMutableArray> deepCopyWithMutabilityContainersAndLeavesOption(const Ref<NSArray>& self) {
  return mutableCopyOfAll<NSMutableArray>(self);
}

Ref<NSMutableDictionary> deepCopyWithMutabilityContainersAndLeavesOption(const Ref<NSDictionary>& self) {
  return mutableCopyOfAll<NSMutableDictionary>(self);
}

Ref<NSMutableArray> propertyListRepresentation(const Ref<NSArray>& self) {
  if (!self) return nullptr;
  const Ref<NSArray> elements = self;  // code of the host may let go of its own reference
  Ref<NSMutableArray> result = NSMutableArray::arrayWithCapacity(elements->count());
  for (const Ref<NSObject>& element : *elements) {
    const Ref<NSMutableDictionary> representation = representationOf(element);
    if (!representation) continue;
    representation->setObject_forKey(NSStringFromClass(element->isa()), kClassKey);
    result->addObject(representation);
  }
  return result;
}

Ref<NSMutableArray> arrayFromPropertyListRepresentation(const Ref<NSArray>& self) {
  if (!self) return nullptr;
  const Ref<NSArray> elements = self;
  Ref<NSMutableArray> result = NSMutableArray::arrayWithCapacity(elements->count());
  for (const Ref<NSObject>& element : *elements) {
    if (const Ref<NSObject> object = objectFrom(as<NSDictionary>(element))) result->addObject(object);
  }
  return result;
}

}  // namespace JxPropertyListExtensions

namespace QvFoundationExtensions {

Ref<NSMutableArray> deepMutableCopy(const Ref<NSArray>& self) {
  return as<NSMutableArray>(detail::copyContainers(self));
}

Ref<NSMutableDictionary> deepMutableCopy(const Ref<NSDictionary>& self) {
  return as<NSMutableDictionary>(detail::copyContainers(self));
}

Ref<NSMutableDictionary> differencesFromDictionary(const Ref<NSDictionary>& self, const Ref<NSDictionary>& other) {
  if (!self) return nullptr;
  const Ref<NSDictionary> mine = self;
  const Ref<NSDictionary> theirs = other ? other : NSDictionary::dictionary();
  return Difference(*mine, *theirs).find();
}

}  // namespace QvFoundationExtensions

}  // namespace ZtFoundation
