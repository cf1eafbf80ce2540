/// \file Workspace.h
/// Launching applications by the desktop's rules.
#pragma once

#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

class Workspace {
 public:
  virtual ~Workspace() = default;
  static Workspace& production();

  /// Starts the application (a bundle or a desktop entry) at `path`. False when it is none or does not start.
  virtual bool launchApplication(const Ref<NSString>& path) = 0;
  /// Has the application open the file. `deactivate` asks that the caller gives way to it. False when either is missing
  /// or the application does not start.
  virtual bool openFile_withApplication_andDeactivate(const Ref<NSString>& file, const Ref<NSString>& application,
                                                      bool deactivate) = 0;
};

}  // namespace ZtFoundation
