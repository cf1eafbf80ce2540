/// \file FolderListing.h
/// What lies in a folder, and which names it can take.
#pragma once

#include <functional>
#include <string_view>

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

class FolderListing {
 public:
  virtual ~FolderListing() = default;
  static FolderListing& production();

  /// Calls `visit` with the name of each item in the folder, as the file system has it. Left out are symbolic links,
  /// which may lead nowhere, items whose kind the file system does not tell on the way, and, when the folder cannot be
  /// read, those that were not reached.
  virtual void visitItems(const Ref<NSString>& folder, const std::function<void(std::string_view name)>& visit) = 0;

  /// The path without any links that leads to the same folder; none when there is none.
  virtual Ref<NSString> withoutLinks(const Ref<NSString>& folder) = 0;

  /// True when the system refuses `path` for its length, or that of a name in it, alone.
  virtual bool isTooLong(const Ref<NSString>& path) = 0;
};

}  // namespace ZtFoundation
