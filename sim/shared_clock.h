// SPDX-License-Identifier: MIT
// What sv_board and the preload in the programs it runs tell each other: one small mapped file, and names of
// environment variables.
#pragma once

#include <atomic>
#include <cstdint>

struct SharedClock {
    std::atomic<uint64_t> skipped_ns;  ///< waiting that took no time
    std::atomic<uint32_t> fast;        ///< 1: waiting takes no time
};
static_assert(std::atomic<uint64_t>::is_always_lock_free);

inline constexpr char kClockVariable[] = "SV_BOARD_CLOCK";      ///< path of the mapped file
inline constexpr char kSyslogVariable[] = "SV_BOARD_SYSLOG";    ///< file for the system-log lines, if any
inline constexpr char kMissingVariable[] = "SV_BOARD_MISSING";  ///< paths that are not there, each between colons
