#include "platform/linux/references/CatalogDates.h"

namespace ZtFoundation {

namespace {

constexpr std::int64_t kFrom1904To1970 = 2'082'844'800;
constexpr std::int64_t kFrom1904To2001 = 3'061'152'000;
constexpr std::int64_t kMostSeconds = (std::int64_t{1} << 48) - 1;

}  // namespace

namespace detail {

UTCDateTime catalogDate(std::int64_t seconds, std::uint32_t nanoseconds) noexcept {
  if (seconds < -kFrom1904To1970 || seconds > kMostSeconds - kFrom1904To1970) return {};
  const auto since1904 = static_cast<std::uint64_t>(seconds + kFrom1904To1970);
  UTCDateTime date;
  date.highSeconds = static_cast<std::uint16_t>(since1904 >> 32);
  date.lowSeconds = static_cast<std::uint32_t>(since1904);
  date.fraction = static_cast<std::uint16_t>(std::uint64_t{nanoseconds} * 65536 / 1'000'000'000);
  return date;
}

}  // namespace detail

OSErr UCConvertUTCDateTimeToCFAbsoluteTime(const UTCDateTime* date, double* seconds) noexcept {
  if (date == nullptr || seconds == nullptr) return paramErr;
  const std::int64_t since1904 = (std::int64_t{date->highSeconds} << 32) | date->lowSeconds;
  if (since1904 == 0 && date->fraction == 0) return paramErr;
  *seconds = static_cast<double>(since1904 - kFrom1904To2001) + date->fraction / 65536.0;
  return noErr;
}

}  // namespace ZtFoundation
