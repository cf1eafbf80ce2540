/// \file Files.h
/// Files, paths and folders: operations on the file manager.
/// \code
///   QvFoundationExtensions::createDirectoryAtPath_attributes_recursively(NSFileManager::defaultManager(), folder, nullptr, true);
/// \endcode
/// Threads: operations may be called by any thread.
#pragma once

#include <cstdint>
#include <string_view>

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>
#include <ZtFoundation/platform/FileManager.h>
#include <ZtFoundation/platform/FileReference.h>
#include <ZtFoundation/platform/FolderTypes.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/URL.h>

namespace ZtFoundation {

// --- References and aliases
//
//   AliasHandle alias = nullptr;
//   if (JxFileSystemRepresentation::pathStringToAlias("/home/me/Photo.jpg", &alias)) {
//     ... later, the file may have been moved or renamed ...
//     Ref<NSString> path = JxFileSystemRepresentation::pathStringFromAliasHandle(alias);
//     DisposeHandle(alias);
//   }
//
// FileReference.h says what references, aliases and file description records are. A path or URL whose last component is
// a symbolic link names the link itself; links before it are followed. One that ends with "/" names a folder or a link,
// no other file. A URL that is no file URL names nothing.
//
// A false or empty answer leaves the caller's record as it is: there is no such item, the process may not get to it,
// the URL or the path is none, or the pointer is null.
//
// An alias finds its item where it was; else, for root, by the handle that the file system gave for it; else by a
// search of its volume, which begins near the old place, reads every folder that the process may read, and ends after
// five seconds at the latest. If the item is nowhere any more, what now has its path is taken for its successor, as an
// editor leaves one that saves by replacing the file; but only what is of the same kind, and never while the item
// itself lives where the process may look. Where numbers of items do not last (file systems of user programs, sshfs for
// instance, and memory cards that keep no dates of birth) only the path counts. The path that an alias finds has no
// links before its last component. A reference, which is a thing of the moment, searches for a second at the most and
// takes no successor.
//
// Blocks as long as the file system does. Threads: different records may be used by different threads at once.

namespace JxFileSystemRepresentation {

/// The path of the item, wherever it is now; none when it is gone.
ZT_EXPORT Ref<NSString> pathStringFromFSRef(const FSRef* ref);
/// The path of the item that the alias finds, which brings the alias up to date; none when the item is gone, its volume
/// is not mounted, or the handle holds no alias.
ZT_EXPORT Ref<NSString> pathStringFromAliasHandle(AliasHandle alias);

/// Fills `ref` with a reference to the item at the path `self`.
ZT_EXPORT bool pathStringToFSRef(const Ref<NSString>& self, FSRef* ref);
/// Makes an alias of the item, which the caller releases with `DisposeHandle`.
ZT_EXPORT bool pathStringToAlias(const Ref<NSString>& self, AliasHandle* alias);
/// The same without the file system's handles: smaller, and after a move always found by search.
ZT_EXPORT bool pathStringToAliasMinimal(const Ref<NSString>& self, AliasHandle* alias);
/// Fills `description`. False also for a name of more than 63 bytes, a folder whose number does not fit 32 bits, and an
/// item on no volume.
ZT_EXPORT bool pathStringToFSSpec(const Ref<NSString>& self, FSSpec* description);

/// The same with file URLs.
ZT_EXPORT Ref<NSURL> URLFromFSRef(const FSRef* ref);
ZT_EXPORT Ref<NSURL> URLFromAliasHandle(AliasHandle alias);
ZT_EXPORT bool URLToFSRef(const Ref<NSURL>& self, FSRef* ref);
ZT_EXPORT bool URLToAlias(const Ref<NSURL>& self, AliasHandle* alias);
ZT_EXPORT bool URLToAliasMinimal(const Ref<NSURL>& self, AliasHandle* alias);
ZT_EXPORT bool URLToFSSpec(const Ref<NSURL>& self, FSSpec* description);

}  // namespace JxFileSystemRepresentation

// --- Existence and access
//
// Questions with yes or no, which answer no on any failure: nothing there, none, or no right to look. Links are
// followed, except by `isDeletable`. What they ask the file manager they ask the default manager, by message. Block as
// long as the file system does. Threads: safe.

namespace JxFileExistence {

/// Whether anything exists at the path; a link that leads nowhere does not.
ZT_EXPORT bool exists(const Ref<NSString>& self);
/// Whether it exists and is not a folder.
ZT_EXPORT bool fileExists(const Ref<NSString>& self);
/// Whether it exists and is a folder.
ZT_EXPORT bool directoryExists(const Ref<NSString>& self);

/// The same of the URL's path, whatever the scheme.
ZT_EXPORT bool exists(const Ref<NSURL>& self);
ZT_EXPORT bool fileExists(const Ref<NSURL>& self);
ZT_EXPORT bool directoryExists(const Ref<NSURL>& self);

}  // namespace JxFileExistence

namespace JxFileAccessibility {

/// What this process may do with the item; the answers of the file manager's `isReadableFileAtPath` and so on.
ZT_EXPORT bool isReadable(const Ref<NSString>& self);
ZT_EXPORT bool isWritable(const Ref<NSString>& self);
ZT_EXPORT bool isExecutable(const Ref<NSString>& self);
ZT_EXPORT bool isDeletable(const Ref<NSString>& self);

/// Stores the owner's permission bits: 4 to read, 2 to write, 1 to execute.
/// \returns false, and stores nothing, when the pointer is null or there is no such item.
ZT_EXPORT bool userPrivileges(const Ref<NSString>& self, std::uint8_t* privileges);
/// Whether the owner has the right, whoever asks: no test of what this process may do.
ZT_EXPORT bool canUserAccessToRead(const Ref<NSString>& self);
ZT_EXPORT bool canUserAccessToWrite(const Ref<NSString>& self);
ZT_EXPORT bool canUserAccessToExecute(const Ref<NSString>& self);

}  // namespace JxFileAccessibility

namespace QvFoundationExtensions {

/// The answers of `self`, asked by message, about the path of a file URL. False, with a line in the log, for any other
/// URL and for none.
ZT_EXPORT bool fileExistsAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url);
/// `isDirectory` may be null; it is untouched when nothing exists.
ZT_EXPORT bool fileExistsAtURL_isDirectory(const Ref<NSFileManager>& self, const Ref<NSURL>& url, bool* isDirectory);
ZT_EXPORT bool isReadableFileAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url);
ZT_EXPORT bool isWritableFileAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url);
ZT_EXPORT bool isExecutableFileAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url);
ZT_EXPORT bool isDeletableFileAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url);

}  // namespace QvFoundationExtensions

