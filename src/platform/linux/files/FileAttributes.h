/// \file FileAttributes.h
/// What belongs to a file beside its contents.
#pragma once

#include <sys/stat.h>

#include <string>

#include <ZtFoundation/platform/Dictionary.h>

namespace ZtFoundation::detail {

/// Whether a file gets attributes together with the contents that they speak about.
enum class Contents { New, Same };

/// Gives the file open as `to` the owner, group, permissions, extended attributes and access control list of the one open as `from`,
/// whose `status` is known. What the process may not give is left out, together with the rights that would then be
/// somebody else's. False on any other failure.
bool copyAttributes(int from, const struct stat& status, int to, Contents contents = Contents::New);

/// The permission bits that `attributes` asks for, else `otherwise`.
mode_t permissionsIn(const Ref<NSDictionary>& attributes, mode_t otherwise);

/// Applies what `attributes` asks for to the item at `path`, as far as the process may.
void applyAttributes(const Ref<NSDictionary>& attributes, const std::string& path);

}  // namespace ZtFoundation::detail
