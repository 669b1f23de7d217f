// SPDX-License-Identifier: MIT
// Commands that show the power state of the board. A reading that fails is reported on standard error or shown as
// dashes; only --status-poe then ends the run.
#pragma once

#include "cli/commands.h"

bool run_status(CommandContext& context);

/// --status with " REBOOTED" at the end of the line.
bool run_status_rebooted(CommandContext& context);

/// Later --dump, --dumps and --status-pse-adc keep the MCU's counters.
bool run_no_dump_reset(CommandContext& context);

/// Prints inputs, diagnostics, PoE and capacitor charger, rewrites the reset marker and clears the MCU's counters.
bool run_dump(CommandContext& context);

/// --dump, then the status line from the same readings.
bool run_dumps(CommandContext& context);

bool run_status_poe(CommandContext& context);
bool run_status_cable(CommandContext& context);

/// Prints the report, then clears the MCU's counters.
bool run_status_pse_adc(CommandContext& context);
