// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "mcu/mcu_device.h"

/// Prints the input section from the status block: source, lines, reset, message, over-current.
void print_input_status(const McuDevice& device, const uint8_t* status_block);
