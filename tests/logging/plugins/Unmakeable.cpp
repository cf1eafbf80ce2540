// Managers that nobody can make an instance of.

#include <stdexcept>

#include <ZtFoundation/Logging.h>

namespace {

using namespace ZtFoundation;

class ThrowingManager : public ZtLoggingManager {
  ZT_OBJECT(ThrowingManager, ZtLoggingManager)
 public:
  ThrowingManager() { throw std::runtime_error("no manager today"); }
};
ZT_REGISTER_CLASS(ThrowingManager);

class DemandingManager : public ZtLoggingManager {
  ZT_OBJECT(DemandingManager, ZtLoggingManager)
 public:
  explicit DemandingManager(int) {}
};
ZT_REGISTER_CLASS(DemandingManager);

}  // namespace
