/// \file BundleNames.h
/// What Info.plist and hosts may name in a bundle.
#pragma once

#include <algorithm>
#include <string>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation::detail {

inline bool isFolder(const Ref<NSString>& path) {
  bool isFolder = false;
  send<bool>(NSFileManager::defaultManager(), ZT_SELECTOR("fileExistsAtPath:isDirectory:"), path, &isFolder);
  return isFolder;
}

/// Whether a path from a folder names something below it: it has no component
/// that is empty, "." or "..", or that the system would take for a shorter one.
inline bool leadsInside(const Ref<NSString>& path) {
  const Ref<NSArray> components = path->componentsSeparatedByString("/");
  return std::none_of(components->begin(), components->end(), [](const Ref<NSObject>& component) {
    const std::string name = as<NSString>(component)->utf8();
    return name.empty() || name == "." || name == ".." || name.find('\0') != std::string::npos;
  });
}

inline bool isFileName(const Ref<NSString>& name) {
  return leadsInside(name) && name->rangeOfString_options("/", NSLiteralSearch).location == NSNotFound;
}

}  // namespace ZtFoundation::detail
