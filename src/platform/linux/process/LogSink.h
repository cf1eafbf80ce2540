/// \file LogSink.h
/// What log lines do in a child process.
#pragma once

namespace ZtFoundation::detail {

/// Begins anew in a child, which goes on with the parent's thread, under another number, and without the thread that may
/// have been in the middle of a line. Who forks does not wait for that one: standard error may be stalled.
void restartLogging() noexcept;

}  // namespace ZtFoundation::detail
