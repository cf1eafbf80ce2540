/// \file Log.h
/// The platform log: one line on the standard error stream for each call.
///
/// A line is the local date and time to the millisecond, the name of the process, its number and the thread's, and the
/// text:
/// \code
///   NSLog("%@ failed with error: %d", path, status);
///   // 2024-05-17 09:30:00.125 host[4711:4711] /tmp/a failed with error: -43
/// \endcode
/// The text may hold newlines and tabs; other control characters (U+0000 to U+001F, U+007F) are shown as `\x1b`, so
/// that a file name cannot drive a terminal.
///
/// Threads: any number may log at once; lines stay whole. Logging may block as long as the standard error stream does.
/// It never fails: what cannot be written is dropped, also when there is no memory for the line or nobody reads the
/// pipe (no SIGPIPE reaches the process, except within a second after the host put a pipe in the place of standard
/// error). Exceptions come only from what is done for the line: the caller's conversion of text to a string
/// (std::bad_alloc) and descriptions of the host's own. `errno` is left as it was.
#pragma once

#include <array>

#include <ZtFoundation/platform/Format.h>

namespace ZtFoundation {

/// Writes one line with the text that `format` makes of `arguments`; "(null)" for no format.
ZT_EXPORT void NSLogv(const Ref<NSString>& format, FormatArguments arguments);

namespace detail {

/// Writes one line: `level`, a blank, the description of `logger`, " - " and the text that `format` makes of
/// `arguments`, which is made before the description is asked for. Of an empty level only that text is made, and nothing
/// written.
ZT_EXPORT void logMessage(std::string_view level, const Ref<NSObject>& logger, const Ref<NSString>& format,
                          FormatArguments arguments);

}  // namespace detail

/// Writes one line; Format.h describes the format language.
template <class... Arguments>
void NSLog(const Ref<NSString>& format, const Arguments&... arguments) {
  const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
  NSLogv(format, list);
}

}  // namespace ZtFoundation
