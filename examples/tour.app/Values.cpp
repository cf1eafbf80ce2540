#include <ZtFoundation/PropertyLists.h>

#include <iostream>

#include "Steps.h"

using namespace ZtFoundation;

void tour::values() {
  const Ref<NSString> title = "Grüße aus Köln";
  std::cout << title->length() << " units, " << title->utf8().size() << " bytes of UTF-8\n";

  const Ref<NSMutableDictionary> window = NSMutableDictionary::of({
      {"Title", title},
      {"Size", NSArray::of(800, 600)},
      {"Zoom", 1.5},
      {"Visible", true},
  });
  window->setObject_forKey("Notes", "Title");
  for (const auto& [key, value] : *window) std::cout << key << " = " << value << '\n';

  const Ref<NSObject> zoom = window->objectForKey("Zoom");
  std::cout << (as<NSNumber>(zoom) ? "a number" : "something else") << '\n';
  std::cout << (as<NSString>(zoom) ? "a string" : "no string") << '\n';
}
