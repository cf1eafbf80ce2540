// A manager whose making takes memory.

#include <ZtFoundation/Logging.h>

namespace {

using namespace ZtFoundation;

class AllocatingManager : public ZtLoggingManager {
  ZT_OBJECT(AllocatingManager, ZtLoggingManager)
 private:
  Ref<NSString> text_ = "a text that is longer than what a string holds in itself";
};

ZT_REGISTER_CLASS(AllocatingManager);

}  // namespace
