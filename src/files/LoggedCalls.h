/// \file LoggedCalls.h
/// Calls of the platform as the operations of the file manager make them: each that fails is a line in the platform
/// log.
#pragma once

#include <ZtFoundation/platform/FileReference.h>

#include "platform/services/FileCatalog.h"
#include "platform/services/Volumes.h"

namespace ZtFoundation::detail {

/// The calls of one operation. Each answers whether it succeeded; a failure leaves what it would fill as it is.
class LoggedCalls {
 public:
  /// `operation` is the selector that stands in the log.
  explicit LoggedCalls(const char* operation) noexcept : operation_(operation) {}

  bool FSPathMakeRef(const Ref<NSString>& path, FSRef* item) const;
  bool FSGetCatalogInfo(const FSRef& item, FSCatalogInfoBitmap wanted, FSCatalogInfo* info) const;
  bool FSSetCatalogInfo(const FSRef& item, FSCatalogInfoBitmap fields, const FSCatalogInfo& info) const;
  bool FSGetVolumeInfo(FSVolumeRefNum volume, FSVolumeInfoBitmap wanted, FSVolumeInfo* info) const;
  bool FSGetVolumeParms(FSVolumeRefNum volume, GetVolParmsInfoBuffer* parameters) const;
  bool FSGetVolumeMountInfoSize(FSVolumeRefNum volume, std::size_t* size) const;
  /// The log has an older name for this call.
  bool FSGetVolumeMountInfo(FSVolumeRefNum volume, void* buffer, std::size_t size) const;
  bool FSFindFolder(FSVolumeRefNum volumeOrDomain, OSType type, bool create, FSRef* folder) const;
  /// The volume that the item at `path` lies on. The root of one is known without asking the volume itself, whose server
  /// may be gone.
  bool volumeOf(const Ref<NSString>& path, FSVolumeRefNum* volume) const;
  /// None when it fails.
  Ref<NSURL> CFURLCreateFromFSRef(const FSRef& item) const;

 private:
  bool check(OSErr error, const char* call) const;

  const char* operation_;
};

}  // namespace ZtFoundation::detail
