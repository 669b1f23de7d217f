// SPDX-License-Identifier: MIT
// --set-mode: one setting of the MCU.
#pragma once

#include "cli/commands.h"

/// Takes one parameter word and, for most parameters, one value word. A failed transaction is logged with its text, a
/// wrong word with a message that names the parameter; both end the run and leave the MCU's words as they were.
bool run_set_mode(CommandContext& context);
