#include <ZtFoundation/Applications.h>

#include "platform/services/Service.h"
#include "platform/services/Workspace.h"

namespace ZtFoundation {

namespace {

// None for a URL without a path.
Ref<NSString> pathOf(const Ref<NSURL>& url) {
  const Ref<NSString> path = url ? url->path() : nullptr;
  return path && path->length() > 0 ? path : nullptr;
}

}  // namespace

bool ZtLSLaunchApplicationAtURL(const Ref<NSURL>& application) {
  return ZtLSLaunchApplicationAtPath(pathOf(application));
}

bool ZtLSLaunchApplicationAtPath(const Ref<NSString>& application) {
  return application && service<Workspace>().launchApplication(application);
}

bool ZtLSOpenFileWithApplicationAtURL(const Ref<NSURL>& file, const Ref<NSURL>& application, bool deactivate) {
  return ZtLSOpenFileWithApplicationAtPath(pathOf(file), pathOf(application), deactivate);
}

bool ZtLSOpenFileWithApplicationAtPath(const Ref<NSString>& file, const Ref<NSString>& application, bool deactivate) {
  return file && application &&
         service<Workspace>().openFile_withApplication_andDeactivate(file, application, deactivate);
}

}  // namespace ZtFoundation
