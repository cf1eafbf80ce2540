#include "platform/services/Aliases.h"

#include <fcntl.h>
#include <sys/vfs.h>

#include <algorithm>
#include <cstring>

#include "platform/linux/files/ItemPath.h"
#include "platform/linux/files/ItemStatus.h"
#include "platform/linux/references/AliasRecord.h"
#include "platform/linux/references/ItemReference.h"
#include "platform/linux/references/ItemSearch.h"
#include "platform/linux/volumes/MountTable.h"

namespace ZtFoundation {

namespace {

using namespace detail;

constexpr std::chrono::milliseconds kSearchLimit{5000};

// --- Making

std::uint8_t kindOf(const struct statx& status) { return static_cast<std::uint8_t>(status.stx_mode >> 12); }

ItemTraits traitsOf(const struct statx& status) { return {identityOf(status), kindOf(status)}; }

std::uint64_t identifierOf(const std::string& mountPoint) {
  struct statfs status;
  if (::statfs(mountPoint.c_str(), &status) != 0) return 0;
  std::uint64_t identifier = 0;
  std::memcpy(&identifier, &status.f_fsid, std::min(sizeof identifier, sizeof status.f_fsid));
  return identifier;
}

std::optional<VolumeTraits> traitsOfVolume(const std::string& path) {
  const auto mounts = mountTable();
  const MountedFileSystem* mount = mountHolding(mounts, path);
  const auto root = mount != nullptr ? statusOfItem(mount->mountPoint) : std::nullopt;
  if (!root) return std::nullopt;
  return VolumeTraits{mount->type, mount->source, traitsOf(*root), identifierOf(mount->mountPoint), mount->mountPoint};
}

std::optional<AliasContents> describe(const ItemPlace& place, bool withHandles) {
  const auto path = canonicalItemPath(place.path);
  const auto volume = path ? traitsOfVolume(*path) : std::nullopt;
  if (!volume) return std::nullopt;
  AliasContents contents{0, *path, traitsOf(place.status), *volume, {}, {}};
  if (withHandles) {
    contents.handle = handleOfItem(*path);
    contents.parentHandle = handleOfItem(parentOfPath(*path));
  }
  return contents;
}

// --- The volume

bool isDevice(const std::string& source) { return source.starts_with("/dev/"); }

// Told from the table alone. A device may have another name today; a server's folder has not.
bool mayBeVolume(const MountedFileSystem& mount, const VolumeTraits& volume) {
  return mount.type == volume.type &&
         (mount.source == volume.source || (isDevice(mount.source) && isDevice(volume.source)));
}

// The root folder is as old as the volume.
bool isVolume(const MountedFileSystem& mount, const VolumeTraits& volume) {
  const auto root = statusOfItem(mount.mountPoint);
  if (!root) return false;
  FSRef::Identity identity = identityOf(*root);
  identity.device = volume.root.identity.device;  // may be another with each mount
  if (identity != volume.root.identity) return false;
  return identity.hasBirth || (mount.source == volume.source && identifierOf(mount.mountPoint) == volume.identifier);
}

// Where it was mounted before, if it is mounted there among other places.
const MountedFileSystem* findVolume(const std::vector<MountedFileSystem>& mounts, const VolumeTraits& volume) {
  const MountedFileSystem* best = nullptr;
  for (const MountedFileSystem& mount : mounts) {
    const bool isOldPlace = mount.mountPoint == volume.mountPoint;
    if (best != nullptr && !isOldPlace) continue;
    if (mayBeVolume(mount, volume) && isVolume(mount, volume)) best = &mount;
  }
  return best;
}

// --- Resolving

bool isOfUserProgram(const std::string& type) { return type == "fuse" || type.starts_with("fuse."); }

// These give an item another number each time that they meet it, or may be a program that does. A date of birth beside
// the number tells that the item is the right one.
bool renumbers(const std::string& type) {
  return type == "vfat" || type == "msdos" || type == "exfat" || type == "fuseblk";
}

// Whether a number says anything about an item.
bool keepsNumbers(const std::string& type, bool hasBirth) {
  return !isOfUserProgram(type) && (hasBirth || !renumbers(type));
}

class Resolution {
 public:
  Resolution(const AliasContents& alias, const std::vector<MountedFileSystem>& mounts, const MountedFileSystem& mount)
      : alias_(alias), mounts_(mounts), mount_(mount), path_(pathOnVolume()) {}

