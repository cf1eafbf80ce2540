// What NSFileManager does to items with all that is in them, and who may watch it.

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>
#include <fcntl.h>

#include <cstring>

#include "platform/linux/files/FolderContents.h"
#include "platform/linux/operations/FileCopy.h"
#include "platform/linux/operations/FileMove.h"
#include "platform/linux/operations/FileRemoval.h"

namespace ZtFoundation {

namespace {

using detail::systemPath;

Ref<NSString> stringOf(const std::string& path) { return NSString::stringWithFileSystemRepresentation(path); }

// In English, whatever the process's locale is.
Ref<NSString> textOf(int error) {
  const char* text = ::strerrordesc_np(error);
  return text != nullptr ? Ref<NSString>(std::string_view(text)) : NSString::string();
}

// Passes on to the host's handler what it has methods for.
class HandlerObserver final : public detail::FileOperationObserver {
 public:
  HandlerObserver(NSFileManager& manager, const Ref<NSObject>& handler)
      : manager_(&manager),
        handler_(handler),
        wantsPaths_(responds(ZT_SELECTOR("fileManager:willProcessPath:"))),
        wantsErrors_(responds(ZT_SELECTOR("fileManager:shouldProceedAfterError:"))),
        wantsBytes_(responds(ZT_SELECTOR("fileManager:shouldContinueAfterCopyingBytes:ofTotal:atPath:"))),
        wantsItems_(responds(ZT_SELECTOR("fileManager:shouldContinueAfterRemovingItems:atPath:"))) {}

  bool wantsPaths() const override { return wantsPaths_; }

  void willProcess(const std::string& path) override {
    send<void>(handler_, ZT_SELECTOR("fileManager:willProcessPath:"), manager_, stringOf(path));
  }

  bool proceedsAfter(int error, const std::string& path, const std::string& toPath) override {
    if (!wantsErrors_) return false;
    const auto information = NSMutableDictionary::of({{"Error", textOf(error)}, {"Path", stringOf(path)}});
    if (!toPath.empty()) information->setObject_forKey(stringOf(toPath), "ToPath");
    return send<bool>(handler_, ZT_SELECTOR("fileManager:shouldProceedAfterError:"), manager_,
                      Ref<NSDictionary>(information));
  }

  bool wantsBytes() const override { return wantsBytes_; }

  bool continuesAfterBytes(std::uint64_t done, std::uint64_t total, const std::string& path) override {
    return send<bool>(handler_, ZT_SELECTOR("fileManager:shouldContinueAfterCopyingBytes:ofTotal:atPath:"), manager_,
                      done, total, stringOf(path));
  }

  bool wantsItems() const override { return wantsItems_; }

  bool continuesAfterItems(std::uint64_t done, const std::string& path) override {
    return send<bool>(handler_, ZT_SELECTOR("fileManager:shouldContinueAfterRemovingItems:atPath:"), manager_, done,
                      stringOf(path));
  }

 private:
  bool responds(SEL selector) const { return respondsToSelector(handler_, selector); }

  Ref<NSFileManager> manager_;
  Ref<NSObject> handler_;
  bool wantsPaths_;
  bool wantsErrors_;
  bool wantsBytes_;
  bool wantsItems_;
};

// Runs `work` with the observer that stands for the handler, or with none.
template <class Work>
auto watched(NSFileManager& manager, const Ref<NSObject>& handler, Work work) {
  if (!handler) return work(nullptr);
  HandlerObserver observer(manager, handler);
  return work(&observer);
}

bool copy(NSFileManager& manager, const Ref<NSString>& source, const Ref<NSString>& destination,
          const Ref<NSObject>& handler, detail::CopyKind kind) {
  const auto from = systemPath(source);
  const auto to = systemPath(destination);
  return from && to && watched(manager, handler, [&](detail::FileOperationObserver* observer) {
           return detail::copyItem(detail::OpenPath(*from), detail::OpenPath(*to), kind, observer).error == 0;
         });
}

}  // namespace

bool NSFileManager::copyPath_toPath_handler(const Ref<NSString>& source, const Ref<NSString>& destination,
                                            const Ref<NSObject>& handler) {
  return copy(*this, source, destination, handler, detail::CopyKind::Copy);
}

bool NSFileManager::linkPath_toPath_handler(const Ref<NSString>& source, const Ref<NSString>& destination,
                                            const Ref<NSObject>& handler) {
  return copy(*this, source, destination, handler, detail::CopyKind::Link);
}

bool NSFileManager::movePath_toPath_handler(const Ref<NSString>& source, const Ref<NSString>& destination,
                                            const Ref<NSObject>& handler) {
  const auto from = systemPath(source);
  const auto to = systemPath(destination);
  return from && to && watched(*this, handler, [&](detail::FileOperationObserver* observer) {
           return detail::moveItem(*from, *to, observer) == 0;
         });
}

bool NSFileManager::removeFileAtPath_handler(const Ref<NSString>& path, const Ref<NSObject>& handler) {
  const auto name = systemPath(path);
  return name && watched(*this, handler, [&](detail::FileOperationObserver* observer) {
           return detail::removeItem(*name, observer) == 0;
         });
}

Ref<NSArray> NSFileManager::directoryContentsAtPath(const Ref<NSString>& path) {
  const auto name = systemPath(path);
  if (!name) return nullptr;
  constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  const detail::FileDescriptor folder(detail::retryInterrupted([&] { return ::open(name->c_str(), flags); }));
  detail::FolderContents contents;
  if (!folder || !contents.read(folder.get())) return nullptr;
  const Ref<NSMutableArray> names = NSMutableArray::array();
  for (detail::FolderContents::Entry entry; contents.next(entry);) names->addObject(stringOf(entry.name));
  return names;
}

}  // namespace ZtFoundation
