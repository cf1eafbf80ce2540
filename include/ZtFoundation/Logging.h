/// \file Logging.h
/// Logging: plain lines to the platform log, and levelled messages through a manager that the host can replace.
/// \code
///   ZtLoggingManager::setSharedLoggingManager(make<ZtLoggingManager>());
///   YbLog("camera", ZtLogLevelWarn, "battery at %d%%", percent);      // WARN  camera - battery at 7%
///   ZtLog("started in %.1f s", seconds);                              // no level, no logger, no manager
/// \endcode
/// The format language is described in Format.h, the platform log in Log.h. Arguments are checked: one that does not
/// fit prints something visible and harmless.
///
/// A manager of one's own derives from `ZtLoggingManager`, overrides `appendToLogger_level_format_arguments`, and lists
/// it as a method:
/// \code
///   class CountingManager : public ZtLoggingManager {
///     ZT_OBJECT(CountingManager, ZtLoggingManager)
///    public:
///     void appendToLogger_level_format_arguments(const Ref<NSObject>& logger, std::int32_t level,
///                                                const Ref<NSString>& format, FormatArguments arguments) override;
///   };
///   ZT_REGISTER_CLASS(CountingManager, ZT_METHOD("appendToLogger:level:format:arguments:",
///                                                &CountingManager::appendToLogger_level_format_arguments));
/// \endcode
/// Packed as a bundle (Bundle.h), with the class as its principal class, it can be loaded from a file.
///
/// Threads: any number may log at once, also while another replaces the manager; no lock is held while a manager works,
/// and it lives until its last message is done. Logging works while static objects are made and destroyed. Blocks as
/// long as the manager does.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include <ZtFoundation/platform/Format.h>
#include <ZtFoundation/platform/Log.h>
#include <ZtFoundation/platform/Object.h>
#include <ZtFoundation/platform/Runtime.h>

namespace ZtFoundation {

/// Levels are numbers of the system log. Every number is accepted: those without a name here are silent in the base
/// class.
enum ZtLogLevel : std::int32_t {
  ZtLogLevelFatal = 0,
  ZtLogLevelError = 3,
  ZtLogLevelWarn = 4,
  ZtLogLevelInfo = 6,
  ZtLogLevelDebug = 7,
};

namespace detail {

// Compilers spell it differently.
template <>
struct TypeName<FormatArguments> {
  static constexpr std::string_view text() { return "FormatArguments"; }
};

}  // namespace detail

class ZtLoggingManager;

namespace detail {

ZT_EXPORT void appendToManager(ZtLoggingManager* manager, const Ref<NSObject>& logger, std::int32_t level,
                               const Ref<NSString>& format, FormatArguments arguments);
ZT_EXPORT void appendToSharedManager(const Ref<NSObject>& logger, std::int32_t level, const Ref<NSString>& format,
                                     FormatArguments arguments);

}  // namespace detail

class ZT_EXPORT ZtLoggingManager : public NSObject {
  ZT_OBJECT(ZtLoggingManager, NSObject)
 public:
  ZtLoggingManager() = default;
  ~ZtLoggingManager() override = default;

  /// Does nothing; a subclass may read a configuration at `path`, and follow its changes when `watch` is true. Nothing
  /// in the library calls it.
  virtual void configureWithPath_watch(const Ref<NSString>& path, bool watch);

  /// Writes one line to the platform log: level, `logger`'s description and the text that `format` makes of
  /// `arguments`. The text is made for every level; levels other than those of ZtLogLevel write nothing. None as logger
  /// or format prints "(null)".
  virtual void appendToLogger_level_format_arguments(const Ref<NSObject>& logger, std::int32_t level,
                                                     const Ref<NSString>& format, FormatArguments arguments);

  /// Sends the receiver `appendToLogger:level:format:arguments:` with the arguments collected. What the manager throws
  /// passes through. Messages nested more than 8 deep on one thread are dropped, those of `YbLog` counted as well.
  template <class... Arguments>
  void appendToLogger_level_message(const Ref<NSObject>& logger, std::int32_t level, const Ref<NSString>& format,
                                    const Arguments&... arguments) {
    const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
    detail::appendToManager(this, logger, level, format, list);
  }

  /// The manager that `YbLog` uses, or none, as at the start.
  static Ref<ZtLoggingManager> sharedLoggingManager();
  /// Installs `manager` in place of the one before, which is released; none silences `YbLog`. The one that is installed
  /// already stays as it is. The last one installed is never destroyed.
  static void setSharedLoggingManager(const Ref<ZtLoggingManager>& manager);
  /// A new manager of the principal class of the bundle at `path`, neither configured nor installed. The class is sent
  /// `alloc`, the instance `init`, which a plug-in may list as a method of its own and which answers the manager to
  /// use. The bundle's code stays loaded.
  ///
  /// None, without a word, when there is no path, nothing at the path or no bundle there, its code cannot be loaded,
  /// its principal class is missing or not `ZtLoggingManager` or a subclass, or that has no default constructor, the
  /// constructor or `init` throws, or `init` answers none. A plug-in whose static initialisers throw costs more than
  /// none: see `NSBundle::load`.
  static Ref<ZtLoggingManager> loggingManagerWithBundlePath(const Ref<NSString>& path);
};

/// Writes one line to the platform log, as `NSLog` does.
template <class... Arguments>
void ZtLog(const Ref<NSString>& format, const Arguments&... arguments) {
  NSLog(format, arguments...);
}

/// Sends the shared manager `appendToLogger:level:format:arguments:`; nothing happens without one. `logger` is any
/// object that names who logs.
///
/// A manager may log while it works on a message, and so may an argument's description. Messages nested more than 8
/// deep on one thread are dropped, those of `appendToLogger_level_message` counted as well. What the manager throws
/// passes through.
template <class... Arguments>
void YbLog(const Ref<NSObject>& logger, std::int32_t level, const Ref<NSString>& format,
           const Arguments&... arguments) {
  const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
  detail::appendToSharedManager(logger, level, format, list);
}

}  // namespace ZtFoundation
