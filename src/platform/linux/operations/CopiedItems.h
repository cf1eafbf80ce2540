/// \file CopiedItems.h
/// What a copy was made of, so that a move removes this and nothing else.
#pragma once

#include <sys/stat.h>

#include "platform/linux/operations/ItemKeys.h"

namespace ZtFoundation::detail {

/// A set of items in the state that they were copied in; folders count by their paths alone.
class CopiedItems {
 public:
  /// `item` and `folder` are keys of paths.
  void note(ItemKey item, const struct stat& status);
  void noteFolder(ItemKey folder) { keys_.note(folder); }

  /// Answers only after the last one has been noted and they have been sorted.
  bool contain(ItemKey item, const struct stat& status) const noexcept;
  bool containFolder(ItemKey folder) const noexcept { return keys_.contain(folder); }
  void sort() noexcept { keys_.sort(); }

 private:
  ItemKeys keys_;
};

}  // namespace ZtFoundation::detail
