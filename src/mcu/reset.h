// SPDX-License-Identifier: MIT
// Resets the MCU.
#pragma once

#include "mcu/mcu_device.h"

enum class WaitMarks { kPrinted, kSilent };

/// Requests a reset after reset_delay. A request that does not finish is repeated: at least four requests, and until
/// more than 2999 ms have passed. A refusal, no success by then, or reset_now_sync leads to an immediate reset, which
/// first waits up to one second for the MCU to acknowledge a byte and is sent in any case. Prints ".(milliseconds)"
/// after each failed try, unless `marks` is kSilent. Always true, with a report in last_error. Clears the McuInfo of
/// the device.
bool reset_mcu(McuDevice& device, WaitMarks marks = WaitMarks::kPrinted);
