/// \file Aliases.h
/// Records that find an item again after a move or a new name.
#pragma once

#include <ZtFoundation/platform/FileReference.h>

namespace ZtFoundation {

/// Calls answer 0 or an error number; an error leaves what they would fill as it is.
class Aliases {
 public:
  virtual ~Aliases() = default;
  static Aliases& production();

  /// A new alias of the item, which the caller disposes of.
  virtual OSErr FSNewAlias(const FSRef* target, AliasHandle* alias) = 0;
  /// The same with less in it: it survives a move or a new name, but not both together with a lost identity.
  virtual OSErr FSNewAliasMinimal(const FSRef* target, AliasHandle* alias) = 0;
  /// The item, wherever it is on its volume now. Brings the alias up to date if that is not where the alias says, and tells so in `wasChanged`.
  /// An item that is gone has a successor, if one of its kind has its path now. Else fnfErr, nsvErr when its volume is not mounted, paramErr for bytes that are no alias.
  virtual OSErr FSResolveAlias(AliasHandle alias, FSRef* target, bool* wasChanged) = 0;
};

}  // namespace ZtFoundation
