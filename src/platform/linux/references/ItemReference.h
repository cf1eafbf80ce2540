/// \file ItemReference.h
/// Making references, and finding what they stand for.
#pragma once

#include <ZtFoundation/platform/FileReference.h>
#include <sys/stat.h>

#include <optional>
#include <string>

namespace ZtFoundation::detail {

/// An item where it is now.
struct ItemPlace {
  std::string path;
  struct statx status;
};

/// The item at `path`, as it stands; none with the reason in `errno`.
std::optional<ItemPlace> placeOfPath(const std::string& path);
FSRef referenceTo(const ItemPlace& place);

/// The item of a reference: where it was, or found again on its volume. None
/// when it is gone, never another item.
std::optional<ItemPlace> placeOfReference(const FSRef* ref);

}  // namespace ZtFoundation::detail
