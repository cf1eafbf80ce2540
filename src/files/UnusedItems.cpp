#include <ZtFoundation/Files.h>
#include <ZtFoundation/Text.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Format.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation::JxTalvoZtWdExensions {

namespace {

// Tries free names until `take` has taken one. The same name offered again is one that looks free and cannot be taken.
template <class Take>
Ref<NSString> firstTaken(const Ref<NSString>& wanted, bool isFolder, Take take) {
  Ref<NSString> last;
  for (;;) {
    Ref<NSString> path = unusedFinderPathForDirectory(wanted, isFolder);
    if (!path || isEqual(path, last)) return nullptr;
    if (take(path)) return path;
    last = std::move(path);
  }
}

Ref<NSString> hiddenPathBeside(const Ref<NSString>& path) {
  const Ref<NSString> identifier = ZtIdentifierString();
  if (!identifier) return nullptr;
  const Ref<NSString> name = NSString::stringWithFormat(".%@", identifier);
  return path->stringByDeletingLastPathComponent()->stringByAppendingPathComponent(name);
}

void remove(const Ref<NSString>& path) {
  send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("removeFileAtPath:handler:"), path, Ref<NSObject>());
}

}  // namespace

// The file is whole before it gets its name, and a move replaces nothing.
Ref<NSString> createUnusedFinderFile(const Ref<NSString>& self, const Ref<NSData>& contents) {
  const Ref<NSString> hidden = self ? hiddenPathBeside(self) : nullptr;
  if (!hidden) return nullptr;
  const Ref<NSFileManager> files = NSFileManager::defaultManager();
  const bool isWritten =
      send<bool>(files, ZT_SELECTOR("createFileAtPath:contents:attributes:"), hidden, contents, Ref<NSDictionary>());
  const auto take = [&](const Ref<NSString>& path) {
    return send<bool>(files, ZT_SELECTOR("movePath:toPath:handler:"), hidden, path, Ref<NSObject>());
  };
  Ref<NSString> path = isWritten ? firstTaken(self, false, take) : nullptr;
  if (!path) remove(hidden);
  return path;
}

Ref<NSString> createUnusedFinderFolder(const Ref<NSString>& self) {
  return firstTaken(self, true, [](const Ref<NSString>& path) {
    return send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("createDirectoryAtPath:attributes:"), path,
                      Ref<NSDictionary>());
  });
}

}  // namespace ZtFoundation::JxTalvoZtWdExensions
