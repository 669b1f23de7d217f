// SPDX-License-Identifier: MIT
// The interface between sv_board and its preload in the programs it runs: a small mapped file, and environment
// variables.
#pragma once

#include <atomic>
#include <cstdint>

struct SharedClock {
    std::atomic<uint64_t> skipped_ns;  ///< total time of the sleeps that were skipped
    std::atomic<uint32_t> fast;        ///< 1: skip sleeps
};
static_assert(std::atomic<uint64_t>::is_always_lock_free);

inline constexpr char kClockVariable[] = "SV_BOARD_CLOCK";      ///< path of the mapped file
inline constexpr char kSyslogVariable[] = "SV_BOARD_SYSLOG";    ///< path of the file for system-log lines; may be unset
inline constexpr char kMissingVariable[] = "SV_BOARD_MISSING";  ///< paths that do not exist, each between colons
