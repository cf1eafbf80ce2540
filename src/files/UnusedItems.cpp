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

// Removes the file there when it goes, unless that has got its name; where that cannot be done for want of memory, the file stays.
class UnnamedFile {
 public:
  explicit UnnamedFile(const Ref<NSString>& path) : path_(path) {}
  UnnamedFile(const UnnamedFile&) = delete;
  UnnamedFile& operator=(const UnnamedFile&) = delete;
  ~UnnamedFile() {
    try {
      if (!isNamed_) remove();
    } catch (...) {
    }
  }

  bool write(const Ref<NSData>& contents) const {
    return send<bool>(files_, ZT_SELECTOR("createFileAtPath:contents:attributes:"), path_, contents,
                      Ref<NSDictionary>());
  }
  bool name(const Ref<NSString>& path) {
    isNamed_ = send<bool>(files_, ZT_SELECTOR("movePath:toPath:handler:"), path_, path, Ref<NSObject>());
    return isNamed_;
  }

 private:
  void remove() const { send<bool>(files_, ZT_SELECTOR("removeFileAtPath:handler:"), path_, Ref<NSObject>()); }

  Ref<NSFileManager> files_ = NSFileManager::defaultManager();
  Ref<NSString> path_;
  bool isNamed_ = false;
};

}  // namespace

// The file is whole before it gets its name, and a move replaces nothing.
Ref<NSString> createUnusedFinderFile(const Ref<NSString>& self, const Ref<NSData>& contents) {
  const Ref<NSString> hidden = self ? hiddenPathBeside(self) : nullptr;
  if (!hidden) return nullptr;
  UnnamedFile file(hidden);
  if (!file.write(contents)) return nullptr;
  return firstTaken(self, false, [&](const Ref<NSString>& path) { return file.name(path); });
}

Ref<NSString> createUnusedFinderFolder(const Ref<NSString>& self) {
  return firstTaken(self, true, [](const Ref<NSString>& path) {
    return send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("createDirectoryAtPath:attributes:"), path,
                      Ref<NSDictionary>());
  });
}

}  // namespace ZtFoundation::JxTalvoZtWdExensions
