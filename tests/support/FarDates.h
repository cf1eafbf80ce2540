/// \file FarDates.h
/// Dates of files that do not fit 32 bits, and some at their limits.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <string>

namespace ZtFoundation::test {

/// Seconds since 1970.
inline constexpr time_t kFarDates[] = {
    -2208988800,  // 1900
    -2147483649,  // December 1901, one second before what 32 bits hold
    -2147483648,  // on some file systems the first of all, without the half second
    -2147483647, -1,
    2147483647,  // January 2038
    2147483648,
    4294967296,   // February 2106
    13569465600,  // 2400
};

/// Gives the item at `path` that date of modification, and half a second. False where its file system cannot keep it.
inline bool hasDateSet(const std::string& path, time_t seconds) {
  const timespec times[2] = {{0, UTIME_OMIT}, {seconds, 500'000'000}};
  struct stat status;
  return ::utimensat(AT_FDCWD, path.c_str(), times, 0) == 0 && ::stat(path.c_str(), &status) == 0 &&
         status.st_mtim.tv_sec == seconds && status.st_mtim.tv_nsec == times[1].tv_nsec;
}

}  // namespace ZtFoundation::test
