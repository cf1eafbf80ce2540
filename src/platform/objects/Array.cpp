#include <ZtFoundation/platform/Array.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <vector>

#include <ZtFoundation/platform/Exception.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSArray);
ZT_IMPLEMENT_CLASS(NSMutableArray);

namespace {

using Item = Ref<NSObject>;

constexpr NSUInteger kMaximumCount = static_cast<NSUInteger>(std::numeric_limits<NSInteger>::max()) / sizeof(Item);

// A Ref is one pointer that does not know where it lies, so elements move as plain bytes.
void relocate(Item* to, const Item* from, NSUInteger count) noexcept {
  if (count != 0) std::memmove(static_cast<void*>(to), static_cast<const void*>(from), count * sizeof(Item));
}

Item* allocateItems(NSUInteger count) {
  if (count > kMaximumCount) throw std::bad_alloc();
  return static_cast<Item*>(::operator new(count * sizeof(Item)));
}

void requireNoneIsAbsent(std::span<const Item> objects) {
  for (const Item& object : objects) {
    if (!object) detail::raiseInvalidArgument("an array cannot hold none");
  }
}

void requireIndex(NSUInteger index, NSUInteger count) {
  if (index >= count) detail::raiseRange("index beyond the end of the array");
}

}  // namespace

NSArray::~NSArray() {
  std::destroy_n(items_, count_);
  ::operator delete(items_);
}

Ref<NSArray> NSArray::array() { return arrayByTaking({}); }

Ref<NSArray> NSArray::arrayWithObject(const Ref<NSObject>& object) { return arrayWithObjects({object}); }

Ref<NSArray> NSArray::arrayWithObjects(std::initializer_list<Ref<NSObject>> objects) {
  requireNoneIsAbsent({objects.begin(), objects.size()});
  Ref<NSArray> result = Ref<NSArray>::adopt(new NSArray(0));
  result->items_ = allocateItems(objects.size());
  std::uninitialized_copy(objects.begin(), objects.end(), result->items_);
  result->count_ = objects.size();
  return result;
}

Ref<NSArray> NSArray::arrayWithArray(const Ref<NSArray>& other) { return other ? other->copy() : nullptr; }

Ref<NSArray> NSArray::arrayByTaking(std::span<Ref<NSObject>> objects) {
  requireNoneIsAbsent(objects);
  Ref<NSArray> result = Ref<NSArray>::adopt(new NSArray(0));
  if (objects.empty()) return result;
  result->items_ = allocateItems(objects.size());
  std::uninitialized_move(objects.begin(), objects.end(), result->items_);
  result->count_ = objects.size();
  return result;
}

const Ref<NSObject>& NSArray::objectAtIndex(NSUInteger index) const {
  requireIndex(index, count_);
  return items_[index];
}

Ref<NSObject> NSArray::firstObject() const { return count_ != 0 ? items_[0] : nullptr; }

Ref<NSObject> NSArray::lastObject() const { return count_ != 0 ? items_[count_ - 1] : nullptr; }

NSUInteger NSArray::indexOfObject(const Ref<NSObject>& object) const {
  if (!object) return NSNotFound;
  const Item* found =
      std::find_if(begin(), end(), [&](const Item& item) { return detail::areEqual(item.get(), object.get()); });
  return found != end() ? static_cast<NSUInteger>(found - begin()) : NSNotFound;
}

NSUInteger NSArray::indexOfObjectIdenticalTo(const Ref<NSObject>& object) const {
  const Item* found = std::find(begin(), end(), object);
  return found != end() ? static_cast<NSUInteger>(found - begin()) : NSNotFound;
}

Ref<NSObject> NSArray::firstObjectCommonWithArray(const Ref<NSArray>& other) const {
  if (!other) return nullptr;
  const Item* found = std::find_if(begin(), end(), [&](const Item& item) { return other->containsObject(item); });
  return found != end() ? *found : nullptr;
}

Ref<NSArray> NSArray::arrayByAddingObject(const Ref<NSObject>& object) const {
  Ref<NSMutableArray> longer = mutableCopy();
  longer->addObject(object);
  return arrayByTaking({longer->items_, longer->count_});
}

Ref<NSArray> NSArray::subarrayWithRange(NSRange range) const {
  if (!isRangeWithin(range, count_)) detail::raiseRange("range beyond the end of the array");
  Ref<NSArray> result = Ref<NSArray>::adopt(new NSArray(0));
  result->items_ = allocateItems(range.length);
  std::uninitialized_copy_n(items_ + range.location, range.length, result->items_);
  result->count_ = range.length;
  return result;
}

