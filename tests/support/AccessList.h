/// \file AccessList.h
/// Access lists as the kernel keeps them.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

namespace ZtFoundation::test {

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr char kDefaultAccessList[] = "system.posix_acl_default";

/// What a list gives to the owner, a user or group that it names, the group, at most to those, and to others.
struct AccessEntry {
  enum Who : std::uint16_t { Owner = 1, User = 2, Group = 4, NamedGroup = 8, Mask = 16, Others = 32 };
  Who who;
  std::uint16_t rights;
  std::uint32_t number = 0xFFFFFFFF;  ///< of the user or group
};

/// The entries in the order of `Who`. Numbers are little-endian.
inline std::string accessList(std::initializer_list<AccessEntry> entries) {
  std::string bytes("\2\0\0\0", 4);
  const auto append = [&](std::uint32_t value, unsigned size) {
    for (unsigned i = 0; i < size; ++i) bytes += static_cast<char>(value >> 8 * i & 0xFF);
  };
  for (const AccessEntry& entry : entries) {
    append(entry.who, 2);
    append(entry.rights, 2);
    append(entry.number, 4);
  }
  return bytes;
}

}  // namespace ZtFoundation::test
