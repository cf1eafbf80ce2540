#include "platform/mounts/Unmounting.h"

#include <fcntl.h>
#include <libmount/libmount.h>
#include <linux/openat2.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "platform/mounts/Owned.h"
#include "platform/mounts/Program.h"

namespace ZtFoundation::mounts {

namespace {

bool isRoot() { return ::getuid() == 0 && ::geteuid() == 0; }

OSErr errorFor(int systemError) {
  switch (systemError) {
    case 0:
      return noErr;
    case EBUSY:
      return fBsyErr;
    case EPERM:
      return permErr;
    case EACCES:
      return afpAccessDenied;
    case EINVAL:
    case ELOOP:
    case ENOENT:
      return nsvErr;
    case ENOMEM:
      return memFullErr;
    default:
      return ioErr;
  }
}

// The folder of the mount point; negative on an error. There are no links on the way to a mount point: one that is there
// by now leads to somebody else's. The kernels that do not know this call follow it.
int openFolderOf(const std::string& point) {
  const std::string folder = point.substr(0, std::max<std::size_t>(point.rfind('/'), 1));
  open_how how{};
  how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  how.resolve = RESOLVE_NO_SYMLINKS;
  const auto opened = static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, folder.c_str(), &how, sizeof(how)));
  if (opened >= 0 || errno != ENOSYS) return opened;
  return ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
}

// What the programs for mounting remember about the mount.
void forget(const Mount& mount) {
  const std::unique_ptr<libmnt_update, decltype(&mnt_free_update)> update(made(mnt_new_update()), mnt_free_update);
  if (mnt_update_set_fs(update.get(), 0, mount.point.c_str(), nullptr) == 0) mnt_update_table(update.get(), nullptr);
}

OSErr unmountDirectly(const Mount& mount, int folder) {
  std::string path = "/proc/self/fd/";
  path.append(std::to_string(folder)).append(mount.point, mount.point.rfind('/'));
  if (::umount2(path.c_str(), UMOUNT_NOFOLLOW) != 0) return errorFor(errno);
  forget(mount);
  return noErr;
}

// Helpers talk to the standard streams, which would be those of the host.
bool hasHelper(const Mount& mount) {
  const bool isServedByProgram = mount.type.starts_with("fuse") && mount.type != "fuseblk";
  return isServedByProgram || ::access(("/sbin/umount." + mount.type).c_str(), X_OK) == 0;
}

std::vector<std::vector<std::string>> programsFor(const Mount& mount, const std::string& device) {
  std::vector<std::vector<std::string>> programs{{"umount", mount.point}};
  // Without this, which only root may say, it asks a server that may be gone.
  if (::geteuid() == 0) programs.front().insert(programs.front().begin() + 1, "--no-canonicalize");
  if (mount.type.starts_with("fuse")) {
    programs.push_back({"fusermount3", "-u", mount.point});
    programs.push_back({"fusermount", "-u", mount.point});
  }
  if (!device.empty()) programs.push_back({"udisksctl", "unmount", "--no-user-interaction", "-b", device});
  return programs;
}

OSErr unmountByPrograms(const Mount& mount, const std::string& device, const std::function<bool()>& isGone) {
  OSErr error = ::geteuid() == 0 ? ioErr : permErr;
  for (const std::vector<std::string>& program : programsFor(mount, device)) {
    const bool isBusy = complaintOf(program).find("busy") != std::string::npos;
    if (isGone()) return noErr;
    if (isBusy) error = fBsyErr;
  }
  return error;
}

}  // namespace

OSErr unmount(const Mount& mount, const std::string& device, const std::function<bool()>& isGone) {
  // The kernel would not unmount it but make it read-only for everybody.
  if (mount.point == "/") return fBsyErr;
  const OwnedFile folder(openFolderOf(mount.point));
  const int failure = folder.get() < 0 ? errno : 0;
  if (failure == ELOOP) return nsvErr;
  if (hasHelper(mount) || !isRoot()) return unmountByPrograms(mount, device, isGone);
  const OSErr error = failure == 0 ? unmountDirectly(mount, folder.get()) : errorFor(failure);
  return isGone() ? OSErr{noErr} : error != noErr ? error : OSErr{fBsyErr};
}

}  // namespace ZtFoundation::mounts
