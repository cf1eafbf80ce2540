/// \file Volumes.h
/// The volumes of the mounts module.
#pragma once

#include "platform/services/Volumes.h"

namespace ZtFoundation {

/// Answers when the module is missing; stand-ins derive from it and answer what they care for.
class NoVolumes : public Volumes {
 public:
  OSErr FSGetVolumeInfo(FSVolumeRefNum, std::uint32_t, FSVolumeRefNum*, FSVolumeInfoBitmap, FSVolumeInfo*,
                        HFSUniStr255*, FSRef*) override {
    return nsvErr;
  }
  FSVolumeRefNum volumeHolding(const FSRef&) override { return kFSInvalidVolumeRefNum; }
  OSErr FSGetVolumeParms(FSVolumeRefNum, GetVolParmsInfoBuffer*, std::size_t) override { return nsvErr; }
  OSErr FSGetVolumeMountInfoSize(FSVolumeRefNum, std::size_t*) override { return nsvErr; }
  OSErr FSGetVolumeMountInfo(FSVolumeRefNum, void*, std::size_t) override { return nsvErr; }
  OSErr FSUnmountVolumeSync(FSVolumeRefNum) override { return nsvErr; }
  std::vector<Ref<NSString>> mountedRemovableMedia() override { return {}; }
  bool unmountAndEjectDeviceAtPath(const Ref<NSString>&) override { return false; }
};

/// The volumes that the module `file` finds. Without such a module there are none: every call fails with nsvErr,
/// nothing is on any volume, and nothing is unmounted.
Volumes& volumesInModule(const char* file);

}  // namespace ZtFoundation
