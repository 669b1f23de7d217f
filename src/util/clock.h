// SPDX-License-Identifier: MIT
// The clock for durations, which nobody sets.
#pragma once

#include <cstdint>
#include <ctime>

inline timespec monotonic_now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

/// Milliseconds from `from` to `to`.
inline uint32_t elapsed_ms(const timespec& from, const timespec& to) {
    const auto ms = static_cast<int64_t>((to.tv_nsec - from.tv_nsec) / 1'000'000);
    const auto seconds = static_cast<int64_t>(to.tv_sec) - static_cast<int64_t>(from.tv_sec);
    return static_cast<uint32_t>(ms + 1000 * seconds);
}
