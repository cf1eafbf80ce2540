#include <ZtFoundation/Logging.h>

#include <iostream>

#include "Steps.h"

using namespace ZtFoundation;

namespace {

class ShortLines : public ZtLoggingManager {
  ZT_OBJECT(ShortLines, ZtLoggingManager)
 public:
  void appendToLogger_level_format_arguments(const Ref<NSObject>& logger, std::int32_t level,
                                             const Ref<NSString>& format, FormatArguments arguments) override {
    if (level > ZtLogLevelInfo) return;
    std::cout << level << ' ' << logger << ": " << formatText(format, arguments) << std::endl;
  }
};

ZT_REGISTER_CLASS(ShortLines, ZT_METHOD("appendToLogger:level:format:arguments:",
                                        &ShortLines::appendToLogger_level_format_arguments));

}  // namespace

void tour::logging() {
  YbLog("notes", ZtLogLevelInfo, "nobody hears this");

  ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
  YbLog("notes", ZtLogLevelWarn, "%d of %d notes are empty", 2, 7);

  ZtLoggingManager::setSharedLoggingManager(make<ShortLines>());
  YbLog("notes", ZtLogLevelWarn, "%@ has no title", Ref<NSString>("todo.txt"));
  YbLog("notes", ZtLogLevelDebug, "not shown by this manager");
  YbLog("notes", ZtLogLevelError, "asked for %d", "a number");
  ZtLog("without level and manager");
}
