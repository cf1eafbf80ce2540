// The program that DebuggerPrinters.py stops at the last line, to see how the debugger shows its values.
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/Set.h>
#include <ZtFoundation/platform/URL.h>

using namespace ZtFoundation;

namespace {

class Camera : public NSObject {};

Ref<NSMutableString> grownString() {
  Ref<NSMutableString> text = NSMutableString::stringWithString("abc");
  text->appendString("é");
  return text;
}

Ref<NSMutableDictionary> changedDictionary() {
  Ref<NSMutableDictionary> dictionary = NSMutableDictionary::of({{"Name", "Alice"}, {"Gone", 1}, {"Age", 42}});
  dictionary->removeObjectForKey("Gone");
  dictionary->setObject_forKey(NSArray::of(800, 600), "Size");
  return dictionary;
}

Ref<NSMutableDictionary> indexedDictionary() {
  Ref<NSMutableDictionary> dictionary = NSMutableDictionary::dictionary();
  for (int number = 0; number < 20; ++number) dictionary->setObject_forKey(number * number, number);
  return dictionary;
}

void stopHere() {}

}  // namespace

int main() {
  const Ref<NSString> none;
  const Ref<NSString> empty = "";
  const Ref<NSString> ascii = "say \"hi\"\\\n";
  const Ref<NSString> narrow = "Gr\u00FC\u00DFe";
  const Ref<NSString> wide = u"\u6D41\u308C \U0001F600 \xD800";
  const Ref<NSMutableString> grown = grownString();
  const Ref<NSMutableString> widened = NSMutableString::stringWithString("a\u6D41");
  const Ref<NSObject> text = narrow;
  const Ref<NSObject> negative = -42;
  const Ref<NSObject> largest = 18446744073709551615U;
  const Ref<NSObject> real = 1.0;
  const Ref<NSNumber> quarter = NSNumber::numberWithFloat(0.25F);
  const Ref<NSObject> yes = true;
  const Ref<NSObject> no = false;
  const Ref<NSDate> date = NSDate::dateWithTimeIntervalSince1970(896000000.5);
  const Ref<NSDate> farDate = NSDate::dateWithTimeIntervalSinceReferenceDate(1e15);
  const Ref<NSData> data = NSData::dataWithBytes("\x89PNG");
  const Ref<NSMutableData> zeros = NSMutableData::dataWithLength(100);
  const Ref<NSURL> url = NSURL::fileURLWithPath("/tmp/a b");
  const Ref<NSArray> array = NSArray::of("a", 2, true, NSArray::of());
  const Ref<NSMutableArray> list = NSMutableArray::of(Ref<NSObject>(narrow));
  const Ref<NSMutableDictionary> changed = changedDictionary();
  const Ref<NSMutableDictionary> indexed = indexedDictionary();
  const Ref<NSSet> set = NSSet::setWithObjects({"x", "y"});
  const Ref<NSObject> camera = make<Camera>();
  const NSString* const pointer = narrow.get();
  const NSObject* const nowhere = nullptr;
  const NSArray& reference = *array;
  stopHere();
  return pointer != nowhere && reference.count() == array->count() ? 0 : 1;
}
