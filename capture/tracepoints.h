// SPDX-License-Identifier: MIT
// The kernel's events of its I2C buses, as text.
#pragma once

#include <string_view>

#include "sim/capture_file.h"

/// Reads what tracefs, "trace-cmd report" or "perf script" print of i2c_write, i2c_read, i2c_reply and i2c_result;
/// other lines are skipped. tracefs shows 64 bytes of a message: longer ones are known in part. A line of sv_record
/// gives the time of day; without it, times count from the kernel's start. Left out are ten-bit addresses, buses above
/// 127 and transfers of which events are missing; the problem says how many. The result has neither transfers nor a
/// problem if the text has no such event.
sim::Recording read_tracepoints(std::string_view text);
