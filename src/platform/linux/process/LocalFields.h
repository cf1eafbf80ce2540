/// \file LocalFields.h
/// Dates where the user is.
#pragma once

#include <time.h>

namespace ZtFoundation::detail {

/// The local date and time of a second since 1970. A child that is forked meanwhile may ask at once, too; the system's
/// own functions may wait there for ever for a lock of theirs.
tm localFields(time_t second);

}  // namespace ZtFoundation::detail
