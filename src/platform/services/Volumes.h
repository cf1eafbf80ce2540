/// \file Volumes.h
/// Mounted volumes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <ZtFoundation/platform/FileReference.h>

namespace ZtFoundation {

/// Which fields of a volume record are wanted; may be combined.
using FSVolumeInfoBitmap = std::uint32_t;
inline constexpr FSVolumeInfoBitmap kFSVolInfoNone = 0;
inline constexpr FSVolumeInfoBitmap kFSVolInfoSizes = 0x0040;
inline constexpr FSVolumeInfoBitmap kFSVolInfoFlags = 0x2000;

inline constexpr FSVolumeRefNum kFSInvalidVolumeRefNum = 0;

/// In `flags`: the device takes no writing.
inline constexpr std::uint16_t kFSVolFlagHardwareLockedMask = 0x0080;
/// In `flags`: the volume is mounted for reading only.
inline constexpr std::uint16_t kFSVolFlagSoftwareLockedMask = 0x8000;

struct FSVolumeInfo {
  std::uint16_t flags = 0;
  std::uint64_t totalBytes = 0;
  std::uint64_t freeBytes = 0;  ///< what an ordinary process may still use
};

/// The name of a volume: a count of UTF-16 units and the units.
struct HFSUniStr255 {
  std::uint16_t length = 0;
  char16_t unicode[255] = {};
};

/// The parameters of a volume, 44 bytes long.
#pragma pack(push, 2)
struct GetVolParmsInfoBuffer {
  std::uint16_t vMVersion = 0;
  std::uint32_t vMAttrib = 0;
  std::uint32_t vMLocalHand = 0;
  std::uint32_t vMReserved = 0;
  std::uint32_t vMServerAdr = 0;  ///< not 0 when the volume is served over the network
  unsigned char vMRest[26] = {};
};
#pragma pack(pop)
static_assert(sizeof(GetVolParmsInfoBuffer) == 44);

/// How a volume on the network was mounted.
#pragma pack(push, 2)
struct VolMountInfoHeader {
  std::int16_t length = 0;  ///< of the whole record in bytes
  OSType media = 0;         ///< the kind of the server
};
#pragma pack(pop)
static_assert(sizeof(VolMountInfoHeader) == 6);

inline constexpr OSType AppleShareMediaType = 0x6166706D;  // 'afpm'
inline constexpr OSType kWebDAVMediaType = 0x68747470;     // 'http'

/// Calls answer 0 or an error number; an error leaves what they would fill as it is. What they are asked to fill may be
/// null where the caller does not want it. None but the sizes and unmounting asks a server. A reference to the root of
/// a volume that a server or a program answers for has the number 0 in its identity for that reason, and its path is
/// where the volume is mounted.
class Volumes {
 public:
  virtual ~Volumes() = default;
  static Volumes& production();

  /// The volume numbered `volume`, or, for 0, the one at `index`, which counts from 1: the start-up volume, then in the
  /// order of mounting. nsvErr when there is none, tmfoErr when there are no descriptors to find out its name.
  virtual OSErr FSGetVolumeInfo(FSVolumeRefNum volume, std::uint32_t index, FSVolumeRefNum* actual,
                                FSVolumeInfoBitmap wanted, FSVolumeInfo* info, HFSUniStr255* name, FSRef* root) = 0;
  /// The number of the volume that an item lies on; 0 when it cannot be told.
  virtual FSVolumeRefNum volumeHolding(const FSRef& item) = 0;
  /// The number of the volume whose root path is exactly `path`; 0 when there is none, and for no path.
  virtual FSVolumeRefNum volumeRootedAt([[maybe_unused]] const Ref<NSString>& path) { return kFSInvalidVolumeRefNum; }

  /// Fills `size` bytes of `parameters`.
  virtual OSErr FSGetVolumeParms(FSVolumeRefNum volume, GetVolParmsInfoBuffer* parameters, std::size_t size) = 0;
  /// The size of a volume's mount information; an error for a volume that has none, as local ones have.
  virtual OSErr FSGetVolumeMountInfoSize(FSVolumeRefNum volume, std::size_t* size) = 0;
  /// Fills `size` bytes; the record begins with a VolMountInfoHeader.
  virtual OSErr FSGetVolumeMountInfo(FSVolumeRefNum volume, void* buffer, std::size_t size) = 0;

  /// Waits until the volume is unmounted. nsvErr when there is none, also for 0, fBsyErr while it is in use, permErr or
  /// afpAccessDenied where the process may not.
  virtual OSErr FSUnmountVolumeSync(FSVolumeRefNum volume) = 0;

  /// The root paths of mounted volumes on media that can be taken out.
  virtual std::vector<Ref<NSString>> mountedRemovableMedia() = 0;
  /// Unmounts the volume whose root is at `path` and ejects its medium where it can be. False when it stays mounted.
  virtual bool unmountAndEjectDeviceAtPath(const Ref<NSString>& path) = 0;
};

/// The name and type of the function by which the mounts module hands itself out; the object lives as long as the
/// process.
inline constexpr char kVolumesEntry[] = "ZtFoundationVolumes";
using VolumesEntry = Volumes* (*)();

/// Where the mounts module looks.
struct VolumeSources {
  std::string mountTable = "/proc/self/mountinfo";
  std::string devices = "/sys/dev/block";     ///< a folder for each device, called by its numbers ("8:1")
  std::string labels = "/dev/disk/by-label";  ///< links to devices, called by the labels of what is on them
};
/// The function that makes another object that looks elsewhere, the caller's to delete.
inline constexpr char kVolumesFromEntry[] = "ZtFoundationVolumesFrom";
using VolumesFromEntry = Volumes* (*)(const VolumeSources& sources);

}  // namespace ZtFoundation
