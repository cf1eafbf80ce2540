#include "platform/linux/files/FileStamp.h"

#include <algorithm>
#include <ctime>
#include <limits>

namespace ZtFoundation::detail {

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kLongestTick = 2 * kSecond;

// A program that serves files may tell any time.
constexpr std::int64_t kFarthest = std::numeric_limits<std::int64_t>::max() / kSecond / 2;

std::int64_t nanoseconds(const timespec& time) {
  return std::clamp(std::int64_t{time.tv_sec}, -kFarthest, kFarthest) * kSecond + time.tv_nsec;
}

// A few milliseconds late at most, and so on the safe side.
std::int64_t now() {
  timespec time{};
  ::clock_gettime(CLOCK_REALTIME_COARSE, &time);
  return nanoseconds(time);
}

}  // namespace

FileStamp::FileStamp(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) == 0) *this = FileStamp(status);
}

FileStamp::FileStamp(const struct stat& status) {
  device_ = status.st_dev;
  number_ = status.st_ino;
  size_ = static_cast<std::uint64_t>(status.st_size);
  changed_ = nanoseconds(status.st_ctim);
  isSettled_ = now() - changed_ > kLongestTick;
}

bool FileStamp::stillHolds(const FileStamp& now) const {
  return isSettled_ && device_ == now.device_ && number_ == now.number_ && size_ == now.size_ &&
         changed_ == now.changed_;
}

}  // namespace ZtFoundation::detail
