#include "platform/linux/volumes/Volumes.h"

#include "platform/linux/process/ModuleLoader.h"

namespace ZtFoundation {

namespace {

using VolumesInModule = ServiceInModule<Volumes, NoVolumes>;

}  // namespace

Volumes& volumesInModule(const char* file) { return VolumesInModule(file, kVolumesEntry).get(); }

Volumes& Volumes::production() {
  static constinit VolumesInModule module("libZtFoundationMounts.so", kVolumesEntry);
  return module.get();
}

}  // namespace ZtFoundation
