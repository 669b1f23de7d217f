// SPDX-License-Identifier: MIT
// What the board's Linux host knows by itself: uptime, two temperatures, and whether the power comes over Ethernet.
#pragma once

#include "mcu/mcu_device.h"

inline constexpr size_t kUptimeTextSize = 16;

/// Fills the buffer of kUptimeTextSize bytes with "1d 02:03:04", or with "no uptime" when /proc/uptime can't be read.
void read_uptime(char* text);

/// Degrees Celsius of the network side, then of the display side; 0 for a sensor that can't be read or gives no
/// number. Returns whether the display side gave a number.
bool read_temperatures(float (&temperatures)[2]);

/// Reads GPIO 414, exporting it first if need be; its direction is left alone. The line is low while the power comes
/// over Ethernet. Failure: "could not read PoE GPIO", and `present` is as it was.
bool read_poe_gpio(McuDevice& device, bool& present);
