/// \file FinderLock.h
/// The lock that a user puts on an item so that nobody changes or removes it by
/// accident.
///
/// It is an extended attribute of the item, kLockAttribute. The kernel's
/// immutable flag counts as a lock too, and unlocking takes both away. The
/// kernel does not know the attribute: each operation of the library that
/// changes, replaces, renames or removes an item asks here first, whoever the
/// user is. A locked folder gets no new entries, and loses and renames none.
///
/// What cannot be had: links, and whatever is neither a file nor a folder,
/// carry no lock; neither do items on a file system without extended
/// attributes. Who may not read an item does not see its attribute, and so does
/// not lock it. Any other error on the way to the answer counts as a lock;
/// without "/proc" an item other than a folder can be asked by its name only.
#pragma once

#include <string>

namespace ZtFoundation::detail {

inline constexpr char kLockAttribute[] = "user.ZtFoundation.locked";

/// Whether an open item is locked; a descriptor that was opened with O_PATH
/// will do.
bool isLocked(int item);
/// Whether the item at `path`, or called `name` in an open folder, is locked;
/// false when there is none.
bool isLocked(const std::string& path);
bool isLockedAt(int folder, const std::string& name);
/// The same of what the path leads to, links followed to their end.
bool isEndOfLinksLocked(const std::string& path);
/// Whether the folder in which `path` names an item, or would, is locked.
bool isFolderLocked(const std::string& path);

/// The attribute alone, for who knows that an item is no link and leaves its
/// flag to the system: quicker than isLocked where many are asked for.
bool hasLockAttribute(int item);
bool hasLockAttributeAt(int folder, const char* name);

/// Locks or unlocks; nothing happens to a link and to an item that is so
/// already. Answers 0 or the system's error number.
///
/// An owner may lock a file that he may not write: it becomes writable to him
/// for a moment.
int setLocked(int item, bool locked);
int setLocked(const std::string& path, bool locked);

}  // namespace ZtFoundation::detail
