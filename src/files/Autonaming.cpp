#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation::JxTalvoZtWdExensions {

namespace {

std::uint64_t freeSpaceAt(const Ref<NSString>& folder) { return JxVolumeCatalogInformation::volumeFreeSpace(folder); }

OSStatus statusOf(bool success) { return success ? noErr : paramErr; }

}  // namespace

OSStatus createFileWithContents_autoname(const Ref<NSString>& self, const Ref<NSData>& contents, bool autoname) {
  const Ref<NSString> target = autoname ? unusedTalvoFilePath(self) : self;
  if (!target) return paramErr;
  const Ref<NSString> parent = target->stringByDeletingLastPathComponent();
  if (!JxFileExistence::directoryExists(parent)) return fnfErr;
  if (!JxFileAccessibility::isWritable(parent)) return afpAccessDenied;
  if (contents && freeSpaceAt(parent) < contents->length()) return dskFulErr;
  return statusOf(send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("createFileAtPath:contents:attributes:"),
                             target, contents, Ref<NSDictionary>()));
}

OSStatus copyFileTo_autoname(const Ref<NSString>& self, const Ref<NSString>& destination, bool autoname) {
  if (!destination) return paramErr;
  if (!JxFileExistence::fileExists(self)) return fnfErr;
  if (!JxFileAccessibility::canUserAccessToRead(self)) return afpAccessDenied;
  const Ref<NSString> parent = destination->stringByDeletingLastPathComponent();
  if (!JxFileExistence::directoryExists(parent)) return fnfErr;
  if (!JxFileAccessibility::canUserAccessToWrite(parent)) return afpAccessDenied;
  if (!autoname && JxFileExistence::exists(destination)) return dupFNErr;
  const Ref<NSString> target = autoname ? unusedTalvoFilePath(destination) : destination;
  if (freeSpaceAt(parent) < JxFileCatalogInformation::filePhysicalSize(self)) return dskFulErr;
  return statusOf(send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("copyPath:toPath:handler:"), self, target,
                             Ref<NSObject>()));
}

}  // namespace ZtFoundation::JxTalvoZtWdExensions
