// SPDX-License-Identifier: MIT
#pragma once

#include "mcu/charger.h"

/// Prints the charger section of a dump.
void print_cap_status(const CapRegisters& words);
