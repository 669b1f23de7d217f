// SPDX-License-Identifier: MIT
// Commands that print ids, serial number, dates and checksums. Each asks the MCU again and logs a failed read.
#pragma once

#include "cli/commands.h"

bool run_version(CommandContext& context);
bool run_hw_version(CommandContext& context);
bool run_sw_version(CommandContext& context);
bool run_serial(CommandContext& context);
bool run_date(CommandContext& context);

/// Prints "-todo-" without a transfer: the MCU has no BOM version.
bool run_bom_version(CommandContext& context);

/// Prints "1" when the MCU answers. Otherwise prints "0" and ends the run; nothing is logged.
bool run_probe(CommandContext& context);
