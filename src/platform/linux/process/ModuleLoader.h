/// \file ModuleLoader.h
/// Opens the parts of the library that live in shared objects of their own.
#pragma once

namespace ZtFoundation {

/// The function `entry` of the module `file` ("libZtFoundationUnicode.so"), which lies in the folder that this library
/// was loaded from. Null when there is no such module or function; std::bad_alloc when there is no memory for it now.
/// The module stays loaded.
void* moduleFunction(const char* file, const char* entry);

/// The service that the function `entry` of the module hands out; without such a module a `Missing`, which is never
/// destroyed.
template <class Interface, class Missing>
Interface& serviceInModule(const char* file, const char* entry) {
  void* const function = moduleFunction(file, entry);
  if (function != nullptr) return *reinterpret_cast<Interface* (*)()>(function)();
  static Missing& missing = *new Missing;
  return missing;
}

}  // namespace ZtFoundation
