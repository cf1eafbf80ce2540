/// \file FolderReading.h
/// How the library's code reads folders, and what may go wrong with it: the test program has a `getdents64` of its own.
#pragma once

namespace ZtFoundation::test {

struct FolderReading {
  int count = 0;  ///< how often entries have been read
  bool fails = false;
  bool failsLater = false;  ///< after the first entries
  bool tellsKinds = true;
};

extern FolderReading folderReading;

}  // namespace ZtFoundation::test
