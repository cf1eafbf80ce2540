/// \file EditLock.h
/// Taking turns with others that edit the same file.
#pragma once

#include <string>

#include "Descriptor.h"

namespace ztplist {

/// From before a file is read until it is saved, keeps out other runs of this program and hosts that save merged
/// changes, by a lock (flock) of the file's folder. Where the file system has no such locks, nobody is kept out.
class EditLock {
 public:
  /// Waits for its turn, but not for ever. Locks nothing when the result goes elsewhere. Throws Failure when it waited
  /// in vain, and for a file that nothing can be written back to.
  EditLock(const std::string& file, const std::string& destination);

 private:
  Descriptor folder_;
};

}  // namespace ztplist
