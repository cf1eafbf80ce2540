/// \file FileManager.h
/// `NSFileManager`: the plain operations on files and folders that are named by a path.
/// \code
///   Ref<NSFileManager> files = NSFileManager::defaultManager();
///   if (!files->fileExistsAtPath(folder)) files->createDirectoryAtPath_attributes(folder, nullptr);
///   Ref<NSData> contents = files->contentsAtPath("/etc/hostname");
/// \endcode
/// A path goes to the system as it stands; relative ones count from the process's current folder. A path that is none
/// or holds U+0000 makes every operation fail. Operations block until the system has answered.
///
/// A host may derive from the class; the library calls its operations on the manager that it was given.
///
/// Saving atomically, as `NSData::writeToFile_atomically` does with true, means:
/// - The new contents are written to a temporary file beside the target, flushed to the device, renamed over the
///   target, and the folder is flushed. Readers see the old file or the new one, also after a crash.
/// - A failure anywhere leaves the old contents in place and no temporary file. A process that is killed meanwhile may
///   leave a temporary file (".ztsave-" and 32 digits); the next save into that folder removes it, or one of the same
///   process a minute later.
/// - A path that is a symbolic link stays one: the file at the end of the chain is replaced, or made if it is missing.
/// - Of an existing file, permissions, extended attributes and access control list are kept, owner and group too where
///   the process may give them; where it may not, nobody gains a right that way. It is a new file nevertheless: other
///   hard links to the old one keep the old contents.
/// - A new file is readable and writable by its owner only, or less if the process's umask says so.
/// - An existing target must be a regular file that the process may read and write, in a folder that it may write.
///   Neither of the two may be locked (`setFinderLock:`, or the system's immutable flag), for root neither.
///
/// Without memory every operation ends in std::bad_alloc, and false and none still tell of files only. What was begun
/// is taken back first: a file is saved or the old one, a copy is whole or not there (of a copied folder some may stay
/// when there is not even the memory to take it back), an item that is moved is at one of its two places. A removal
/// ends where it is, and what is written in place stays as it is.
///
/// Threads: operations may be called by any thread.
#pragma once

#include <string_view>

#include <ZtFoundation/platform/Object.h>

namespace ZtFoundation {

class NSArray;
class NSData;
class NSDictionary;

// Keys of the attributes for new items. Others, and values of another kind than told here, are ignored.

/// A number: the permission bits, independent of the umask. An operation that cannot set them answers false, except where
/// the file system has none, and for all but the nine rights where it is the work of a user program (FUSE).
ZT_EXPORT extern const std::string_view NSFilePosixPermissions;
/// A date, set where the process may and the file system can.
ZT_EXPORT extern const std::string_view NSFileModificationDate;
/// Numbers: the user and the group that own the item, set where the process may. An identifier goes before a name.
ZT_EXPORT extern const std::string_view NSFileOwnerAccountID;
ZT_EXPORT extern const std::string_view NSFileGroupOwnerAccountID;
/// Strings: the same by name.
ZT_EXPORT extern const std::string_view NSFileOwnerAccountName;
ZT_EXPORT extern const std::string_view NSFileGroupOwnerAccountName;

// Further keys of the attributes that `fileAttributesAtPath_traverseLink` tells.

/// A string, one of those below. Pipes are unknown.
ZT_EXPORT extern const std::string_view NSFileType;
ZT_EXPORT extern const std::string_view NSFileTypeDirectory;
ZT_EXPORT extern const std::string_view NSFileTypeRegular;
ZT_EXPORT extern const std::string_view NSFileTypeSymbolicLink;
ZT_EXPORT extern const std::string_view NSFileTypeSocket;
ZT_EXPORT extern const std::string_view NSFileTypeCharacterSpecial;
ZT_EXPORT extern const std::string_view NSFileTypeBlockSpecial;
ZT_EXPORT extern const std::string_view NSFileTypeUnknown;
/// A number: bytes.
ZT_EXPORT extern const std::string_view NSFileSize;
/// A date; absent where the file system keeps none.
ZT_EXPORT extern const std::string_view NSFileCreationDate;
/// A number: hard links.
ZT_EXPORT extern const std::string_view NSFileReferenceCount;
/// Numbers: the device that the file system has now, and the item's number on it.
ZT_EXPORT extern const std::string_view NSFileSystemNumber;
ZT_EXPORT extern const std::string_view NSFileSystemFileNumber;

class ZT_EXPORT NSFileManager : public NSObject {
  ZT_OBJECT(NSFileManager, NSObject)
 public:
  /// The one manager that the library itself uses; the same object at every call.
  static Ref<NSFileManager> defaultManager();

