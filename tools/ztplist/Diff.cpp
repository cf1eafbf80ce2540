#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>

#include <set>
#include <utility>

#include "Commands.h"
#include "Display.h"
#include "KeyPath.h"
#include "Streams.h"

namespace ztplist {

using namespace ZtFoundation;

namespace {

// Tells equality of values. Containers that differ are remembered: which ones do on the way to a difference deep below
// is found out once, not anew on each level.
class Equality {
 public:
  bool holds(const NSObject& one, const NSObject& other) {
    const auto* oneArray = as<NSArray>(&one);
    const auto* otherArray = as<NSArray>(&other);
    if (oneArray != nullptr && otherArray != nullptr) return holdsOnce(*oneArray, *otherArray);
    const auto* oneDictionary = as<NSDictionary>(&one);
    const auto* otherDictionary = as<NSDictionary>(&other);
    if (oneDictionary != nullptr && otherDictionary != nullptr) return holdsOnce(*oneDictionary, *otherDictionary);
    return one.isEqual(&other);
  }

 private:
  template <class Container>
  bool holdsOnce(const Container& one, const Container& other) {
    const std::pair<const NSObject*, const NSObject*> pair(&one, &other);
    if (different_.contains(pair)) return false;
    if (one.count() == other.count() && holdsWithin(one, other)) return true;
    different_.insert(pair);
    return false;
  }

  bool holdsWithin(const NSArray& one, const NSArray& other) {
    return std::equal(one.begin(), one.end(), other.begin(),
                      [&](const auto& mine, const auto& its) { return holds(*mine, *its); });
  }

  bool holdsWithin(const NSDictionary& one, const NSDictionary& other) {
    return std::all_of(one.begin(), one.end(), [&](const DictionaryEntry& entry) {
      const NSObject* its = other.lookUp(entry.key.get());
      return its != nullptr && holds(*entry.value, *its);
    });
  }

  std::set<std::pair<const NSObject*, const NSObject*>> different_;
};

class Comparison {
 public:
  explicit Comparison(Output& output) : output_(output) {}

  bool foundDifference() const { return found_; }

  void compare(const NSObject& before, const NSObject& after) {
    const auto* oldEntries = as<NSDictionary>(&before);
    const auto* newEntries = as<NSDictionary>(&after);
    const auto* oldElements = as<NSArray>(&before);
    const auto* newElements = as<NSArray>(&after);
    if (oldEntries != nullptr && newEntries != nullptr) {
      compareEntries(*oldEntries, *newEntries);
    } else if (oldElements != nullptr && newElements != nullptr) {
      compareElements(*oldElements, *newElements);
    } else if (!before.isEqual(&after)) {
      replaced(before, after);
    }
  }

 private:
  void compareEntries(const NSDictionary& before, const NSDictionary& after) {
    for (const auto& [key, value] : before) {
      at(as<NSString>(key), value.get(), after.lookUp(key.get()));
    }
    for (const auto& [key, value] : after) {
      if (before.lookUp(key.get()) == nullptr) at(as<NSString>(key), nullptr, value.get());
    }
  }

  // What is equal at both ends is left aside, so that one element more or less in the middle shows as just that.
  void compareElements(const NSArray& before, const NSArray& after) {
    const NSUInteger shorter = std::min(before.count(), after.count());
    NSUInteger start = 0;
    while (start < shorter && equality_.holds(*before[start], *after[start])) ++start;
    NSUInteger end = 0;
    while (start + end < shorter &&
           equality_.holds(*before[before.count() - 1 - end], *after[after.count() - 1 - end])) {
      ++end;
    }
    const NSUInteger longer = std::max(before.count(), after.count());
    for (NSUInteger index = start; index + end < longer; ++index) {
      at(std::to_string(index), elementBefore(before, index, end), elementBefore(after, index, end));
    }
  }

  static const NSObject* elementBefore(const NSArray& array, NSUInteger index, NSUInteger end) {
    return index + end < array.count() ? array[index].get() : nullptr;
  }

  void at(const Ref<NSString>& step, const NSObject* before, const NSObject* after) {
    path_.push_back(step);
    if (before != nullptr && after != nullptr) {
      compare(*before, *after);
    } else if (before != nullptr) {
      show("- ", *before);
    } else {
      show("+ ", *after);
    }
    path_.pop_back();
  }

  void replaced(const NSObject& before, const NSObject& after) {
    show("- ", before);
    show("+ ", after);
    const auto* oldData = as<NSData>(&before);
    const auto* newData = as<NSData>(&after);
    if (oldData != nullptr && newData != nullptr) showFirstDifference(oldData->view(), newData->view());
  }

  void showFirstDifference(std::string_view before, std::string_view after) {
    const auto same = std::ranges::mismatch(before, after).in1 - before.begin();
    output_ << "  (from byte " << std::to_string(same) << " on)\n";
  }

  void show(std::string_view prefix, const NSObject& value) {
    found_ = true;
    printTree(output_, prefix, shownKeyPath(path_) + ": ", value);
  }

  Output& output_;
  Equality equality_;
  KeyPath path_;
  bool found_ = false;
};

void checkOneStandardInput(const Arguments& arguments) {
  if (std::ranges::count(arguments.operands, kStandardStream) > 1) {
    throw Failure(Exit::Usage, "diff: only one of the two can be standard input");
  }
}

}  // namespace

Exit runDiff(const Arguments& arguments, Output& output) {
  checkOneStandardInput(arguments);
  const Document before = load(arguments.operands[0], arguments.format);
  const Document after = load(arguments.operands[1], arguments.format);
  if (arguments.quiet) return isEqual(before.root, after.root) ? Exit::Success : Exit::No;
  Comparison comparison(output);
  comparison.compare(*before.root, *after.root);
  return comparison.foundDifference() ? Exit::No : Exit::Success;
}

}  // namespace ztplist
