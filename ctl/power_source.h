// SPDX-License-Identifier: MIT
// What feeds the board.
#pragma once

#include "ctl/outcome.h"
#include "mcu/mcu_device.h"

/// Finds the source that the MCU reports: "XLR", "Link1" or "Link2", else "PoE" if the host sees it; "unknown" for a
/// firmware that does not report its inputs. Changes nothing on the MCU. Failure: kNoAnswer, or kNoPower if nothing
/// feeds the board.
bool find_power_source(McuDevice& device, const char*& name, Failure& failure);
