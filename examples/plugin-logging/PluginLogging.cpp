// Logs through a manager from a plug-in: plugin-logging BUNDLE CONFIGURATION MESSAGE...
//
//     echo '{ File = "app.jsonl"; Level = 6; }' >logging.plist
//     plugin-logging plugin-logging.bundle logging.plist "first message" "second message"
#include <ZtFoundation/Logging.h>

#include <iostream>

using namespace ZtFoundation;

int main(int count, char** arguments) {
  if (count < 3) {
    std::cerr << "usage: plugin-logging BUNDLE CONFIGURATION MESSAGE...\n";
    return 2;
  }
  const Ref<ZtLoggingManager> manager = ZtLoggingManager::loggingManagerWithBundlePath(arguments[1]);
  if (!manager) {
    std::cerr << "there is no logging manager in " << arguments[1] << "\n";
    return 1;
  }
  manager->configureWithPath_watch(arguments[2], true);
  ZtLoggingManager::setSharedLoggingManager(manager);
  for (int i = 3; i < count; ++i) YbLog("plugin-logging", ZtLogLevelInfo, "%s", arguments[i]);
}
