#pragma once

namespace zeb::test {

/// Whether the address or the thread sanitizer is active: they reserve terabytes of address space
/// and replace functions of libc.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool SANITIZED = true;
#elif defined(__has_feature)
inline constexpr bool SANITIZED =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool SANITIZED = false;
#endif

}  // namespace zeb::test
