// SPDX-License-Identifier: MIT
#include "log/timestamp.h"

#include <ctime>

namespace {

void format_utc(std::time_t time, char* buffer, size_t size) {
    if (size == 0) {
        return;
    }
    buffer[0] = '\0';
    std::tm utc{};
    gmtime_r(&time, &utc);
    // What strftime leaves in a buffer that is too small is undefined.
    if (std::strftime(buffer, size, "%Y-%m-%d %H:%M:%S", &utc) == 0) {
        buffer[0] = '\0';
    }
}

}  // namespace

void format_timestamp(uint32_t seconds, char* buffer, size_t size) {
    format_utc(seconds != 0 ? static_cast<std::time_t>(seconds) : std::time(nullptr), buffer, size);
}

void format_minutes_timestamp(uint32_t minutes, char* buffer, size_t size) {
    const uint32_t seconds = minutes * 60U;
    format_utc(static_cast<std::time_t>(seconds), buffer, size);
}
