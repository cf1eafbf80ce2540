#include "platform/linux/files/FileErrors.h"

#include <cerrno>

namespace ZtFoundation::detail {

OSErr fileError(int systemError) noexcept {
  switch (systemError) {
    case 0:
      return noErr;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return dskFulErr;
    case ENODEV:
    case ENXIO:
      return nsvErr;
    case ENAMETOOLONG:
    case EILSEQ:
      return bdNamErr;
    case EMFILE:
    case ENFILE:
      return tmfoErr;
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
      return fnfErr;
    case EROFS:
      return vLckdErr;
    case EBUSY:
    case ETXTBSY:
    case ENOTEMPTY:
      return fBsyErr;
    case EEXIST:
      return dupFNErr;
    case EINVAL:
    case EBADF:
    case EFAULT:
      return paramErr;
    case EPERM:
      return permErr;
    case ENOMEM:
      return memFullErr;
    case ECANCELED:
      return userCanceledErr;
    case EXDEV:
      return diffVolErr;
    case EISDIR:
      return notAFileErr;
    case EACCES:
      return afpAccessDenied;
    default:
      return ioErr;
  }
}

}  // namespace ZtFoundation::detail