// --- Catalog information
//
// What the file system keeps about the item at a path; of a link, about the link. None, 0 or false when it cannot be
// told: a size of 0 also stands for an item that cannot be read. Block as long as the file system does. Threads: safe.

namespace JxFileCatalogInformation {

/// Reserved: always none.
ZT_EXPORT Ref<NSDictionary> catalogInformations(const Ref<NSString>& self);

/// To 1/65536 of a second. None also where the file system does not keep a date of birth.
ZT_EXPORT Ref<NSDate> creationDate(const Ref<NSString>& self);
/// Of the contents, to 1/65536 of a second.
ZT_EXPORT Ref<NSDate> modificationDate(const Ref<NSString>& self);

/// Bytes: of the contents (data), of the resource fork, which is the extended attribute "user.ZtFoundation.resources",
/// and of both together. Logical sizes count the bytes that there are, physical ones the space that they take: blocks
/// of 512 bytes. A folder has 0.
ZT_EXPORT std::uint64_t fileLogicalSize(const Ref<NSString>& self);
ZT_EXPORT std::uint64_t filePhysicalSize(const Ref<NSString>& self);
ZT_EXPORT std::uint64_t dataLogicalSize(const Ref<NSString>& self);
ZT_EXPORT std::uint64_t dataPhysicalSize(const Ref<NSString>& self);
ZT_EXPORT std::uint64_t resourceLogicalSize(const Ref<NSString>& self);
ZT_EXPORT std::uint64_t resourcePhysicalSize(const Ref<NSString>& self);

/// Whether the item is locked: by `setFinderLock`, which is the extended attribute "user.ZtFoundation.locked", or by
/// the system's immutable flag. No operation of the library changes, renames or removes a locked item, for root
/// neither; nor the entries of a locked folder. A link has no lock.
ZT_EXPORT bool isLockedByFinder(const Ref<NSString>& self);
/// Locks or unlocks the item; unlocking takes the immutable flag away too. No result: `isLockedByFinder` tells. It
/// stays as it is when there is no such item, it is no file or folder, its file system has no extended attributes, or
/// the process has no right (its owner needs none to write it).
ZT_EXPORT void setFinderLock(const Ref<NSString>& self, bool lock);

}  // namespace JxFileCatalogInformation

