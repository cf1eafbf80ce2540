#include "platform/linux/folders/Folders.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/linux/files/FileErrors.h"
#include "platform/linux/files/FinderLock.h"

namespace ZtFoundation::detail {

namespace {

constexpr mode_t kForOwnerOnly = 0700;

// A file system may refuse to make what exists with another error than EEXIST, so that is asked first. Another process
// may be faster.
OSErr makeOneFolder(const std::string& path) {
  if (isFolder(path)) return noErr;
  if (isFolderLocked(path)) return fLckdErr;
  return ::mkdir(path.c_str(), kForOwnerOnly) == 0 || errno == EEXIST ? OSErr{noErr} : fileError(errno);
}

OSErr lookForFolder(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return fileError(errno);
  return S_ISDIR(status.st_mode) ? noErr : fnfErr;
}

OSErr makeFolders(const std::string& path) {
  for (std::size_t end = 0; end != path.size();) {
    end = std::min(path.find('/', end + 1), path.size());
    if (const OSErr error = makeOneFolder(path.substr(0, end)); error != noErr) return error;
  }
  return isFolder(path) ? noErr : dupFNErr;
}

bool isOwnFolder(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

// The owner of a folder may change everything in it, whatever its permissions say.
bool isTrusted(const struct stat& status) {
  return S_ISDIR(status.st_mode) && (status.st_uid == 0 || status.st_uid == ::geteuid());
}

}  // namespace

bool isFolder(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool isTrustedFolder(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0 && isTrusted(status);
}

bool isSharedFolder(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0 && isTrusted(status) && (status.st_mode & S_ISVTX) != 0;
}

OSErr provideFolder(const FolderPlace& place, bool create) {
  OSErr error = lookForFolder(place.path);
  if (error == fnfErr && create) error = makeFolders(place.path);
  if (error == noErr && !place.mayBeForeign && !isOwnFolder(place.path)) error = permErr;
  return error;
}

}  // namespace ZtFoundation::detail
