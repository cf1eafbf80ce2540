#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Runtime.h>
#include <ZtFoundation/platform/ValueTransformer.h>

#include <mutex>

namespace ZtFoundation {

ZT_REGISTER_CLASS(NSValueTransformer,
                  ZT_CLASS_METHOD("transformedValueClass", &NSValueTransformer::transformedValueClass),
                  ZT_CLASS_METHOD("allowsReverseTransformation", &NSValueTransformer::allowsReverseTransformation),
                  ZT_METHOD("transformedValue:", &NSValueTransformer::transformedValue),
                  ZT_CLASS_METHOD("setValueTransformer:forName:", &NSValueTransformer::setValueTransformer_forName),
                  ZT_CLASS_METHOD("valueTransformerForName:", &NSValueTransformer::valueTransformerForName));

namespace {

// Never destroyed, so that names serve during exit too.
struct Names {
  std::mutex mutex;
  Ref<NSMutableDictionary> transformers = NSMutableDictionary::dictionary();
};

Names& names() {
  static Names& all = *new Names;
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
  const std::lock_guard guard(names().mutex);
  former = names().transformers->objectForKey(name);
  if (transformer) {
    names().transformers->setObject_forKey(transformer, name);
  } else {
    names().transformers->removeObjectForKey(name);
  }
}

Ref<NSValueTransformer> NSValueTransformer::valueTransformerForName(const Ref<NSString>& name) {
  const std::lock_guard guard(names().mutex);
  return as<NSValueTransformer>(names().transformers->objectForKey(name));
}

}  // namespace ZtFoundation
