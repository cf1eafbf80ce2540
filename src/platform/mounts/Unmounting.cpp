#include "platform/mounts/Unmounting.h"

#include <libmount/libmount.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "platform/mounts/Owned.h"
#include "platform/mounts/Program.h"

namespace ZtFoundation::mounts {

namespace {

using Context = std::unique_ptr<libmnt_context, decltype(&mnt_free_context)>;

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
    case ENOENT:
      return nsvErr;
    case ENOMEM:
      return memFullErr;
    default:
      return ioErr;
  }
}

OSErr unmountByContext(libmnt_context* context, const Mount& mount) {
  if (mnt_context_set_target(context, mount.point.c_str()) != 0) throw std::bad_alloc();
  // The server need not answer: it is not to be asked what the mount point might be a link to.
  mnt_context_disable_canonicalize(context, 1);
  mnt_context_disable_helpers(context, 1);
  const int result = mnt_context_umount(context);
  if (mnt_context_syscall_called(context)) return errorFor(mnt_context_get_syscall_errno(context));
  return errorFor(-result);
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
  const Context context(made(mnt_new_context()), mnt_free_context);
  if (hasHelper(mount) || mnt_context_is_restricted(context.get())) return unmountByPrograms(mount, device, isGone);
  const OSErr error = unmountByContext(context.get(), mount);
  return isGone() ? OSErr{noErr} : error != noErr ? error : OSErr{fBsyErr};
}

}  // namespace ZtFoundation::mounts
