// SPDX-License-Identifier: MIT
// The capacitor charger, a separate device at address 0x09 of the bus.
#pragma once

#include <cstdint>

#include "mcu/i2c_bus.h"

/// The words of the charger's registers, in transfer order.
struct CapRegisters {
    uint16_t cap_status = 0;
    uint16_t cap_vin = 0;
    uint16_t cap_iin = 0;  ///< two's complement
    uint16_t cap_vcap = 0;
    uint16_t cap_ichg = 0;  ///< two's complement
};

/// Reads the words one by one and stops at the first failure; that word and the following ones are then 0. Sets no text
/// in last_error.
bool read_charger_registers(const I2cBus& bus, CapRegisters& words);
