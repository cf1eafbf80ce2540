#include "platform/linux/process/LocalFields.h"

#include "platform/services/ForkSafeLocks.h"

namespace ZtFoundation::detail {

tm localFields(time_t second) {
  tm fields{};
  const std::lock_guard guard(lockOf(ForkSafe::LocalTime));
  ::localtime_r(&second, &fields);
  return fields;
}

}  // namespace ZtFoundation::detail