// --- File operations
//
//   switch (JxFileOperation::copyFileTo("/photos/Trip.jpg", "/backup/Trip.jpg")) {
//     case noErr: ...
//     case dupFNErr: ...                                       // the answers are those of <ZtFoundation/platform/FileErrors.h>
//   }
//
// Create, copy, rename and remove the item at a path. Nothing is raised or logged: the answer is 0 or an error number,
// -108 for all of them when there is no memory. The checks come in the order in which the errors are listed. Partial
// work is not undone, except that a copy is whole or not there at all. Block as long as the file system does. Threads:
// safe. Of a path that is a single name the folder around it counts as missing: the item can be renamed and copied to
// another path, but none is made or removed there.

namespace JxFileOperation {

/// `JxTalvoZtWdExensions::createFileWithContents_autoname` with false.
ZT_EXPORT OSStatus createFileWithContents(const Ref<NSString>& self, const Ref<NSData>& contents);
/// `JxTalvoZtWdExensions::copyFileTo_autoname` with false.
ZT_EXPORT OSStatus copyFileTo(const Ref<NSString>& self, const Ref<NSString>& destination);

/// Makes the folder and, with `recursively`, every missing folder above it. Names are taken as they stand, also with a
/// ":".
/// \returns 0 when at least one folder was made; -48 when all exist already and, without `recursively`, when the folder
/// above is missing or the path ends with "/" or has two in a row; -50 for no path; else the error of the first folder
/// that could not be made. Folders made so far stay.
ZT_EXPORT OSStatus createDirectoryWithRecursively(const Ref<NSString>& self, bool recursively);

/// Gives the item another name in its folder; `newName` is a single name. Never replaces another item. Of a link, the
/// link itself.
/// \returns -50 for no new name, nothing at the path, or an empty new name; -37 for a name that cannot be one (it has a
/// "/" or U+0000, or is "." or ".."); -45 for a locked item and in a locked folder; -48 when the name is taken; -37 when
/// it is too long; else the error of the system.
ZT_EXPORT OSStatus renameFileTo(const Ref<NSString>& self, const Ref<NSString>& newName);

/// Removes the item for good, a folder with all that is in it, by the default manager's `removeFileAtPath_handler`.
/// With `unlocking` a lock of the item itself is taken away first.
/// \returns -50 when nothing exists at the path (a link that leads nowhere is nothing); -5000 when the owner of the
/// item (of a link: of what it leads to; what is removed is the link), or of the folder around it, has no permission to
/// write it, whoever asks, and for a path that is a single name; -50 when it cannot be removed as a whole, as a locked
/// item cannot without `unlocking`.
ZT_EXPORT OSStatus removeFileForcefully(const Ref<NSString>& self, bool unlocking);

}  // namespace JxFileOperation

