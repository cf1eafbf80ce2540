/// \file Files.h
/// Files, paths and folders: operations on the file manager.
/// \code
///   QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(NSFileManager::defaultManager(), folder, nullptr, true);
/// \endcode
/// Threads: operations may be called by any thread.
#pragma once

#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

// --- Recursive folder creation

namespace QvFoundationExtensions {

/// Makes the folder at `path` and, with `recursively`, every missing folder above it; each gets `attributes`, which may be none.
/// With `recursively` a folder that exists is a success, and so is a path without components; without, the answer is that of
/// `createDirectoryAtPath_attributes`. False on failure, which leaves the folders made so far. Links to folders count as folders.
ZT_EXPORT bool createDirectoryAtPath_attributes_recursively(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                                                            const Ref<NSDictionary>& attributes, bool recursively);

}  // namespace QvFoundationExtensions

}  // namespace ZtFoundation
