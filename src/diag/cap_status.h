// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "mcu/charger.h"

/// Names of the parts of a charger status, as the dump prints them; null for a code without a name.
const char* cap_mode_name(uint16_t status);
const char* cap_charge_name(uint16_t status);
const char* cap_manager_name(uint16_t status);

/// Prints the charger section of a dump.
void print_cap_status(const CapRegisters& words);
