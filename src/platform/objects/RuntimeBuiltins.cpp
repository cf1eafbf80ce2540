#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Number.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/String.h>

#include "platform/objects/RuntimeState.h"

namespace ZtFoundation::detail {

namespace {

// A constant, so that finding the library's own classes by name costs nothing at start-up.
constexpr RuntimeClass::Parent kBuiltins[] = {
    &NSObject::classObject,       &NSString::classObject,     &NSMutableString::classObject,     &NSNumber::classObject,
    &NSDate::classObject,         &NSData::classObject,       &NSMutableData::classObject,       &NSArray::classObject,
    &NSMutableArray::classObject, &NSDictionary::classObject, &NSMutableDictionary::classObject, &NSSet::classObject,
    &NSMutableSet::classObject,
};

}  // namespace

Class builtinClass(std::string_view name) {
  for (const auto& builtin : kBuiltins) {
    if (Class one = builtin(); one->name() == name) return one;
  }
  return nullptr;
}

}  // namespace ZtFoundation::detail
