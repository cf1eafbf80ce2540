/// \file FileErrors.h
/// The error numbers of file operations.
///
/// | number | name | the system's errors behind it |
/// |---|---|---|
/// | 0 | noErr | |
/// | -34 | dskFulErr | ENOSPC, EDQUOT, EFBIG |
/// | -35 | nsvErr | no such volume: ENODEV, ENXIO |
/// | -36 | ioErr | EIO and every error that has no line of its own |
/// | -37 | bdNamErr | ENAMETOOLONG, EILSEQ; a name that cannot be one |
/// | -42 | tmfoErr | EMFILE, ENFILE |
/// | -43 | fnfErr | ENOENT, ENOTDIR, ELOOP |
/// | -44 | wPrErr | none: a device locked by hardware gives EROFS like any other |
/// | -45 | fLckdErr | EPERM on an item that is locked |
/// | -46 | vLckdErr | EROFS: a volume mounted for reading only |
/// | -47 | fBsyErr | EBUSY, ETXTBSY, ENOTEMPTY |
/// | -48 | dupFNErr | EEXIST |
/// | -50 | paramErr | EINVAL, EBADF, EFAULT |
/// | -54 | permErr | EPERM |
/// | -108 | memFullErr | ENOMEM |
/// | -120 | dirNFErr | the folder that is to hold an item is missing |
/// | -1303 | diffVolErr | EXDEV |
/// | -1407 | notAFileErr | EISDIR |
/// | -5000 | afpAccessDenied | EACCES |
/// | -128 | userCanceledErr | ECANCELED |
///
/// \code
///   OSStatus status = JxFileOperation::copyFileTo(path, folder);
///   if (status == fnfErr || status == dirNFErr) NSLog("nothing at %@ or no folder %@", path, folder);
/// \endcode
/// Threads: these are constants.
#pragma once

#include <cstdint>

namespace ZtFoundation {

/// A file-error number as the calls of the platform answer it.
using OSErr = std::int16_t;

inline constexpr OSErr noErr = 0;
inline constexpr OSErr dskFulErr = -34;
inline constexpr OSErr nsvErr = -35;
inline constexpr OSErr ioErr = -36;
inline constexpr OSErr bdNamErr = -37;
inline constexpr OSErr tmfoErr = -42;
inline constexpr OSErr fnfErr = -43;
inline constexpr OSErr wPrErr = -44;
inline constexpr OSErr fLckdErr = -45;
inline constexpr OSErr vLckdErr = -46;
inline constexpr OSErr fBsyErr = -47;
inline constexpr OSErr dupFNErr = -48;
inline constexpr OSErr paramErr = -50;
inline constexpr OSErr permErr = -54;
inline constexpr OSErr memFullErr = -108;
inline constexpr OSErr dirNFErr = -120;
inline constexpr OSErr userCanceledErr = -128;
inline constexpr OSErr diffVolErr = -1303;
inline constexpr OSErr notAFileErr = -1407;
inline constexpr OSErr afpAccessDenied = -5000;

}  // namespace ZtFoundation
