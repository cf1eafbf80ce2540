/// \file FileAttributes.h
/// What belongs to a file beside its contents.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>

#include <ZtFoundation/platform/Dictionary.h>

namespace ZtFoundation::detail {

/// Whether a file gets attributes together with the contents that they speak about.
enum class Contents { New, Same };

/// Why an attribute is missing on a copy that is good without it: the file system cannot keep it, or the process may not
/// give it.
bool isLeftOut(int error) noexcept;

/// The permission bits that a file system of this type (`f_type` of statfs) keeps: FAT and exFAT none. Of what is the
/// work of a user program only the nine rights are certain.
mode_t permissionsKeptBy(std::intmax_t fileSystem) noexcept;

/// Which of what the permissions count on a copy has got.
struct Kept {
  bool owner = true;
  bool group = true;
  bool accessList = true;
};

/// The permissions for a copy of an item that has this status, and this access list if it has any: nobody has more
/// rights on the copy.
mode_t permissionsOfCopy(const struct stat& status, const Kept& kept, const std::optional<std::string>& list);

/// The access list of the item called `name` in an open folder; none where it has none, an empty one where it cannot be
/// asked.
std::optional<std::string> accessListAt(int folder, const char* name);

/// Gives the file open as `to` the owner, group, permissions, extended attributes and access control list of the one
/// open as `from`, whose `status` is known. What `isLeftOut`, or is too large for the file system, is left out, each for
/// itself, together with the rights that would then be somebody else's; the permissions only with the same contents.
/// False, with the reason in errno, on any other failure.
bool copyAttributes(int from, const struct stat& status, int to, Contents contents = Contents::New);

/// What a host asks for a new item. Read before the item is made, as memory may run out meanwhile.
class WantedAttributes {
 public:
  /// Of none nothing is asked.
  explicit WantedAttributes(const Ref<NSDictionary>& attributes);

  /// The permission bits, `otherwise` where none are asked for.
  mode_t permissions(mode_t otherwise) const noexcept { return permissions_.value_or(otherwise); }
  /// Of an open item the permissions that are not asked for; none are added. False where permissions are asked for that
  /// the item does not have and cannot be given.
  bool takeRightsFrom(int item) const noexcept;
  /// To an open item, also one opened with O_PATH where there is "/proc": the owner as far as the process may, the
  /// permissions that the file system keeps. False, on any other failure.
  bool giveRightsTo(int item) const noexcept;
  /// These and a date, unless it `isLeftOut`.
  bool giveTo(int item) const noexcept;

 private:
  /// Of those that the item does not have yet, only the ones in `added`.
  bool givePermissions(int item, mode_t added) const noexcept;

  uid_t user_;
  gid_t group_;
  std::optional<mode_t> permissions_;
  std::optional<timespec> modified_;
};

}  // namespace ZtFoundation::detail
