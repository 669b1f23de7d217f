// SPDX-License-Identifier: MIT
#pragma once

#include "mcu/charger.h"

/// Prints the section of the capacitor charger.
void print_cap_status(const CapRegisters& words);
