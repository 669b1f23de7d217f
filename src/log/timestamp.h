// SPDX-License-Identifier: MIT
// Times as "2026-11-16 21:52:16", always in UTC.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t kTimestampSize = 32;  ///< more than the 19 characters and their NUL

/// Renders `seconds` since 1970; 0 stands for the current time. A buffer too small for the 19 characters and
/// their NUL is left holding an empty text; with size 0 it is not touched.
void format_timestamp(uint32_t seconds, char* buffer, size_t size);

/// Renders `minutes` since 1970 (the multiplication by 60 wraps at 32 bits); 0 is 1970-01-01 00:00:00. The buffer
/// is treated as above.
void format_minutes_timestamp(uint32_t minutes, char* buffer, size_t size);
