#include "platform/services/FolderListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/FolderContents.h"
#include "platform/linux/files/ItemPath.h"

namespace ZtFoundation {

namespace {

using detail::FileDescriptor;
using detail::FolderContents;
using detail::retryInterrupted;
using detail::systemPath;

class LinuxFolderListing final : public FolderListing {
 public:
  void visitItems(const Ref<NSString>& folder, const std::function<void(std::string_view)>& visit) override {
    const auto name = systemPath(folder);
    if (!name) return;
    const FileDescriptor descriptor(
        retryInterrupted([&] { return ::open(name->c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    FolderContents contents;
    if (descriptor) contents.read(descriptor.get());  // what comes before an error counts
    for (FolderContents::Entry item; contents.next(item);) {
      if (item.type != DT_LNK && item.type != DT_UNKNOWN) visit(item.name);
    }
  }

  Ref<NSString> withoutLinks(const Ref<NSString>& folder) override {
    const auto name = systemPath(folder);
    const auto path = name ? detail::absolutePath(*name) : std::nullopt;
    const auto real = path ? detail::canonicalPath(*path) : std::nullopt;
    return real ? NSString::stringWithFileSystemRepresentation(*real) : nullptr;
  }

  bool isTooLong(const Ref<NSString>& path) override {
    const auto name = systemPath(path);
    struct stat status;
    return name && ::lstat(name->c_str(), &status) != 0 && errno == ENAMETOOLONG;
  }
};

}  // namespace

FolderListing& FolderListing::production() {
  static FolderListing& listing = *new LinuxFolderListing;
  return listing;
}

}  // namespace ZtFoundation
