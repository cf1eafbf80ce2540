// What a Ref refuses.
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/String.h>

using namespace ZtFoundation;

void cases(const Ref<NSString>& text, const Ref<NSArray>& array, NSString* object) {
#if CASE == 0  // compiles
  const Ref<NSObject> any = text;
  if (any == text && any != nullptr && array) static_cast<void>(Ref<NSString>(object));
#elif CASE == 1   // error: conversion from .*Ref<.*NSString> | no viable conversion from .*Ref<.*NSString>
  const Ref<NSArray> wrong = text;
#elif CASE == 2   // error: conversion from .*Ref<.*NSString> | no viable conversion from .*Ref<.*NSString>
  const Ref<NSMutableString> wrong = text;
#elif CASE == 3   // error: conversion from .*Ref<.*NSObject> | no viable conversion from .*Ref<.*NSObject>
  const Ref<NSString> wrong = Ref<NSObject>(text);
#elif CASE == 4   // error: conversion from .int. | no viable conversion from .int.
  const Ref<NSString> wrong = 42;
#elif CASE == 5   // error: conversion from .const char | no viable conversion from .const char
  const Ref<NSArray> wrong = "text";
#elif CASE == 6   // error: conversion from .int. | no viable conversion from .int.
  const Ref<NSNumber> wrong = 42;
#elif CASE == 7   // error: no match for .operator== | invalid operands to binary expression
  if (text == array) return;
#elif CASE == 8   // error: cannot convert .*Ref<.* to .const int. | no viable conversion from .*Ref<.* to .const int.
  const int wrong = text;
#elif CASE == 9   // error: cannot convert .*Ref<.* to .const bool. | no viable conversion from .*Ref<.* to .const bool.
  const bool wrong = text;
#elif CASE == 10  // error: cannot convert .*Ref<.* to .*NSString | no viable conversion from .*Ref<.* to .*NSString
  NSString* const wrong = text;
#elif CASE == 11  // error: ignoring return value
  Ref<NSString>(object).leak();
#endif
  static_cast<void>(text);
  static_cast<void>(array);
  static_cast<void>(object);
}
