/// \file Applications.h
/// Applications: find them, tell what an item is, launch them and tools, open files.
/// Threads: functions may be called by any thread.
#pragma once

#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/String.h>
#include <ZtFoundation/platform/URL.h>

namespace ZtFoundation {

// --- Finding applications

// Applications are application bundles (folders `Name.app`) and the desktop entries of freedesktop.org (files
// `name.desktop`) in these folders, of which those that go before win, and in each the first by name:
//
// | folder | what is looked for there, also in its folders |
// |---|---|
// | ~/Applications | bundles |
// | $XDG_DATA_HOME/applications (~/.local/share/applications) | bundles, desktop entries |
// | `applications` in each of $XDG_DATA_DIRS (/usr/local/share, /usr/share) | bundles, desktop entries |
// | /Applications | bundles |
//
// An application declares how it is found:
//
// | | in the Info.plist of a bundle | in a desktop entry |
// |---|---|---|
// | signature | CFBundleSignature | the key X-ZtFoundation-Signature of the group [Desktop Entry] |
// | identifier | CFBundleIdentifier | its desktop-file ID, from the name of the file: `org.example.View.desktop` |
//
// Desktop entries follow the rules of freedesktop.org: hidden ones (Hidden=true) are not found, and hide those of the
// same ID in later folders; ones that menus leave out (NoDisplay=true) are. An entry whose program (TryExec or Exec) is
// not installed is no application, nor is one without a command line. What is malformed is skipped.
// docs/formats/applications.md tells more.
//
// The first use of desktop entries opens the desktop module; without it there are bundles only. What was found is
// remembered until something changes in those folders. The functions block while folders and files are read; they start
// no threads.

/// The path of the application whose signature has the four-character code of `signature` (`JxOSExtensions::osType`),
/// so only its first four bytes count. "????" is nobody's signature.
/// \returns a new string: a bundle's folder or a desktop entry's file. None when there is none, and for none.
ZT_EXPORT Ref<NSString> ZtLSGetApplicationPathForSignature(const Ref<NSString>& signature);
/// The same as a file URL.
ZT_EXPORT Ref<NSURL> ZtLSGetApplicationURLForSignature(const Ref<NSString>& signature);

/// The path of the application with the identifier `identifier`, in any case of the letters A to Z and with or without
/// ".desktop"; one that is the same letter by letter goes before others.
/// \returns a new string: a bundle's folder or a desktop entry's file. None when there is none, and for none.
ZT_EXPORT Ref<NSString> ZtLSGetApplicationPathForIdentifier(const Ref<NSString>& identifier);
/// The same as a file URL.
ZT_EXPORT Ref<NSURL> ZtLSGetApplicationURLForIdentifier(const Ref<NSString>& identifier);

// --- What an item is

// | item | plain file | application | package | folder-like | volume |
// |---|---|---|---|---|---|
// | a mount point whose file system stores files | | | | x | x |
// | a folder `X.app` with an Info.plist or an executable of its name | | x | x | x | |
// | any other folder `X.app` or `X.bundle` | | | x | x | |
// | any other folder | | | | x | |
// | a desktop entry of an application that is installed | x | x | | | |
// | any other file, also a command-line program | x | | | | |
//
// Links are followed; a link is known by its own name where that is one of a package or an entry, else by the name of
// what it leads to. Every test is false for none, for an item that does not exist or cannot be asked, and for a URL
// that is not a file URL.

/// True for an application whose program is made for this process's architecture, or is a script whose interpreter is.
/// The program is a bundle's executable or the first word of an entry's command line.
ZT_EXPORT bool ZtLSIsNativeApplicationAtURL(const Ref<NSURL>& url);
ZT_EXPORT bool ZtLSIsNativeApplicationAtPath(const Ref<NSString>& path);

/// True for a bundle or a desktop entry of an application.
ZT_EXPORT bool ZtLSIsApplicationAtURL(const Ref<NSURL>& url);
ZT_EXPORT bool ZtLSIsApplicationAtPath(const Ref<NSString>& path);

/// True for everything that is no folder, desktop entries and pipes among it.
ZT_EXPORT bool ZtLSIsPlainFileAtURL(const Ref<NSURL>& url);
ZT_EXPORT bool ZtLSIsPlainFileAtPath(const Ref<NSString>& path);

/// True for a folder that is neither a package nor a volume.
ZT_EXPORT bool ZtLSIsDirectoryAtURL(const Ref<NSURL>& url);
ZT_EXPORT bool ZtLSIsDirectoryAtPath(const Ref<NSString>& path);

/// True for the root of a volume, which is known without asking its server; other items are looked at where they are.
ZT_EXPORT bool ZtLSIsVolumeAtURL(const Ref<NSURL>& url);
ZT_EXPORT bool ZtLSIsVolumeAtPath(const Ref<NSString>& path);

// --- Launching and opening

// An application runs on its own: it is no child of the host, has a session of its own, nothing on standard input,
// standard output and error of the host, no other descriptors, the host's environment, and signals as they are by
// default. The functions return as soon as the system has accepted its program; they start no threads and nothing has
// to be waited for.
//
// - A bundle's executable is started as it is. A desktop entry's command line (Exec) is divided into arguments and its
//   field codes are filled in by the rules of freedesktop.org; no shell sees it, so a name is one argument whatever is
//   in it. A code inside of quotes is only filled in where the quotes hold nothing else. The entry's working folder
//   (Path) must exist.
// - A file to open is given by its absolute path, or by its URL for %u and %U. A bundle gets it as its only argument,
//   an entry without a code for files as its last.
// - An entry that wants a terminal (Terminal=true) gets the first that is installed: xdg-terminal-exec, the one that
//   $TERMINAL names, x-terminal-emulator, and well-known others. It is not started where there is none.
//
// The result is false when the application or the file is missing, the item is no application (see above), its command
// line is malformed, or the system does not start its program.

/// Starts the application, a bundle or a desktop entry, at `application`. False for none and for a URL without a path.
ZT_EXPORT bool ZtLSLaunchApplicationAtURL(const Ref<NSURL>& application);
ZT_EXPORT bool ZtLSLaunchApplicationAtPath(const Ref<NSString>& application);

/// Has the application open the file, or folder, at `file`; links are followed by whoever opens it. False for none and
/// for a URL without a path. `deactivate` asks the host to give way to the application; on Linux it has no effect, as
/// the window manager decides which window is in front.
ZT_EXPORT bool ZtLSOpenFileWithApplicationAtURL(const Ref<NSURL>& file, const Ref<NSURL>& application, bool deactivate);
ZT_EXPORT bool ZtLSOpenFileWithApplicationAtPath(const Ref<NSString>& file, const Ref<NSString>& application,
                                                 bool deactivate);

// --- Tools

/// Starts the command-line program `tool` with `arguments`, strings that it gets as their bytes; none is the same as an
/// empty array. Does not wait for it. Task.h tells what the program inherits, and how it is looked at. True when it
/// runs right after the start: of a program that ends at once it may say false although it ran. False, and nothing is
/// started, for none, for a URL without a path, for what does not exist and for what is no plain file, such as a folder
/// or a package.
///
/// Raises NSInvalidArgumentException when the system cannot start the file, or an argument is no string (`NSTask`).
ZT_EXPORT bool ZtLSLaunchToolAtPathAndArguments(const Ref<NSString>& tool, const Ref<NSArray>& arguments);
ZT_EXPORT bool ZtLSLaunchToolAtURLAndArguments(const Ref<NSURL>& tool, const Ref<NSArray>& arguments);

}  // namespace ZtFoundation
