#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Values.h>

#include <iostream>

#include "Steps.h"

using namespace ZtFoundation;

void tour::failToSave() {
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath("settings/notes.plist");
  const Ref<NSMutableDictionary> window = valueAt<NSMutableDictionary>(store->values(), "Window");
  window->setObject_forKey("a bell: \a", "Title");
  if (!store->saveChanges()) std::cout << "not saved" << std::endl;

  Ref<NSString> reason;
  if (!QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(store->values(), store->format(),
                                                                                 &reason)) {
    std::cout << reason << std::endl;
  }

  const Ref<QvPropertyList> later = QvPropertyList::initWithPath("settings/notes.plist");
  std::cout << "the file still says " << valueAt<NSString>(later->values(), "Window", "Title") << std::endl;

  const Ref<QvPropertyList> nowhere = QvPropertyList::initWithPath("settings/notes.plist/more/notes.plist");
  if (!nowhere->saveChanges()) std::cout << "there is a file where the folder would be" << std::endl;
}

void tour::readBroken() {
  const Ref<NSData> bytes =
      NSData::dataWithBytes("<plist>\n<dict>\n\t<key>Size</key>\n\t<integer>8oo</integer>\n</dict></plist>\n");
  Ref<NSString> reason;
  NSUInteger format = 0;
  const Ref<NSObject> settings =
      NSPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(
          bytes, NSPropertyListImmutable, &format, &reason);
  if (!settings) std::cout << reason << std::endl;

  bytes->writeToFile_atomically("broken.plist", true);
  const Ref<QvPropertyList> store = QvPropertyList::initWithPath("broken.plist");
  std::cout << store->readError() << std::endl;
  std::cout << store->values() << std::endl;
}
