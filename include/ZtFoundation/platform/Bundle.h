/// \file Bundle.h
/// `NSBundle`: a folder with code and what belongs to it.
///
/// A bundle is a folder of this layout:
///
///     Name.bundle/Contents/Info.plist              a property list, any format; keys below
///     Name.bundle/Contents/Linux/<executable>      for a plug-in a shared object
///
/// | key of Info.plist | meaning |
/// |---|---|
/// | CFBundleExecutable | the name of the executable; the bundle's own name without extension when there is none |
/// | NSPrincipalClass | the name of the class that a host makes an instance of |
///
/// The code of a plug-in registers its classes with `ZT_REGISTER_CLASS`, which happens while it is loaded. Loaded code stays as long
/// as the process lives, also when its file is deleted. Static initialisers must not throw: `load` tells what happens then.
/// \code
///   Ref<NSBundle> plugIn = NSBundle::bundleWithPath("/opt/app/PlugIns/Fancy.bundle");
///   if (plugIn && plugIn->load()) {
///     Ref<NSObject> object = class_createInstance(plugIn->principalClass());
///   }
/// \endcode
/// Threads: operations may be called by any thread.
#pragma once

#include <atomic>
#include <mutex>

#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

class NSDictionary;

class ZT_EXPORT NSBundle : public NSObject {
  ZT_OBJECT(NSBundle, NSObject)
 public:
  /// The bundle in that folder; none when there is no folder (links are followed). Reads nothing yet.
  static Ref<NSBundle> bundleWithPath(const Ref<NSString>& path);

  /// The path that the bundle was made with.
  Ref<NSString> bundlePath() const { return path_; }
  /// The contents of Info.plist, read at the first call; an empty dictionary when it is missing, broken or no dictionary.
  Ref<NSDictionary> infoDictionary();
  /// The entry of Info.plist, else none.
  Ref<NSObject> objectForInfoDictionaryKey(const Ref<NSString>& key);
  /// Where the executable is, whether it exists or not. None when CFBundleExecutable is no file name.
  Ref<NSString> executablePath();

  /// Loads the bundle's code, unless that has happened, and runs its static initialisers on this thread. False when there is no such file, it
  /// is no shared object for this machine, something it needs is missing, or an initialiser throws.
  ///
  /// After such a throw the lock of the system's loader stays with this thread for the rest of the process, which nothing outside the system's C
  /// library can mend. This thread goes on, loads code and may end the process. Any other thread waits for ever as soon as it loads code
  /// (dlopen; other plug-ins; the modules that the library itself loads when they are first needed) or
  /// ends the process by `exit`. What has thrown is not tried again. A plug-in should therefore catch what its initialisers throw.
  bool load();
  bool isLoaded() const noexcept { return module_.load(std::memory_order_acquire) != nullptr; }
  /// The class that Info.plist names, among those that the bundle's own code registered first, then among all; without such an entry the first
  /// class that the bundle's own code registered. Loads the code. Null when there is no such class.
  Class principalClass();

 private:
  explicit NSBundle(Ref<NSString> path);

  Class ownClass(const Ref<NSString>& name) const;

  const Ref<NSString> path_;
  std::once_flag infoOnce_;
  Ref<NSDictionary> info_;
  std::atomic<const void*> module_ = nullptr;
};

}  // namespace ZtFoundation
