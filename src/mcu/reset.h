// SPDX-License-Identifier: MIT
// Restarts the MCU.
#pragma once

#include <cstdint>
#include <ctime>

#include "mcu/mcu_device.h"

/// Asks the MCU to reset itself after reset_delay, repeating an unanswered request for about three seconds. A refused
/// or unanswered request, and reset_now_sync, lead to an immediate reset once the MCU is reachable, or after one
/// second if it is not. Prints ".(milliseconds)" for every try that the MCU left unanswered. Always true: the
/// outcome is the report in last_error. Forgets the McuInfo of the device, since the MCU's state is then unknown.
bool reset_mcu(McuDevice& device);

/// Milliseconds from `from` to `to`.
uint32_t elapsed_ms(const timespec& from, const timespec& to);
