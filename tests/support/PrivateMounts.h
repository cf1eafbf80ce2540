/// \file PrivateMounts.h
/// Real mounts that nobody else sees, for the length of a scope.
/// \code
///   test::PrivateMounts mounts;
///   const std::string card = mounts.disk({.type = "xfs"});
///   if (card.empty()) GTEST_SKIP() << mounts.whyNot();
///   test::writeFile(card + "/file", "contents");
/// \endcode
/// The process (this thread of it) gets a mount namespace of its own, and a
/// store in memory that holds the images of disks and the mount points. The
/// destructor unmounts everything; should the process die, its namespace goes
/// with it. Loop devices detach themselves from what is unmounted. `blockdev
/// --setro` would stay on a device for good: mount with `.readOnly` instead,
/// which sets the device and the mount.
///
/// Whatever makes a mount answers its mount point, or "" where this machine
/// cannot (no root, a program or a file system that is missing), and `whyNot`
/// then tells the reason. Anything else that goes wrong is thrown. Folders are
/// open to every user.
#pragma once

#include <fcntl.h>
#include <linux/loop.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace ZtFoundation::test {

class PrivateMounts {
 public:
  struct Disk {
    std::string type;          ///< ext4, xfs, btrfs, vfat ...: what there is a mkfs for
    std::string name = type;   ///< of the mount point in the store
    bool readOnly = false;     ///< the device as well as the mount
    std::string format = {};   ///< more arguments of mkfs, "-L Label" for instance
    std::string options = {};  ///< of the file system
    unsigned megabytes = 0;    ///< 0: as few as the file system needs. Only what
                               ///< is written takes memory.
  };

