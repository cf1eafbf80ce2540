#include <algorithm>
#include <vector>

#include <ZtFoundation/Utilities.h>

namespace ZtFoundation::QvFoundationExtensions {

namespace {

// What is walked or compared while code of the host runs is taken by value: that code may let go of the host's own
// reference.

// A new array with the elements that `keep` wants, also when these are all.
template <class Keep>
Ref<NSArray> filtered(Ref<NSArray> self, Keep keep) {
  if (!self) return nullptr;
  std::vector<Ref<NSObject>> kept;
  kept.reserve(self->count());
  for (const Ref<NSObject>& element : *self) {
    if (keep(element)) kept.push_back(element);
  }
  return NSArray::arrayByTaking(kept);
}

bool areEqual(const Ref<NSObject>& element, const Ref<NSObject>& object) {
  return object && detail::areEqual(element.get(), object.get());
}

// Objects of hosts may say so themselves.
bool isOfKind(const Ref<NSObject>& object, Class wanted) {
  if (object->kind() != ObjectKind::Other) return object->isKindOfClass(wanted);
  return send<bool>(object, ZT_SELECTOR("isKindOfClass:"), wanted);
}

// Whether a value can stand as a key, which finds it faster than a walk.
bool isSimple(const NSObject& object) {
  return object.kind() != ObjectKind::Other && object.kind() < ObjectKind::Array;
}

// The elements of an array that others are looked up among. A simple value equals only simple ones.
class Members {
 public:
  explicit Members(const Ref<NSArray>& elements) : elements_(elements ? elements : NSArray::array()) {
    for (const Ref<NSObject>& element : *elements_) {
      if (isSimple(*element)) simple_->addObject(element);
    }
  }
  bool contain(const Ref<NSObject>& object) const {
    if (isSimple(*object)) return simple_->containsObject(object);
    return std::any_of(elements_->begin(), elements_->end(),
                       [&](const Ref<NSObject>& element) { return areEqual(object, element); });
  }

 private:
  Ref<NSArray> elements_;
  Ref<NSMutableSet> simple_ = NSMutableSet::set();
};

template <class Collection, class ObjectOf>
void performWithEach(Ref<NSObject> self, SEL selector, Ref<Collection> objects, ObjectOf objectOf) {
  if (!objects) return;
  for (const auto& each : *objects) performSelector_withObject(self, selector, objectOf(each));
}

// An immutable set with what `change` makes of a copy.
template <class Change>
Ref<NSIndexSet> changed(const Ref<NSIndexSet>& self, Change change) {
  if (!self) return nullptr;
  const Ref<NSMutableIndexSet> copy = self->mutableCopy();
  change(*copy);
  return copy->copy();
}

}  // namespace

Ref<NSArray> arrayByRemovingObject(const Ref<NSArray>& self, const Ref<NSObject>& object) {
  return filtered(self, [object](const Ref<NSObject>& element) { return !areEqual(element, object); });
}

Ref<NSArray> arrayByRemovingObjects(const Ref<NSArray>& self, const Ref<NSArray>& objects) {
  const Members removed(objects);
  return filtered(self, [&](const Ref<NSObject>& element) { return !removed.contain(element); });
}

Ref<NSArray> objectsKindOfClass(const Ref<NSArray>& self, Class wanted) {
  return filtered(self, [&](const Ref<NSObject>& element) { return isOfKind(element, wanted); });
}

NSUInteger numberOfObjectsEqualTo(const Ref<NSArray>& self, const Ref<NSObject>& object) {
  if (!self || !object) return 0;
  const auto isEqualTo = [object](const Ref<NSObject>& element) {
    return detail::areEqualTo(element.get(), object.get());
  };
  const Ref<NSArray> elements = self;
  return static_cast<NSUInteger>(std::count_if(std::make_reverse_iterator(elements->end()),
                                               std::make_reverse_iterator(elements->begin()), isEqualTo));
}

Ref<NSIndexSet> indexSetByAddingIndex(const Ref<NSIndexSet>& self, NSUInteger index) {
  return changed(self, [&](NSMutableIndexSet& copy) { copy.addIndex(index); });
}

Ref<NSIndexSet> indexSetByAddingIndexes(const Ref<NSIndexSet>& self, const Ref<NSIndexSet>& indexes) {
  return changed(self, [&](NSMutableIndexSet& copy) { copy.addIndexes(indexes); });
}

Ref<NSIndexSet> indexSetByAddingIndexesInRange(const Ref<NSIndexSet>& self, NSRange range) {
  return changed(self, [&](NSMutableIndexSet& copy) { copy.addIndexesInRange(range); });
}

Ref<NSIndexSet> indexSetByRemovingIndex(const Ref<NSIndexSet>& self, NSUInteger index) {
  return changed(self, [&](NSMutableIndexSet& copy) { copy.removeIndex(index); });
}

Ref<NSIndexSet> indexSetByRemovingIndexes(const Ref<NSIndexSet>& self, const Ref<NSIndexSet>& indexes) {
  return changed(self, [&](NSMutableIndexSet& copy) { copy.removeIndexes(indexes); });
}

Ref<NSIndexSet> indexSetByRemovingIndexesInRange(const Ref<NSIndexSet>& self, NSRange range) {
  return changed(self, [&](NSMutableIndexSet& copy) { copy.removeIndexesInRange(range); });
}

void performSelector_withEachObjectInArray(const Ref<NSObject>& self, SEL selector, const Ref<NSArray>& objects) {
  performWithEach(self, selector, objects, [](const Ref<NSObject>& object) { return object; });
}

void performSelector_withEachObjectInSet(const Ref<NSObject>& self, SEL selector, const Ref<NSSet>& objects) {
  performWithEach(self, selector, objects, [](const DictionaryEntry& member) { return member.key; });
}

}  // namespace ZtFoundation::QvFoundationExtensions