// --- Volumes
//
//   Ref<NSString> card = JxVolumeCatalogInformation::volumePath("/media/me/Card/Photo.jpg");       // "/media/me/Card"
//   if (JxVolumeCatalogInformation::volumeFreeSpace(card) > size) ...
//   JxVolumeCatalogInformation::unmountVolume(card);
//
// A volume is a mounted file system that stores files, under each mount point by which a path reaches it;
// docs/volumes.md tells more. What the mount table of the process knows is taken from there: listing volumes, and every
// question to the root path of a volume but those about space and access, asks no server and so does not wait for one
// that is gone. The others wait as long as the file system does. Links on the way to an item are followed, a link at
// its end is an item itself. None, and items that do not exist, give the answer of failure. Nothing is logged, except
// by the operations of the file manager. Threads: safe; volumes may come and go between two calls.

namespace JxVolumeCatalogInformation {

/// The root paths of all volumes: "/" first, the others as they were mounted. None if there is no volume.
ZT_EXPORT Ref<NSArray> volumePaths();
/// The root path of the volume that holds the item; none on failure.
ZT_EXPORT Ref<NSString> volumePath(const Ref<NSString>& self);
/// True when the path is the root path of a volume, unit by unit: "/media/me/Card/" is none.
ZT_EXPORT bool isVolume(const Ref<NSString>& self);
/// Whether this process may read, or write, the root folder of the item's volume, by `JxFileAccessibility`. False when
/// there is no volume.
ZT_EXPORT bool isVolumeReadable(const Ref<NSString>& self);
ZT_EXPORT bool isVolumeWritable(const Ref<NSString>& self);
/// True for the root path of a volume on the network.
ZT_EXPORT bool isNetworkVolume(const Ref<NSString>& self);
/// True for the root path of every volume other than "/", whether or not unmounting it would succeed.
ZT_EXPORT bool isUnmountableVolume(const Ref<NSString>& self);
/// Unmounts the volume with this root path, and ejects its medium where it can be taken out. Waits for it, and never
/// for a password.
/// \returns true when it is unmounted; false when it is in use, the process may not, or there is no such volume. "/" is
/// always in use. Where memory runs out (std::bad_alloc) it may be unmounted already.
ZT_EXPORT bool unmountVolume(const Ref<NSString>& self);
/// The size of the item's volume, and what an ordinary process may still use of it, in bytes. Either pointer may be
/// null.
/// \returns false on failure; the counts are then left as they are.
ZT_EXPORT bool volumeTotalSpace_freeSpace(const Ref<NSString>& self, std::uint64_t* totalSpace,
                                          std::uint64_t* freeSpace);
/// One of the two; 0 on failure.
ZT_EXPORT std::uint64_t volumeTotalSpace(const Ref<NSString>& self);
ZT_EXPORT std::uint64_t volumeFreeSpace(const Ref<NSString>& self);

}  // namespace JxVolumeCatalogInformation

namespace QvFoundationExtensions {

// A call of the platform that fails is a line in the platform log: "[NSFileManager volumeRefWithPath:] FSPathMakeRef
// failed with error: -43".

/// The number of the volume that holds the item, the same as long as it is mounted; 0 on failure.
ZT_EXPORT FSVolumeRefNum volumeRefWithPath(const Ref<NSFileManager>& self, const Ref<NSString>& path);
/// The kind of server that the item's volume comes from: 'afpm' (0x6166706D) for AFP, 'http' (0x68747470) for WebDAV,
/// and others, see docs/volumes.md. 0 on failure, which is also what a local volume gives, with a line in the log.
ZT_EXPORT OSType volumeTypeWithPath(const Ref<NSFileManager>& self, const Ref<NSString>& path);
/// True when the item's volume is on the network.
ZT_EXPORT bool isNetworkVolumeAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path);
/// True when the type of the item's volume is 'afpm', or 'http'. For a local volume a line is logged at each call.
ZT_EXPORT bool isAppleShareVolumeAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path);
ZT_EXPORT bool isWebDAVVolumeAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path);

}  // namespace QvFoundationExtensions

