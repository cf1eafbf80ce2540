#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "platform/linux/files/FileAttributes.h"
#include "platform/linux/files/FileContents.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/FinderLock.h"

namespace ZtFoundation {

ZT_REGISTER_CLASS(NSFileManager, ZT_CLASS_METHOD("defaultManager", &NSFileManager::defaultManager),
                  ZT_METHOD("fileExistsAtPath:", &NSFileManager::fileExistsAtPath),
                  ZT_METHOD("fileExistsAtPath:isDirectory:", &NSFileManager::fileExistsAtPath_isDirectory),
                  ZT_METHOD("createDirectoryAtPath:attributes:", &NSFileManager::createDirectoryAtPath_attributes),
                  ZT_METHOD("contentsAtPath:", &NSFileManager::contentsAtPath),
                  ZT_METHOD("createFileAtPath:contents:attributes:",
                            &NSFileManager::createFileAtPath_contents_attributes),
                  ZT_METHOD("isReadableFileAtPath:", &NSFileManager::isReadableFileAtPath),
                  ZT_METHOD("isWritableFileAtPath:", &NSFileManager::isWritableFileAtPath),
                  ZT_METHOD("isExecutableFileAtPath:", &NSFileManager::isExecutableFileAtPath),
                  ZT_METHOD("isDeletableFileAtPath:", &NSFileManager::isDeletableFileAtPath),
                  ZT_METHOD("fileAttributesAtPath:traverseLink:", &NSFileManager::fileAttributesAtPath_traverseLink),
                  ZT_METHOD("displayNameAtPath:", &NSFileManager::displayNameAtPath),
                  ZT_METHOD("componentsToDisplayForPath:", &NSFileManager::componentsToDisplayForPath),
                  ZT_METHOD("copyPath:toPath:handler:", &NSFileManager::copyPath_toPath_handler),
                  ZT_METHOD("movePath:toPath:handler:", &NSFileManager::movePath_toPath_handler),
                  ZT_METHOD("linkPath:toPath:handler:", &NSFileManager::linkPath_toPath_handler),
                  ZT_METHOD("removeFileAtPath:handler:", &NSFileManager::removeFileAtPath_handler),
                  ZT_METHOD("directoryContentsAtPath:", &NSFileManager::directoryContentsAtPath));

using detail::FileDescriptor;
using detail::systemPath;

namespace {

// The folder itself, and not what a link that was put in its place leads to. Who may not read it needs "/proc" to change
// it.
FileDescriptor openFolderItself(const std::string& path) {
  constexpr int flags = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  const auto opened = [&](int kind) {
    return FileDescriptor(detail::retryInterrupted([&] { return ::open(path.c_str(), flags | kind); }));
  };
  FileDescriptor folder = opened(O_RDONLY);
  return folder ? std::move(folder) : opened(O_PATH);
}

}  // namespace

Ref<NSFileManager> NSFileManager::defaultManager() {
  static NSFileManager* const shared = new NSFileManager;  // never destroyed, so it serves during exit too
  return Ref<NSFileManager>(shared);
}

bool NSFileManager::fileExistsAtPath(const Ref<NSString>& path) {
  const auto name = systemPath(path);
  struct stat status;
  return name && ::stat(name->c_str(), &status) == 0;
}

bool NSFileManager::fileExistsAtPath_isDirectory(const Ref<NSString>& path, bool* isDirectory) {
  const auto name = systemPath(path);
  struct stat status;
  if (!name || ::stat(name->c_str(), &status) != 0) return false;
  if (isDirectory != nullptr) *isDirectory = S_ISDIR(status.st_mode);
  return true;
}

bool NSFileManager::createDirectoryAtPath_attributes(const Ref<NSString>& path, const Ref<NSDictionary>& attributes) {
  auto name = systemPath(path);
  const detail::WantedAttributes wanted(attributes);
  if (name) name->erase(name->find_last_not_of('/') + 1);  // beyond it links would be followed
  if (!name || detail::isFolderLocked(*name) || ::mkdir(name->c_str(), wanted.permissions(0777)) != 0) return false;
  if (wanted.giveTo(openFolderItself(*name).get())) return true;
  ::unlinkat(AT_FDCWD, name->c_str(), AT_REMOVEDIR);
  return false;
}

Ref<NSData> NSFileManager::contentsAtPath(const Ref<NSString>& path) { return NSData::dataWithContentsOfFile(path); }

bool NSFileManager::createFileAtPath_contents_attributes(const Ref<NSString>& path, const Ref<NSData>& contents,
                                                         const Ref<NSDictionary>& attributes) {
  const auto name = systemPath(path);
  if (!name) return false;
  const detail::WantedAttributes wanted(attributes);
  FileDescriptor file = detail::openUnlocked(*name, wanted.permissions(0666));
  // Nothing is lost in a file whose rights cannot be changed. Who gets rights has none to the old contents, and who
  // loses them has none to the new ones. Writing takes some of them away.
  if (!file || !wanted.takeRightsFrom(file.get()) || !detail::makeEmpty(file.get())) return false;
  if (!wanted.giveRightsTo(file.get())) return false;
  if (contents && !detail::writeAll(file.get(), contents->view())) return false;
  return wanted.giveTo(file.get()) && detail::closeWritten(std::move(file));
}

}  // namespace ZtFoundation
