/// \file ItemPath.h
/// Paths of items as references and aliases keep them: absolute, and ending in
/// the item's own name.
#pragma once

#include <optional>
#include <string>

namespace ZtFoundation::detail {

/// `path` from the root on, without ".", "..", repeated slashes and one at the
/// end. Links are left as they are, except those before a ".." and one with a
/// "." at its end. None with the reason in `errno`.
std::optional<std::string> absolutePath(const std::string& path);

// Of absolute paths:

/// The only path without any links that leads to the folder or file.
std::optional<std::string> canonicalPath(const std::string& path);
/// The same of an item, which may be a link itself.
std::optional<std::string> canonicalItemPath(const std::string& path);

/// The folder that holds the item; "/" for "/".
std::string parentOfPath(const std::string& path);
/// The item's name; "/" for "/".
std::string nameOfPath(const std::string& path);
std::string pathInFolder(const std::string& folder, const std::string& name);
/// Whether the item is `folder` itself or somewhere in it.
bool isInFolder(const std::string& path, const std::string& folder);

}  // namespace ZtFoundation::detail
