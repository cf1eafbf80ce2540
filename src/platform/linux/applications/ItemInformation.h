/// \file ItemInformation.h
/// What an item on disk is to the user, from its name and from what lies there.
#pragma once

#include <string>

#include "platform/services/DesktopEntries.h"
#include "platform/services/LaunchServices.h"

namespace ZtFoundation::detail {

/// Whether the folder at `path`, which need not exist, is to be shown as one item, by its name: "*.app", "*.bundle".
bool isPackageName(const std::string& path);
/// Whether an item of that name may be a desktop entry: "*.desktop".
bool isEntryName(const std::string& path);
/// The path whose name tells what the item at `path` is: of a link that has no name of a package or an entry the one
/// that it leads to.
std::string tellingPath(const std::string& path);
/// The Info.plist of the bundle at `path`; empty when it is no file.
std::string bundleInformationPath(const std::string& path);
/// Whether an application bundle lies at `path`: a folder "*.app" with an Info.plist or an executable of its name.
bool isApplicationBundle(const std::string& path);
/// The executable file of the bundle at `path`; empty when there is none that may be executed.
std::string bundleProgram(const std::string& path);
/// The text of the file at `path`, which may be a desktop entry: a small one with the name of an entry. fnfErr for
/// anything else, another error when it cannot be read.
OSErr readEntryFile(const std::string& path, std::string* text);
/// The entry of an application in that file, hidden or not; none for anything else.
std::optional<DesktopEntry> entryInFile(const std::string& path);
/// The same, not hidden.
std::optional<DesktopEntry> applicationEntry(const std::string& path);
/// Whether a file that this process may execute lies at `path`.
bool isProgram(const std::string& path);

/// The flags of the item at `path`. A link is what it leads to, by its own name where that is one of a package or an
/// entry; whether it is invisible, its own name tells. fnfErr for a link that leads nowhere.
OSStatus itemInformation(const std::string& path, LSRequestedInfo wanted, LSItemInfoFlags* flags);
/// The same; a link that leads nowhere is a plain file.
OSStatus linkOrItemInformation(const std::string& path, LSRequestedInfo wanted, LSItemInfoFlags* flags);

}  // namespace ZtFoundation::detail
