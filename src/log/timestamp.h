// SPDX-License-Identifier: MIT
// Times as "2026-11-16 21:52:16", in UTC.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t kTimestampSize = 32;  ///< more than enough for the 19 characters and the NUL

/// Writes the time `seconds` after the start of 1970; 0 stands for the current time. If the buffer is too small for the
/// 19 characters and the NUL, writes an empty text, or nothing when `size` is 0.
void format_timestamp(uint32_t seconds, char* buffer, size_t size);

/// Writes the time `minutes` after the start of 1970; 0 is 1970-01-01 00:00:00. The product of minutes and 60 wraps at
/// 32 bits. The buffer is treated as in format_timestamp.
void format_minutes_timestamp(uint32_t minutes, char* buffer, size_t size);
