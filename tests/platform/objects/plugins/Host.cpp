// A program that tells what it takes for its bundle: Host, or Host remove to be deleted before it looks. Host is PATH
// tells whether the bundle there, asked for first, is its own.

#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Runtime.h>
#include <unistd.h>

#include <iostream>

namespace {

using namespace ZtFoundation;

class Resident : public NSObject {
  ZT_OBJECT(Resident, NSObject)
};

ZT_REGISTER_CLASS(Resident);

}  // namespace

int main(int count, char** arguments) {
  if (count == 3) {
    const Ref<NSBundle> asked = NSBundle::bundleWithPath(arguments[2]);
    std::cout << (asked == NSBundle::mainBundle()) << "\n";
    return 0;
  }
  if (count > 1 && ::unlink(arguments[0]) != 0) return 1;
  const Ref<NSBundle> bundle = NSBundle::mainBundle();
  std::cout << bundle->bundlePath() << "\n"
            << bundle->bundleIdentifier() << "\n"
            << bundle->executablePath() << "\n"
            << NSStringFromClass(bundle->principalClass()) << "\n"
            << (bundle == NSBundle::bundleForClass(Resident::classObject())) << "\n"
            << (bundle == NSBundle::bundleForClass(NSObject::classObject())) << "\n";
}