  /// True when something exists at `path`; links are followed, so a link that leads nowhere does not exist. False too
  /// when the process may not look.
  virtual bool fileExistsAtPath(const Ref<NSString>& path);
  /// The same; `isDirectory` may be null and tells afterwards whether it is a folder. Untouched when nothing exists.
  virtual bool fileExistsAtPath_isDirectory(const Ref<NSString>& path, bool* isDirectory);

  /// Makes one folder whose parent exists, with the permissions that the umask leaves unless `attributes` (may be none)
  /// has its own. False when anything exists there already, which is left as it is, or the folder cannot be made with
  /// them, and there is none then.
  virtual bool createDirectoryAtPath_attributes(const Ref<NSString>& path, const Ref<NSDictionary>& attributes);

  /// The whole file, following links; none when it cannot be read or is a folder.
  virtual Ref<NSData> contentsAtPath(const Ref<NSString>& path);
  /// Makes a file, or empties the one that exists, and writes `contents` (none: nothing) into it, not atomically. A new
  /// file gets the permissions that the umask leaves unless `attributes` (may be none) has its own; of an existing file
  /// they are changed only if `attributes` has them, before anything is written. False when it cannot be made, written
  /// or given its date; what was written so far stays. False too for a file that is locked, for a new one in a locked
  /// folder and for one that cannot be given its permissions: nothing is written, what exists keeps its contents unless
  /// more permissions are refused only now that it is empty, and a new file stays empty.
  virtual bool createFileAtPath_contents_attributes(const Ref<NSString>& path, const Ref<NSData>& contents,
                                                    const Ref<NSDictionary>& attributes);

  // --- Access and attributes

  /// What this process may do, by its effective user; links are followed. False when there is no such item, and on a
  /// file system that is mounted for reading only for writing.
  virtual bool isReadableFileAtPath(const Ref<NSString>& path);
  /// False also for an item under a lock (`setFinderLock:`, or the system's immutable flag), or that cannot be asked for
  /// it, for root too.
  virtual bool isWritableFileAtPath(const Ref<NSString>& path);
  /// Of a folder: whether it may be entered.
  virtual bool isExecutableFileAtPath(const Ref<NSString>& path);
  /// Whether this process may remove the item; of a link, the link. For that it must be able to write the folder, and
  /// own the item or the folder if that is sticky; neither of the two may be locked, and the item may not be a mount
  /// point. What is in a folder is not looked at.
  virtual bool isDeletableFileAtPath(const Ref<NSString>& path);

  /// The item's type, size, permissions, dates, owner and group by number and (where they have one) by name, count of
  /// hard links and numbers: of a link its own, or with `traverseLink` those of what it leads to. None when there is no
  /// such item.
  virtual Ref<NSDictionary> fileAttributesAtPath_traverseLink(const Ref<NSString>& path, bool traverseLink);

  // --- Display names: what file browsers call items

  /// The last component of the path, whether there is such an item or not. "/" has the name of the start-up volume ("/"
  /// when that has none), and the root of a volume that is mounted below /media, /run/media or /Volumes the name of
  /// that volume. None for none.
  virtual Ref<NSString> displayNameAtPath(const Ref<NSString>& path);
  /// The display names on the way to an item: that of its volume, those of the folders, its own. "." and ".." count for
  /// where they lead; other links stay what they are called. Volumes are the start-up volume and those that
  /// `displayNameAtPath` names; what is mounted elsewhere, as /home may be, belongs to the volume around it. None when
  /// there is no such item; a link that leads nowhere is one.
  virtual Ref<NSArray> componentsToDisplayForPath(const Ref<NSString>& path);

