#include "platform/mounts/VolumeName.h"

#include <fcntl.h>
#include <libmount/libmount.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>

#include "platform/mounts/BlockDevice.h"
#include "platform/mounts/Owned.h"

namespace ZtFoundation::mounts {

namespace {

// After something could not be opened.
void requireEnoughFiles() {
  if (errno == EMFILE || errno == ENFILE) throw TooManyFiles();
}

// Some file systems tell everybody.
std::string labelByFileSystem(const std::string& point) {
  const OwnedFile folder(open(point.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (folder.get() < 0) requireEnoughFiles();
  char label[FSLABEL_MAX + 1] = {};  // stays empty where nothing is told
  ioctl(folder.get(), FS_IOC_GETFSLABEL, label);
  return label;
}

unsigned hexValue(char digit) {
  return static_cast<unsigned>(digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10) & 0xF;
}

bool isLinkTo(const std::string& path, dev_t device) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISBLK(status.st_mode) && status.st_rdev == device;
}

// udev makes a link under a name like this, which it then changes.
bool isUnfinished(std::string_view link) { return link.starts_with(".#"); }

std::string labelByLink(dev_t device, const std::string& labels) {
  const OwnedFolder list = openFolder(labels.c_str());
  if (!list) requireEnoughFiles();
  std::string label;
  while (const dirent* const entry = list ? readdir(list.get()) : nullptr) {
    if (!isUnfinished(entry->d_name) && isLinkTo(labels + "/" + entry->d_name, device))
      label = labelInLink(entry->d_name);
  }
  return label;
}

// For those who may read the device.
std::string labelByDevice(const Mount& mount) {
  const std::string source = deviceSource(mount);
  if (source.empty()) return {};
  const std::unique_ptr<libmnt_cache, decltype(&mnt_unref_cache)> cache(made(mnt_new_cache()), mnt_unref_cache);
  if (mnt_cache_read_tags(cache.get(), source.c_str()) == -ENOMEM) throw std::bad_alloc();
  const char* const found = mnt_cache_find_tag_value(cache.get(), source.c_str(), "LABEL");
  return found != nullptr ? found : "";
}

// What a program serves may lie on a disk all the same, which does not make anybody wait.
std::string labelOf(const Volume& volume, const std::string& labels) {
  const bool isOnDisk = major(volume.mount.device) != 0;
  if (volume.mayBlock && !isOnDisk) return {};
  std::string label = volume.mayBlock ? std::string() : labelByFileSystem(volume.mount.point);
  if (label.empty()) label = labelByLink(volume.mount.device, labels);
  return label.empty() ? labelByDevice(volume.mount) : label;
}

std::string machineName() {
  char name[256] = {};
  return gethostname(name, sizeof(name) - 1) == 0 && name[0] != '\0' ? name : "/";
}

}  // namespace

std::string labelInLink(const std::string& name) {
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

std::string nameOf(const Volume& volume, const std::string& labels) {
  const std::string label = labelOf(volume, labels);
  if (!label.empty()) return label;
  const std::string& point = volume.mount.point;
  return point == "/" ? machineName() : point.substr(point.rfind('/') + 1);
}

}  // namespace ZtFoundation::mounts
