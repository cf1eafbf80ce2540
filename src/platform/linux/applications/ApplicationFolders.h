/// \file ApplicationFolders.h
/// Where applications are installed.
#pragma once

#include <string>
#include <vector>

namespace ZtFoundation::detail {

struct ApplicationFolder {
  std::string path;
  bool holdsEntries;  ///< beside bundles

  friend bool operator==(const ApplicationFolder&, const ApplicationFolder&) = default;
};

/// As the environment stands, those that go before first; they need not exist:
///
/// | folder | holds |
/// |---|---|
/// | ~/Applications | bundles |
/// | `applications` in XDG_DATA_HOME (~/.local/share) | bundles, desktop entries |
/// | `applications` in each of XDG_DATA_DIRS (/usr/local/share, /usr/share) | bundles, desktop entries |
/// | /Applications | bundles |
std::vector<ApplicationFolder> applicationFolders();

}  // namespace ZtFoundation::detail
