// Code for a plug-in: one class.

#include <ZtFoundation/platform/Runtime.h>

namespace {

using namespace ZtFoundation;

class Guest : public NSObject {
  ZT_OBJECT(Guest, NSObject)
};

ZT_REGISTER_CLASS(Guest);

}  // namespace
