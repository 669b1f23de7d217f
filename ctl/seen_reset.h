// SPDX-License-Identifier: MIT
// A reset that is seen to happen: an MCU may accept one and lose it.
#pragma once

#include "ctl/outcome.h"
#include "mcu/mcu_device.h"

/// Writes the reset marker and reads it back, in up to three attempts.
bool set_marker(McuDevice& device);

/// Whether the marker still stands, so that the MCU has not restarted since set_marker.
bool marker_stands(McuDevice& device);

/// Resets the MCU without delay, and waits up to 15 s until the marker is 0 and the identity has been read anew; if
/// not, sets the marker and does so once more. What the device knows of the MCU is then new. Failure: kResetNotSeen;
/// the MCU may or may not have been reset. REQUIRES: set_marker has succeeded.
bool reset_and_see(McuDevice& device, Failure& failure);
