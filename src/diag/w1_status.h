// SPDX-License-Identifier: MIT
// Status codes and PIO of the 1-Wire device.
#pragma once

#include <cstdint>

#include "mcu/mcu_device.h"

/// Name of a status code of the driver, or "unknown". 0x80, "DATA_CRC", is not the driver's: the tool reports with it
/// that data has a wrong CRC.
const char* w1_status_name(uint8_t status);

/// Writes the PIO of the 1-Wire device (register command 0x82), reads its 8 bytes and the status, and prints them if
/// `print` is set, even after a failed command. False when the command failed, with last_error set, or when a read
/// failed; then nothing is printed and last_error is unchanged.
bool print_w1_pio(McuDevice& device, uint16_t value, bool print);
