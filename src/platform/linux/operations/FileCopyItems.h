/// \file FileCopyItems.h
/// Copies of single items.
#pragma once

#include <sys/stat.h>

#include "platform/linux/files/FileDescriptor.h"

namespace ZtFoundation::detail {

/// Gives the open file or folder `to` what belongs to `from` beside its contents, as far as the process may and the
/// file system can; times are those in `status`. Answers 0 or an errno.
int giveAttributes(int from, const struct stat& status, int to);

/// A file in the making: vanishes with this object unless it is finished.
class NewFile {
 public:
  /// Where nothing is yet; for its owner alone. An object without a file is an error, which errno tells.
  NewFile(int folder, const char* name);
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  explicit operator bool() const noexcept { return static_cast<bool>(file_); }
  int get() const noexcept { return file_.get(); }

  /// Answers 0 or an errno, and then there is no file.
  int finish();

 private:
  bool isInPlace() const;

  int folder_;
  const char* name_;
  FileDescriptor file_;
};

/// Makes the item called `name` in an open folder, a link, named pipe, socket or device, once more. Answers 0 or an
/// errno, and then there is no copy.
int makeOther(int from, const char* name, const struct stat& status, int to, const char* newName);

}  // namespace ZtFoundation::detail
