// SPDX-License-Identifier: MIT
// Firmware update, reset and read-back, and their settings, which last until the end of the run.
#pragma once

#include "cli/commands.h"

bool run_force_update(CommandContext& context);
bool run_without_force_update(CommandContext& context);
bool run_update_without_reset(CommandContext& context);
bool run_update_with_reset(CommandContext& context);
bool run_update_without_disable(CommandContext& context);

/// Seconds, stored in tenths; clamped to 0..25.5, NaN becomes 0.
bool run_reset_delay(CommandContext& context);

/// Resets the MCU, see reset_mcu.
bool run_reset(CommandContext& context);

/// Sets the delay to 0, then resets.
bool run_reset_now(CommandContext& context);

/// Resets without asking for a delayed reset first.
bool run_reset_now_sync(CommandContext& context);

/// Erases the region that is not running.
bool run_erase(CommandContext& context);

/// Writes the whole flash, 0x42000 bytes, to a file, with 0x55 for every byte that cannot be read.
bool run_read(CommandContext& context);

/// Loads the file once, tries the update up to three times, and logs the verdict.
bool run_update_command(CommandContext& context);

/// --update without the force mode and with a reset that has no delay.
bool run_upd(CommandContext& context);

/// Prints whether the file loads, and last_error. Never ends the run.
bool run_read_update(CommandContext& context);

/// Logs the power state in the form that precedes every update attempt. Never ends the run.
bool run_debug_update(CommandContext& context);
