/// \file Sanitizers.h
/// Whether this build checks addresses or threads: such processes need much address space and start slowly.
#pragma once

namespace ZtFoundation::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif
#else
inline constexpr bool kIsSanitized = false;
#endif

}  // namespace ZtFoundation::test
