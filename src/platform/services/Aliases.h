/// \file Aliases.h
/// Records that find an item again after a move or a new name.
#pragma once

#include <ZtFoundation/platform/FileReference.h>

namespace ZtFoundation {

/// Calls answer 0 or an error number, paramErr for null arguments (but `wasChanged`); an error leaves what they would
/// fill as it is.
class Aliases {
 public:
  virtual ~Aliases() = default;
  static Aliases& production();

  /// A new alias of the item, which the caller disposes of.
  virtual OSErr FSNewAlias(const FSRef* target, AliasHandle* alias) = 0;
  /// The same without the file system's handles: smaller, and after a move always found by a search.
  virtual OSErr FSNewAliasMinimal(const FSRef* target, AliasHandle* alias) = 0;
  /// The item, wherever it is on its volume now; if it is gone, what has its path, if that is of the same kind. Brings
  /// the alias up to date if that is not what the alias says, and tells so in `wasChanged`. fnfErr when there is no
  /// such item, nsvErr when its volume is not mounted, paramErr for bytes that are no alias.
  virtual OSErr FSResolveAlias(AliasHandle alias, FSRef* target, bool* wasChanged) = 0;
};

}  // namespace ZtFoundation
