/// \file System.h
/// What machine and system the process runs on.
/// \code
///   if (ZtGestaltOSVersion() >= 0x1200) { ... }   // version 12.0.0 or later
/// \endcode
/// Threads: may be called from any thread. None blocks beyond reading two small files. Nothing is thrown: without
/// memory the answer cannot be had (the error in the log is 0xffffff94, -108), and the line in the log may be missing.
#pragma once

#include <ZtFoundation/platform/Export.h>
#include <ZtFoundation/platform/Types.h>

namespace ZtFoundation {

extern "C" {

/// The version of the system, packed: two decimal digits, one, one (12.4.1 is 0x1241). A part that has no room reads as
/// the largest that has: 99 for the first, 9 for the others. It is the VERSION_ID of os-release(5), else the release of
/// the kernel.
/// \returns 0 when it cannot be had, after a line "Gestalt Error = ..." in the log.
ZT_EXPORT NSInteger ZtGestaltOSVersion(void);

/// Physical memory in bytes, at most 2147483647. Writes a line to the log that sends callers to the next function.
/// \returns 0 when it cannot be had, after a line "Gestalt Error = ..." in the log.
ZT_EXPORT NSInteger ZtGestaltPhysicalRAMSize(void);

/// Physical memory in megabytes of 2^20 bytes.
/// \returns 0 when it cannot be had, after a line "Gestalt Error = ..." in the log.
ZT_EXPORT NSInteger ZtGestaltPhysicalRAMSizeInMegabytes(void);

}  // extern "C"

}  // namespace ZtFoundation