  std::optional<ItemPlace> run() {
    if (auto place = ifItem(path_)) return place;
    if (!keepsNumbers(mount_.type, alias_.item.identity.hasBirth)) return successor();
    openHandles();
    if (auto place = ifItem(handledPath_)) return place;
    const SearchResult result = search();
    if (result.path) return ifItem(*result.path);
    return result.isComplete ? successor() : std::nullopt;
  }

 private:
  // The volume may be mounted somewhere else today.
  std::string pathOnVolume() const {
    const std::string& before = alias_.volume.mountPoint;
    const std::string inside = before == "/" ? alias_.path : alias_.path.substr(before.size());
    if (mount_.mountPoint == "/") return inside.empty() ? "/" : inside;
    return inside == "/" ? mount_.mountPoint : mount_.mountPoint + inside;
  }

  bool isOnVolume(const std::string& path) const {
    const MountedFileSystem* holding = mountHolding(mounts_, path);
    return holding != nullptr && holding->mountPoint == mount_.mountPoint;
  }

  // The date of birth makes a number unique on its volume. Without one it is so for as long as the item lives, on this
  // device; the file system's handle tells it from a later item of that number.
  bool isItem(const std::string& path, const struct statx& status) const {
    ItemTraits found = traitsOf(status);
    const bool isOnVolumesDevice = isDeviceOfVolume(found.identity.device);
    if (isOnVolumesDevice != wasOnVolumesDevice()) return false;
    if (found.identity.hasBirth || isOnVolumesDevice) found.identity.device = alias_.item.identity.device;
    return found == alias_.item && (found.identity.hasBirth || mayHaveItsHandle(path));
  }

  // A volume with snapshots has a device for each, and copies of the item with its number and its date.
  bool wasOnVolumesDevice() const { return alias_.item.identity.device == alias_.volume.root.identity.device; }

  bool mayHaveItsHandle(const std::string& path) const {
    const auto handle = alias_.handle ? handleOfItem(path) : std::nullopt;
    return !handle || *handle == *alias_.handle;
  }

  bool isDeviceOfVolume(std::uint64_t device) const {
    const auto root = statusOfItem(mount_.mountPoint);
    return root && identityOf(*root).device == device;
  }

  std::optional<ItemPlace> ifItem(const std::string& path) const {
    const auto status = isOnVolume(path) ? statusOfItem(path) : std::nullopt;
    if (!status || !isItem(path, *status)) return std::nullopt;
    return ItemPlace{path, *status};
  }

  // An editor that saves puts a new file in the place of the old one. What has the name of an item that is nowhere any
  // more is its successor.
  std::optional<ItemPlace> successor() const {
    const auto status = isOnVolume(path_) && canonicalItemPath(path_) == path_ ? statusOfItem(path_) : std::nullopt;
    if (!status || kindOf(*status) != alias_.item.kind) return std::nullopt;
    return ItemPlace{path_, *status};
  }

