/// \file ExtendedAttribute.h
/// What an item has beside its contents.
#pragma once

#include <sys/xattr.h>

#include <array>
#include <optional>
#include <string>

namespace ZtFoundation::test {

/// The value of an extended attribute of at most 1024 bytes, of a link itself; none where there is no such attribute.
inline std::optional<std::string> attributeOf(const std::string& path, const char* name) {
  std::array<char, 1024> buffer;
  const ssize_t size = ::lgetxattr(path.c_str(), name, buffer.data(), buffer.size());
  return size < 0 ? std::nullopt : std::optional(std::string(buffer.data(), static_cast<std::size_t>(size)));
}

}  // namespace ZtFoundation::test
