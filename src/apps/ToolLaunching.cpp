#include <ZtFoundation/Applications.h>
#include <ZtFoundation/platform/Task.h>

#include "platform/services/LaunchServices.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

bool isPlainFile(const Ref<NSString>& path) {
  const Ref<NSURL> url = NSURL::fileURLWithPath(path);
  if (!url) return false;
  LSItemInfoRecord info;
  const OSStatus status = service<LaunchServices>().LSCopyItemInfoForURL(url, kLSRequestBasicFlagsOnly, &info);
  return status == 0 && (info.flags & kLSItemInfoIsPlainFile) != 0;
}

}  // namespace

bool ZtLSLaunchToolAtURLAndArguments(const Ref<NSURL>& tool, const Ref<NSArray>& arguments) {
  return tool && ZtLSLaunchToolAtPathAndArguments(tool->path(), arguments);
}

bool ZtLSLaunchToolAtPathAndArguments(const Ref<NSString>& tool, const Ref<NSArray>& arguments) {
  if (!isPlainFile(tool)) return false;
  return NSTask::launchedTaskWithLaunchPath_arguments(tool, arguments)->isRunning();
}

}  // namespace ZtFoundation
