// SPDX-License-Identifier: MIT
// Messages that reach both the terminal and the system log of the board.
#pragma once

inline constexpr int kLogError = 3;  ///< syslog's LOG_ERR
inline constexpr int kLogInfo = 6;   ///< syslog's LOG_INFO

/// Sends the message, cut to 511 characters, to syslog with priority `level` and, with the time of day in UTC and the
/// name of the level before it, to standard error. Cannot fail. The format is a literal: a text from the MCU, a file or
/// the command line goes in through "%s".
void log_message(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
