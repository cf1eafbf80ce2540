// Code for a plug-in that asks for its own bundle while it is loaded.

#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/Runtime.h>

namespace {

using namespace ZtFoundation;

class Curious : public NSObject {
  ZT_OBJECT(Curious, NSObject)
};

ZT_REGISTER_CLASS(Curious);

const Ref<NSBundle> own = NSBundle::bundleForClass(Curious::classObject());

}  // namespace
