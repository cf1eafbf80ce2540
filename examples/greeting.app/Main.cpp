// An application package with resources in several languages: greeting [NAME] greets in the user's.
//
//     LC_ALL=de_DE.UTF-8 greeting.app/Contents/Linux/greeting Anna            Guten Tag, Anna!
//     LC_ALL=de_DE.UTF-8 LANGUAGE=pt_BR greeting.app/Contents/Linux/greeting  Olá, quem quer que seja!
#include <ZtFoundation/PropertyLists.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Format.h>

#include <iostream>

using namespace ZtFoundation;

int main(int count, char** arguments) {
  const Ref<NSObject> resource =
      JxResourcesExtensions::propertyListWithResourceNamed(NSBundle::mainBundle(), "Words.plist");
  const Ref<NSDictionary> words = as<NSDictionary>(resource);
  if (!words) {
    std::cerr << "greeting: speechless outside of its package\n";
    return 1;
  }
  const Ref<NSString> name = count > 1 ? Ref<NSString>(arguments[1]) : as<NSString>(words->objectForKey("Stranger"));
  std::cout << NSString::stringWithFormat(as<NSString>(words->objectForKey("Hello")), name) << "\n";
}
