/// \file AliasRecord.h
/// The bytes of an alias; docs/formats/alias-record.md describes them.
#pragma once

#include <ZtFoundation/platform/FileReference.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/references/FileHandle.h"

namespace ZtFoundation::detail {

/// What an alias remembers of an item.
struct ItemTraits {
  FSRef::Identity identity;
  std::uint8_t kind = 0;  ///< the file type bits of the mode, shifted down to 0 to 15

  friend bool operator==(const ItemTraits&, const ItemTraits&) = default;
};

/// What an alias remembers of a volume.
struct VolumeTraits {
  std::string type;    ///< of the file system
  std::string source;  ///< what is mounted: a device, a server's folder
  ItemTraits root;
  std::uint64_t identifier = 0;  ///< the file system's own, 0 when it has none
  std::string mountPoint;

  friend bool operator==(const VolumeTraits&, const VolumeTraits&) = default;
};

struct AliasContents {
  OSType userType = 0;
  std::string path;  ///< absolute, on the volume, without links before the last component
  ItemTraits item;
  VolumeTraits volume;
  std::optional<FileHandle> handle;
  std::optional<FileHandle> parentHandle;

  friend bool operator==(const AliasContents&, const AliasContents&) = default;
};

/// None when a part is too long to be kept.
std::optional<std::string> encodeAlias(const AliasContents& contents);
/// None for bytes that are no alias, whatever they are. Each alias has one form: what decodes encodes to the same
/// bytes.
std::optional<AliasContents> decodeAlias(std::string_view bytes);

}  // namespace ZtFoundation::detail
