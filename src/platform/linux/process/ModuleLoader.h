/// \file ModuleLoader.h
/// Opens the parts of the library that live in shared objects of their own.
#pragma once

#include <atomic>

namespace ZtFoundation {

struct ModuleFunction {
  void* address = nullptr;
  bool mayComeLater = false;  ///< there is none now, but descriptors are short or a disk does not answer
};

/// The function `entry` of the module `file` ("libZtFoundationUnicode.so"), which lies in the folder that this library
/// was loaded from; nothing when there is no such module or function, or the module is of another version than this
/// library. std::bad_alloc when there is no memory for it now. The module stays loaded.
ModuleFunction moduleFunction(const char* file, const char* entry);

/// The service that the function `entry` of the module `file` hands out; without such a module a `Missing`, which is
/// never destroyed. What is found is remembered, and that the module is missing once that is certain.
///
/// Nothing is locked while the module is opened: the system's loader has a lock of its own, and runs static
/// initialisers under it, which may ask for the same service.
template <class Interface, class Missing>
class ServiceInModule {
 public:
  constexpr ServiceInModule(const char* file, const char* entry) noexcept : file_(file), entry_(entry) {}

  Interface& get() {
    Interface* const known = known_.load(std::memory_order_acquire);
    return known != nullptr ? *known : find();
  }

 private:
  Interface& find() {
    const ModuleFunction function = moduleFunction(file_, entry_);
    if (function.address != nullptr) return remember(*reinterpret_cast<Interface* (*)()>(function.address)());
    return function.mayComeLater ? missing() : remember(missing());
  }

  // What another thread has found first counts.
  Interface& remember(Interface& found) {
    Interface* known = nullptr;
    return known_.compare_exchange_strong(known, &found, std::memory_order_acq_rel) ? found : *known;
  }

  static Interface& missing() {
    static Missing& missing = *new Missing;
    return missing;
  }

  const char* file_;
  const char* entry_;
  std::atomic<Interface*> known_ = nullptr;
};

}  // namespace ZtFoundation
