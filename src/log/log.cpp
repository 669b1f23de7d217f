// SPDX-License-Identifier: MIT
#include "log/log.h"

#include <syslog.h>

#include <cstdarg>
#include <cstdio>

#include "log/timestamp.h"

namespace {

constexpr size_t kMessageSize = 512;
constexpr size_t kTimeOfDay = 11;  // where HH:MM:SS begins in a time stamp

const char* level_name(int level) {
    switch (level) {
        case LOG_ALERT: return "alert";
        case LOG_CRIT: return "crit";
        case LOG_ERR: return "error";
        case LOG_WARNING: return "warn";
        case LOG_NOTICE: return "notice";
        case LOG_INFO: return "info";
        case LOG_DEBUG: return "debug";
        default: return "unknwn";
    }
}

}  // namespace

void log_message(int level, const char* format, ...) {
    char message[kMessageSize] = "";
    va_list values;
    va_start(values, format);
    std::vsnprintf(message, sizeof message, format, values);
    va_end(values);

    syslog(level, "%s", message);

    char timestamp[kTimestampSize] = "";
    format_timestamp(0, timestamp, sizeof timestamp);
    std::fprintf(stderr, "[%s] %-6s: %s\n", timestamp + kTimeOfDay, level_name(level), message);
    std::fflush(stderr);
}
