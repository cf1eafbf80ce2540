#include "platform/mounts/VolumeName.h"

#include <dirent.h>
#include <fcntl.h>
#include <libmount/libmount.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ZtFoundation::mounts {

namespace {

// Some file systems tell everybody.
std::string labelByFileSystem(const std::string& point) {
  const int folder = open(point.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (folder < 0) return {};
  char label[FSLABEL_MAX + 1] = {};
  const bool isTold = ioctl(folder, FS_IOC_GETFSLABEL, label) == 0;
  close(folder);
  return isTold ? label : "";
}

unsigned hexValue(char digit) {
  return static_cast<unsigned>(digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10) & 0xF;
}

// In the names of links bytes are written as \x20.
std::string unescaped(const std::string& name) {
  std::string label;
  for (std::size_t at = 0; at < name.size(); ++at) {
    if (name.compare(at, 2, "\\x") == 0 && at + 3 < name.size()) {
      label += static_cast<char>(hexValue(name[at + 2]) << 4 | hexValue(name[at + 3]));
      at += 3;
    } else {
      label += name[at];
    }
  }
  return label;
}

bool isLinkTo(const std::string& path, dev_t device) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISBLK(status.st_mode) && status.st_rdev == device;
}

std::string labelByLink(dev_t device, const std::string& labels) {
  DIR* const list = opendir(labels.c_str());
  if (list == nullptr) return {};
  std::string label;
  while (const dirent* const entry = readdir(list)) {
    if (entry->d_name[0] != '.' && isLinkTo(labels + "/" + entry->d_name, device)) label = unescaped(entry->d_name);
  }
  closedir(list);
  return label;
}

// For those who may read the device.
std::string labelByDevice(const std::string& source) {
  if (!source.starts_with("/dev/") || access(source.c_str(), R_OK) != 0) return {};
  libmnt_cache* const cache = mnt_new_cache();
  mnt_cache_read_tags(cache, source.c_str());
  const char* const found = mnt_cache_find_tag_value(cache, source.c_str(), "LABEL");
  const std::string label = found != nullptr ? found : "";
  mnt_unref_cache(cache);
  return label;
}

std::string labelOf(const Volume& volume, const std::string& labels) {
  if (volume.mayBlock) return {};
  std::string label = labelByFileSystem(volume.mount.point);
  if (label.empty()) label = labelByLink(volume.mount.device, labels);
  return label.empty() ? labelByDevice(volume.mount.source) : label;
}

std::string machineName() {
  char name[256] = {};
  return gethostname(name, sizeof(name) - 1) == 0 && name[0] != '\0' ? name : "/";
}

}  // namespace

std::string nameOf(const Volume& volume, const std::string& labels) {
  const std::string label = labelOf(volume, labels);
  if (!label.empty()) return label;
  const std::string& point = volume.mount.point;
  return point == "/" ? machineName() : point.substr(point.rfind('/') + 1);
}

}  // namespace ZtFoundation::mounts
