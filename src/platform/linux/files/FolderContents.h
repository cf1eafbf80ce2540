/// \file FolderContents.h
/// The names in a folder.
#pragma once

#include <string>

namespace ZtFoundation::detail {

/// What a folder held when it was read, in the order of the file system, without "." and "..". Read at once, so that
/// what is done to the items meanwhile does not show.
class FolderContents {
 public:
  struct Entry {
    const char* name;
    unsigned char type;  ///< DT_REG, DT_DIR ...; DT_UNKNOWN where the file system does not tell
  };

  /// Reads the open folder from where it stands. False on an error, which errno tells.
  bool read(int folder);

  /// The next name, which stays valid as long as this object; false at the end.
  bool next(Entry& entry) noexcept;

 private:
  std::string entries_;  // type, name, zero; one after another
  std::size_t at_ = 0;
};

}  // namespace ZtFoundation::detail
