/// \file ForkSafeLocks.h
/// Locks that no child process finds taken.
///
/// A child goes on with the one thread that forked it. What another thread had locked at that moment would stay locked
/// there for ever; so who forks takes all of these first, and both processes release them. They are held for a few
/// instructions at a time, never while something outside the process is waited for or code of the host runs.
#pragma once

#include <array>
#include <cstddef>
#include <mutex>

namespace ZtFoundation {

/// What they guard. Who holds one may take those after it, not those before.
enum class ForkSafe : std::size_t {
  Transformers,   ///< the names of value transformers
  Observers,      ///< of notifications
  Bundles,        ///< those that live as long as the process, and what they know
  BrokenCode,     ///< files whose code failed half-way
  EndedPrograms,  ///< that nobody looks at any more
  Classes,        ///< with their methods, and selectors
  LoggingManager,
  LocalTime,  ///< the system's own lock over the time zone
  Count
};

namespace detail {

extern constinit std::array<std::mutex, static_cast<std::size_t>(ForkSafe::Count)> forkSafeLocks;

}  // namespace detail

inline std::mutex& lockOf(ForkSafe guarded) noexcept {
  return detail::forkSafeLocks[static_cast<std::size_t>(guarded)];
}

}  // namespace ZtFoundation
