// SPDX-License-Identifier: MIT
#include "log/timestamp.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace {

// Not gmtime_r: with a 32-bit time_t, dates after 2038 would wrap to 1901.
void format_utc(int64_t seconds, char* buffer, size_t size) {
    if (size == 0) {
        return;
    }
    namespace chr = std::chrono;
    const chr::sys_seconds time{chr::seconds(seconds)};
    const auto midnight = chr::floor<chr::days>(time);
    const chr::year_month_day date(midnight);
    const chr::hh_mm_ss clock(time - midnight);
    const int length = std::snprintf(buffer, size, "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(date.year()),
                                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                                     static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                                     static_cast<int>(clock.seconds().count()));
    if (length < 0 || static_cast<size_t>(length) >= size) {
        buffer[0] = '\0';
    }
}

}  // namespace

void format_timestamp(uint32_t seconds, char* buffer, size_t size) {
    format_utc(seconds != 0 ? int64_t{seconds} : int64_t{std::time(nullptr)}, buffer, size);
}

void format_minutes_timestamp(uint32_t minutes, char* buffer, size_t size) {
    const uint32_t seconds = minutes * 60U;
    format_utc(seconds, buffer, size);
}
