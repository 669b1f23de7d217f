// SPDX-License-Identifier: MIT
// Lines about both line interfaces, for scripts that collect them over time.
#pragma once

#include "mcu/mcu_device.h"

/// Prints a line for each interface that has something to show, and for both when neither has; then, whatever happened,
/// resets the MCU's diagnostics, so that the next report shows what came after this one. A failed read is told on
/// standard error, and zeros stand for what it did not give.
void print_cable_report(McuDevice& device);

/// Prints one long line with the raw words of both interfaces. False, with nothing printed, when a page can't be read;
/// last_error is then that of the failed command, or what it was when a plain read failed.
bool print_pse_adc_report(McuDevice& device);
