/// \file ValueTransformer.h
/// `NSValueTransformer`: turns one value into another, for showing it. User-interface code knows transformers by names
/// that hosts give them.
/// \code
///   NSValueTransformer::setValueTransformer_forName(make<QvDisplayNameTransformer>(), "DisplayName");
///   NSValueTransformer::valueTransformerForName("DisplayName")->transformedValue("/tmp/a.txt");  // "a.txt"
/// \endcode
/// Threads: names may be set and asked for by any thread.
#pragma once

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

class ZT_EXPORT NSValueTransformer : public NSObject {
  ZT_OBJECT(NSValueTransformer, NSObject)
 public:
  /// The class of what `transformedValue` answers: here the root class. A derived class has a class method of its own.
  static Class transformedValueClass();
  /// True for a transformer that works both ways: here false. A derived class may have a class method of its own.
  static bool allowsReverseTransformation();

  /// What stands for `value`, which may be none: here `value` itself.
  virtual Ref<NSObject> transformedValue(const Ref<NSObject>& value);

  /// Gives `transformer` a name, in place of the one that has it; none takes the name away. Without a name nothing
  /// happens.
  static void setValueTransformer_forName(const Ref<NSValueTransformer>& transformer, const Ref<NSString>& name);
  /// None when no transformer has the name.
  static Ref<NSValueTransformer> valueTransformerForName(const Ref<NSString>& name);
};

}  // namespace ZtFoundation
