#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "platform/mounts/BlockDevice.h"
#include "platform/mounts/MountWatch.h"
#include "platform/mounts/Unmounting.h"
#include "platform/mounts/VolumeName.h"
#include "platform/mounts/VolumeTable.h"
#include "platform/services/Volumes.h"

#define ZT_MODULE_ENTRY extern "C" __attribute__((visibility("default")))

namespace ZtFoundation {

namespace {

using mounts::Volume;
using mounts::VolumeTable;

constexpr unsigned kWantedOfItem = STATX_INO | STATX_TYPE | STATX_BTIME | STATX_MNT_ID;

bool statusOf(const std::string& path, int synchronisation, struct statx* status) {
  const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | synchronisation;
  return statx(AT_FDCWD, path.c_str(), flags, kWantedOfItem, status) == 0;
}

dev_t deviceIn(const struct statx& status) { return makedev(status.stx_dev_major, status.stx_dev_minor); }

FSRef::Identity identityIn(const struct statx& status) {
  FSRef::Identity identity;
  identity.device = deviceIn(status);
  identity.number = status.stx_ino;
  identity.hasBirth = (status.stx_mask & STATX_BTIME) != 0;
  identity.isFolder = S_ISDIR(status.stx_mode);
  if (identity.hasBirth) {
    identity.bornSeconds = status.stx_btime.tv_sec;
    identity.bornNanoseconds = status.stx_btime.tv_nsec;
  }
  return identity;
}

FSRef rootOf(const Volume& volume) {
  FSRef::Identity identity;
  identity.device = volume.mount.device;
  identity.isFolder = true;
  struct statx status;
  // As whoever refers to the item later asks, so that the answers agree.
  if (!volume.mayBlock && statusOf(volume.mount.point, AT_STATX_SYNC_AS_STAT, &status)) identity = identityIn(status);
  return FSRef(identity, NSString::stringWithFileSystemRepresentation(volume.mount.point));
}

// A program that serves files may tell any numbers.
std::uint64_t product(std::uint64_t blocks, std::uint64_t size) {
  std::uint64_t bytes = 0;
  return __builtin_mul_overflow(blocks, size, &bytes) ? std::numeric_limits<std::uint64_t>::max() : bytes;
}

OSErr addSizes(const Volume& volume, FSVolumeInfo* info) {
  struct statvfs sizes;
  int result = statvfs(volume.mount.point.c_str(), &sizes);
  while (result != 0 && errno == EINTR) result = statvfs(volume.mount.point.c_str(), &sizes);
  if (result != 0) return errno == EACCES ? afpAccessDenied : errno == ENOENT ? nsvErr : ioErr;
  info->totalBytes = product(sizes.f_blocks, sizes.f_frsize);
  info->freeBytes = product(sizes.f_bavail, sizes.f_frsize);
  return noErr;
}

HFSUniStr255 record(const std::string& name) {
  HFSUniStr255 result;
  const std::u16string units(NSString::stringWithFileSystemRepresentation(name)->utf16());
  result.length = static_cast<std::uint16_t>(units.copy(result.unicode, std::size(result.unicode)));
  return result;
}

template <class Value>
void store(Value* place, const Value& value) {
  if (place != nullptr) *place = value;
}

class MountedVolumes final : public Volumes {
 public:
  explicit MountedVolumes(const VolumeSources& sources) : sources_(sources), watch_(sources.mountTable) {}

  OSErr FSGetVolumeInfo(FSVolumeRefNum number, std::uint32_t index, FSVolumeRefNum* actual, FSVolumeInfoBitmap wanted,
                        FSVolumeInfo* info, HFSUniStr255* name, FSRef* root) override {
    // A file system can become read-only without the table changing.
    const Table table = (wanted & kFSVolInfoFlags) != 0 ? reread() : current();
    const Volume* const volume = number != kFSInvalidVolumeRefNum ? table->numbered(number) : at(*table, index);
    if (volume == nullptr) return nsvErr;
    FSVolumeInfo found;
    if (info != nullptr) {
      found = *info;
      const OSErr error = fill(*volume, wanted, &found);
      if (error != noErr) return error;
    }
    if (name != nullptr && !putName(*volume, name)) return tmfoErr;
    store(info, found);
    store(actual, volume->number);
    if (root != nullptr) *root = rootOf(*volume);
    return noErr;
  }

