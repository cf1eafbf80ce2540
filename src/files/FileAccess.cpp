#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Log.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation {

namespace JxFileAccessibility {

namespace {

constexpr std::uint8_t kMayRead = 4;
constexpr std::uint8_t kMayWrite = 2;
constexpr std::uint8_t kMayExecute = 1;

bool ownerMay(const Ref<NSString>& path, std::uint8_t privilege) {
  std::uint8_t privileges = 0;
  return userPrivileges(path, &privileges) && (privileges & privilege) != 0;
}

}  // namespace

bool isReadable(const Ref<NSString>& self) {
  return self && send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("isReadableFileAtPath:"), self);
}
bool isWritable(const Ref<NSString>& self) {
  return self && send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("isWritableFileAtPath:"), self);
}
bool isExecutable(const Ref<NSString>& self) {
  return self && send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("isExecutableFileAtPath:"), self);
}
bool isDeletable(const Ref<NSString>& self) {
  return self && send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("isDeletableFileAtPath:"), self);
}

bool userPrivileges(const Ref<NSString>& self, std::uint8_t* privileges) {
  if (!self || privileges == nullptr) return false;
  const auto attributes = send<Ref<NSDictionary>>(NSFileManager::defaultManager(),
                                                  ZT_SELECTOR("fileAttributesAtPath:traverseLink:"), self, true);
  const auto mode = attributes ? attributes->get<unsigned>(NSFilePosixPermissions) : std::nullopt;
  if (!mode) return false;
  *privileges = static_cast<std::uint8_t>(*mode >> 6 & 7U);
  return true;
}

bool canUserAccessToRead(const Ref<NSString>& self) { return ownerMay(self, kMayRead); }
bool canUserAccessToWrite(const Ref<NSString>& self) { return ownerMay(self, kMayWrite); }
bool canUserAccessToExecute(const Ref<NSString>& self) { return ownerMay(self, kMayExecute); }

}  // namespace JxFileAccessibility

namespace QvFoundationExtensions {

namespace {

// None, and a line in the log, for what is no file URL.
Ref<NSString> pathOfFileURL(const Ref<NSURL>& url) {
  if (url && url->isFileURL()) return url->path();
  NSLog("IS NOT FILE URL: %@", url);
  return nullptr;
}

template <class Selector>
bool ask(const Ref<NSFileManager>& manager, const Selector& question, const Ref<NSURL>& url) {
  const Ref<NSString> path = manager ? pathOfFileURL(url) : nullptr;
  return path && send<bool>(manager, question, path);
}

}  // namespace

bool fileExistsAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url) {
  return ask(self, ZT_SELECTOR("fileExistsAtPath:"), url);
}

bool fileExistsAtURL_isDirectory(const Ref<NSFileManager>& self, const Ref<NSURL>& url, bool* isDirectory) {
  const Ref<NSString> path = self ? pathOfFileURL(url) : nullptr;
  return path && send<bool>(self, ZT_SELECTOR("fileExistsAtPath:isDirectory:"), path, isDirectory);
}

bool isReadableFileAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url) {
  return ask(self, ZT_SELECTOR("isReadableFileAtPath:"), url);
}

bool isWritableFileAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url) {
  return ask(self, ZT_SELECTOR("isWritableFileAtPath:"), url);
}

bool isExecutableFileAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url) {
  return ask(self, ZT_SELECTOR("isExecutableFileAtPath:"), url);
}

bool isDeletableFileAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url) {
  return ask(self, ZT_SELECTOR("isDeletableFileAtPath:"), url);
}

}  // namespace QvFoundationExtensions

}  // namespace ZtFoundation