// --- Free names
//
//   Ref<NSString> path = JxTalvoZtWdExensions::unusedTalvoFilePath("/photos/Trip.jpg");       // "/photos/Trip_1.jpg" if that is taken
//
// A name for a new item beside others, in one of two styles: "Trip 1.jpg" (Finder) or "Trip_1.jpg" (the library's own).
//
// - Where nothing exists at the path, the path itself is the answer, the very object, however long it is. Existence
//   follows links, so a link that leads nowhere is no item here.
// - Else the last component is given the numbers from 1 on until a name is free: before the extension for a file, at
//   the end for a folder, whose extension belongs to its name.
// - A name has 255 UTF-16 units at most. One with more loses what it has too many at the end of its text before the
//   number, and the numbers begin at 1 again, for the shorter text.
// - A name or path that is too long for the file system, which counts bytes (a Japanese name of 100 characters has 300,
//   and most take 255), loses characters in the same way, one after another until it fits. A surrogate pair is never
//   cut apart, and here no character from its marks either.
// - A name is free at the time of the call only. Nothing is made and nothing reserved: to be sure, use
//   `createUnusedFinderFile` or `createUnusedFinderFolder`, or create the item in a way that fails when it exists, and
//   ask again then.
//
// Many taken names cost about as much as listing their folder once, if its file system tells the kinds of its items.
// Blocks as long as the file system does. Threads: safe.

namespace JxTalvoZtWdExensions {

/// A free path in the Finder's style; `isFolder` tells whether it is meant for a folder or a file.
/// \returns none when something exists at `self` and its path has no folder part, or the text before the number would
/// have to lose more than it has (an extension of 253 units, for instance); also for none.
ZT_EXPORT Ref<NSString> unusedFinderPathForDirectory(const Ref<NSString>& self, bool isFolder);
/// The same for a file.
ZT_EXPORT Ref<NSString> unusedFinderFilePath(const Ref<NSString>& self);
/// A free path in the library's style, else like `unusedFinderPathForDirectory`.
ZT_EXPORT Ref<NSString> unusedTalvoPathForDirectory(const Ref<NSString>& self, bool isFolder);
/// The same for a file.
ZT_EXPORT Ref<NSString> unusedTalvoFilePath(const Ref<NSString>& self);

/// Makes a new file with `contents` (none: nothing) at the free path that `unusedFinderFilePath` gives, and answers
/// that path. Nothing is ever replaced: when another process takes the name first, the next one is tried. Where the
/// file system has files without a name, the file has all its contents when it gets its name. Permissions are those
/// that the umask leaves.
/// \returns none when there is no free path, and when the file cannot be made or written, or its folder is locked,
/// which leaves nothing.
ZT_EXPORT Ref<NSString> createUnusedFinderFile(const Ref<NSString>& self, const Ref<NSData>& contents);
/// The same for a new, empty folder.
ZT_EXPORT Ref<NSString> createUnusedFinderFolder(const Ref<NSString>& self);

/// Writes `contents` (none: nothing) into a file: at `self`, replacing what a file there holds; with `autoname` at the
/// free path that `unusedTalvoFilePath` gives for it.
/// \returns 0; -50 when there is no path; -43 when the folder is missing; -5000 when the process may not write it; -34
/// when its volume has fewer free bytes than `contents`; -50 when the file cannot be made or written; -108 when there
/// is no memory.
ZT_EXPORT OSStatus createFileWithContents_autoname(const Ref<NSString>& self, const Ref<NSData>& contents,
                                                   bool autoname);
/// Copies the file at `self`, as the default manager's `copyPath_toPath_handler` does, to `destination`, or with
/// `autoname` to the free path that `unusedTalvoFilePath` gives for it. A link to a file is copied as a link.
/// \returns 0; -50 for no destination; -43 when there is no file at `self` (a folder is none); -5000 when its owner has
/// no permission to read it, whoever asks; -43 when the folder of `destination` is missing; -5000 when its owner has no
/// permission to write it; -48 when something exists at `destination` (without `autoname`); -34 when its volume has
/// fewer free bytes than the source takes on disk; -50 when copying fails; -108 when there is no memory.
ZT_EXPORT OSStatus copyFileTo_autoname(const Ref<NSString>& self, const Ref<NSString>& destination, bool autoname);

}  // namespace JxTalvoZtWdExensions

