#include "platform/linux/volumes/Volumes.h"

#include "platform/linux/process/ModuleLoader.h"

namespace ZtFoundation {

Volumes& volumesInModule(const char* file) { return serviceInModule<Volumes, NoVolumes>(file, kVolumesEntry); }

Volumes& Volumes::production() {
  static Volumes& loaded = volumesInModule("libZtFoundationMounts.so");
  return loaded;
}

}  // namespace ZtFoundation