  FSVolumeRefNum volumeHolding(const FSRef& item) override {
    if (item.isEmpty()) return kFSInvalidVolumeRefNum;
    const Table table = current();
    const Volume* const volume = holderOf(item, *table);
    return volume != nullptr ? volume->number : kFSInvalidVolumeRefNum;
  }

  FSVolumeRefNum volumeRootedAt(const Ref<NSString>& path) override {
    if (!path) return kFSInvalidVolumeRefNum;
    const Table table = current();
    const Volume* const volume = table->rootedAt(path->fileSystemRepresentation());
    return volume != nullptr ? volume->number : kFSInvalidVolumeRefNum;
  }

  OSErr FSGetVolumeParms(FSVolumeRefNum number, GetVolParmsInfoBuffer* parameters, std::size_t size) override {
    const Table table = current();
    const Volume* const volume = table->numbered(number);
    if (volume == nullptr) return nsvErr;
    GetVolParmsInfoBuffer found;
    found.vMServerAdr = volume->mount.server != 0 ? 1 : 0;
    if (parameters != nullptr) std::memcpy(parameters, &found, std::min(size, sizeof(found)));
    return noErr;
  }

  OSErr FSGetVolumeMountInfoSize(FSVolumeRefNum number, std::size_t* size) override {
    OSType media = 0;
    const OSErr error = serverKindOf(number, &media);
    if (error == noErr) store(size, sizeof(VolMountInfoHeader));
    return error;
  }

  OSErr FSGetVolumeMountInfo(FSVolumeRefNum number, void* buffer, std::size_t size) override {
    OSType media = 0;
    const OSErr error = serverKindOf(number, &media);
    if (error != noErr) return error;
    const VolMountInfoHeader found{sizeof(VolMountInfoHeader), media};
    if (buffer != nullptr && size < sizeof(found)) return paramErr;
    if (buffer != nullptr) std::memcpy(buffer, &found, sizeof(found));
    return noErr;
  }

  OSErr FSUnmountVolumeSync(FSVolumeRefNum number) override {
    const Table table = current();
    const Volume* const volume = table->numbered(number);
    return volume != nullptr ? unmount(*volume, *table) : OSErr{nsvErr};
  }

  std::vector<Ref<NSString>> mountedRemovableMedia() override {
    std::vector<Ref<NSString>> roots;
    const Table table = current();
    for (const Volume& volume : table->volumes()) {
      if (deviceOf(volume).isRemovable()) {
        roots.push_back(NSString::stringWithFileSystemRepresentation(volume.mount.point));
      }
    }
    return roots;
  }

  bool unmountAndEjectDeviceAtPath(const Ref<NSString>& path) override {
    if (!path) return false;
    const Table table = current();
    const Volume* const volume = table->rootedAt(path->fileSystemRepresentation());
    if (volume == nullptr) return false;
    const mounts::BlockDevice device = deviceOf(*volume);
    if (unmount(*volume, *table) != noErr) return false;
    if (device.isRemovable()) ejectUnused(device);
    return true;
  }

 private:
  using Table = std::shared_ptr<const VolumeTable>;

  Table current() {
    const std::lock_guard guard(mutex_);
    return table_ == nullptr || watch_.mayHaveChanged() ? renewed() : table_;
  }
  Table reread() {
    const std::lock_guard guard(mutex_);
    return renewed();
  }
  // With the lock held.
  Table renewed() {
    const Table last = std::exchange(table_, nullptr);  // asked for again if something is thrown here
    std::optional<std::string> text = watch_.read();
    if (last != nullptr && (!text || *text == text_)) return table_ = last;
    text_ = std::move(text).value_or("");
    const std::vector<mounts::Mount> all = mounts::parseMounts(text_);
    numbers_.keepOnly(all);
    return table_ = std::make_shared<const VolumeTable>(all, numbers_);
  }

  // False for want of descriptors.
  bool putName(const Volume& volume, HFSUniStr255* name) const {
    try {
      *name = record(mounts::nameOf(volume, sources_.labels));
      return true;
    } catch (const mounts::TooManyFiles&) {
      return false;
    }
  }

