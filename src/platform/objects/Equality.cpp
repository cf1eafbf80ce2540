#include <unordered_map>
#include <vector>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation::detail {

namespace {

// Compares without recursion: containers that are still to be compared wait in a list. A container that several places
// share is compared with its counterpart once; that they are taken for equal from then on is safe because the first
// difference ends everything. Joining such pairs into classes keeps the work linear whichever way the two values share.
class DeepComparison {
 public:
  bool run(const NSObject* a, const NSObject* b) {
    if (!compare(a, b)) return false;
    while (!waiting_.empty()) {
      const auto [first, second] = waiting_.back();
      waiting_.pop_back();
      if (!compareContents(*first, *second)) return false;
    }
    return true;
  }

 private:
  using Classes = std::unordered_map<const NSObject*, const NSObject*>;

  bool compare(const NSObject* a, const NSObject* b) {
    if (a == b) return true;
    if (b == nullptr) return false;
    if (a->kind() != ObjectKind::Array && a->kind() != ObjectKind::Dictionary) return areEqual(a, b);
    if (a->kind() != b->kind()) return false;
    const bool shared = a->retainCount() > 1 || b->retainCount() > 1;
    if (!shared || join(a, b)) waiting_.emplace_back(a, b);
    return true;
  }

  bool compareContents(const NSObject& a, const NSObject& b) {
    return a.kind() == ObjectKind::Array
               ? compareArrays(static_cast<const NSArray&>(a), static_cast<const NSArray&>(b))
               : compareDictionaries(static_cast<const NSDictionary&>(a), static_cast<const NSDictionary&>(b));
  }

  bool compareArrays(const NSArray& a, const NSArray& b) {
    if (a.count() != b.count()) return false;
    for (NSUInteger index = 0; index < a.count(); ++index) {
      if (!compare(a.begin()[index].get(), b.begin()[index].get())) return false;
    }
    return true;
  }

  bool compareDictionaries(const NSDictionary& a, const NSDictionary& b) {
    if (a.count() != b.count()) return false;
    for (const DictionaryEntry& entry : a) {
      if (!compare(entry.value.get(), b.lookUp(entry.key.get()))) return false;
    }
    return true;
  }

  // False when both were joined already.
  bool join(const NSObject* a, const NSObject* b) {
    a = representative(a);
    b = representative(b);
    if (a != b) classes_[a] = b;
    return a != b;
  }

  const NSObject* representative(const NSObject* object) {
    for (auto found = classes_.find(object); found != classes_.end(); found = classes_.find(object)) {
      const auto next = classes_.find(found->second);
      if (next != classes_.end()) found->second = next->second;
      object = found->second;
    }
    return object;
  }

  std::vector<std::pair<const NSObject*, const NSObject*>> waiting_;
  Classes classes_;
};

}  // namespace

bool deepEqual(const NSObject* a, const NSObject* b) { return DeepComparison().run(a, b); }

}  // namespace ZtFoundation::detail
