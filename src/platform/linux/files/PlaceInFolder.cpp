#include "platform/linux/files/PlaceInFolder.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace ZtFoundation::detail {

namespace {

// Of a file's path, seen from the folder `at`.
PlaceInFolder placeOfFile(int at, const std::string& path) {
  const std::size_t nameAt = path.rfind('/') + 1;
  const std::string folder = nameAt == 0 ? std::string(1, '.') : path.substr(0, nameAt);
  constexpr int flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  PlaceInFolder place{{}, path.substr(nameAt)};
  if (place.name.empty()) return place;
  place.folder = FileDescriptor(retryInterrupted([&] { return ::openat(at, folder.c_str(), flags); }));
  return place;
}

// In a folder where everybody may put links, one of another user may be a trap: the system itself follows only the
// user's own and those of the folder's owner.
bool mayFollow(const PlaceInFolder& link) {
  struct stat folder, item;
  if (::fstat(link.folder.get(), &folder) != 0) return false;
  if ((folder.st_mode & (S_ISVTX | S_IWOTH)) != (S_ISVTX | S_IWOTH)) return true;
  if (::fstatat(link.folder.get(), link.name.c_str(), &item, AT_SYMLINK_NOFOLLOW) != 0) return false;
  const bool isTrusted = item.st_uid == ::geteuid() || item.st_uid == folder.st_uid;
  if (!isTrusted) errno = EACCES;
  return isTrusted;
}

}  // namespace

PlaceInFolder placeOf(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  const std::size_t folderLength = path.rfind('/') + 1;  // 0 for none
  PlaceInFolder place{{}, path == "/" ? std::string(1, '.') : path.substr(folderLength)};
  if (path.empty()) {
    errno = ENOENT;
    return place;
  }
  const std::string folder = folderLength == 0 ? std::string(1, '.') : path.substr(0, folderLength);
  constexpr int flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  place.folder = FileDescriptor(retryInterrupted([&] { return ::open(folder.c_str(), flags); }));
  return place;
}

PlaceInFolder endOfLinks(const std::string& path) {
  constexpr int kLongestChain = 40;  // the kernel's own limit
  PlaceInFolder place = placeOfFile(AT_FDCWD, path);
  for (int links = 0; place && links <= kLongestChain; ++links) {
    const auto destination = destinationOfLink(place.folder.get(), place.name.c_str());
    if (!destination) return errno == EINVAL || errno == ENOENT ? std::move(place) : PlaceInFolder{};
    if (!mayFollow(place)) return {};
    place = placeOfFile(place.folder.get(), *destination);
  }
  return {};
}

std::optional<std::string> destinationOfLink(int folder, const char* name) {
  std::array<char, PATH_MAX> buffer;
  const ssize_t length = ::readlinkat(folder, name, buffer.data(), buffer.size());
  if (length < 0) return std::nullopt;
  return std::string(buffer.data(), static_cast<std::size_t>(length));
}

}  // namespace ZtFoundation::detail
