/// \file BlockDevice.h
/// What the kernel tells about the device under a file system, to anybody and without waking the device.
#pragma once

#include <string>
#include <vector>

#include "platform/mounts/MountTable.h"

namespace ZtFoundation::mounts {

/// The path under "/dev" that the mount table names as the source; empty where it names none, or users may choose what
/// it names.
std::string deviceSource(const Mount& mount);

class BlockDevice {
 public:
  /// The device of `mount` by the kernel's list `devices` ("/sys/dev/block"); there need be none.
  BlockDevice(const Mount& mount, const std::string& devices);

  /// It takes no writing.
  bool isReadOnly() const;
  /// It is on a medium that can be taken out, through a volume manager or not.
  bool isRemovable() const;
  /// The folders in which the kernel keeps the disks that it is on.
  const std::vector<std::string>& disks() const { return disks_; }
  /// Has the drive of a disk give its medium out, if it can and nothing of the disk is in use.
  static void eject(const std::string& disk);

 private:
  std::string folder_;  // empty when there is no device
  std::vector<std::string> disks_;
};

}  // namespace ZtFoundation::mounts