namespace QvFoundationExtensions {

/// A path for a temporary item: "/tmp", a folder for this program, then `prefix`, the local date and time as
/// "20240131-235959-042" (with milliseconds) and `suffix` without anything between them, and `pathExtension` after a
/// "."; each of the three may be none or empty. The folder is called like the main bundle's identifier, else like the
/// program's file; it is determined at the first call and kept for the life of the process.
///
/// Nothing is made, the folder neither, and nothing is looked for: calls within one millisecond give the same path.
/// "/tmp" is open to every user of the machine, so create what goes there in a way that fails when it exists.
/// \returns none only for no receiver.
ZT_EXPORT Ref<NSString> uniqueTemporaryPathWithPrefix_suffix_pathExtension(const Ref<NSFileManager>& self,
                                                                           const Ref<NSString>& prefix,
                                                                           const Ref<NSString>& suffix,
                                                                           const Ref<NSString>& pathExtension);

}  // namespace QvFoundationExtensions

// --- Deletability and visibility
//
//   if (JxTalvoZtWdExensions::isTalvoDeletable(path)) ...                                       // offer to delete it
//   QvFoundationExtensions::isVisibleFileAtPath(NSFileManager::defaultManager(), "/etc");       // true, unless "/.hidden" lists it
//
// Threads: safe.

/// "/"
ZT_EXPORT extern const std::string_view QvRootDirectoryPath;
/// "/Volumes"
ZT_EXPORT extern const std::string_view QvVolumesDirectoryPath;

namespace JxTalvoZtWdExensions {

/// Whether the user may delete the item: this process may remove it, its owner may write it (whoever asks; links
/// followed), and its path is none of /Applications, /Library, /System and /Users, the home folder, and Desktop,
/// Documents, Library, Movies, Music, Pictures and Sites in it. Paths are compared unit by unit, so "/Users/" is
/// another one, and what lies in these folders is not protected. The home folder is that of the first call that gets so
/// far. Blocks as long as the file system does.
/// \returns false also when there is no such item, the home folder is not known, or for none.
ZT_EXPORT bool isTalvoDeletable(const Ref<NSString>& self);

}  // namespace JxTalvoZtWdExensions

namespace QvPathExtensions {

/// True for `QvRootDirectoryPath` and nothing else, "//" for instance.
ZT_EXPORT bool isRootDirectoryPath(const Ref<NSString>& self);
/// True for `QvVolumesDirectoryPath` and nothing else, "/Volumes/" for instance.
ZT_EXPORT bool isVolumesDirectoryPath(const Ref<NSString>& self);

}  // namespace QvPathExtensions

namespace QvFoundationExtensions {

/// True when the user is shown the item at `path`: its name does not begin with ".", and for an item directly in "/" no
/// line of the file "/.hidden" (UTF-8, lines end in LF) is its name. A link is judged by its own name. Blocks as long
/// as the file system does.
/// \returns true on every doubt: when there is no such item, or "/.hidden" is missing, cannot be read or is no UTF-8.
/// False for no receiver.
ZT_EXPORT bool isVisibleFileAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path);
/// The same for a file URL. For another URL, and none, false and the log line "IS NOT FILE URL: %@".
ZT_EXPORT bool isVisibleFileAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url);

/// The path of an open file or folder, by the name that it was opened by and with links resolved; where it is now, if
/// it or a folder above it was moved. Waits for no server, unless the name ends in " (deleted)" or its volume is gone.
/// \returns none when the descriptor is not open, is a pipe, a socket or the like, or no path leads there: the name was
/// removed (another is not looked for), its volume unmounted or hidden, "/proc" is missing, it has more than 4095 bytes.
ZT_EXPORT Ref<NSString> pathForFileDescriptor(const Ref<NSFileManager>& self, std::int32_t descriptor);

}  // namespace QvFoundationExtensions

