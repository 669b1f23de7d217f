// SPDX-License-Identifier: MIT
// --set-mode: one setting of the MCU.
#pragma once

#include "cli/commands.h"
#include "mcu/registers.h"

/// A word for a value.
struct ModeChoice {
    std::string_view word;
    uint16_t value;
};

/// A parameter that takes a value word.
struct ModeParameter {
    const char* names[3];  ///< messages use the first one
    /// Sends the value. Logs the reason before it returns false.
    bool (*set)(McuDevice& device, const ModeParameter& parameter, const char* value);
    RegisterCommand command;                   ///< sends the value to the MCU
    uint16_t mask = 0;                         ///< its bits of the settings word, or the bits of a number that are sent
    std::span<const ModeChoice> choices = {};  ///< empty: the value is a number
};

/// A parameter without a value word.
struct ModeAction {
    std::string_view name;
    bool (*run)(McuDevice& device);
};

std::span<const ModeParameter> mode_parameters();
std::span<const ModeAction> mode_actions();

/// Takes one parameter word and, for most parameters, one value word. A failed command is logged with last_error, a
/// wrong word with a message that names the parameter. Either ends the run; a wrong word
/// changes nothing in the MCU.
bool run_set_mode(CommandContext& context);
