/// \file CatalogDates.h
/// Dates as catalog records keep them.
#pragma once

#include <cstdint>

#include "platform/services/FileCatalog.h"

namespace ZtFoundation::detail {

/// A point in time given in seconds since 1970 UTC and nanoseconds; no date for
/// one that the record cannot hold.
UTCDateTime catalogDate(std::int64_t seconds, std::uint32_t nanoseconds) noexcept;

}  // namespace ZtFoundation::detail