  void openHandles() {
    const FileDescriptor volume(
        retryInterrupted([&] { return ::open(mount_.mountPoint.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!volume) return;
    handledPath_ = pathByHandle(volume.get(), alias_.handle);
    handledParent_ = pathByHandle(volume.get(), alias_.parentHandle);
  }

  static std::string pathByHandle(int volume, const std::optional<FileHandle>& handle) {
    const FileDescriptor item = handle ? openHandle(volume, *handle) : FileDescriptor();
    return item ? rememberedPath(item.get()).value_or("") : std::string();
  }

  SearchResult search() const {
    SearchOrder order = orderForVolume(mounts_, mount_);
    order.number = alias_.item.identity.number;
    order.isRight = [this](const std::string& path) { return ifItem(path).has_value(); };
    order.nearest = nearest();
    order.limit = kSearchLimit;
    return searchOutwards(order);
  }

  std::string nearest() const {
    if (!handledParent_.empty() && isOnVolume(handledParent_)) return handledParent_;
    std::string folder = parentOfPath(path_);
    while (folder != mount_.mountPoint && isInFolder(folder, mount_.mountPoint) && !isFolderHere(folder)) {
      folder = parentOfPath(folder);
    }
    return isInFolder(folder, mount_.mountPoint) ? folder : mount_.mountPoint;
  }

  // A link on the way may lead to another volume.
  bool isFolderHere(const std::string& path) const {
    const auto status = isOnVolume(path) && canonicalPath(path) == path ? statusOfItem(path) : std::nullopt;
    return status && isFolder(*status);
  }

  const AliasContents& alias_;
  const std::vector<MountedFileSystem>& mounts_;
  const MountedFileSystem& mount_;
  const std::string path_;
  std::string handledPath_;
  std::string handledParent_;
};

// An item that has not moved needs no look at the volumes: no other has its number and its date of birth. But what is
// mounted there today may be another one, which keeps the process waiting.
std::optional<ItemPlace> placeUnmoved(const AliasContents& alias, const std::vector<MountedFileSystem>& mounts) {
  if (!alias.item.identity.hasBirth) return std::nullopt;
  const MountedFileSystem* mount = mountHolding(mounts, alias.path);
  if (mount != nullptr && !mayBeVolume(*mount, alias.volume)) return std::nullopt;
  const auto status = statusOfItem(alias.path);
  if (!status || traitsOf(*status) != alias.item) return std::nullopt;
  return ItemPlace{alias.path, *status};
}

OSErr resolve(const AliasContents& alias, std::optional<ItemPlace>& place) {
  const auto mounts = mountTable();
  place = placeUnmoved(alias, mounts);
  if (place) return noErr;
  const MountedFileSystem* mount = findVolume(mounts, alias.volume);
  if (mount == nullptr) return nsvErr;
  place = Resolution(alias, mounts, *mount).run();
  return place ? noErr : fnfErr;
}

// Links may have come to stand on the way.
void leaveLinksBehind(ItemPlace& place) {
  if (auto path = canonicalItemPath(place.path)) place.path = std::move(*path);
}

// --- The handle

std::optional<AliasContents> contentsOf(AliasHandle alias) {
  return alias != nullptr ? decodeAlias({reinterpret_cast<const char*>(*alias), GetHandleSize(alias)}) : std::nullopt;
}

void replaceContents(AliasHandle alias, const std::string& bytes) {
  if (SetHandleSize(alias, bytes.size()) != noErr) throw std::bad_alloc();
  std::memcpy(*alias, bytes.data(), bytes.size());
}

OSErr makeHandle(const std::string& bytes, AliasHandle* alias) {
  if (PtrToHand(bytes.data(), alias, bytes.size()) != noErr) throw std::bad_alloc();
  return noErr;
}

bool saysSo(const AliasContents& alias, const ItemPlace& place) {
  FSRef::Identity identity = identityOf(place.status);
  identity.device = alias.item.identity.device;
  return alias.path == place.path && alias.item.identity == identity;
}

// An alias keeps its measure: a minimal one stays so.
OSErr bringUpToDate(AliasHandle alias, const AliasContents& before, const ItemPlace& place) {
  auto contents = describe(place, before.handle || before.parentHandle);
  if (!contents) return ioErr;
  contents->userType = before.userType;
  const auto bytes = encodeAlias(*contents);
  if (!bytes) return ioErr;
  replaceContents(alias, *bytes);
  return noErr;
}

class LinuxAliases final : public Aliases {
 public:
  OSErr FSNewAlias(const FSRef* target, AliasHandle* alias) override { return make(target, alias, true); }
  OSErr FSNewAliasMinimal(const FSRef* target, AliasHandle* alias) override { return make(target, alias, false); }

  OSErr FSResolveAlias(AliasHandle alias, FSRef* target, bool* wasChanged) override {
    const auto contents = contentsOf(alias);
    if (!contents || target == nullptr) return paramErr;
    std::optional<ItemPlace> place;
    OSErr error = resolve(*contents, place);
    if (error != noErr) return error;
    leaveLinksBehind(*place);
    FSRef found = referenceTo(*place);
    const bool isChanged = !saysSo(*contents, *place);
    if (isChanged) error = bringUpToDate(alias, *contents, *place);
    if (error != noErr) return error;
    *target = std::move(found);
    if (wasChanged != nullptr) *wasChanged = isChanged;
    return noErr;
  }

 private:
  static OSErr make(const FSRef* target, AliasHandle* alias, bool withHandles) {
    if (target == nullptr || alias == nullptr) return paramErr;
    const auto place = placeOfReference(target);
    if (!place) return fnfErr;
    const auto contents = describe(*place, withHandles);
    const auto bytes = contents ? encodeAlias(*contents) : std::nullopt;
    return bytes ? makeHandle(*bytes, alias) : ioErr;
  }
};

}  // namespace

Aliases& Aliases::production() {
  static Aliases& aliases = *new LinuxAliases;
  return aliases;
}

}  // namespace ZtFoundation
