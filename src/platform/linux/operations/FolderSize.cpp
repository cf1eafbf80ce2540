#include "platform/linux/operations/FolderSize.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "platform/linux/operations/FolderWalk.h"

namespace ZtFoundation::detail {

namespace {

class Measuring final : FolderVisitor {
 public:
  std::uint64_t sizeOf(const PlaceInFolder& place, unsigned char type) {
    if (type == DT_DIR) {
      FolderWalk(*this).run(place.folder.get(), place.name.c_str());
    } else {
      item(place.folder.get(), place.name.c_str(), type);
    }
    return size_;
  }

 private:
  Step item(int folder, const char* name, unsigned char type) override {
    struct stat status;
    if (type == DT_REG && ::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0) {
      size_ += static_cast<std::uint64_t>(status.st_size);
    }
    return Step::GoOn;
  }
  Step entered(int, const char*, int) override { return Step::GoOn; }
  Step failed(int, const char*) override { return Step::Skip; }
  void lost(const char*) override {}

  std::uint64_t size_ = 0;
};

}  // namespace

std::uint64_t sizeOfItem(const PlaceInFolder& place, unsigned char type) { return Measuring().sizeOf(place, type); }

}  // namespace ZtFoundation::detail
