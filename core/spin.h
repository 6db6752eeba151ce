// Waiting for another thread without leaving the processor.
#pragma once

#include <thread>

namespace tessel::sys {

/// How often a thread looks before it gives up: some tens of microseconds, which is longer than the gap between two
/// zones of a step and shorter than anybody notices.
inline constexpr int patience = 4000;

inline void relax() noexcept {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#else
    std::this_thread::yield();
#endif
}

/// Whether `ready()` came true within `looks`.
template <class Ready>
bool spin_until(const Ready& ready, int looks = patience) noexcept {
    for (int i = 0; i < looks; ++i) {
        if (ready()) return true;
        relax();
    }
    return false;
}

}  // namespace tessel::sys
