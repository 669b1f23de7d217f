// SPDX-License-Identifier: MIT
// The charger of the capacitor: a chip of its own on the MCU's bus, at address 0x09.
#pragma once

#include <cstdint>

#include "mcu/i2c_bus.h"

/// The charger's words, in the order in which they are read.
struct CapRegisters {
    uint16_t cap_status = 0;
    uint16_t cap_vin = 0;
    uint16_t cap_iin = 0;  ///< two's complement
    uint16_t cap_vcap = 0;
    uint16_t cap_ichg = 0;  ///< two's complement
};

/// Reads one word after the other, up to the first that fails; that one and those after it are then 0. Sets no
/// last_error.
bool read_charger_registers(const I2cBus& bus, CapRegisters& words);
