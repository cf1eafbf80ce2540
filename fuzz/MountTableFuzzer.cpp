// Any bytes as the kernel's table of mounts, as both of its readers understand it. What comes of it must be a table of
// volumes in which everything is found again. The same bytes as the label of a volume, as the system escapes it.

#include <set>
#include <string>

#include "Input.h"
#include "platform/linux/volumes/MountTable.h"
#include "platform/mounts/VolumeName.h"
#include "platform/mounts/VolumeTable.h"

using namespace ZtFoundation;
using namespace ZtFoundation::fuzz;
using mounts::Mount;
using mounts::Volume;
using mounts::VolumeTable;

namespace {

void checkPlainReader(const std::string& text) {
  const auto all = detail::parseMountTable(text);
  require(all.size() <= text.size(), "not more mounts than lines");
  for (const auto& each : all) {
    if (!each.mountPoint.starts_with('/')) continue;
    const auto* const holder = detail::mountHolding(all, each.mountPoint);
    require(holder != nullptr && each.mountPoint.starts_with(holder->mountPoint), "a mount point lies on some mount");
  }
}

void checkFound(const VolumeTable& table, const Volume& volume) {
  require(table.numbered(volume.number) == &volume, "a volume is found by its number");
  const Volume* const rooted = table.rootedAt(volume.mount.point);
  require(rooted != nullptr && rooted->mount.point == volume.mount.point, "and by its root");
  const Volume* const above = table.above(volume.mount.point + "/item");
  require(above != nullptr && above->mount.point.size() >= volume.mount.point.size(), "what lies on it lies on it");
  const Volume* const onDevice = table.onDevice(volume.mount.device, volume.mount.point);
  require(onDevice != nullptr && onDevice->mount.device == volume.mount.device, "and is on its device");
  require(table.ofMount(volume.mount.id) != nullptr, "and is found by its identifier");
}

void checkVolumes(const std::vector<Mount>& all) {
  mounts::VolumeNumbers numbers;
  numbers.keepOnly(all);
  const VolumeTable table(all, numbers);
  require(!table.volumes().empty() && table.volumes().front().mount.point == "/", "the start-up volume is the first");
  std::set<FSVolumeRefNum> seen;
  for (const Volume& each : table.volumes()) {
    require(each.mount.storesFiles && each.mount.point.starts_with('/'), "only what stores files is a volume");
    if (seen.insert(each.number).second) checkFound(table, each);
  }
  for (const Mount& each : all) table.ofMount(each.id);
}

std::string escaped(std::string_view label) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string link;
  for (const char c : label) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isPlain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || byte > 0x7F;
    link.append(isPlain ? std::string{c} : std::string{'\\', 'x', digits[byte / 16], digits[byte % 16]});
  }
  return link;
}

void checkLabel(const std::string& text) {
  require(mounts::labelInLink(escaped(text)) == text, "a label is as it was before it was escaped");
  require(mounts::labelInLink(text).size() <= text.size(), "no label is longer than the name of its link");
  require(text.find('\\') != std::string::npos || mounts::labelInLink(text) == text, "all else stays");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(Input(data, size).rest());
  checkPlainReader(text);
  const std::vector<Mount> all = mounts::parseMounts(text);
  require(mounts::reachable(all).size() == all.size(), "an answer for each mount");
  checkVolumes(all);
  checkLabel(text);
  return 0;
}
