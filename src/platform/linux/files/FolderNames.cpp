#include "platform/services/FolderNames.h"

#include <fcntl.h>

#include <algorithm>

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/FolderContents.h"

namespace ZtFoundation {

namespace {

class LinuxFolderNames final : public FolderNames {
 public:
  std::vector<std::string> sorted(const std::string& folder) override {
    std::vector<std::string> names;
    const detail::FileDescriptor listed(
        detail::retryInterrupted([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    detail::FolderContents contents;
    if (listed) contents.read(listed.get());  // what comes before an error counts
    for (detail::FolderContents::Entry item; contents.next(item);) names.emplace_back(item.name);
    std::sort(names.begin(), names.end());
    return names;
  }
};

}  // namespace

FolderNames& FolderNames::production() {
  static FolderNames& names = *new LinuxFolderNames;
  return names;
}

}  // namespace ZtFoundation
