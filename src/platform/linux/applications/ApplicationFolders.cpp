#include "platform/linux/applications/ApplicationFolders.h"

#include <algorithm>

#include "platform/linux/folders/BaseDirectories.h"

namespace ZtFoundation::detail {

namespace {

class Collector {
 public:
  void add(const Directory& base, const char* name, bool holdsEntries) {
    if (!base) return;
    const ApplicationFolder folder{inDirectory(*base, name), holdsEntries};
    if (std::find(folders_.begin(), folders_.end(), folder) == folders_.end()) folders_.push_back(folder);
  }

  std::vector<ApplicationFolder> take() { return std::move(folders_); }

 private:
  std::vector<ApplicationFolder> folders_;
};

}  // namespace

std::vector<ApplicationFolder> applicationFolders() {
  Collector folders;
  folders.add(homeDirectory(), "Applications", false);
  folders.add(dataHome(), "applications", true);
  for (const std::string& data : dataDirectories()) folders.add(data, "applications", true);
  folders.add(Directory("/"), "Applications", false);
  return folders.take();
}

}  // namespace ZtFoundation::detail
