/// \file FolderTypes.h
/// The vocabulary of the standard folders: domains and folder types, for `findFolderForType_inDomain_create` and its
/// relatives.
/// \code
///   QvFoundationExtensions::findFolderForType_inDomain_create(manager, kMusicDocumentsFolderType, kUserDomain, false);
/// \endcode
///
/// | type | code | in the user's domain | in the other domains |
/// |---|---|---|---|
/// | kDesktopFolderType | 'desk' | XDG_DESKTOP_DIR, else ~/Desktop | - |
/// | kDocumentsFolderType | 'docs' | XDG_DOCUMENTS_DIR, else ~/Documents | - |
/// | kPictureDocumentsFolderType | 'pdoc' | XDG_PICTURES_DIR, else ~/Pictures | - |
/// | kMusicDocumentsFolderType | 'µdoc' | XDG_MUSIC_DIR, else ~/Music | - |
/// | kMovieDocumentsFolderType | 'mdoc' | XDG_VIDEOS_DIR, else ~/Videos | - |
/// | kDownloadsFolderType | 'down' | XDG_DOWNLOAD_DIR, else ~/Downloads | - |
/// | kPreferencesFolderType | 'pref' | $XDG_CONFIG_HOME | of $XDG_CONFIG_DIRS |
/// | kCachedDataFolderType | 'cach' | $XDG_CACHE_HOME | /var/cache |
/// | kApplicationSupportFolderType | 'asup' | $XDG_DATA_HOME | of $XDG_DATA_DIRS |
/// | kTemporaryFolderType | 'temp' | $TMPDIR, else /tmp | /tmp |
/// | kTrashFolderType | 'trsh' | $XDG_DATA_HOME/Trash | - |
/// | kFontsFolderType | 'font' | $XDG_DATA_HOME/fonts | `fonts` in one of $XDG_DATA_DIRS |
/// | kApplicationsFolderType | 'apps' | $XDG_DATA_HOME/applications | `applications` in one of $XDG_DATA_DIRS |
/// | kCurrentUserFolderType | 'cusr' | the home folder | - |
///
/// - "-" and types that are not in the table: there is no such folder (-43).
/// - XDG_..._DIR are entries of the user's file `user-dirs.dirs` in $XDG_CONFIG_HOME: `XDG_MUSIC_DIR="$HOME/Songs"` or
///   an absolute path; of several the last counts. An entry that names the home folder itself says that the user has no
///   such folder (-43).
/// - ~ is $HOME, else the home folder in the user database. The variables and their defaults are those of the XDG base
///   directory rules of freedesktop.org; values that are empty or no absolute paths count as not set. All are read anew
///   at each call.
/// - Of several directories the local and the network domain have the first that holds the folder, else the first of
///   all; the system domain has the last that holds it, else the last: what an administrator adds comes first there,
///   what the system brings comes last.
/// - On a volume (its number in place of a domain) the trash is by the rules of freedesktop.org for trash: the user's
///   own on the volume where that lies, elsewhere `.Trash/<user number>` at the volume's root if `.Trash` is a real
///   folder of an administrator or the user with the sticky bit, else `.Trash-<user number>`. The temporary folder is
///   the user's own where that lies on the volume, else `tmp` or `var/tmp` at the volume's root if that is such a folder
///   on this volume, else `.tmp-<user number>`. Of these the user's must be real folders that belong to the user (else
///   -54, for the last one in question). All other folders are the user's.
/// - By the same rules a trash keeps what was thrown away in its folder `files`, and where that came from in its folder
///   `info`.
///
/// Threads: these are constants.
#pragma once

#include <cstdint>

#include <ZtFoundation/platform/Types.h>

namespace ZtFoundation {

// Domains. The first two are older names for the user's folders.
inline constexpr std::int16_t kOnSystemDisk = -32768;
inline constexpr std::int16_t kOnAppropriateDisk = -32767;
inline constexpr std::int16_t kSystemDomain = -32766;
inline constexpr std::int16_t kLocalDomain = -32765;
inline constexpr std::int16_t kNetworkDomain = -32764;
inline constexpr std::int16_t kUserDomain = -32763;

inline constexpr OSType kDesktopFolderType = 0x6465736B;             // 'desk'
inline constexpr OSType kDocumentsFolderType = 0x646F6373;           // 'docs'
inline constexpr OSType kPictureDocumentsFolderType = 0x70646F63;    // 'pdoc'
inline constexpr OSType kMusicDocumentsFolderType = 0xB5646F63;      // 'µdoc', the first letter in the legacy encoding
inline constexpr OSType kMovieDocumentsFolderType = 0x6D646F63;      // 'mdoc'
inline constexpr OSType kDownloadsFolderType = 0x646F776E;           // 'down'
inline constexpr OSType kPreferencesFolderType = 0x70726566;         // 'pref'
inline constexpr OSType kCachedDataFolderType = 0x63616368;          // 'cach'
inline constexpr OSType kApplicationSupportFolderType = 0x61737570;  // 'asup'
inline constexpr OSType kTemporaryFolderType = 0x74656D70;           // 'temp'
inline constexpr OSType kTrashFolderType = 0x74727368;               // 'trsh'
inline constexpr OSType kFontsFolderType = 0x666F6E74;               // 'font'
inline constexpr OSType kApplicationsFolderType = 0x61707073;        // 'apps'
inline constexpr OSType kCurrentUserFolderType = 0x63757372;         // 'cusr'

}  // namespace ZtFoundation
