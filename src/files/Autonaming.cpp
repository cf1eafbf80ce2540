#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Runtime.h>

#include "files/StatusOperations.h"
#include "platform/services/FolderListing.h"
#include "platform/services/Service.h"

namespace ZtFoundation::JxTalvoZtWdExensions {

namespace {

// A link to a folder may lead to another volume.
std::uint64_t freeSpaceAt(const Ref<NSString>& folder) {
  const Ref<NSString> real = service<FolderListing>().withoutLinks(folder);
  return JxVolumeCatalogInformation::volumeFreeSpace(real ? real : folder);
}

OSStatus statusFor(bool success) { return success ? noErr : paramErr; }

OSStatus createFile(const Ref<NSString>& self, const Ref<NSData>& contents, bool autoname) {
  const Ref<NSString> target = autoname ? unusedTalvoFilePath(self) : self;
  if (!target) return paramErr;
  const Ref<NSString> parent = target->stringByDeletingLastPathComponent();
  if (!JxFileExistence::directoryExists(parent)) return fnfErr;
  if (!JxFileAccessibility::isWritable(parent)) return afpAccessDenied;
  if (contents && freeSpaceAt(parent) < contents->length()) return dskFulErr;
  // A look at a path that the system could not answer makes it free as well, and another process may have taken it.
  if (autoname && JxFileExistence::exists(target)) return paramErr;
  return statusFor(send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("createFileAtPath:contents:attributes:"),
                              target, contents, Ref<NSDictionary>()));
}

OSStatus copyFile(const Ref<NSString>& self, const Ref<NSString>& destination, bool autoname) {
  if (!destination) return paramErr;
  if (!JxFileExistence::fileExists(self)) return fnfErr;
  if (!JxFileAccessibility::canUserAccessToRead(self)) return afpAccessDenied;
  const Ref<NSString> parent = destination->stringByDeletingLastPathComponent();
  if (!JxFileExistence::directoryExists(parent)) return fnfErr;
  if (!JxFileAccessibility::canUserAccessToWrite(parent)) return afpAccessDenied;
  if (!autoname && JxFileExistence::exists(destination)) return dupFNErr;
  const Ref<NSString> target = autoname ? unusedTalvoFilePath(destination) : destination;
  if (freeSpaceAt(parent) < JxFileCatalogInformation::filePhysicalSize(self)) return dskFulErr;
  return statusFor(send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("copyPath:toPath:handler:"), self, target,
                              Ref<NSObject>()));
}

}  // namespace

OSStatus createFileWithContents_autoname(const Ref<NSString>& self, const Ref<NSData>& contents, bool autoname) {
  return detail::statusOf([&] { return createFile(self, contents, autoname); });
}

OSStatus copyFileTo_autoname(const Ref<NSString>& self, const Ref<NSString>& destination, bool autoname) {
  return detail::statusOf([&] { return copyFile(self, destination, autoname); });
}

}  // namespace ZtFoundation::JxTalvoZtWdExensions
