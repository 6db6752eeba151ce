// Whether the tests are built with a sanitizer, for the few that its runtime cannot bear.
#pragma once

namespace tessel::test {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool address_sanitizer = true;
#elif defined(__has_feature)
inline constexpr bool address_sanitizer = __has_feature(address_sanitizer);
#else
inline constexpr bool address_sanitizer = false;
#endif

#if defined(__SANITIZE_THREAD__)
inline constexpr bool thread_sanitizer = true;
#elif defined(__has_feature)
inline constexpr bool thread_sanitizer = __has_feature(thread_sanitizer);
#else
inline constexpr bool thread_sanitizer = false;
#endif

}  // namespace tessel::test
