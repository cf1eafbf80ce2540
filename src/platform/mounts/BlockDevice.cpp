#include "platform/mounts/BlockDevice.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/cdrom.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

namespace ZtFoundation::mounts {

namespace {

// Volume managers lie on each other seldom more than twice.
constexpr unsigned kDeepest = 8;

std::string firstLine(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

// Several devices can be under one file system; it goes by its source then.
dev_t deviceOf(const Mount& mount) {
  if (major(mount.device) != 0) return mount.device;
  struct stat status;
  const bool isDevice = mount.server == 0 && mount.source.starts_with("/dev/") &&
                        stat(mount.source.c_str(), &status) == 0 && S_ISBLK(status.st_mode);
  return isDevice ? status.st_rdev : 0;
}

std::string folderOf(dev_t device, const std::string& devices) {
  if (device == 0) return {};
  std::string path = devices;
  path.append("/").append(std::to_string(major(device))).append(":").append(std::to_string(minor(device)));
  char* const real = realpath(path.c_str(), nullptr);
  std::string folder = real != nullptr ? real : "";
  free(real);
  return folder;
}

std::vector<std::string> entriesOf(const std::string& folder) {
  std::vector<std::string> entries;
  DIR* const list = opendir(folder.c_str());
  if (list == nullptr) return entries;
  while (const dirent* const entry = readdir(list)) {
    if (entry->d_name[0] != '.') entries.push_back(folder + "/" + entry->d_name);
  }
  closedir(list);
  return entries;
}

// A partition is in the folder of its disk.
std::string diskOf(const std::string& device) {
  const bool isPartition = access((device + "/partition").c_str(), F_OK) == 0;
  return isPartition ? device.substr(0, device.rfind('/')) : device;
}

void addDisks(const std::string& device, unsigned depth, std::vector<std::string>& disks) {
  const std::vector<std::string> parts = entriesOf(device + "/slaves");
  if (parts.empty() || depth == kDeepest) disks.push_back(diskOf(device));
  if (depth == kDeepest) return;
  for (const std::string& part : parts) {
    char* const real = realpath(part.c_str(), nullptr);
    if (real != nullptr) addDisks(real, depth + 1, disks);
    free(real);
  }
}

// Memory cards in a reader on the board itself do not say "removable".
bool isRemovableDisk(const std::string& disk) {
  return firstLine(disk + "/removable") == "1" || firstLine(disk + "/device/type") == "SD";
}

std::string nodeOf(const std::string& disk) {
  std::ifstream facts(disk + "/uevent");
  std::string line;
  while (std::getline(facts, line)) {
    if (line.starts_with("DEVNAME=")) return "/dev/" + line.substr(8);
  }
  return {};
}

}  // namespace

BlockDevice::BlockDevice(const Mount& mount, const std::string& devices) : folder_(folderOf(deviceOf(mount), devices)) {
  if (!folder_.empty()) addDisks(folder_, 0, disks_);
}

bool BlockDevice::isReadOnly() const { return !folder_.empty() && firstLine(folder_ + "/ro") == "1"; }

bool BlockDevice::isRemovable() const { return std::any_of(disks_.begin(), disks_.end(), isRemovableDisk); }

void BlockDevice::eject(const std::string& disk) {
  // Not while anything of it is in use, which includes what is mounted in other namespaces.
  const int drive = open(nodeOf(disk).c_str(), O_RDONLY | O_EXCL | O_NONBLOCK | O_CLOEXEC);
  if (drive < 0) return;
  ioctl(drive, CDROMEJECT);
  close(drive);
}

}  // namespace ZtFoundation::mounts
