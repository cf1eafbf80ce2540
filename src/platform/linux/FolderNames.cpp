#include "platform/services/FolderNames.h"

#include <dirent.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace ZtFoundation {

namespace {

class LinuxFolderNames final : public FolderNames {
 public:
  std::vector<std::string> sorted(const std::string& folder) override {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(folder.c_str()), &::closedir);
    while (const dirent* entry = listing ? ::readdir(listing.get()) : nullptr) {
      const std::string_view name = entry->d_name;
      if (name != "." && name != "..") names.emplace_back(name);
    }
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
