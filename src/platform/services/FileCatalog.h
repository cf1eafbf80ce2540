/// \file FileCatalog.h
/// What the file system keeps about an item beside its contents, by reference.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/FileReference.h>
#include <ZtFoundation/platform/URL.h>

namespace ZtFoundation {

/// Which fields of a catalog record are wanted; may be combined.
using FSCatalogInfoBitmap = std::uint32_t;
inline constexpr FSCatalogInfoBitmap kFSCatInfoNone = 0;
inline constexpr FSCatalogInfoBitmap kFSCatInfoNodeFlags = 0x0002;
inline constexpr FSCatalogInfoBitmap kFSCatInfoVolume = 0x0004;
inline constexpr FSCatalogInfoBitmap kFSCatInfoCreateDate = 0x0020;
inline constexpr FSCatalogInfoBitmap kFSCatInfoContentMod = 0x0040;
inline constexpr FSCatalogInfoBitmap kFSCatInfoDataSizes = 0x4000;
inline constexpr FSCatalogInfoBitmap kFSCatInfoRsrcSizes = 0x8000;

/// In `nodeFlags`: nobody may change or remove the item.
inline constexpr std::uint16_t kFSNodeLockedMask = 0x0001;
/// In `nodeFlags`: the item is a folder. Read only.
inline constexpr std::uint16_t kFSNodeIsDirectoryMask = 0x0010;

/// Seconds since 1 January 1904 UTC in 48 bits, and a fraction of 1/65536 s. All bits zero where there is no date.
struct UTCDateTime {
  std::uint16_t highSeconds = 0;
  std::uint32_t lowSeconds = 0;
  std::uint16_t fraction = 0;
};

struct FSCatalogInfo {
  std::uint16_t nodeFlags = 0;
  FSVolumeRefNum volume = 0;
  UTCDateTime createDate;
  UTCDateTime contentModDate;
  std::uint64_t dataLogicalSize = 0;
  std::uint64_t dataPhysicalSize = 0;
  std::uint64_t rsrcLogicalSize = 0;
  std::uint64_t rsrcPhysicalSize = 0;
};

/// Calls answer 0 or an error number; an error leaves what they would fill as it is.
class FileCatalog {
 public:
  virtual ~FileCatalog() = default;
  static FileCatalog& production();

  /// The item at `path`: a link at its end is the item itself, links before are followed. fnfErr when there is none.
  virtual OSErr FSPathMakeRef(const Ref<NSString>& path, FSRef* ref, bool* isDirectory) = 0;
  /// The same from a file URL; false when there is no item, no URL or no `ref`.
  virtual bool CFURLGetFSRef(const Ref<NSURL>& url, FSRef* ref) = 0;
  /// Where the item is now, found again if it has moved; none when it is gone and for a null `ref`.
  virtual Ref<NSURL> CFURLCreateFromFSRef(const FSRef* ref) = 0;

  /// The wanted fields of `info`, and the item's file description record; `info` and `description` may be null.
  virtual OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap wanted, FSCatalogInfo* info,
                                 FSSpec* description) = 0;
  /// Of the fields only the lock in the node flags can be set; of a link it is ignored.
  virtual OSErr FSSetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap fields, const FSCatalogInfo* info) = 0;

  /// Makes a folder called `name`, as it stands, in the folder `parent`.
  virtual OSErr FSCreateDirectoryUnicode(const FSRef* parent, const Ref<NSString>& name) = 0;
  /// Gives the item another name in its folder; never replaces what has that name already. bdNamErr for a name that
  /// cannot be one, dupFNErr for one that is taken, fLckdErr for an item that is locked.
  virtual OSErr FSRenameUnicode(const FSRef* ref, const Ref<NSString>& name) = 0;
};

/// Seconds since 1 January 2001 UTC; paramErr for a record that holds no date.
OSErr UCConvertUTCDateTimeToCFAbsoluteTime(const UTCDateTime* date, double* seconds) noexcept;

}  // namespace ZtFoundation
