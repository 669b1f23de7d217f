// SPDX-License-Identifier: MIT
// Firmware update, reset and read-back, and the settings that shape them. The settings hold for the rest of the run.
#pragma once

#include "cli/commands.h"

bool run_force_update(CommandContext& context);
bool run_without_force_update(CommandContext& context);
bool run_update_without_reset(CommandContext& context);
bool run_update_with_reset(CommandContext& context);
bool run_update_without_disable(CommandContext& context);

/// Seconds, from 0 to 25.5 in tenths; what lies outside becomes the nearest of them, "nan" becomes 0.
bool run_reset_delay(CommandContext& context);

bool run_reset(CommandContext& context);

/// Without delay; the delay stays 0.
bool run_reset_now(CommandContext& context);

/// Without asking for a delayed reset first.
bool run_reset_now_sync(CommandContext& context);

/// Erases the region that the MCU does not run from.
bool run_erase(CommandContext& context);

/// Writes the whole flash, 0x42000 bytes, to a file; what can't be read is 0x55.
bool run_read(CommandContext& context);

/// Loads the file once, then makes up to three attempts, and logs the verdict.
bool run_update_command(CommandContext& context);

/// The same with an immediate reset and only if the MCU is not up to date.
bool run_upd(CommandContext& context);

/// Prints whether the file loads and what the loader says; never fails.
bool run_read_update(CommandContext& context);

/// Logs the power state as every update attempt does.
bool run_debug_update(CommandContext& context);
