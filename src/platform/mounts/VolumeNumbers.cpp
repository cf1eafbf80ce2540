#include "platform/mounts/VolumeNumbers.h"

namespace ZtFoundation::mounts {

namespace {

// Numbers below stand for domains of special folders.
constexpr FSVolumeRefNum kLowest = -32000;

}  // namespace

VolumeNumbers::Key VolumeNumbers::keyOf(const Mount& mount) {
  return {mount.id, mount.device, mount.root, mount.type, mount.source};
}

void VolumeNumbers::keepOnly(const std::vector<Mount>& mounts) {
  std::set<Key> present;
  for (const Mount& mount : mounts) present.insert(keyOf(mount));
  std::erase_if(numbers_, [&](const auto& entry) {
    const bool isInNoTable = std::get<0>(entry.first) < 0;
    const bool isGone = !isInNoTable && !present.contains(entry.first);
    if (isGone) used_.erase(entry.second);
    return isGone;
  });
}

FSVolumeRefNum VolumeNumbers::numberOf(const Mount& mount) {
  FSVolumeRefNum& number = numbers_[keyOf(mount)];
  if (number == 0) {
    const FSVolumeRefNum fresh = unused();
    used_.insert(fresh);
    number = fresh;  // not before, so that no number is given and not known to be
  }
  return number;
}

// Goes round, so that a number does not soon mean another volume.
FSVolumeRefNum VolumeNumbers::unused() {
  if (used_.size() >= static_cast<std::size_t>(-kLowest)) return 0;
  do {
    last_ = static_cast<FSVolumeRefNum>(last_ == kLowest ? -1 : last_ - 1);
  } while (used_.contains(last_));
  return last_;
}

}  // namespace ZtFoundation::mounts
