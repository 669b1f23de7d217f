// SPDX-License-Identifier: MIT
// Reports about both line interfaces. Scripts call them in a loop and keep the lines.
#pragma once

#include "mcu/mcu_device.h"

/// Reads the diagnostics and clears the MCU's counters, even after a failed read, so that every report covers the time
/// since the last one. Then prints one line for each interface with measurements, or for both if neither has any; a
/// line with implausible values is dropped. A failed read is reported on standard error and leaves zeros.
void print_cable_report(McuDevice& device);

/// Prints one long line with the raw ADC words of both interfaces. If a page cannot be read, prints nothing and returns
/// false; a failed command has then set last_error, a failed plain read has not.
bool print_pse_adc_report(McuDevice& device);
