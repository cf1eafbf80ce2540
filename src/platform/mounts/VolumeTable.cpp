#include "platform/mounts/VolumeTable.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cstdint>

#include "platform/mounts/FileSystemType.h"
#include "platform/mounts/Owned.h"

namespace ZtFoundation::mounts {

namespace {

bool isFile(const std::string& path) {
  struct statx status;
  constexpr int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
  return statx(AT_FDCWD, path.c_str(), flags, STATX_TYPE, &status) == 0 && !S_ISDIR(status.stx_mode);
}

// Whether the mount point itself is a file. The folder that holds it is read for that, which asks nobody about what is
// mounted there.
bool coversFile(const std::string& point) {
  const std::size_t slash = point.rfind('/');
  const OwnedFolder folder = openFolder(slash == 0 ? "/" : point.substr(0, slash).c_str());
  if (!folder) return false;
  const dirent* entry = readdir(folder.get());
  while (entry != nullptr && point.compare(slash + 1, std::string::npos, entry->d_name) != 0) {
    entry = readdir(folder.get());
  }
  return entry != nullptr && entry->d_type != DT_DIR && entry->d_type != DT_UNKNOWN;
}

// The mounts by their places in the table, and what lies on what.
class Mounts {
 public:
  explicit Mounts(const std::vector<Mount>& all) : all_(all), reachable_(reachable(all)) {
    for (std::size_t at = 0; at < all.size(); ++at) places_.emplace(all[at].id, at);
  }

  bool isVolume(std::size_t at) const {
    return reachable_[at] && all_[at].storesFiles && all_[at].point.starts_with('/') && !isSingleFile(at);
  }

  // Whether the mount, or the way to it, depends on a server or a program.
  bool mayBlock(std::size_t at) const {
    const std::vector<std::size_t> way = wayDown(at);
    return std::any_of(way.begin(), way.end(),
                       [&](std::size_t one) { return mounts::mayBlock(all_[one].type, all_[one].server); });
  }

  // The mount, what its mount point lies on, what that lies on and so on.
  std::vector<std::size_t> wayDown(std::size_t at) const {
    std::vector<std::size_t> way{at};
    auto next = places_.find(all_[at].parent);
    while (next != places_.end() && way.size() < all_.size()) {
      way.push_back(next->second);
      next = places_.find(all_[next->second].parent);
    }
    return way;
  }

 private:
  // Of a whole file system the root is a folder, unless a program makes it up.
  bool isSingleFile(std::size_t at) const {
    const Mount& mount = all_[at];
    if (mount.root == "/" && !mount.type.starts_with("fuse")) return false;
    if (!mayBlock(at)) return isFile(mount.point);
    const auto parent = places_.find(mount.parent);
    return parent != places_.end() && !mayBlock(parent->second) && coversFile(mount.point);
  }

  const std::vector<Mount>& all_;
  const std::vector<bool> reachable_;
  std::unordered_map<int, std::size_t> places_;
};

// For a process whose root is a mere folder, which the kernel's table does not have.
Mount startUpMount() {
  Mount mount;
  mount.id = -1;
  mount.root = mount.point = "/";
  mount.storesFiles = true;
  struct stat status;
  struct statvfs system;
  if (stat("/", &status) == 0) mount.device = status.st_dev;
  mount.isReadOnly = statvfs("/", &system) == 0 && (system.f_flag & ST_RDONLY) != 0;
  return mount;
}

bool isAbove(const std::string& root, std::string_view path) {
  if (root == "/") return path.starts_with('/');
  return path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '/');
}

}  // namespace

VolumeTable::VolumeTable(const std::vector<Mount>& all, VolumeNumbers& numbers) {
  const Mounts mounts(all);
  for (std::size_t at = 0; at < all.size(); ++at) {
    if (mounts.isVolume(at)) volumes_.push_back({numbers.numberOf(all[at]), all[at], mounts.mayBlock(at)});
  }
  std::stable_partition(volumes_.begin(), volumes_.end(), [](const Volume& one) { return one.mount.point == "/"; });
  if (volumes_.empty() || volumes_.front().mount.point != "/") {
    const Mount root = startUpMount();
    volumes_.insert(volumes_.begin(), {numbers.numberOf(root), root, false});
  }
  for (std::size_t at = 0; at < volumes_.size(); ++at) {
    byRoot_.emplace(volumes_[at].mount.point, at);
    byMount_.emplace(volumes_[at].mount.id, at);
  }
  for (std::size_t at = 0; at < all.size(); ++at) {
    if (byMount_.contains(all[at].id)) continue;
    if (const Volume* const holder = holderOf(all[at], all, mounts.wayDown(at))) {
      byMount_.emplace(all[at].id, static_cast<std::size_t>(holder - volumes_.data()));
    }
  }
}

// What a file that is mounted by itself is stored on, and for what stores nothing the volume below.
const Volume* VolumeTable::holderOf(const Mount& mount, const std::vector<Mount>& all,
                                    const std::vector<std::size_t>& wayDown) const {
  const Volume* const storing = onDevice(mount.device, mount.point);
  if (storing != nullptr) return storing;
  const auto below =
      std::find_if(wayDown.begin(), wayDown.end(), [&](auto at) { return ofMount(all[at].id) != nullptr; });
  return below != wayDown.end() ? ofMount(all[*below].id) : nullptr;
}

const Volume* VolumeTable::numbered(FSVolumeRefNum number) const {
  const auto found =
      std::find_if(volumes_.begin(), volumes_.end(), [&](const Volume& it) { return it.number == number; });
  return number != 0 && found != volumes_.end() ? &*found : nullptr;
}

const Volume* VolumeTable::rootedAt(const std::string& path) const {
  const auto found = byRoot_.find(path);
  return found != byRoot_.end() ? &volumes_[found->second] : nullptr;
}

const Volume* VolumeTable::ofMount(int id) const {
  const auto found = byMount_.find(id);
  return found != byMount_.end() ? &volumes_[found->second] : nullptr;
}

const Volume* VolumeTable::above(std::string_view path) const {
  const Volume* best = nullptr;
  for (const Volume& one : volumes_) {
    const std::string& root = one.mount.point;
    if (isAbove(root, path) && (best == nullptr || root.size() > best->mount.point.size())) best = &one;
  }
  return best;
}

const Volume* VolumeTable::onDevice(dev_t device, std::string_view path) const {
  const Volume* best = nullptr;
  for (const Volume& one : volumes_) {
    if (one.mount.device != device) continue;
    const std::string& root = one.mount.point;
    const bool isBetter =
        best == nullptr ||
        (isAbove(root, path) && (!isAbove(best->mount.point, path) || root.size() > best->mount.point.size()));
    if (isBetter) best = &one;
  }
  return best;
}

}  // namespace ZtFoundation::mounts
