#include <ZtFoundation/platform/Set.h>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSSet);
ZT_IMPLEMENT_CLASS(NSMutableSet);

namespace {

void insert(NSMutableDictionary& members, const Ref<NSObject>& object) {
  if (!object) detail::raiseInvalidArgument("a set holds no none");
  if (detail::isCollection(*object)) detail::raiseInvalidArgument("a set holds no collection");
  if (members.lookUp(object.get()) != nullptr) return;
  const NSMutableString* text = as<NSMutableString>(object.get());
  const Ref<NSObject> member = text != nullptr ? Ref<NSObject>(text->copy()) : object;
  members.setObject_forKey(member, member);
}

}  // namespace

NSSet::NSSet(std::uint8_t flags) : NSCollection(ObjectKind::Set, flags), members_(NSMutableDictionary::dictionary()) {}

Ref<NSSet> NSSet::set() { return Ref<NSSet>::adopt(new NSSet(0)); }

Ref<NSSet> NSSet::setWithObjects(std::initializer_list<Ref<NSObject>> objects) {
  Ref<NSSet> result = set();
  for (const Ref<NSObject>& object : objects) insert(*result->members_, object);
  return result;
}

Ref<NSSet> NSSet::setWithArray(const Ref<NSArray>& objects) {
  if (!objects) return nullptr;
  Ref<NSSet> result = set();
  for (const Ref<NSObject>& object : *objects) insert(*result->members_, object);
  return result;
}

Ref<NSSet> NSSet::setWithSet(const Ref<NSSet>& other) { return other ? other->copy() : nullptr; }

Ref<NSObject> NSSet::anyObject() const { return count() != 0 ? begin()->key : nullptr; }

bool NSSet::isSubsetOfSet(const Ref<NSSet>& other) const {
  if (!other || count() > other->count()) return false;
  for (const DictionaryEntry& member : *this) {
    if (!other->containsObject(member.key)) return false;
  }
  return true;
}

Ref<NSMutableSet> NSSet::mutableCopy() const {
  auto result = NSMutableSet::set();
  result->members_ = members_->mutableCopy();
  return result;
}

Ref<NSSet> NSSet::copy() const {
  if (!isMutable()) return const_cast<NSSet*>(this);
  Ref<NSSet> result = set();
  result->members_ = members_->mutableCopy();
  return result;
}

bool NSSet::isEqual(const NSObject* other) const {
  NSSet* set = as<NSSet>(other);
  return set == this || (set != nullptr && set->count() == count() && isSubsetOfSet(set));
}

NSUInteger NSSet::hash() const {
  NSUInteger sum = count();  // The order of members does not matter.
  for (const DictionaryEntry& member : *this) sum += detail::hashOf(member.key.get());
  return sum;
}

Ref<NSMutableSet> NSMutableSet::set() { return Ref<NSMutableSet>::adopt(new NSMutableSet()); }

Ref<NSMutableSet> NSMutableSet::setWithSet(const Ref<NSSet>& other) { return other ? other->mutableCopy() : nullptr; }

void NSMutableSet::addObject(const Ref<NSObject>& object) { insert(*members_, object); }
void NSMutableSet::removeObject(const Ref<NSObject>& object) { members_->removeObjectForKey(object); }
void NSMutableSet::removeAllObjects() { members_->removeAllObjects(); }

}  // namespace ZtFoundation
