#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/Text.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Values.h>

#include <iostream>

#include "Steps.h"

using namespace ZtFoundation;

void tour::resources() {
  const Ref<NSBundle> application = NSBundle::mainBundle();
  const Ref<NSObject> words = JxResourcesExtensions::propertyListWithResourceNamed(application, "Words.plist");
  const Ref<NSString> position = valueAt<NSString>(words, "Position");
  std::cout << JxReplacementExtensions::stringWithParameterArray(position, NSArray::of(3, 5)) << '\n';

  const Ref<QvPropertyList> store = QvPropertyList::initWithPath("fresh.plist");
  if (isEqual(store->values(), NSDictionary::dictionary())) {
    store->setValues(JxResourcesExtensions::mutablePropertyListWithResourceNamed(application, "Defaults.plist"));
  }
  std::cout << valueAt<NSString>(store->values(), "Window", "Title") << '\n';
  std::cout << valueAt<NSString>(store->values(), "Window", "Size", 0)->intValue() << '\n';
}

void tour::package() {
  const Ref<NSBundle> application = NSBundle::mainBundle();
  std::cout << application->bundleIdentifier() << '\n' << application->bundlePath() << '\n';
}
