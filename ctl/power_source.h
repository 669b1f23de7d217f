// SPDX-License-Identifier: MIT
// What feeds the board.
#pragma once

#include "ctl/outcome.h"
#include "diag/input_status.h"
#include "mcu/mcu_device.h"

/// The source that the MCU reports: "ext", "link1" or "link2"; "unknown" for a firmware that does not report its
/// inputs; null: none.
const char* reported_source(const InputStatus& status);

/// Finds the source that the MCU reports, else "poe" if the host sees it. Changes nothing on the MCU. Failure:
/// kNoAnswer, or kNoPower if nothing feeds the board.
bool find_power_source(McuDevice& device, const char*& name, Failure& failure);
