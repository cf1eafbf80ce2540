#include <ZtFoundation/Logging.h>
#include <ZtFoundation/platform/Bundle.h>
#include <ZtFoundation/platform/FileManager.h>

namespace ZtFoundation {

namespace {

void appendMessage(const Ref<ZtLoggingManager>& self, const Ref<NSObject>& logger, std::int32_t level,
                   const Ref<NSString>& message) {
  self->appendToLogger_level_message(logger, level, message);
}

}  // namespace

ZT_IMPLEMENT_CLASS(ZtLoggingManager, ZT_METHOD("configureWithPath:watch:", &ZtLoggingManager::configureWithPath_watch),
                   ZT_METHOD("appendToLogger:level:message:", &appendMessage),
                   ZT_METHOD("appendToLogger:level:format:arguments:",
                             &ZtLoggingManager::appendToLogger_level_format_arguments),
                   ZT_CLASS_METHOD("sharedLoggingManager", &ZtLoggingManager::sharedLoggingManager),
                   ZT_CLASS_METHOD("setSharedLoggingManager:", &ZtLoggingManager::setSharedLoggingManager),
                   ZT_CLASS_METHOD("loggingManagerWithBundlePath:", &ZtLoggingManager::loggingManagerWithBundlePath));

namespace {

/// What the lines of a level begin with; empty for silent levels.
std::string_view token(std::int32_t level) {
  static constexpr std::array<std::string_view, 8> kTokens{"FATAL", "", "", "ERROR", "WARN ", "", "INFO ", "DEBUG"};
  const auto number = static_cast<std::uint32_t>(level);
  return number < kTokens.size() ? kTokens[number] : std::string_view();
}

[[gnu::tls_model("initial-exec")]] constinit thread_local int nesting = 0;

/// One message on its way to a manager, on this thread. What managers and descriptions log meanwhile nests; without a
/// limit a manager that always logs would never end.
class MessageInProgress {
 public:
  MessageInProgress() noexcept : depth_(nesting) { ++depth_; }
  MessageInProgress(const MessageInProgress&) = delete;
  MessageInProgress& operator=(const MessageInProgress&) = delete;
  ~MessageInProgress() { --depth_; }

  bool isTooDeep() const noexcept { return depth_ > 8; }

 private:
  int& depth_;
};

/// A new instance, none when its constructor or its `init` throws.
Ref<NSObject> instanceOf(Class one) noexcept {
  try {
    const Ref<NSObject> instance = send<Ref<NSObject>>(one, ZT_SELECTOR("alloc"));
    return send<Ref<NSObject>>(instance, ZT_SELECTOR("init"));
  } catch (...) {
    return nullptr;
  }
}

}  // namespace

void ZtLoggingManager::configureWithPath_watch(const Ref<NSString>&, bool) {}

void ZtLoggingManager::appendToLogger_level_format_arguments(const Ref<NSObject>& logger, std::int32_t level,
                                                             const Ref<NSString>& format, FormatArguments arguments) {
  detail::logMessage(token(level), logger, format, arguments);
}

void detail::appendToManager(ZtLoggingManager* manager, const Ref<NSObject>& logger, std::int32_t level,
                             const Ref<NSString>& format, FormatArguments arguments) {
  const MessageInProgress message;
  if (message.isTooDeep()) return;
  send(manager, ZT_SELECTOR("appendToLogger:level:format:arguments:"), logger, level, format, arguments);
}

void detail::appendToSharedManager(const Ref<NSObject>& logger, std::int32_t level, const Ref<NSString>& format,
                                   FormatArguments arguments) {
  const Ref<ZtLoggingManager> manager = ZtLoggingManager::sharedLoggingManager();
  if (manager) appendToManager(manager.get(), logger, level, format, arguments);
}

Ref<ZtLoggingManager> ZtLoggingManager::loggingManagerWithBundlePath(const Ref<NSString>& path) {
  const Ref<NSFileManager> files = NSFileManager::defaultManager();
  if (!path || !send<bool>(files, ZT_SELECTOR("fileExistsAtPath:"), path)) return nullptr;
  const Ref<NSBundle> bundle = NSBundle::bundleWithPath(path);
  if (!bundle || !bundle->load()) return nullptr;
  Class principal = bundle->principalClass();
  if (principal == nullptr || !send<bool>(principal, ZT_SELECTOR("isSubclassOfClass:"), classObject())) return nullptr;
  return as<ZtLoggingManager>(instanceOf(principal));
}

}  // namespace ZtFoundation
