#include <ZtFoundation/platform/IndexSet.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <string>
#include <utility>

#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

ZT_IMPLEMENT_CLASS(NSIndexSet);
ZT_IMPLEMENT_CLASS(NSMutableIndexSet);

namespace {

constexpr NSUInteger kLargest = std::numeric_limits<NSUInteger>::max();

// The last index of a range that is not empty, cut at the largest.
NSUInteger lastOf(NSRange range) { return range.location + std::min(range.length - 1, kLargest - range.location); }

}  // namespace

Ref<NSIndexSet> NSIndexSet::indexSet() { return make<NSIndexSet>(); }

Ref<NSIndexSet> NSIndexSet::indexSetWithIndex(NSUInteger index) { return indexSetWithIndexesInRange({index, 1}); }

Ref<NSIndexSet> NSIndexSet::indexSetWithIndexesInRange(NSRange range) {
  NSMutableIndexSet indexes;
  indexes.addIndexesInRange(range);
  return indexes.copy();
}

NSUInteger NSIndexSet::count() const noexcept { return count_ == 0 && !ranges_.empty() ? kLargest : count_; }

NSIndexSet::Ranges::const_iterator NSIndexSet::rangeWith(NSUInteger index) const {
  const auto after = ranges_.upper_bound(index);
  if (after == ranges_.begin()) return ranges_.end();
  const auto range = std::prev(after);
  return range->second >= index ? range : ranges_.end();
}

bool NSIndexSet::containsIndex(NSUInteger index) const { return rangeWith(index) != ranges_.end(); }

bool NSIndexSet::containsIndexes(const Ref<NSIndexSet>& other) const {
  if (!other) return false;
  return std::all_of(other->ranges_.begin(), other->ranges_.end(), [&](const auto& wanted) {
    const auto range = rangeWith(wanted.first);
    return range != ranges_.end() && range->second >= wanted.second;
  });
}

NSUInteger NSIndexSet::firstIndex() const noexcept { return ranges_.empty() ? NSNotFound : ranges_.begin()->first; }

NSUInteger NSIndexSet::lastIndex() const noexcept { return ranges_.empty() ? NSNotFound : ranges_.rbegin()->second; }

NSUInteger NSIndexSet::indexGreaterThanIndex(NSUInteger index) const {
  if (index == kLargest) return NSNotFound;
  if (containsIndex(index + 1)) return index + 1;
  const auto after = ranges_.upper_bound(index);
  return after != ranges_.end() ? after->first : NSNotFound;
}

Ref<NSMutableIndexSet> NSIndexSet::mutableCopy() const {
  Ref<NSMutableIndexSet> result = NSMutableIndexSet::indexSet();
  result->ranges_ = ranges_;
  result->count_ = count_;
  return result;
}

bool NSIndexSet::isEqual(const NSObject* other) const {
  const NSIndexSet* indexes = as<NSIndexSet>(other);
  return indexes != nullptr && indexes->ranges_ == ranges_;
}

NSUInteger NSIndexSet::hash() const { return count_ * 31 + ranges_.size() * 7 + firstIndex() + lastIndex(); }

Ref<NSString> NSIndexSet::description() const {
  std::string text = "(";
  for (const auto& [first, last] : ranges_) {
    if (text.size() > 1) text += ", ";
    text += std::to_string(first);
    if (last != first) text += "-" + std::to_string(last);
  }
  return NSString::stringWithASCII(text += ")");
}

Ref<NSMutableIndexSet> NSMutableIndexSet::indexSet() { return make<NSMutableIndexSet>(); }

Ref<NSIndexSet> NSMutableIndexSet::copy() const {
  Ref<NSIndexSet> result = NSIndexSet::indexSet();
  NSIndexSet& target = *result;
  target.ranges_ = ranges_;
  target.count_ = count_;
  return result;
}

// What several ranges may need is there before the first of them changes anything.
void NSMutableIndexSet::addIndexes(const Ref<NSIndexSet>& other) {
  if (!other || other == this) return;
  Ranges nodes(other->ranges_);
  for (const auto& [first, last] : other->ranges_) add(first, last, nodes);
}

void NSMutableIndexSet::addIndexesInRange(NSRange range) {
  Ranges nodes;
  if (range.length != 0) add(range.location, lastOf(range), nodes);
}

void NSMutableIndexSet::removeIndexes(const Ref<NSIndexSet>& other) {
  if (other == this) return removeAllIndexes();
  if (!other) return;
  Ranges nodes(other->ranges_);
  for (const auto& [first, last] : other->ranges_) remove(first, last, nodes);
}

void NSMutableIndexSet::removeIndexesInRange(NSRange range) {
  Ranges nodes;
  if (range.length != 0) remove(range.location, lastOf(range), nodes);
}

void NSMutableIndexSet::removeAllIndexes() noexcept {
  ranges_.clear();
  count_ = 0;
}

// Swallows all ranges that overlap or touch the new one, and puts it in the place of one of them.
void NSMutableIndexSet::add(NSUInteger first, NSUInteger last, Ranges& nodes) {
  const bool behindAll = ranges_.empty() || ranges_.rbegin()->first <= first;  // usual, and found without a search
  auto range = behindAll ? ranges_.end() : ranges_.upper_bound(first);
  if (range != ranges_.begin()) {
    const auto before = std::prev(range);
    if (before->second >= last) return;
    if (first == 0 || before->second >= first - 1) range = before;
  }
  while (range != ranges_.end() && (last == kLargest || range->first <= last + 1)) {
    first = std::min(first, range->first);
    last = std::max(last, range->second);
    count_ -= range->second - range->first + 1;
    const auto swallowed = range++;
    nodes.insert(ranges_.extract(swallowed));
  }
  put(range, first, last, nodes);
  count_ += last - first + 1;
}

void NSMutableIndexSet::remove(NSUInteger first, NSUInteger last, Ranges& nodes) {
  auto range = ranges_.upper_bound(first);
  if (range != ranges_.begin() && std::prev(range)->second >= first) --range;
  while (range != ranges_.end() && range->first <= last) range = cut(range, first, last, nodes);
}

// `next` is the first range behind the new one.
void NSMutableIndexSet::put(Ranges::iterator next, NSUInteger first, NSUInteger last, Ranges& nodes) {
  if (nodes.empty()) {
    ranges_.emplace_hint(next, first, last);
    return;
  }
  Ranges::node_type node = nodes.extract(nodes.begin());
  node.key() = first;
  node.mapped() = last;
  ranges_.insert(next, std::move(node));
}

// Leaves of a range what sticks out on either side, and answers the one behind. Only one that is split in two needs
// memory, and gets it first.
NSIndexSet::Ranges::iterator NSMutableIndexSet::cut(Ranges::iterator range, NSUInteger first, NSUInteger last,
                                                    Ranges& nodes) {
  const auto [oldFirst, oldLast] = *range;
  const auto next = std::next(range);
  if (oldFirst >= first) nodes.insert(ranges_.extract(range));
  if (oldLast > last) put(next, last + 1, oldLast, nodes);
  if (oldFirst < first) range->second = first - 1;
  count_ -= std::min(oldLast, last) - std::max(oldFirst, first) + 1;
  return next;
}

}  // namespace ZtFoundation
