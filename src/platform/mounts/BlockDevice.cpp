#include "platform/mounts/BlockDevice.h"

#include <fcntl.h>
#include <linux/cdrom.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>

#include "platform/mounts/FileSystemType.h"
#include "platform/mounts/Owned.h"

namespace ZtFoundation::mounts {

namespace {

// Volume managers lie on each other seldom more than twice.
constexpr unsigned kDeepest = 8;

// These files of the kernel hold a page at most.
std::string contentsOf(const std::string& path) {
  const OwnedFile file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string text(4096, '\0');
  const ssize_t size = read(file.get(), text.data(), text.size());
  text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return text;
}

std::string firstLine(const std::string& path) {
  const std::string text = contentsOf(path);
  return text.substr(0, text.find('\n'));
}

// Several devices can be under one file system; it goes by its source then.
dev_t deviceOf(const Mount& mount) {
  if (major(mount.device) != 0) return mount.device;
  const std::string source = deviceSource(mount);
  struct stat status;
  return !source.empty() && stat(source.c_str(), &status) == 0 && S_ISBLK(status.st_mode) ? status.st_rdev : 0;
}

// The list has nothing for 0.
std::string folderOf(dev_t device, const std::string& devices) {
  std::string path = devices;
  path.append("/").append(std::to_string(major(device))).append(":").append(std::to_string(minor(device)));
  return realPath(path);
}

std::vector<std::string> entriesOf(const std::string& folder) {
  std::vector<std::string> entries;
  const OwnedFolder list = openFolder(folder.c_str());
  if (!list) return entries;
  while (const dirent* const entry = readdir(list.get())) {
    if (entry->d_name[0] != '.') entries.push_back(folder + "/" + entry->d_name);
  }
  return entries;
}

// A partition is in the folder of its disk.
std::string diskOf(const std::string& device) {
  const bool isPartition = access((device + "/partition").c_str(), F_OK) == 0;
  return isPartition ? device.substr(0, device.rfind('/')) : device;
}

void addDisks(const std::string& device, unsigned depth, std::vector<std::string>& disks) {
  const std::vector<std::string> parts = entriesOf(device + "/slaves");
  if (parts.empty()) disks.push_back(diskOf(device));
  if (depth == kDeepest) return;
  for (const std::string& part : parts) {
    const std::string real = realPath(part);
    if (!real.empty()) addDisks(real, depth + 1, disks);
  }
}

// Memory cards in a reader on the board itself do not say "removable".
bool isRemovableDisk(const std::string& disk) {
  return firstLine(disk + "/removable") == "1" || firstLine(disk + "/device/type") == "SD";
}

std::string nodeOf(const std::string& disk) {
  constexpr std::string_view key = "\nDEVNAME=";
  const std::string facts = '\n' + contentsOf(disk + "/uevent");
  const std::size_t at = facts.find(key);
  if (at == std::string::npos) return {};
  const std::size_t name = at + key.size();
  return "/dev/" + facts.substr(name, facts.find('\n', name) - name);
}

}  // namespace

std::string deviceSource(const Mount& mount) {
  const bool isDevice = mount.server == 0 && !isMountedByUsers(mount.type) && mount.source.starts_with("/dev/");
  return isDevice ? mount.source : std::string();
}

BlockDevice::BlockDevice(const Mount& mount, const std::string& devices) : folder_(folderOf(deviceOf(mount), devices)) {
  if (!folder_.empty()) addDisks(folder_, 0, disks_);
}

bool BlockDevice::isReadOnly() const { return !folder_.empty() && firstLine(folder_ + "/ro") == "1"; }

bool BlockDevice::isRemovable() const { return std::any_of(disks_.begin(), disks_.end(), isRemovableDisk); }

void BlockDevice::eject(const std::string& disk) {
  // Not while anything of it is in use, which includes what is mounted in other namespaces.
  const OwnedFile drive(open(nodeOf(disk).c_str(), O_RDONLY | O_EXCL | O_NONBLOCK | O_CLOEXEC));
  if (drive.get() >= 0) ioctl(drive.get(), CDROMEJECT);
}

}  // namespace ZtFoundation::mounts
