/// \file LaunchServices.h
/// What items on disk are to the user, and which applications there are.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/FileReference.h>
#include <ZtFoundation/platform/URL.h>

namespace ZtFoundation {

/// What is asked about an item.
using LSRequestedInfo = std::uint32_t;
inline constexpr LSRequestedInfo kLSRequestBasicFlagsOnly = 4;
inline constexpr LSRequestedInfo kLSRequestAppTypeFlags = 8;

/// What an item is; may be combined.
using LSItemInfoFlags = std::uint32_t;
inline constexpr LSItemInfoFlags kLSItemInfoIsPlainFile = 0x1;
inline constexpr LSItemInfoFlags kLSItemInfoIsPackage = 0x2;
inline constexpr LSItemInfoFlags kLSItemInfoIsApplication = 0x4;
inline constexpr LSItemInfoFlags kLSItemInfoIsContainer = 0x8;
inline constexpr LSItemInfoFlags kLSItemInfoIsInvisible = 0x40;
inline constexpr LSItemInfoFlags kLSItemInfoIsNativeApp = 0x80;
inline constexpr LSItemInfoFlags kLSItemInfoIsVolume = 0x1000;

inline constexpr OSStatus kLSApplicationNotFoundErr = -10814;
inline constexpr OSType kLSUnknownCreator = 0;

struct LSItemInfoRecord {
  LSItemInfoFlags flags = 0;
};

/// Calls answer 0 or an error number; an error leaves what they would fill as it is.
class LaunchServices {
 public:
  virtual ~LaunchServices() = default;
  static LaunchServices& production();

  /// The flags of the item at a file URL, links followed. Those that only the executable tells come with
  /// kLSRequestAppTypeFlags.
  virtual OSStatus LSCopyItemInfoForURL(const Ref<NSURL>& url, LSRequestedInfo wanted, LSItemInfoRecord* info) = 0;
  virtual OSStatus LSCopyItemInfoForRef(const FSRef* ref, LSRequestedInfo wanted, LSItemInfoRecord* info) = 0;

  /// The application with the signature `creator` (kLSUnknownCreator: any) and the identifier `identifier` (none: any).
  /// kLSApplicationNotFoundErr when there is none.
  virtual OSStatus LSFindApplicationForInfo(OSType creator, const Ref<NSString>& identifier,
                                            Ref<NSURL>* application) = 0;
};

}  // namespace ZtFoundation
