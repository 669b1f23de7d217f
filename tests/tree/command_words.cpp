// SPDX-License-Identifier: MIT
// Prints the words of sv_updater and of the faults of sv_board, one per line after what it is:
//   command WORD ARGUMENTS, parameter WORD [VALUE…], action WORD, fault KIND, place NAME
#include <iostream>

#include "cli/mode_commands.h"
#include "sim/fault.h"

int main() {
    for (const Command& command : command_table()) {
        std::cout << "command " << command.keyword << ' ' << command.arguments << '\n';
    }
    for (const ModeParameter& parameter : mode_parameters()) {
        for (const char* const* name = parameter.names; name != std::end(parameter.names) && *name != nullptr; ++name) {
            std::cout << "parameter " << *name;
            for (const ModeChoice& choice : parameter.choices) {
                std::cout << ' ' << choice.word;
            }
            std::cout << '\n';
        }
    }
    for (const ModeAction& action : mode_actions()) {
        std::cout << "action " << action.name << '\n';
    }
    for (const std::string_view kind : sim::fault_kinds()) {
        std::cout << "fault " << kind << '\n';
    }
    for (const std::string_view group : sim::fault_groups()) {
        std::cout << "place " << group << '\n';
    }
    for (unsigned code = 0; code <= 0xFF; ++code) {
        const sim::FrameForm* form = sim::find_frame_form(static_cast<uint8_t>(code));
        for (const std::string& name :
             {std::string(form != nullptr ? form->name : ""), sim::register_command_name(static_cast<uint8_t>(code))}) {
            if (sim::find_command(name)) {
                std::cout << "place " << name << '\n';
            }
        }
    }
}
