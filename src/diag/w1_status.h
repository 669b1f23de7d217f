// SPDX-License-Identifier: MIT
// The MCU's 1-Wire driver.
#pragma once

#include <cstdint>

#include "mcu/mcu_device.h"

/// Name of a status code of the driver; 0x80 is the tool's own, for data that fails its CRC. Codes without a name are
/// "unknown".
const char* w1_status_name(uint8_t status);

/// Writes the PIO of the 1-Wire device (register command 0x82), reads its 8 bytes and the status, and prints them when
/// asked to. The outcome is that of the command, or false when a read fails; then nothing is printed, and last_error
/// is what it was.
bool print_w1_pio(McuDevice& device, uint16_t value, bool print);
