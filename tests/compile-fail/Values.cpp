// What values refuse: to be changed where they are immutable, to be copied or made outside of a Ref, to hold or read
// what they cannot.
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Format.h>
#include <ZtFoundation/platform/PropertyListSerialization.h>
#include <ZtFoundation/platform/Set.h>

#include <vector>

using namespace ZtFoundation;

void cases(const Ref<NSString>& text, const Ref<NSArray>& array, const Ref<NSDictionary>& dictionary,
           const Ref<NSData>& data, const Ref<NSSet>& set) {
#if CASE == 0  // compiles
  array->mutableCopy()->addObject(text);
  dictionary->mutableCopy()->setObject_forKey(text, text);
  static_cast<void>(dictionary->get<int>("Port"));
#elif CASE == 1   // error: no member named .addObject
  array->addObject(text);
#elif CASE == 2   // error: no member named .setObject_forKey
  dictionary->setObject_forKey(text, text);
#elif CASE == 3   // error: no member named .appendString
  text->appendString(text);
#elif CASE == 4   // error: no member named .appendData
  data->appendData(data);
#elif CASE == 5   // error: no member named .addObject
  set->addObject(text);
#elif CASE == 6   // error: discards qualifiers | no viable overloaded '='
  for (auto& object : *array) object = text;
#elif CASE == 7   // error: discards qualifiers | no viable overloaded '='
  for (auto& entry : *dictionary) entry.value = text;
#elif CASE == 8   // error: discards qualifiers | no viable overloaded '='
  (*array)[0] = text;
#elif CASE == 9   // error: use of deleted function | call to (?:implicitly-)?deleted
  const NSArray wrong = *array;
#elif CASE == 10  // error: no matching function for call | no matching constructor
  const NSString wrong;
#elif CASE == 11  // error: private within this context | calling a private constructor
  static_cast<void>(make<NSMutableArray>());
#elif CASE == 12  // error: use of deleted function | call to (?:implicitly-)?deleted
  const NSPropertyListSerialization wrong;
#elif CASE == 13  // error: read as std::string, bool, an integer, a floating type or a class of objects
  static_cast<void>(dictionary->get<std::vector<int>>("Ports"));
#elif CASE == 14  // error: conversion from .*vector | no matching function for call | no matching conversion
  static_cast<void>(NSArray::of(std::vector<int>()));
#elif CASE == 15  // error: no matching function for call .*FormatArgument | no matching conversion .*FormatArgument
  static_cast<void>(NSString::stringWithFormat("%@", std::vector<int>()));
#endif
  static_cast<void>(text);
  static_cast<void>(array);
  static_cast<void>(dictionary);
  static_cast<void>(data);
  static_cast<void>(set);
}