  PrivateMounts() {
    if (::geteuid() != 0) {
      whyNot_ = "only root can mount";
    } else if (!hasAllUsers()) {
      whyNot_ = "root of a user namespace may not mount everything, nor become somebody else";
    } else if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      whyNot_ = std::string("no mount namespace of its own: ") + std::strerror(errno);
    } else {
      makeStore();
    }
  }
  PrivateMounts(const PrivateMounts&) = delete;
  PrivateMounts& operator=(const PrivateMounts&) = delete;
  ~PrivateMounts() {
    while (!mounted_.empty()) {
      ::umount2(mounted_.back().c_str(), MNT_DETACH | UMOUNT_NOFOLLOW);
      mounted_.pop_back();
    }
    if (!store_.empty()) ::rmdir(store_.c_str());
  }

  bool isPossible() const { return !store_.empty(); }
  const std::string& whyNot() const { return whyNot_; }
  /// The folder that holds all the rest, a tmpfs.
  const std::string& store() const { return store_; }

  /// A new folder in the store that all may look into, or the one of that name.
  std::string folder(const std::string& name) const {
    const std::string path = store_ + "/" + name;
    if (std::filesystem::create_directories(path)) ::chmod(path.c_str(), 0755);
    return path;
  }

  /// A new file system on a loop device.
  std::string disk(const Disk& wanted) {
    if (!can(wanted.type, "mkfs." + wanted.type) || !hasLoopDevices()) return {};
    const std::string image = store_ + "/" + wanted.name + ".image";
    std::ofstream(image).close();
    std::filesystem::resize_file(image, std::uintmax_t{megabytes(wanted)} << 20);
    run("mkfs." + wanted.type + " " + (wanted.type == "ext4" ? "-q -F " : "") + wanted.format + " '" + image + "'");
    return mountImage(image, wanted);
  }

  /// What is in the folder `contents`, as a squashfs on a loop device.
  std::string squashfs(const std::string& contents, const std::string& name = "squashfs") {
    if (!can("squashfs", "mksquashfs") || !hasLoopDevices()) return {};
    const std::string image = store_ + "/" + name + ".image";
    run("mksquashfs '" + contents + "' '" + image + "' -quiet -no-progress -noappend");
    return mountImage(image, {.type = "squashfs", .name = name, .readOnly = true});
  }

  /// A tmpfs; `options` such as "size=64k,nr_inodes=10" make it small.
  std::string memory(const std::string& name, const std::string& options = "mode=755") {
    return isPossible() ? mountAt(folder(name), "tmpfs", "tmpfs", 0, options) : std::string();
  }

  /// The folder `lower` with a writable layer over it, which is in the store.
  std::string overlay(const std::string& lower, const std::string& name = "overlay") {
    if (!can("overlay", "true")) return {};
    const std::string layers =
        "lowerdir=" + lower + ",upperdir=" + folder(name + ".upper") + ",workdir=" + folder(name + ".work");
    return mountAt(folder(name), "overlay", "overlay", 0, layers);
  }

  /// `source`, a folder or a file, at `target`, which exists. Also for
  /// stand-ins of kernel files.
  std::string bind(const std::string& source, const std::string& target) {
    return isPossible() ? mountAt(target, source, "", MS_BIND, "") : std::string();
  }

  /// Any other mount at an existing folder.
  std::string mountAt(const std::string& target, const std::string& source, const std::string& type,
                      unsigned long flags, const std::string& options) {
    if (::mount(source.c_str(), target.c_str(), type.c_str(), flags, options.c_str()) != 0) fail("mount " + target);
    mounted_.push_back(target);
    return target;
  }

  /// Makes the file system at `path` read-only, not its device.
  void remountReadOnly(const std::string& path) {
    if (::mount(nullptr, path.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0) fail("remount " + path);
  }

  /// Unmounts what something else has mounted at `path` when the scope ends.
  void unmountLater(const std::string& path) { mounted_.push_back(path); }
  /// `flags` may have MNT_DETACH, for what somebody is looking at.
  void unmount(const std::string& path, int flags = 0) {
    if (::umount2(path.c_str(), flags | UMOUNT_NOFOLLOW) != 0) fail("umount " + path);
    std::erase(mounted_, path);
  }

  /// Forgets names, inodes and pages that are only remembered. What is on the
  /// file system at `path` is written out first, so that it can be.
  static void dropCaches(const std::string& path) {
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::syncfs(folder);
    ::close(folder);
    std::ofstream("/proc/sys/vm/drop_caches") << "3" << std::flush;
  }

  static bool hasProgram(const std::string& name) {
    return std::system((kPath + ("command -v " + name) + " >/dev/null 2>&1").c_str()) == 0;
  }

 private:
  static constexpr char kPath[] = "PATH=\"$PATH:/usr/sbin:/sbin\"; ";

  [[noreturn]] static void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
  }

  static bool hasAllUsers() {
    std::ifstream map("/proc/self/uid_map");
    std::uint32_t inside = 0, outside = 0, count = UINT32_MAX;  // where there is no map
    map >> inside >> outside >> count;
    return outside == 0 && count == UINT32_MAX;
  }

  void makeStore() {
    std::string path = (std::filesystem::temp_directory_path() / "zt-mounts-XXXXXX").string();
    if (::mkdtemp(path.data()) == nullptr) fail(path);
    try {
      mountAt(path, "tmpfs", "tmpfs", 0, "mode=755");
    } catch (...) {
      ::rmdir(path.c_str());
      throw;
    }
    store_ = path;
  }

  bool can(const std::string& type, const std::string& program) {
    if (!isPossible()) return false;
    if (!hasProgram(program)) {
      whyNot_ = program + " is not installed";
    } else if (!knows(type)) {
      whyNot_ = "the kernel has no " + type;
    } else {
      return true;
    }
    return false;
  }

  // Containers often have none, or not the one that is free.
  bool hasLoopDevices() {
    const int control = ::open("/dev/loop-control", O_RDWR | O_CLOEXEC);
    const int number = control >= 0 ? ::ioctl(control, LOOP_CTL_GET_FREE) : -1;
    if (control >= 0) ::close(control);
    const bool isThere = number >= 0 && ::access(("/dev/loop" + std::to_string(number)).c_str(), F_OK) == 0;
    if (!isThere) whyNot_ = "there are no loop devices";
    return isThere;
  }

  static bool knows(const std::string& type) {
    std::ifstream types("/proc/filesystems");
    std::string word;
    while (types >> word) {
      if (word == type) return true;
    }
    return std::system((kPath + ("modprobe -q " + type) + " 2>/dev/null").c_str()) == 0;
  }

  static void run(const std::string& command) {
    if (std::system((kPath + command + " >/dev/null 2>&1").c_str()) != 0) {
      throw std::runtime_error("failed: " + command);
    }
  }

  static unsigned megabytes(const Disk& disk) {
    if (disk.megabytes != 0) return disk.megabytes;
    return disk.type == "xfs" ? 300 : disk.type == "btrfs" ? 128 : 16;
  }

  std::string mountImage(const std::string& image, const Disk& disk) {
    std::string device;
    const int loop = attach(image, disk.readOnly, device);
    const unsigned long flags = disk.readOnly ? MS_RDONLY : 0;
    try {
      mountAt(folder(disk.name), device, disk.type, flags, disk.options);
    } catch (...) {
      ::close(loop);
      throw;
    }
    ::close(loop);
    ::chmod(folder(disk.name).c_str(), 0755);
    return folder(disk.name);
  }

  // A loop device that goes when it is no longer open or mounted. Other
  // processes may take a free one first.
  static int attach(const std::string& image, bool readOnly, std::string& device) {
    const int control = ::open("/dev/loop-control", O_RDWR | O_CLOEXEC);
    const int file = ::open(image.c_str(), (readOnly ? O_RDONLY : O_RDWR) | O_CLOEXEC);
    loop_config config{};
    config.fd = static_cast<unsigned>(file);
    config.info.lo_flags = LO_FLAGS_AUTOCLEAR | (readOnly ? unsigned{LO_FLAGS_READ_ONLY} : 0);
    int loop = -1;
    for (int attempt = 0; loop < 0 && attempt < 100; ++attempt) {
      device = "/dev/loop" + std::to_string(::ioctl(control, LOOP_CTL_GET_FREE));
      loop = ::open(device.c_str(), (readOnly ? O_RDONLY : O_RDWR) | O_CLOEXEC);
      if (loop >= 0 && ::ioctl(loop, LOOP_CONFIGURE, &config) != 0) {
        ::close(loop);
        loop = -1;
      }
    }
    const int error = errno;
    ::close(file);
    ::close(control);
    errno = error;
    if (loop < 0) fail("loop device for " + image);
    return loop;
  }

  std::string store_;
  std::string whyNot_;
  std::vector<std::string> mounted_;
};

}  // namespace ZtFoundation::test
