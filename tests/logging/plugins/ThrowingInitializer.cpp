// Its static initialisation throws, after a class was registered.

#include <stdexcept>

#include <ZtFoundation/Logging.h>

namespace {

using namespace ZtFoundation;

class HalfLoadedManager : public ZtLoggingManager {
  ZT_OBJECT(HalfLoadedManager, ZtLoggingManager)
};
ZT_REGISTER_CLASS(HalfLoadedManager);

struct Thrower {
  Thrower() { throw std::runtime_error("cannot start"); }
};
const Thrower thrower;

}  // namespace
