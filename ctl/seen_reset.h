// SPDX-License-Identifier: MIT
// A reset that is seen to happen: an MCU may accept one and lose it.
#pragma once

#include "ctl/outcome.h"
#include "mcu/mcu_device.h"

/// Writes the reset marker and reads it back, in up to three attempts.
bool set_marker(McuDevice& device);

/// Whether the marker still stands, so that the MCU has not restarted since set_marker.
bool marker_stands(McuDevice& device);

/// Writes the reset marker and reads it back, resets the MCU without delay, and waits up to 15 s until the marker is 0
/// and the identity has been read anew; does so once more if the marker does not change. What the device knows of the
/// MCU is then new. Failure: kResetNotSeen; the MCU may or may not have been reset.
bool reset_and_see(McuDevice& device, Failure& failure);
