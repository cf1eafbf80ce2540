// A host that links the library and has not called anything yet but one trifle, so that the linker keeps it.
#include <ZtFoundation/platform/String.h>

int main(int argc, char**) {
  using namespace ZtFoundation;
  return argc > 1 ? static_cast<int>(Ref<NSString>("x")->length()) : 0;
}
