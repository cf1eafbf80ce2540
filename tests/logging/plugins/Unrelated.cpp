// Its first class is no manager, its second is.

#include <ZtFoundation/Logging.h>

namespace {

using namespace ZtFoundation;

class UnrelatedThing : public NSObject {
  ZT_OBJECT(UnrelatedThing, NSObject)
};
ZT_REGISTER_CLASS(UnrelatedThing);

class SecondManager : public ZtLoggingManager {
  ZT_OBJECT(SecondManager, ZtLoggingManager)
};
ZT_REGISTER_CLASS(SecondManager);

}  // namespace
