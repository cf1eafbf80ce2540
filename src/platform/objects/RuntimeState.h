/// \file RuntimeState.h
/// Everything the run-time classes share: names, method tables, caches, and the lock over them.
#pragma once

#include <ZtFoundation/platform/Runtime.h>

#include <set>
#include <string>
#include <unordered_map>

namespace ZtFoundation {

struct Selector {
  std::string name;
};

struct MethodEntry {
  SEL name;
  const char* types;
  IMP implementation;
};

namespace detail {

struct MethodTable {
  std::unordered_map<SEL, MethodEntry> entries;
};

/// What an implementation takes, whatever entry it is put in.
struct ImplementationTypes {
  const char* encoding;
  Class receiver;  // null for any
};

/// One object, never destroyed, so that classes work while static objects of any program are made and destroyed. Public
/// operations take the lock, which no child process finds taken.
class Runtime {
 public:
  static Runtime& shared();

  SEL intern(std::string_view name);

  void registerClass(Class one) noexcept;
  Class classNamed(std::string_view name);
  Class makeSubclass(Class superclass, std::string_view name);
  std::vector<Class> registeredClasses();

  Method lookUp(Class one, SEL selector);
  bool addMethod(Class one, SEL selector, IMP implementation, const char* types);
  IMP implementationOf(Method method);
  IMP setImplementation(Method method, IMP implementation);
  bool responds(Class one, SEL selector);

  const Binding* bind(Class one, SEL selector);
  void flush(Class one);

  void know(IMP implementation, ImplementationTypes types);
  /// Null when unknown.
  const ImplementationTypes* typesOf(IMP implementation);

 private:
  struct BindingOrder {
    bool operator()(const Binding& a, const Binding& b) const noexcept;
  };

  SEL findSelector(std::string_view name);
  Class findClass(std::string_view name);
  void fileRegisteredClasses();
  MethodTable& tableOf(Class one);
  Method findMethod(Class one, SEL selector);
  Binding makeBinding(Class one, const MethodEntry& entry) const;
  void remember(Class one, const Binding* binding);
  MethodCache* cacheWithRoom(Class one);
  void flushCaches(Class one);
  const char* keep(const char* types);

  std::unordered_map<std::string_view, SEL> selectors_;
  std::unordered_map<std::string_view, Class> classes_;
  Class registeredFirst_ = nullptr;  // a list through the classes
  Class registeredLast_ = nullptr;
  Class filedLast_ = nullptr;  // up to which registered class classes_ knows them
  std::vector<Class> cached_;
  std::unordered_map<IMP, ImplementationTypes> implementations_;
  std::set<Binding, BindingOrder> bindings_;  // kept for readers without the lock, so each is made once
  std::set<std::string, std::less<>> types_;
};

/// The class of the library with that name, else null.
Class builtinClass(std::string_view name);

}  // namespace detail

}  // namespace ZtFoundation