  // --- Copying, moving, removing
  //
  // The paths name the items themselves: a link at the end of a path is not followed, nor is any link inside a folder.
  // A slash at the end does not count. What an operation makes must not exist: nothing is ever replaced. Items under a
  // lock (`setFinderLock:`, or the system's immutable flag) are neither removed nor moved, and a locked folder gains
  // and loses nothing.
  //
  // `handler` may be none. Else it is asked and told, in the thread of the caller, by those of these messages that it
  // responds to:
  // - `fileManager:willProcessPath:` (manager, string), no result: before each item; of an item that a move only
  //   renames, afterwards.
  // - `fileManager:shouldProceedAfterError:` (manager, dictionary), bool: after each error. The dictionary has "Error"
  //   (a text), "Path" and, unless something is being removed, "ToPath". True leaves this item out, with what is in it,
  //   and goes on with the next; the operation then answers true in the end, and what it made stays. Without this
  //   method the first error ends the operation.
  // - `fileManager:shouldContinueAfterCopyingBytes:ofTotal:atPath:` (manager, uint64_t, uint64_t, string), bool: after
  //   each item and every few megabytes of a long one: the bytes copied so far and in all, and the item. False cancels:
  //   the operation answers false and leaves nothing of the copy. For the total everything is looked at beforehand.
  // - `fileManager:shouldContinueAfterRemovingItems:atPath:` (manager, uint64_t, string), bool: after each item: how
  //   many are removed so far, and the last one. False ends the removal, which answers false; what is gone is gone.
  // What a handler throws passes through, after the copy so far has been removed. What others have put into a copy
  // meanwhile, or mounted there, stays.

  /// Copies a file, or a folder with all that is in it. The folder of `destination` must exist. Kept are contents with
  /// their holes, permissions, times of change and access to the nanosecond, extended attributes, access control lists,
  /// the lock, and owner and group where the process may give them; where it may not, nobody gains a right. Links are
  /// copied as links, files with several names inside the folder keep them, and named pipes, sockets and devices are
  /// made anew, where the process may. What the destination's file system cannot keep is left out. Other mounted file
  /// systems in the folder are copied with it.
  ///
  /// A file system that can share blocks copies a file of any size at once. Of a file that another process writes, as
  /// much is copied as it held at first, or less if it shrinks.
  /// \returns false on any failure, which leaves the source as it is and nothing of the copy: no source, no folder for
  /// the copy, no right, no room, something exists at `destination`, or it is in the folder itself.
  virtual bool copyPath_toPath_handler(const Ref<NSString>& source, const Ref<NSString>& destination,
                                       const Ref<NSObject>& handler);
  /// Moves an item, folders as a whole. Inside a volume that is a change of name. To another volume it is copied as
  /// `copyPath_toPath_handler` does into a folder that the process may read, the copy is flushed to its device, and then
  /// what has been copied is removed from the source, unless it has been changed meanwhile.
  /// \returns false when the item could not be moved; it is still at `source` then, and nothing is at `destination`. If
  /// only flushing a complete copy or removing its source fails, or something has come into the source or been changed
  /// there meanwhile, the copy stays as well as what is left of the source. If the handler lets a copy go on without an
  /// item, that copy stays as well as the whole source.
  virtual bool movePath_toPath_handler(const Ref<NSString>& source, const Ref<NSString>& destination,
                                       const Ref<NSObject>& handler);
  /// Gives a file another name, as a hard link. Of a folder a copy is made whose files are hard links to those of the
  /// source.
  /// \returns false on any failure, with nothing made, also for another volume.
  virtual bool linkPath_toPath_handler(const Ref<NSString>& source, const Ref<NSString>& destination,
                                       const Ref<NSObject>& handler);
  /// Removes an item for good, a folder with all that is in it, however deep. Permissions are respected: in a folder
  /// that the process may not change nothing is removed, and one that it may not read goes only if it is empty. Mounted
  /// file systems inside are not entered. The check for locks comes right before each item, not before all.
  /// \returns false when something stays: what comes after it in the order of the file system has not been touched.
  virtual bool removeFileAtPath_handler(const Ref<NSString>& path, const Ref<NSObject>& handler);
  /// The names of what is in a folder, without "." and "..", in the order of the file system. Links are followed. None
  /// when it cannot be read.
  virtual Ref<NSArray> directoryContentsAtPath(const Ref<NSString>& path);
};

}  // namespace ZtFoundation
