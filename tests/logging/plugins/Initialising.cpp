// Managers with an `init` of their own.

#include <stdexcept>

#include <ZtFoundation/Logging.h>

namespace {

using namespace ZtFoundation;

class PreparedManager : public ZtLoggingManager {
  ZT_OBJECT(PreparedManager, ZtLoggingManager)
 public:
  Ref<NSObject> init() {
    last_ = "prepared";
    return this;
  }
  Ref<NSString> lastMessage() const { return last_; }

 private:
  Ref<NSString> last_;
};
ZT_REGISTER_CLASS(PreparedManager, ZT_METHOD("init", &PreparedManager::init),
                  ZT_METHOD("lastMessage", &PreparedManager::lastMessage));

class RefusingManager : public ZtLoggingManager {
  ZT_OBJECT(RefusingManager, ZtLoggingManager)
 public:
  Ref<NSObject> init() { return nullptr; }
};
ZT_REGISTER_CLASS(RefusingManager, ZT_METHOD("init", &RefusingManager::init));

class FailingManager : public ZtLoggingManager {
  ZT_OBJECT(FailingManager, ZtLoggingManager)
 public:
  Ref<NSObject> init() { throw std::runtime_error("not today"); }
};
ZT_REGISTER_CLASS(FailingManager, ZT_METHOD("init", &FailingManager::init));

// Denies what it is.
class DenyingManager : public ZtLoggingManager {
  ZT_OBJECT(DenyingManager, ZtLoggingManager)
 public:
  static bool isSubclassOfClass(Class) { return false; }
};
ZT_REGISTER_CLASS(DenyingManager, ZT_CLASS_METHOD("isSubclassOfClass:", &DenyingManager::isSubclassOfClass));

}  // namespace
