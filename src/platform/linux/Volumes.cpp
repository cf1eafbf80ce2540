#include "platform/linux/Volumes.h"

#include "platform/linux/ModuleLoader.h"

namespace ZtFoundation {

namespace {

// Answers when the module is missing.
class NoVolumes final : public Volumes {
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

}  // namespace

Volumes& volumesInModule(const char* file) {
  void* const entry = moduleFunction(file, kVolumesEntry);
  if (entry != nullptr) return *reinterpret_cast<VolumesEntry>(entry)();
  static NoVolumes& none = *new NoVolumes;
  return none;
}

Volumes& Volumes::production() {
  static Volumes& loaded = volumesInModule("libZtFoundationMounts.so");
  return loaded;
}

}  // namespace ZtFoundation
