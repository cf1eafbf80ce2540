#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Runtime.h>

#include "files/StatusOperations.h"
#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"

namespace ZtFoundation::JxFileOperation {

namespace {

OSErr makeReference(const Ref<NSString>& path, FSRef* reference) {
  return service<FileCatalog>().FSPathMakeRef(path, reference, nullptr);
}

bool canBeReferred(const Ref<NSString>& path) {
  FSRef reference;
  return makeReference(path, &reference) == noErr;
}

OSStatus makeDirectories(const Ref<NSString>& self, bool recursively) {
  if (!self) return paramErr;
  OSStatus status = dupFNErr;
  Ref<NSString> reached;
  const Ref<NSArray> components = self->pathComponents();
  for (const Ref<NSObject>& component : *components) {
    const Ref<NSString> name = as<NSString>(component);
    reached = reached ? reached->stringByAppendingPathComponent(name) : name;
    FSRef parent;
    if (canBeReferred(reached)) continue;
    if (makeReference(reached->stringByDeletingLastPathComponent(), &parent) != noErr) continue;
    if (!recursively && !isEqual(reached, self)) return status;
    status = service<FileCatalog>().FSCreateDirectoryUnicode(&parent, reached->lastPathComponent());
    if (status != noErr) return status;
  }
  return status;
}

OSStatus rename(const Ref<NSString>& self, const Ref<NSString>& newName) {
  FSRef reference;
  if (!newName || makeReference(self, &reference) != noErr || newName->length() == 0) return paramErr;
  return service<FileCatalog>().FSRenameUnicode(&reference, newName);
}

OSStatus removeForcefully(const Ref<NSString>& self, bool unlocking) {
  if (!JxFileExistence::exists(self)) return paramErr;
  if (!JxFileAccessibility::canUserAccessToWrite(self)) return afpAccessDenied;
  if (!JxFileAccessibility::canUserAccessToWrite(self->stringByDeletingLastPathComponent())) return afpAccessDenied;
  if (unlocking && JxFileCatalogInformation::isLockedByFinder(self))
    JxFileCatalogInformation::setFinderLock(self, false);
  const bool isRemoved =
      send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("removeFileAtPath:handler:"), self, Ref<NSObject>());
  return isRemoved ? noErr : paramErr;
}

}  // namespace

OSStatus createFileWithContents(const Ref<NSString>& self, const Ref<NSData>& contents) {
  return JxTalvoZtWdExensions::createFileWithContents_autoname(self, contents, false);
}

OSStatus copyFileTo(const Ref<NSString>& self, const Ref<NSString>& destination) {
  return JxTalvoZtWdExensions::copyFileTo_autoname(self, destination, false);
}

OSStatus createDirectoryWithRecursively(const Ref<NSString>& self, bool recursively) {
  return detail::statusOf([&] { return makeDirectories(self, recursively); });
}

OSStatus renameFileTo(const Ref<NSString>& self, const Ref<NSString>& newName) {
  return detail::statusOf([&] { return rename(self, newName); });
}

OSStatus removeFileForcefully(const Ref<NSString>& self, bool unlocking) {
  return detail::statusOf([&] { return removeForcefully(self, unlocking); });
}

}  // namespace ZtFoundation::JxFileOperation
