/// \file FileAttributes.h
/// What belongs to a file beside its contents.
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

#include <ZtFoundation/platform/Dictionary.h>

namespace ZtFoundation::detail {

/// Whether a file gets attributes together with the contents that they speak about.
enum class Contents { New, Same };

/// Gives the file open as `to` the owner, group, permissions, extended attributes and access control list of the one
/// open as `from`, whose `status` is known. What the process may not give is left out, together with the rights that
/// would then be somebody else's. False on any other failure.
bool copyAttributes(int from, const struct stat& status, int to, Contents contents = Contents::New);

/// What a host asks for a new item. Read before the item is made, as memory may run out meanwhile.
class WantedAttributes {
 public:
  /// Of none nothing is asked.
  explicit WantedAttributes(const Ref<NSDictionary>& attributes);

  /// The permission bits, `otherwise` where none are asked for.
  mode_t permissions(mode_t otherwise) const noexcept { return permissions_.value_or(otherwise); }
  /// To an open item, also one opened with O_PATH, as far as the process may.
  void giveTo(int item) const noexcept;

 private:
  uid_t user_;
  gid_t group_;
  std::optional<mode_t> permissions_;
  std::optional<timespec> modified_;
};

}  // namespace ZtFoundation::detail
