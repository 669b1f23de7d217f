// SPDX-License-Identifier: MIT
// Prints the words of sv_updater and of the faults of sv_board, one per line after what it is:
//   command WORD ARGUMENTS, parameter WORD [VALUE…], action WORD, fault KIND, place NAME
#include <cstdio>

#include "cli/mode_commands.h"
#include "sim/fault.h"

namespace {

void print(const char* what, std::string_view word) {
    std::printf("%s %.*s\n", what, static_cast<int>(word.size()), word.data());
}

void print_parameter(const ModeParameter& parameter) {
    for (const char* name : parameter.names) {
        if (name == nullptr) {
            break;
        }
        std::printf("parameter %s", name);
        for (const ModeChoice& choice : parameter.choices) {
            std::printf(" %.*s", static_cast<int>(choice.word.size()), choice.word.data());
        }
        std::puts("");
    }
}

}  // namespace

int main() {
    for (const Command& command : command_table()) {
        std::printf("command %.*s %zu\n", static_cast<int>(command.keyword.size()), command.keyword.data(),
                    command.arguments);
    }
    for (const ModeParameter& parameter : mode_parameters()) {
        print_parameter(parameter);
    }
    for (const ModeAction& action : mode_actions()) {
        print("action", action.name);
    }
    for (const std::string_view kind : sim::fault_kinds()) {
        print("fault", kind);
    }
    for (const std::string_view group : sim::fault_groups()) {
        print("place", group);
    }
    for (unsigned code = 0; code <= 0xFF; ++code) {
        if (const sim::FrameForm* form = sim::find_frame_form(static_cast<uint8_t>(code)); form != nullptr) {
            print("place", form->name);
        }
        const std::string name = sim::register_command_name(static_cast<uint8_t>(code));
        if (sim::find_command(name)) {
            print("place", name);
        }
    }
    return 0;
}
