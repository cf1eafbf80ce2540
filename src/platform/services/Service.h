/// \file Service.h
/// How the logic reaches the machine: through small abstract classes, one object of each at a time.
///
/// An interface declares `static Interface& production();`, which src/platform/linux (or a module) defines. A test
/// installs a stand-in for the length of a scope:
/// \code
///   FakeGestalt fake;
///   ScopedService<Gestalt> scope(fake);
/// \endcode
/// Installing is for one thread; asking is safe from any.
#pragma once

#include <atomic>

namespace ZtFoundation {

namespace detail {

template <class Interface>
inline std::atomic<Interface*> installedService = nullptr;

}  // namespace detail

/// The stand-in that is installed, else the production object.
template <class Interface>
Interface& service() {
  Interface* installed = detail::installedService<Interface>.load(std::memory_order_acquire);
  return installed != nullptr ? *installed : Interface::production();
}

/// Installs `standIn` as long as it lives, then puts back what was there.
template <class Interface>
class ScopedService {
 public:
  explicit ScopedService(Interface& standIn)
      : previous_(detail::installedService<Interface>.exchange(&standIn, std::memory_order_acq_rel)) {}
  ScopedService(const ScopedService&) = delete;
  ScopedService& operator=(const ScopedService&) = delete;
  ~ScopedService() { detail::installedService<Interface>.store(previous_, std::memory_order_release); }

 private:
  Interface* previous_;
};

}  // namespace ZtFoundation
