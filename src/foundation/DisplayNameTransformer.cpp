#include <ZtFoundation/Files.h>
#include <ZtFoundation/Utilities.h>

namespace ZtFoundation {

ZT_REGISTER_CLASS(QvDisplayNameTransformer,
                  ZT_CLASS_METHOD("transformedValueClass", &QvDisplayNameTransformer::transformedValueClass),
                  ZT_CLASS_METHOD("allowsReverseTransformation",
                                  &QvDisplayNameTransformer::allowsReverseTransformation),
                  ZT_METHOD("transformedValue:", &QvDisplayNameTransformer::transformedValue));

Class QvDisplayNameTransformer::transformedValueClass() { return NSString::classObject(); }

bool QvDisplayNameTransformer::allowsReverseTransformation() { return false; }

Ref<NSObject> QvDisplayNameTransformer::transformedValue(const Ref<NSObject>& value) {
  const Ref<NSFileManager> files = NSFileManager::defaultManager();
  if (const Ref<NSString> path = as<NSString>(value)) {
    return send<Ref<NSString>>(files, ZT_SELECTOR("displayNameAtPath:"), path);
  }
  if (const Ref<NSURL> url = as<NSURL>(value)) return QvFoundationExtensions::displayNameAtURL(files, url);
  return NSString::string();
}

}  // namespace ZtFoundation
