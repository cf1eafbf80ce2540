#include "platform/services/LaunchServices.h"

#include "platform/linux/applications/ApplicationIndex.h"
#include "platform/linux/applications/ItemInformation.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"

namespace ZtFoundation {

namespace {

using Inform = OSStatus (*)(const std::string&, LSRequestedInfo, LSItemInfoFlags*);

OSStatus informationAt(const Ref<NSString>& path, Inform inform, LSRequestedInfo wanted, LSItemInfoRecord* info) {
  const std::optional<std::string> bytes = detail::systemPath(path);
  return bytes && info != nullptr ? inform(*bytes, wanted, &info->flags) : OSStatus{paramErr};
}

class LinuxLaunchServices final : public LaunchServices {
 public:
  OSStatus LSCopyItemInfoForURL(const Ref<NSURL>& url, LSRequestedInfo wanted, LSItemInfoRecord* info) override {
    const Ref<NSString> path = url && url->isFileURL() ? url->path() : nullptr;
    return informationAt(path, &detail::itemInformation, wanted, info);
  }

  OSStatus LSCopyItemInfoForRef(const FSRef* ref, LSRequestedInfo wanted, LSItemInfoRecord* info) override {
    if (ref == nullptr || ref->isEmpty()) return paramErr;
    const Ref<NSURL> url = service<FileCatalog>().CFURLCreateFromFSRef(ref);
    return url ? informationAt(url->path(), &detail::linkOrItemInformation, wanted, info) : OSStatus{fnfErr};
  }

  OSStatus LSFindApplicationForInfo(OSType creator, const Ref<NSString>& identifier, Ref<NSURL>* application) override {
    const std::string path = index_.find(creator, identifier ? identifier->fileSystemRepresentation() : std::string());
    if (path.empty()) return kLSApplicationNotFoundErr;
    if (application != nullptr) {
      *application = NSURL::fileURLWithPath(NSString::stringWithFileSystemRepresentation(path));
    }
    return noErr;
  }

 private:
  detail::ApplicationIndex index_;
};

}  // namespace

LaunchServices& LaunchServices::production() {
  static LaunchServices& services = *new LinuxLaunchServices;
  return services;
}

}  // namespace ZtFoundation