  static const Volume* at(const VolumeTable& table, std::uint32_t index) {
    return index >= 1 && index <= table.volumes().size() ? &table.volumes()[index - 1] : nullptr;
  }

  // The mount is what counts, because the way to the item may lead through links. A file system that may not answer is
  // not asked again when the path tells enough.
  static const Volume* holderOf(const FSRef& item, const VolumeTable& table) {
    const std::string path = item.path()->fileSystemRepresentation();
    const FSRef::Identity& identity = item.identity();
    const Volume* const byPath = table.above(path);
    if (byPath != nullptr && byPath->mayBlock && byPath->mount.device == identity.device) return byPath;
    struct statx status;
    if (!statusOf(path, AT_STATX_DONT_SYNC, &status)) return byPath;  // no more than is already known here
    if (deviceIn(status) != identity.device) {                        // something else is there now
      const Volume* const byDevice = table.onDevice(identity.device, path);
      if (byDevice != nullptr) return byDevice;
    }
    const bool hasMount = (status.stx_mask & STATX_MNT_ID) != 0;
    const Volume* const byMount = hasMount ? table.ofMount(static_cast<int>(status.stx_mnt_id)) : nullptr;
    return byMount != nullptr ? byMount : byPath;
  }

  OSErr fill(const Volume& volume, FSVolumeInfoBitmap wanted, FSVolumeInfo* info) const {
    if ((wanted & kFSVolInfoFlags) != 0) {
      info->flags = static_cast<std::uint16_t>((volume.mount.isReadOnly ? kFSVolFlagSoftwareLockedMask : 0) |
                                               (deviceOf(volume).isReadOnly() ? kFSVolFlagHardwareLockedMask : 0));
    }
    return (wanted & kFSVolInfoSizes) != 0 ? addSizes(volume, info) : OSErr{noErr};
  }

  // paramErr for a local volume.
  OSErr serverKindOf(FSVolumeRefNum number, OSType* kind) {
    const Table table = current();
    const Volume* const volume = table->numbered(number);
    if (volume == nullptr) return nsvErr;
    *kind = volume->mount.server;
    return *kind != 0 ? noErr : paramErr;
  }

  mounts::BlockDevice deviceOf(const Volume& volume) const { return {volume.mount, sources_.devices}; }

  OSErr unmount(const Volume& volume, const VolumeTable& table) {
    const auto& all = table.volumes();
    const auto shares = [&](const Volume& other) {
      return other.mount.source == volume.mount.source || other.mount.device == volume.mount.device;
    };
    // By its device something else than this mount could be meant.
    const bool isAlone = std::count_if(all.begin(), all.end(), shares) == 1;
    const std::string device = isAlone ? mounts::deviceSource(volume.mount) : std::string();
    return mounts::unmount(volume.mount, device, [&] { return reread()->numbered(volume.number) == nullptr; });
  }

  // Ejects the disks that nothing is mounted of any more.
  void ejectUnused(const mounts::BlockDevice& device) {
    const Table table = current();
    for (const std::string& disk : device.disks()) {
      const auto isOn = [&](const Volume& volume) {
        const std::vector<std::string> disks = deviceOf(volume).disks();
        return std::find(disks.begin(), disks.end(), disk) != disks.end();
      };
      if (std::none_of(table->volumes().begin(), table->volumes().end(), isOn)) mounts::BlockDevice::eject(disk);
    }
  }

  const VolumeSources sources_;
  std::mutex mutex_;
  mounts::MountWatch watch_;
  std::string text_;
  mounts::VolumeNumbers numbers_;
  Table table_;
};

}  // namespace

ZT_MODULE_ENTRY Volumes* ZtFoundationVolumes();
// Kept for good: threads may still ask while the process ends.
Volumes* ZtFoundationVolumes() {
  static Volumes* const shared = new MountedVolumes(VolumeSources{});
  return shared;
}

ZT_MODULE_ENTRY Volumes* ZtFoundationVolumesFrom(const VolumeSources& sources);
Volumes* ZtFoundationVolumesFrom(const VolumeSources& sources) { return new MountedVolumes(sources); }

}  // namespace ZtFoundation
