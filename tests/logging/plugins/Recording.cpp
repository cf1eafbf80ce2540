// A manager that keeps the last message it received.

#include <ZtFoundation/Logging.h>

namespace {

using namespace ZtFoundation;

class RecordingManager : public ZtLoggingManager {
  ZT_OBJECT(RecordingManager, ZtLoggingManager)
 public:
  void configureWithPath_watch(const Ref<NSString>& path, bool watch) override {
    last_ = NSString::stringWithFormat("configured with %@, %s", path, watch ? "watched" : "not watched");
  }
  void appendToLogger_level_format_arguments(const Ref<NSObject>& logger, std::int32_t level,
                                             const Ref<NSString>& format, FormatArguments arguments) override {
    last_ = NSString::stringWithFormat("%@ %d %@", logger, level, formatText(format, arguments));
  }
  Ref<NSString> lastMessage() const { return last_; }

 private:
  Ref<NSString> last_;
};

ZT_REGISTER_CLASS(RecordingManager, ZT_METHOD("lastMessage", &RecordingManager::lastMessage),
                  ZT_METHOD("appendToLogger:level:format:arguments:",
                            &RecordingManager::appendToLogger_level_format_arguments));

}  // namespace
