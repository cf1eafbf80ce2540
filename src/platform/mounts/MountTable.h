/// \file MountTable.h
/// The kernel's table of what is mounted.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include <ZtFoundation/platform/Types.h>

namespace ZtFoundation::mounts {

struct Mount {
  int id = 0;
  int parent = 0;     ///< the mount that the mount point lies on
  dev_t device = 0;   ///< its major number is 0 where there is no block device
  std::string root;   ///< what of the file system is mounted, "/" for all of it
  std::string point;  ///< where
  std::string type;
  std::string source;
  OSType server = 0;  ///< 0 for a local file system
  bool storesFiles = false;
  bool isReadOnly = false;
};

/// The lines of `table`, in the format of /proc/self/mountinfo (proc(5)), in their order. Lines that are none are left
/// out.
std::vector<Mount> parseMounts(const std::string& table);

/// Which of the mounts can be reached by their mount points: hidden is what lies under a later mount, or in a folder
/// that does. One answer for each mount.
std::vector<bool> reachable(const std::vector<Mount>& mounts);

}  // namespace ZtFoundation::mounts
