/// \file CardOfACamera.h
/// An exFAT volume by way of a user program.
#pragma once

#include <cstdlib>
#include <string>

#include "support/PrivateMounts.h"

namespace ZtFoundation::test {

/// A volume that takes no heed of case, cannot refuse to replace, and numbers items anew each time it meets them; its
/// root is empty if this machine has none.
class CardOfACamera {
 public:
  explicit CardOfACamera(PrivateMounts& mounts) {
    if (!mounts.isPossible() || !PrivateMounts::hasProgram("mount.exfat-fuse") ||
        !PrivateMounts::hasProgram("mkfs.exfat"))
      return;
    const std::string image = mounts.store() + "/card.image";
    const std::string folder = mounts.folder("card");
    const std::string command = "PATH=\"$PATH:/usr/sbin:/sbin\"; exec >/dev/null 2>&1; truncate -s 20M '" + image +
                                "' && mkfs.exfat '" + image + "' && device=$(losetup -f --show '" + image +
                                "') && { mount.exfat-fuse \"$device\" '" + folder +
                                "'; result=$?; losetup -d \"$device\"; exit $result; }";
    if (std::system(command.c_str()) != 0) return;
    mounts.unmountLater(folder);
    root = folder;
  }
  std::string root;
};

}  // namespace ZtFoundation::test
