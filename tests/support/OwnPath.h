/// \file OwnPath.h
/// Whether this program finds itself.
#pragma once

#include <filesystem>

namespace ZtFoundation::test {

/// Not in a changed root, once a test before had mounts of its own: the system then tells the path outside.
inline bool knowsItsOwnPath() { return std::filesystem::exists(std::filesystem::read_symlink("/proc/self/exe")); }

inline constexpr char kNoOwnPath[] = "the system tells a path of this program that leads nowhere";

}  // namespace ZtFoundation::test
