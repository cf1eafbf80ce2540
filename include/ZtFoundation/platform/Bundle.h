/// \file Bundle.h
/// `NSBundle`: a folder with code, resources and what tells about them.
///
/// A bundle is a folder of this layout:
///
///     Name.bundle/Contents/Info.plist              a property list, any format; keys below
///     Name.bundle/Contents/Linux/<executable>      a program; for a plug-in a shared object
///     Name.bundle/Contents/Resources/              files that the code uses, and for each language
///     Name.bundle/Contents/Resources/<language>.lproj/    files for its readers
///
/// A folder without `Contents` is a flat bundle: Info.plist, the executable and the resources lie in the folder itself.
/// docs/formats/bundles.md tells more.
///
/// | key of Info.plist | meaning |
/// |---|---|
/// | CFBundleExecutable | the name of the executable; the bundle's own name without extension when there is none |
/// | CFBundleIdentifier | the name that tells the bundle from all others, such as "org.example.viewer" |
/// | CFBundleDevelopmentRegion | the language that the resources were first written in |
/// | NSPrincipalClass | the name of the class that a host makes an instance of |
///
/// The code of a plug-in registers its classes with `ZT_REGISTER_CLASS`, which happens while it is loaded. Loaded code
/// stays as long as the process lives, also when its file is deleted. Static initialisers must not throw: `load` tells
/// what happens then.
/// \code
///   Ref<NSBundle> plugIn = NSBundle::bundleWithPath("/opt/app/PlugIns/Fancy.bundle");
///   if (plugIn && plugIn->load()) {
///     Ref<NSObject> object = class_createInstance(plugIn->principalClass());
///   }
///   Ref<NSString> picture = NSBundle::mainBundle()->pathForResource_ofType("Welcome", "png");
/// \endcode
/// The bundle of the running program, those whose code is loaded and those that a class was found in live as long as
/// the process: the same absolute path, character by character, answers the same object then.
///
/// Threads: operations may be called by any thread.
#pragma once

#include <atomic>
#include <vector>

#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/String.h>

namespace ZtFoundation {

class NSArray;
class NSDictionary;

class ZT_EXPORT NSBundle : public NSObject {
  ZT_OBJECT(NSBundle, NSObject)
 public:
  /// The bundle in that folder; none when there is no folder (links are followed). Reads nothing yet.
  static Ref<NSBundle> bundleWithPath(const Ref<NSString>& path);
  /// The bundle of the running program: the one that has it in Contents/Linux, else the program's own folder as a flat
  /// bundle. Links on the way to the program are resolved. Always the same object, loaded from the beginning; none only
  /// where the system does not tell which file the program came from.
  static Ref<NSBundle> mainBundle();
  /// The bundle that the class's code came with: the one that loaded it, else the one that has its file in
  /// Contents/Linux, else the main bundle, which so has the classes of this library and of other libraries too. A class
  /// made at run time belongs where its superclass does. None for no class.
  static Ref<NSBundle> bundleForClass(Class one);

  /// The path that the bundle was made with.
  Ref<NSString> bundlePath() const { return path_; }
  /// The contents of Info.plist, read once; an empty dictionary when it is missing, no regular file, longer than 1 MiB,
  /// broken or no dictionary, and as long as it cannot be read.
  Ref<NSDictionary> infoDictionary();
  /// The entry of Info.plist, else none.
  Ref<NSObject> objectForInfoDictionaryKey(const Ref<NSString>& key);
  /// CFBundleIdentifier; none when that is missing or no string.
  Ref<NSString> bundleIdentifier();
  /// Where the executable is, whether it exists or not; of the main bundle the program that runs. None when
  /// CFBundleExecutable is no file name.
  Ref<NSString> executablePath();

  /// Loads the bundle's code, unless that has happened, and runs its static initialisers on this thread. False when
  /// there is no such file, it is no shared object for this machine, something it needs is missing, or an initialiser
  /// throws.
  ///
  /// After such a throw the lock of the system's loader stays with this thread for the rest of the process, which
  /// nothing outside the system's C library can mend. This thread goes on, loads code and may end the process. Any
  /// other thread waits for ever as soon as it loads code (dlopen; other plug-ins; the modules that the library itself
  /// loads when they are first needed), asks where code comes from (dladdr; mainBundle at its first use,
  /// bundleForClass, principalClass) or ends the process by `exit`. What has thrown is not tried again. A plug-in should
  /// therefore catch what its initialisers throw.
  bool load();
  /// True when `load` has loaded the code.
  bool isLoaded() const noexcept { return module_.load(std::memory_order_acquire) != nullptr; }
  /// The class that Info.plist names, among those that the bundle's own code registered first, then among all; without
  /// such an entry the first class that the bundle's own code registered. Loads the code. Null when there is no such
  /// class.
  Class principalClass();

  // --- Resources

  /// Where the resources lie, whether that exists or not: Contents/Resources, of a flat bundle the folder itself.
  Ref<NSString> resourcePath() const;

  /// The path of the resource file or folder `name`.`type`; with a type that is none or empty, of `name` as it is. None
  /// when there is none. Looked at are, each with the subfolder `subfolder` of the resources unless that is none or
  /// empty:
  /// - the folder itself;
  /// - the folders `<language>.lproj` in the user's order (LANGUAGE, LC_ALL, LC_MESSAGES, LANG; "pt_BR" stands for
  ///   pt_BR, pt-BR and pt), then of CFBundleDevelopmentRegion in the same way, then `Base.lproj`. They may lie among
  ///   the resources and hold the subfolder, or in the subfolder.
  ///
  /// A name that ends in the type already is no exception. Name and subfolder may have several components; with one
  /// that is empty, "." or ".." they find nothing, so a result always lies among the resources, unless the bundle
  /// itself has links that lead out. An empty name finds nothing. Links are followed; one that leads nowhere does not
  /// exist.
  Ref<NSString> pathForResource_ofType(const Ref<NSString>& name, const Ref<NSString>& type);
  /// The same in the subfolder; among the resources themselves when it is none.
  Ref<NSString> pathForResource_ofType_inDirectory(const Ref<NSString>& name, const Ref<NSString>& type,
                                                   const Ref<NSString>& subfolder);
  /// The same, but after the folder itself only `<localization>.lproj` is looked at, by exactly that name. All are when
  /// it is none.
  Ref<NSString> pathForResource_ofType_inDirectory_forLocalization(const Ref<NSString>& name, const Ref<NSString>& type,
                                                                   const Ref<NSString>& subfolder,
                                                                   const Ref<NSString>& localization);

  /// The names before ".lproj" of the folders among the resources, in the order of their bytes.
  Ref<NSArray> localizations() const;
  /// Those of them that a search for a resource looks at, in its order.
  Ref<NSArray> preferredLocalizations();

 private:
  class Lasting;

  NSBundle(Ref<NSString> path, const void* module);

  static Ref<NSBundle> bundleOfModule(const void* module);
  bool isMain() const;
  Ref<NSString> contentsPath() const;
  Class ownClass(const Ref<NSString>& name) const;
  std::vector<Ref<NSString>> localizationsInOrder();
  Ref<NSString> pathForResource(const Ref<NSString>& name, const Ref<NSString>& type, const Ref<NSString>& subfolder,
                                const std::vector<Ref<NSString>>& localizations) const;

  const Ref<NSString> path_;
  Ref<NSDictionary> info_;
  std::atomic<const void*> module_;
};

}  // namespace ZtFoundation