// --- Display of paths, and paths of URLs
//
//   JxTalvoZtWdExensions::displayPathWithSeparetor("/home/me/Trip.jpg", " > ");                  // "Startup > home > me > Trip.jpg"
//   JxTalvoZtWdExensions::convertSlashToColon("2024/01/31 photos");                             // "2024:01:31 photos"
//   JxURLPathExtensions::fileURLByAppendingURLComponent(NSURL::fileURLWithPath("/tmp"), "x.txt");  // file:///tmp/x.txt
//
// None as a receiver answers none. Threads: safe.

namespace JxTalvoZtWdExensions {

/// What the default manager's `componentsToDisplayForPath` answers for the item at `self`, joined with `separator`;
/// with ":" when that is none or empty.
/// \returns none when there is no such item. Blocks as long as the file system does.
ZT_EXPORT Ref<NSString> displayPathWithSeparetor(const Ref<NSString>& self, const Ref<NSString>& separator);

/// A new string with ":" in place of each "/". A name that holds both does not survive the way there and back.
ZT_EXPORT Ref<NSMutableString> convertSlashToColon(const Ref<NSString>& self);
/// A new string with "/" in place of each ":".
ZT_EXPORT Ref<NSMutableString> convertColonToSlash(const Ref<NSString>& self);

}  // namespace JxTalvoZtWdExensions

/// The path of a URL without percent escapes, query and fragment, taken apart and put together by the rules of paths
/// (repeated slashes count as one, a slash at the end does not count). The file system is not asked.
namespace JxURLPathExtensions {

/// The last component of the path; "/" for the root, empty for an empty path.
ZT_EXPORT Ref<NSString> lastURLComponent(const Ref<NSURL>& self);
/// A file URL, whatever the scheme of `self`, of the path without its last component; the root stays the root. None
/// when no path remains, as of "file:name".
ZT_EXPORT Ref<NSURL> fileURLByDeletingLastURLComponent(const Ref<NSURL>& self);
/// A file URL, whatever the scheme of `self`, of the path with `component` (none: nothing) behind it. None when that is
/// no path at all.
ZT_EXPORT Ref<NSURL> fileURLByAppendingURLComponent(const Ref<NSURL>& self, const Ref<NSString>& component);

}  // namespace JxURLPathExtensions

namespace QvFoundationExtensions {

/// What `self` answers to `displayNameAtPath` for the item at a file URL.
/// \returns none when there is no such item (a link that leads nowhere is one). A URL of another kind, and none, gives
/// none and the log line "IS NOT FILE URL: %@". Blocks as long as the file system does.
ZT_EXPORT Ref<NSString> displayNameAtURL(const Ref<NSFileManager>& self, const Ref<NSURL>& url);

/// The name of the start-up volume: the label of its file system, else the name of the machine, else "/". Asked until
/// it is known, then kept for the life of the process.
/// \returns none, without a log line, as long as the volume cannot be asked.
ZT_EXPORT Ref<NSString> rootVolumeName(const Ref<NSFileManager>& self);

}  // namespace QvFoundationExtensions

// --- Locks and special folders
//
//   const Ref<NSFileManager> files = NSFileManager::defaultManager();
//   if (QvFoundationExtensions::lockFileAtPath(files, photo)) ...                               // nobody changes or removes it now
//   QvFoundationExtensions::findFolderForType_inDomain_create(files, kMusicDocumentsFolderType, kUserDomain, true);
//   JxFindFolderExtensions::homePicturesDirectory();                                            // "/home/me/Pictures"
//
// An item's lock is the library's own mark on it or the immutable flag of the file system; every operation of the
// library that would change or remove a locked item is refused. A volume is locked by software when it is mounted for
// reading only, by hardware when its device takes no writing.
//
// A path names the item itself, also when that is a symbolic link, which has no lock. Failures answer false or none
// after one line in the platform log: "[NSFileManager <selector>] <call> failed with error: <number>". No receiver
// answers false or none without one. Operations block as long as the file system does. What is asked of a volume by the path of
// its root is asked of no server, but the lock of the root folder itself and the volume's own trash and temporary folders
// are. Threads: safe, but locking and unlocking read the item's flags and write them back.

