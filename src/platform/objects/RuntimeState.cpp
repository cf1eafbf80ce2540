#include "platform/objects/RuntimeState.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <utility>

#include <ZtFoundation/platform/Exception.h>

#include "platform/services/ForkSafeLocks.h"
#include "platform/services/ModuleKeeper.h"

namespace ZtFoundation::detail {

namespace {

class Guard {
 public:
  Guard() : guard_(lockOf(ForkSafe::Classes)) {}

 private:
  const std::lock_guard<std::mutex> guard_;
};

void insert(MethodCache& cache, const Binding* binding) {
  std::size_t at = reinterpret_cast<std::uintptr_t>(binding->selector) >> 4;
  while (cache.slots[at & cache.mask].load(std::memory_order_relaxed) != nullptr) ++at;
  cache.slots[at & cache.mask].store(binding, std::memory_order_release);
  ++cache.used;
}

MethodCache* makeCache(std::size_t size, MethodCache* outgrown) {
  auto* cache = new MethodCache{size - 1, 0, outgrown, new MethodCache::Slot[size]()};
  if (outgrown == nullptr) return cache;
  for (std::size_t i = 0; i <= outgrown->mask; ++i) {
    if (const Binding* binding = outgrown->slots[i].load(std::memory_order_relaxed)) insert(*cache, binding);
  }
  return cache;
}

void clear(MethodCache& cache) {
  for (std::size_t i = 0; i <= cache.mask; ++i) cache.slots[i].store(nullptr, std::memory_order_release);
  cache.used = 0;
}

[[noreturn]] void raiseForeignReceiver(Class one, const MethodEntry& entry, Class wanted) {
  raiseInvalidArgument((std::string("[") + one->name() + " " + entry.name->name +
                        "]: its implementation is written for " + wanted->name())
                           .c_str());
}

}  // namespace

Runtime& Runtime::shared() {
  alignas(Runtime) static std::byte storage[sizeof(Runtime)];  // classes register also where there is no memory
  static Runtime& runtime = *new (storage) Runtime;
  return runtime;
}

SEL Runtime::intern(std::string_view name) {
  const Guard guard;
  return findSelector(name);
}

SEL Runtime::findSelector(std::string_view name) {
  if (const auto found = selectors_.find(name); found != selectors_.end()) return found->second;
  auto made = std::make_unique<Selector>(Selector{std::string(name)});
  selectors_.emplace(made->name, made.get());
  return made.release();
}

// ---- Classes

Class Runtime::findClass(std::string_view name) {
  fileRegisteredClasses();
  if (Class builtin = builtinClass(name)) return builtin;
  const auto found = classes_.find(name);
  return found != classes_.end() ? found->second : nullptr;
}

Class Runtime::classNamed(std::string_view name) {
  const Guard guard;
  return findClass(name);
}

// Static initialisers register classes and have nobody to tell that memory is short, so none is asked for. They run
// under the lock of the system's loader, which is therefore not waited for under the lock here.
void Runtime::registerClass(Class one) noexcept {
  service<ModuleKeeper>().keep(one);
  const Guard guard;
  if (one->registeredNext_ != nullptr || one == registeredLast_) return;
  (registeredLast_ != nullptr ? registeredLast_->registeredNext_ : registeredFirst_) = one;
  registeredLast_ = one;
}

void Runtime::fileRegisteredClasses() {
  while (filedLast_ != registeredLast_) {
    Class next = filedLast_ != nullptr ? filedLast_->registeredNext_ : registeredFirst_;
    classes_.try_emplace(next->name(), next);
    filedLast_ = next;
  }
}

std::vector<Class> Runtime::registeredClasses() {
  const Guard guard;
  std::vector<Class> all;
  for (Class one = registeredFirst_; one != nullptr; one = one->registeredNext_) all.push_back(one);
  return all;
}

Class Runtime::makeSubclass(Class superclass, std::string_view name) {
  const Guard guard;
  if (name.empty() || name.find('\0') != std::string_view::npos || findClass(name) != nullptr) return nullptr;
  const char* kept = keep(std::string(name).c_str());
  auto pair =
      std::make_unique<ClassPair>(kept, nullptr, nullptr, superclass->factory_, std::span<const MethodDescription>());
  pair->own.madeFrom_ = superclass;
  pair->meta.madeFrom_ = superclass->metaclass_;
  classes_.emplace(kept, &pair->own);
  return &pair.release()->own;
}

// ---- Methods

MethodTable& Runtime::tableOf(Class one) {
  if (one->table_ != nullptr) return *one->table_;
  auto table = std::make_unique<MethodTable>();
  const bool ofClass = one->metaclass_ == nullptr;
  for (const MethodDescription& method : one->methods_) {
    if (method.ofClass != ofClass) continue;
    const IMP implementation = method.implementation();
    SEL name = findSelector(method.selector);
    table->entries.try_emplace(name, MethodEntry{name, method.encoding, implementation});
    const Class receiver = method.receiver != nullptr ? method.receiver() : nullptr;
    implementations_.try_emplace(implementation, ImplementationTypes{method.encoding, receiver});
  }
  one->table_ = table.release();
  return *one->table_;
}

Method Runtime::findMethod(Class one, SEL selector) {
  for (; one != nullptr; one = one->superclass()) {
    auto& entries = tableOf(one).entries;
    if (const auto found = entries.find(selector); found != entries.end()) return &found->second;
  }
  return nullptr;
}

Method Runtime::lookUp(Class one, SEL selector) {
  const Guard guard;
  return findMethod(one, selector);
}

bool Runtime::addMethod(Class one, SEL selector, IMP implementation, const char* types) {
  const Guard guard;
  const bool added =
      tableOf(one).entries.try_emplace(selector, MethodEntry{selector, keep(types), implementation}).second;
  if (added) flushCaches(one);
  return added;
}

IMP Runtime::implementationOf(Method method) {
  const Guard guard;
  return method->implementation;
}

IMP Runtime::setImplementation(Method method, IMP implementation) {
  const Guard guard;
  flushCaches(nullptr);
  return std::exchange(method->implementation, implementation);
}

bool Runtime::responds(Class one, SEL selector) {
  const Guard guard;
  const Method found = findMethod(one, selector);
  return found != nullptr && found->implementation != nullptr;
}

const char* Runtime::keep(const char* types) { return types_.emplace(types).first->c_str(); }

void Runtime::know(IMP implementation, ImplementationTypes types) {
  const Guard guard;
  implementations_.try_emplace(implementation, types);
}

const ImplementationTypes* Runtime::typesOf(IMP implementation) {
  const Guard guard;
  const auto found = implementations_.find(implementation);
  return found != implementations_.end() ? &found->second : nullptr;
}

// ---- Caches

bool Runtime::BindingOrder::operator()(const Binding& a, const Binding& b) const noexcept {
  const std::less<> less;
  if (a.selector != b.selector) return less(a.selector, b.selector);
  if (a.implementation != b.implementation) return less(a.implementation, b.implementation);
  return less(a.encoding, b.encoding);
}

// The types that an implementation is known to have win over what its entry says, because they are what the call must
// fit.
Binding Runtime::makeBinding(Class one, const MethodEntry& entry) const {
  const auto known = implementations_.find(entry.implementation);
  if (known == implementations_.end()) return {entry.name, entry.implementation, entry.types};
  const auto& [encoding, receiver] = known->second;
  if (receiver != nullptr && !one->isSubclassOfClass(receiver)) raiseForeignReceiver(one, entry, receiver);
  return {entry.name, entry.implementation, encoding};
}

MethodCache* Runtime::cacheWithRoom(Class one) {
  constexpr std::size_t kFirstSize = 8;
  MethodCache* cache = one->cache_.load(std::memory_order_relaxed);
  if (cache == nullptr) {
    if (cached_.size() == cached_.capacity()) cached_.reserve(2 * cached_.size() + kFirstSize);
    cache = makeCache(kFirstSize, nullptr);
    cached_.push_back(one);
  } else if (2 * (cache->used + 1) > cache->mask + 1) {
    cache = makeCache(2 * (cache->mask + 1), cache);
  }
  one->cache_.store(cache, std::memory_order_release);
  return cache;
}

void Runtime::remember(Class one, const Binding* binding) {
  MethodCache& cache = *cacheWithRoom(one);
  if (cache.find(binding->selector) == nullptr) insert(cache, binding);
}

const Binding* Runtime::bind(Class one, SEL selector) {
  const Guard guard;
  const Method found = findMethod(one, selector);
  if (found == nullptr || found->implementation == nullptr) return nullptr;
  const Binding* binding = &*bindings_.insert(makeBinding(one, *found)).first;
  remember(one, binding);
  return binding;
}

void Runtime::flushCaches(Class one) {
  for (Class candidate : cached_) {
    if (one == nullptr || candidate->isSubclassOfClass(one)) clear(*candidate->cache_.load(std::memory_order_relaxed));
  }
}

void Runtime::flush(Class one) {
  const Guard guard;
  flushCaches(one);
}

}  // namespace ZtFoundation::detail
