#include "platform/services/FolderListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>

#include "platform/linux/FileDescriptor.h"

namespace ZtFoundation {

namespace {

using detail::FileDescriptor;
using detail::retryInterrupted;
using detail::systemPath;

// File systems in user space refuse larger ones, as some do that the C library reads with.
constexpr std::size_t kBufferSize = 16384;
struct alignas(dirent64) Buffer : std::array<char, kBufferSize> {};

bool isKnownItem(const dirent64& entry) {
  const std::string_view name = entry.d_name;
  return entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN && name != "." && name != "..";
}

class LinuxFolderListing final : public FolderListing {
 public:
  void visitItems(const Ref<NSString>& folder, const std::function<void(std::string_view)>& visit) override {
    const auto name = systemPath(folder);
    if (!name) return;
    const FileDescriptor descriptor(
        retryInterrupted([&] { return ::open(name->c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!descriptor) return;
    Buffer buffer;
    for (ssize_t length; (length = ::getdents64(descriptor.get(), buffer.data(), buffer.size())) > 0;) {
      for (const char* at = buffer.data(); at != buffer.data() + length;) {
        const auto* const entry = reinterpret_cast<const dirent64*>(at);
        if (isKnownItem(*entry)) visit(entry->d_name);
        at += entry->d_reclen;
      }
    }
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
