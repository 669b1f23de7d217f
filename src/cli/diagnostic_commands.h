// SPDX-License-Identifier: MIT
// Commands that show the power state of the board. Apart from --status-poe they never end the run: what can't be read
// is told on standard error, or shows as such.
#pragma once

#include "cli/commands.h"

bool run_status(CommandContext& context);

/// The status line with " REBOOTED" behind it.
bool run_status_rebooted(CommandContext& context);

/// From here on, dumps and reports leave the MCU's diagnostics as they are.
bool run_no_dump_reset(CommandContext& context);

/// Inputs, diagnostics, PoE and capacitor charger. Writes the reset marker back, and resets the diagnostics.
bool run_dump(CommandContext& context);

/// The same and the status line, from the same data.
bool run_dumps(CommandContext& context);

bool run_status_poe(CommandContext& context);
bool run_status_cable(CommandContext& context);

/// The report, then the reset of the diagnostics.
bool run_status_pse_adc(CommandContext& context);
