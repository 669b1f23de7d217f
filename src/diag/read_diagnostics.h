// SPDX-License-Identifier: MIT
#pragma once

#include "diag/diag_record.h"
#include "mcu/mcu_device.h"

/// Reads the record in one pass of register commands. A failed command or plain read ends it: what has been read is
/// stored, the word of a command that failed is 0, the rest is as it was, and `valid` is 0. A failed command sets
/// last_error, a failed plain read does not. A 1-Wire device that is missing or faulty is no failure: its status codes
/// tell.
bool read_diagnostics(McuDevice& device, DiagRecord& record);
