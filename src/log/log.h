// SPDX-License-Identifier: MIT
// Events for the operator: the system log and standard error see the same text.
#pragma once

inline constexpr int kLogError = 3;  ///< syslog's LOG_ERR
inline constexpr int kLogInfo = 6;   ///< syslog's LOG_INFO

/// Formats one message (cut to 511 characters), sends it to the system log with `level` as its priority, and
/// writes "[HH:MM:SS] level : message" as one line to standard error. Never fails. A text that is not a
/// literal is always passed as the value of "%s".
void log_message(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
