#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/ValueTransformer.h>

#include <mutex>

#include "platform/services/ForkSafeLocks.h"

namespace ZtFoundation {

ZT_REGISTER_CLASS(NSValueTransformer,
                  ZT_CLASS_METHOD("transformedValueClass", &NSValueTransformer::transformedValueClass),
                  ZT_CLASS_METHOD("allowsReverseTransformation", &NSValueTransformer::allowsReverseTransformation),
                  ZT_METHOD("transformedValue:", &NSValueTransformer::transformedValue),
                  ZT_CLASS_METHOD("setValueTransformer:forName:", &NSValueTransformer::setValueTransformer_forName),
                  ZT_CLASS_METHOD("valueTransformerForName:", &NSValueTransformer::valueTransformerForName));

namespace {

std::mutex& lock() { return lockOf(ForkSafe::Transformers); }

// Never destroyed, so that names serve during exit too.
NSMutableDictionary& transformers() {
  static NSMutableDictionary& all = *NSMutableDictionary::dictionary().leak();
  return all;
}

}  // namespace

Class NSValueTransformer::transformedValueClass() { return NSObject::classObject(); }
bool NSValueTransformer::allowsReverseTransformation() { return false; }
Ref<NSObject> NSValueTransformer::transformedValue(const Ref<NSObject>& value) { return value; }

void NSValueTransformer::setValueTransformer_forName(const Ref<NSValueTransformer>& transformer,
                                                     const Ref<NSString>& name) {
  if (!name) return;
  Ref<NSObject> former;  // may be the host's, and is released without the lock
  const std::lock_guard guard(lock());
  former = transformers().objectForKey(name);
  if (transformer) {
    transformers().setObject_forKey(transformer, name);
  } else {
    transformers().removeObjectForKey(name);
  }
}

Ref<NSValueTransformer> NSValueTransformer::valueTransformerForName(const Ref<NSString>& name) {
  const std::lock_guard guard(lock());
  return as<NSValueTransformer>(transformers().objectForKey(name));
}

}  // namespace ZtFoundation
