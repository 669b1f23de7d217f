// SPDX-License-Identifier: MIT
// Readings of the Linux host itself, without the MCU: uptime, two temperature sensors, the Power-over-Ethernet line.
#pragma once

#include "mcu/mcu_device.h"

inline constexpr size_t kUptimeTextSize = 16;

/// Writes "1d 02:03:04", or "no uptime" if /proc/uptime cannot be read. REQUIRES: kUptimeTextSize bytes.
void read_uptime(char* text);

/// Seconds since the host's start. False if /proc/uptime cannot be read or is not a number.
bool read_uptime_seconds(float& seconds);

/// Reads the sensors of the network side and the display side, in degrees Celsius; 0 for a sensor that cannot be read
/// or does not return a number. Returns whether the display side returned a number.
bool read_temperatures(float (&temperatures)[2]);

/// The same sensors one by one. False, with 0, for one that cannot be read or does not return a number.
bool read_network_temperature(float& temperature);
bool read_display_temperature(float& temperature);

/// Reads GPIO 414, which is low while Power over Ethernet is present. Exports it first if necessary, and never sets its
/// direction. Failure: "could not read PoE GPIO", with `present` unchanged.
bool read_poe_gpio(McuDevice& device, bool& present);
