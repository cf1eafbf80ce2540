/// \file ApplicationIndex.h
/// The applications that are installed, remembered as long as nothing changes.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <ZtFoundation/platform/Types.h>

#include "platform/linux/applications/ApplicationFolders.h"
#include "platform/linux/files/FileStamp.h"

namespace ZtFoundation::detail {

/// Bundles by their Info.plist, desktop entries by their names and contents. Listing folders reads no files; entries
/// are read when a signature is asked for. What did not change since the last time costs a look at its status only. Any
/// thread may ask.
class ApplicationIndex {
 public:
  /// The path of the first application, in the order of the folders and in each by name, that has the signature
  /// `creator` (0: any) and the identifier `identifier` (empty: any; in any case of the letters A to Z, with or without
  /// ".desktop"; one that is the same letter by letter goes before others). Empty when there is none, and when nothing
  /// is asked for.
  std::string find(OSType creator, const std::string& identifier);

 private:
  struct Application {
    std::string path;
    bool isEntry = false;
    std::string identifier = {};          ///< of an entry its desktop-file ID without ".desktop"
    FileStamp stamp = {};                 ///< of the file that what follows was read from
    std::vector<OSType> signatures = {};  ///< of an entry those that it may have

    /// What was read of the same item earlier.
    void takeContents(Application& other) noexcept;
  };
  using Applications = std::vector<Application>;
  struct Query;
  class Lister;

  void refresh();
  bool isUpToDate(const std::vector<ApplicationFolder>& folders) const;
  static void updateBundle(Application& bundle);
  static bool readInformation(Application& bundle);
  static void updateEntry(Application& entry);
  void update(const Query& query);
  const Application* first(const Query& query, bool inAnyCase) const;
  bool isInstalled(const Application& application, const Query& query) const;

  std::mutex mutex_;
  std::vector<ApplicationFolder> folders_;
  std::map<std::string, FileStamp> listed_;  ///< each folder that was looked into, and each link that may lead to one
  Applications applications_;
};

}  // namespace ZtFoundation::detail
