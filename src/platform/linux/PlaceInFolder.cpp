#include "platform/linux/PlaceInFolder.h"

#include <fcntl.h>

namespace ZtFoundation::detail {

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

}  // namespace ZtFoundation::detail
