// SPDX-License-Identifier: MIT
// --set-mode: one setting of the MCU.
#pragma once

#include "cli/commands.h"

/// Takes one parameter word and, for most parameters, one value word. A failed command is logged with last_error, a
/// wrong word with a message that names the parameter. Either ends the run; a wrong word
/// changes nothing in the MCU.
bool run_set_mode(CommandContext& context);
