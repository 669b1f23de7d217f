// SPDX-License-Identifier: MIT
// Commands that print what the MCU says about itself. Each reads the identity afresh; a failed read is logged.
#pragma once

#include "cli/commands.h"

bool run_version(CommandContext& context);
bool run_hw_version(CommandContext& context);
bool run_sw_version(CommandContext& context);
bool run_serial(CommandContext& context);
bool run_date(CommandContext& context);

/// Touches no MCU: there is no BOM version yet.
bool run_bom_version(CommandContext& context);

/// "1" when the MCU answers; otherwise "0", and the run ends without a log line.
bool run_probe(CommandContext& context);