namespace QvFoundationExtensions {

/// True when the volume that holds the item is locked, by hardware or by software.
ZT_EXPORT bool isVolumeLockedAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path);
/// True when the item is locked.
ZT_EXPORT bool isFileLockedAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path);
/// Both at once. The pointers are required: a null one answers false, without a log line.
/// \returns true when both answers were stored; otherwise neither was.
ZT_EXPORT bool isLockedAtPath_volumeLocked_fileLocked(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                                                      bool* volumeLocked, bool* fileLocked);
/// Locks the item.
/// \returns true when it is locked afterwards, and for a link, which stays without a lock. Nothing is written to one
/// that is locked already.
ZT_EXPORT bool lockFileAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path);
/// Takes the item's lock away.
/// \returns true when it is not locked afterwards. Nothing is written to one that is not locked.
ZT_EXPORT bool unlockFileAtPath(const Ref<NSFileManager>& self, const Ref<NSString>& path);

/// The path of a standard folder; <ZtFoundation/platform/FolderTypes.h> lists types and domains, and where their
/// folders are. Of `domain` the low 16 bits count. With `create` a missing folder is made with its parents, for its
/// owner only (mode 0700), but not in a locked folder. A link to a folder is a folder; but what is made for the user on a
/// volume, a trash or temporary folder, has to be a real one and the user's.
/// \returns none when there is no such type, no such folder in the domain, or it is missing and not made; when the
/// user's choice of folders or the folder itself cannot be looked at; and when something else is in its place. A folder
/// whose reference has no URL is logged without a number: "[NSFileManager findFolderForType:inDomain:create:]
/// CFURLCreateFromFSRef failed."
ZT_EXPORT Ref<NSString> findFolderForType_inDomain_create(const Ref<NSFileManager>& self, OSType type,
                                                          std::int32_t domain, bool create);
/// The same with the number of a volume in place of the domain; failures are logged under the selector of that
/// operation.
ZT_EXPORT Ref<NSString> findFolderForType_inVolume_create(const Ref<NSFileManager>& self, OSType type,
                                                          FSVolumeRefNum volume, bool create);
/// The same for the volume that holds the item at `path`.
ZT_EXPORT Ref<NSString> findFolderForType_inVolumeWithPath_create(const Ref<NSFileManager>& self, OSType type,
                                                                  const Ref<NSString>& path, bool create);

}  // namespace QvFoundationExtensions

namespace JxFindFolderExtensions {

/// The path of the user's folder for pictures, made if it is missing; none, without a log line, when there is none and
/// none can be made.
ZT_EXPORT Ref<NSString> homePicturesDirectory();

}  // namespace JxFindFolderExtensions

// --- Recursive folder creation

namespace QvFoundationExtensions {

/// Makes the folder at `path` and, with `recursively`, every missing folder above it; each gets `attributes`, which may
/// be none. With `recursively` a folder that exists is a success, and so is a path without components; without, the
/// answer is that of `createDirectoryAtPath_attributes`. Links to folders count as folders.
///
/// What exists is asked of the default manager, what is missing is made by `self`. Blocks as long as the file system
/// does.
/// \returns false on failure, which leaves the folders made so far: a file stands in the way, a folder cannot be made,
/// or another process made it in between; also when `self` or `path` is none.
ZT_EXPORT bool createDirectoryAtPath_attributes_recursively(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                                                            const Ref<NSDictionary>& attributes, bool recursively);

}  // namespace QvFoundationExtensions

}  // namespace ZtFoundation
