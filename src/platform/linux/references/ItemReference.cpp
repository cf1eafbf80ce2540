#include "platform/linux/references/ItemReference.h"

#include <cerrno>

#include "platform/linux/files/ItemPath.h"
#include "platform/linux/files/ItemStatus.h"
#include "platform/linux/references/ItemSearch.h"
#include "platform/linux/volumes/MountTable.h"

namespace ZtFoundation::detail {

namespace {

// A reference is a thing of the moment: its item is rarely far away, and who
// holds one does not expect to wait.
constexpr std::chrono::milliseconds kSearchLimit{1000};

// The root of a volume that could not be asked when the reference was made.
bool isRootByPathAlone(const FSRef::Identity& identity) { return identity.number == 0; }

std::optional<ItemPlace> placeIfSame(const std::string& path, const FSRef::Identity& identity) {
  const auto status = statusOfItem(path);
  if (!status || !(isRootByPathAlone(identity) || identityOf(*status) == identity)) return std::nullopt;
  return ItemPlace{path, *status};
}

// Links lead to folders as well as any other way.
bool isFolderOnDevice(const std::string& path, std::uint64_t device) {
  const auto status = statusOfItem(path + "/.");
  return status && identityOf(*status).device == device;
}

// The first folder above `path` that is still there, on `device`; none when the volume is.
std::optional<std::string> nearestFolder(const std::string& path, std::uint64_t device) {
  std::string folder = parentOfPath(path);
  while (!isFolderOnDevice(folder, device)) {
    if (folder == "/") return std::nullopt;
    folder = parentOfPath(folder);
  }
  return canonicalPath(folder);
}

std::optional<ItemPlace> searchFor(const FSRef::Identity& identity, const std::string& path) {
  const auto nearest = nearestFolder(path, identity.device);
  if (!nearest) return std::nullopt;
  const auto mounts = mountTable();
  const MountedFileSystem* mount = mountHolding(mounts, *nearest);
  if (mount == nullptr) return std::nullopt;
  SearchOrder order = orderForVolume(mounts, *mount);
  order.number = identity.number;
  order.isRight = [&](const std::string& candidate) { return placeIfSame(candidate, identity).has_value(); };
  order.nearest = *nearest;
  order.limit = kSearchLimit;
  const auto found = searchOutwards(order).path;
  return found ? placeIfSame(*found, identity) : std::nullopt;
}

// Told by its end, which the absolute path has not.
bool isPathOfFolder(const std::string& path) { return path.ends_with('/') || path.ends_with("/."); }

}  // namespace

std::optional<ItemPlace> placeOfPath(const std::string& path) {
  const auto absolute = absolutePath(path);
  const auto status = absolute ? statusOfItem(*absolute) : std::nullopt;
  if (!status) return std::nullopt;
  if (isPathOfFolder(path) && !isFolder(*status) && !isLink(*status)) {
    errno = ENOTDIR;
    return std::nullopt;
  }
  return ItemPlace{*absolute, *status};
}

FSRef referenceTo(const ItemPlace& place) {
  return FSRef(identityOf(place.status), NSString::stringWithFileSystemRepresentation(place.path));
}

std::optional<ItemPlace> placeOfReference(const FSRef* ref) {
  if (ref == nullptr || ref->isEmpty()) return std::nullopt;
  const std::string path = ref->path()->fileSystemRepresentation();
  const auto place = placeIfSame(path, ref->identity());
  return place ? place : searchFor(ref->identity(), path);
}

}  // namespace ZtFoundation::detail
