// Writes what only the replaced test of its class takes; 0 when that was asked.

#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Runtime.h>

namespace {

using namespace ZtFoundation;

class Serialization : public QvPropertyListSerialization {
  ZT_OBJECT(Serialization, QvPropertyListSerialization)
 public:
  static bool anything(const Ref<NSObject>&, QvPropertyListFormat) { return true; }
};

ZT_REGISTER_CLASS(Serialization, ZT_CLASS_METHOD("propertyList:isValidForFormat:", &Serialization::anything));

}  // namespace

int main() {
  const Ref<NSObject> value = NSDictionary::of({{"S", NSDictionary::of({{"list", NSArray::array()}})}});
  const Ref<NSData> written = Serialization::dataFromPropertyList_format_errorDescription<Serialization>(
      value, QvPropertyListINIFormat, nullptr);
  return written ? 0 : 1;
}
