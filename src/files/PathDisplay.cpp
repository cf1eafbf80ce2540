#include <ZtFoundation/Files.h>
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Log.h>
#include <ZtFoundation/platform/Runtime.h>

#include <algorithm>
#include <atomic>
#include <iterator>

#include "platform/services/FileCatalog.h"
#include "platform/services/Service.h"
#include "platform/services/Volumes.h"

namespace ZtFoundation {

namespace {

constexpr std::string_view kPlainSeparator = ":";

// Each `from` made `to`, in a new string.
Ref<NSMutableString> exchanged(const Ref<NSString>& self, std::string_view from, std::string_view to) {
  if (!self) return nullptr;
  Ref<NSMutableString> copy = self->mutableCopy();
  copy->replaceOccurrencesOfString_withString_options_range(from, to, NSLiteralSearch, {0, copy->length()});
  return copy;
}

bool exists(const Ref<NSString>& path) {
  FSRef item;
  return service<FileCatalog>().FSPathMakeRef(path, &item, nullptr) == noErr;
}

// The volume that comes first, then its name.
Ref<NSString> lookUpRootVolumeName() {
  Volumes& volumes = service<Volumes>();
  FSVolumeRefNum first = kFSInvalidVolumeRefNum;
  HFSUniStr255 name;
  if (volumes.FSGetVolumeInfo(kFSInvalidVolumeRefNum, 1, &first, kFSVolInfoNone, nullptr, nullptr, nullptr) != noErr ||
      volumes.FSGetVolumeInfo(first, 0, nullptr, kFSVolInfoNone, nullptr, &name, nullptr) != noErr) {
    return nullptr;
  }
  const NSUInteger length = std::min<NSUInteger>(name.length, std::size(name.unicode));
  return NSString::stringWithCharacters_length(name.unicode, length);
}

}  // namespace

namespace JxTalvoZtWdExensions {

Ref<NSString> displayPathWithSeparetor(const Ref<NSString>& self, const Ref<NSString>& separator) {
  if (!self) return nullptr;
  const auto components =
      send<Ref<NSArray>>(NSFileManager::defaultManager(), ZT_SELECTOR("componentsToDisplayForPath:"), self);
  if (!components || components->count() == 0) return nullptr;
  const bool isPlain = !separator || separator->length() == 0;
  return components->componentsJoinedByString(isPlain ? Ref<NSString>(kPlainSeparator) : separator);
}

Ref<NSMutableString> convertSlashToColon(const Ref<NSString>& self) { return exchanged(self, "/", ":"); }
Ref<NSMutableString> convertColonToSlash(const Ref<NSString>& self) { return exchanged(self, ":", "/"); }

}  // namespace JxTalvoZtWdExensions

namespace JxURLPathExtensions {

Ref<NSString> lastURLComponent(const Ref<NSURL>& self) { return self ? self->lastPathComponent() : nullptr; }

Ref<NSURL> fileURLByDeletingLastURLComponent(const Ref<NSURL>& self) {
  return self ? NSURL::fileURLWithPath(self->path()->stringByDeletingLastPathComponent()) : nullptr;
}

Ref<NSURL> fileURLByAppendingURLComponent(const Ref<NSURL>& self, const Ref<NSString>& component) {
  return self ? NSURL::fileURLWithPath(self->path()->stringByAppendingPathComponent(component)) : nullptr;
}

}  // namespace JxURLPathExtensions

namespace QvFoundationExtensions {

Ref<NSString> displayNameAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url) {
  if (!self) return nullptr;
  if (!url || !url->isFileURL()) {
    NSLog("IS NOT FILE URL: %@", url);
    return nullptr;
  }
  const Ref<NSString> path = url->path();
  return exists(path) ? send<Ref<NSString>>(self, ZT_SELECTOR("displayNameAtPath:"), path) : nullptr;
}

Ref<NSString> rootVolumeName(const Ref<NSFileManager>& self) {
  static std::atomic<NSString*> cached = nullptr;
  if (!self) return nullptr;
  if (NSString* const known = cached.load(std::memory_order_acquire)) return known;
  Ref<NSString> name = lookUpRootVolumeName();
  NSString* nobody = nullptr;
  // Whoever comes second has found the same name.
  if (cached.compare_exchange_strong(nobody, name.get(), std::memory_order_acq_rel)) {
    static_cast<void>(Ref<NSString>(name).leak());
  }
  return name;
}

}  // namespace QvFoundationExtensions

}  // namespace ZtFoundation
