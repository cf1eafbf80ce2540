/// \file DesktopEntries.h
/// What the desktop's entries (files "*.desktop", by the rules of freedesktop.org) say of applications.
#pragma once

#include <optional>
#include <string>

namespace ZtFoundation {

/// The key by which an entry declares the signature of its application.
inline constexpr char kSignatureKey[] = "X-ZtFoundation-Signature";

/// Values as in the file, its escapes resolved. Empty for what it does not say.
struct DesktopEntry {
  std::string command;        ///< with quotes and field codes
  std::string name;           ///< in the user's language
  std::string icon;           ///< a name or a path
  std::string workingFolder;  ///< a path
  std::string signature;      ///< of kSignatureKey
  bool isHidden = false;      ///< stands for "no such application here, nor in a later folder"
  bool inTerminal = false;
};

class DesktopEntries {
 public:
  virtual ~DesktopEntries() = default;
  static DesktopEntries& production();

  /// The entry that a file with this text is. Of a hidden one nothing else is told, as it need not say more. None when
  /// it is no entry of an application, or the program of the application (Exec, and TryExec where there is one) is not
  /// installed.
  virtual std::optional<DesktopEntry> entryInText(const std::string& text) = 0;
};

/// The name and type of the function by which the desktop module hands out its reader; the object lives as long as the
/// process.
inline constexpr char kDesktopEntriesEntry[] = "ZtFoundationDesktopEntries";
using DesktopEntriesEntry = DesktopEntries* (*)();

}  // namespace ZtFoundation
