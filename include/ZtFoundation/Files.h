/// \file Files.h
/// Files, paths and folders: operations on the file manager.
/// \code
///   QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(NSFileManager::defaultManager(), folder, nullptr, true);
/// \endcode
/// Threads: operations may be called by any thread.
#pragma once

#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/FileReference.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/URL.h>

namespace ZtFoundation {

// --- References and aliases

// --- Existence and access

// --- Catalog information

// --- File operations

// --- Volumes

// --- Free names

// --- Deletability and visibility

// --- Display of paths, and paths of URLs

// --- Locks and special folders

// --- Recursive folder creation

namespace QvFoundationExtensions {

/// Makes the folder at `path` and, with `recursively`, every missing folder above it; each gets `attributes`, which may be none.
/// With `recursively` a folder that exists is a success, and so is a path without components; without, the answer is that of
/// `createDirectoryAtPath_attributes`. Links to folders count as folders.
///
/// What exists is asked of the default manager, what is missing is made by `self`. Blocks as long as the file system does.
/// \returns false on failure, which leaves the folders made so far: a file stands in the way, a folder cannot be made, or another process
/// made it in between; also when `self` or `path` is none.
ZT_EXPORT bool createDirectoryAtPath_attributes_recursively(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                                                            const Ref<NSDictionary>& attributes, bool recursively);

}  // namespace QvFoundationExtensions

}  // namespace ZtFoundation
