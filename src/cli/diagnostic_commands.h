// SPDX-License-Identifier: MIT
// Commands that show the power state of the board. They never end the run: what can't be read shows as such.
#pragma once

#include "cli/commands.h"

bool run_status(CommandContext& context);

/// The status line with " REBOOTED" behind it.
bool run_status_rebooted(CommandContext& context);