Ref<NSString> NSArray::componentsJoinedByString(const Ref<NSString>& separator) const {
  Ref<NSMutableString> joined = NSMutableString::string();
  for (NSUInteger index = 0; index < count_; ++index) {
    if (index != 0) joined->appendString(separator);
    joined->appendString(detail::describe(items_[index].get()));
  }
  return joined->copy();
}

Ref<NSMutableArray> NSArray::mutableCopy() const {
  Ref<NSMutableArray> result = NSMutableArray::arrayWithCapacity(count_);
  std::uninitialized_copy_n(items_, count_, result->items_);
  static_cast<NSArray*>(result.get())->count_ = count_;
  return result;
}

Ref<NSArray> NSArray::copy() const {
  if (!isMutable()) return const_cast<NSArray*>(this);
  return subarrayWithRange({0, count_});
}

bool NSArray::isEqual(const NSObject* other) const { return detail::deepEqual(this, other); }

// Looking no deeper keeps hashing bounded; equal arrays have equal counts.
NSUInteger NSArray::hash() const { return count_; }

// --- NSMutableArray

Ref<NSMutableArray> NSMutableArray::array() { return Ref<NSMutableArray>::adopt(new NSMutableArray); }

Ref<NSMutableArray> NSMutableArray::arrayWithCapacity(NSUInteger capacity) {
  Ref<NSMutableArray> result = array();
  result->reserve(capacity);
  return result;
}

Ref<NSMutableArray> NSMutableArray::arrayWithArray(const Ref<NSArray>& other) {
  return other ? other->mutableCopy() : nullptr;
}

Ref<NSMutableArray> NSMutableArray::arrayByTaking(std::span<Ref<NSObject>> objects) {
  requireNoneIsAbsent(objects);
  Ref<NSMutableArray> result = arrayWithCapacity(objects.size());
  std::uninitialized_move(objects.begin(), objects.end(), result->items_);
  result->count_ = objects.size();
  return result;
}

void NSMutableArray::reserve(NSUInteger capacity) {
  if (capacity <= capacity_) return;
  const NSUInteger wanted = std::max(capacity, capacity_ + capacity_ / 2);
  Item* items = allocateItems(wanted);
  relocate(items, items_, count_);
  ::operator delete(std::exchange(items_, items));
  capacity_ = wanted;
}

void NSMutableArray::addObject(Ref<NSObject> object) { insertObject_atIndex(std::move(object), count_); }

void NSMutableArray::addObjectsFromArray(const Ref<NSArray>& other) {
  if (!other) return;
  const NSUInteger added = other->count();  // stays right when an array is added to itself
  reserve(count_ + added);
  std::uninitialized_copy_n(other->begin(), added, items_ + count_);
  count_ += added;
}

void NSMutableArray::insertObject_atIndex(Ref<NSObject> object, NSUInteger index) {
  if (!object) detail::raiseInvalidArgument("an array cannot hold none");
  if (index > count_) detail::raiseRange("index beyond the end of the array");
  if (count_ == capacity_) reserve(std::max<NSUInteger>(4, count_ + 1));
  relocate(items_ + index + 1, items_ + index, count_ - index);
  new (items_ + index) Item(std::move(object));
  ++count_;
}

void NSMutableArray::replaceObjectAtIndex_withObject(NSUInteger index, Ref<NSObject> object) {
  if (!object) detail::raiseInvalidArgument("an array cannot hold none");
  requireIndex(index, count_);
  items_[index] = std::move(object);
}

void NSMutableArray::removeObjectAtIndex(NSUInteger index) {
  requireIndex(index, count_);
  const Item removed = std::move(items_[index]);
  relocate(items_ + index, items_ + index + 1, --count_ - index);
}

void NSMutableArray::removeLastObject() {
  if (count_ == 0) detail::raiseRange("the array is empty");
  removeObjectAtIndex(count_ - 1);
}

void NSMutableArray::removeObject(const Ref<NSObject>& object) {
  if (!object) return;
  const Item wanted = object;  // may be the element itself
  // Comparing may raise, so nothing moves before it is done; the array is whole again when what it lost is destroyed.
  std::vector<Item> removed;
  std::copy_if(begin(), end(), std::back_inserter(removed),
               [&](const Item& item) { return detail::areEqual(item.get(), wanted.get()); });
  auto next = removed.begin();
  Item* kept = items_;
  for (Item* item = items_; item != end(); ++item) {
    if (next != removed.end() && *item == *next) {
      ++next;
    } else {
      std::swap(*kept++, *item);
    }
  }
  std::destroy(kept, items_ + count_);
  count_ = static_cast<NSUInteger>(kept - items_);
}

void NSMutableArray::removeAllObjects() {
  Item* items = std::exchange(items_, nullptr);
  const NSUInteger count = std::exchange(count_, 0);
  capacity_ = 0;
  std::destroy_n(items, count);
  ::operator delete(items);
}

}  // namespace ZtFoundation
