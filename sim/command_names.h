// SPDX-License-Identifier: MIT
// The MCU's commands under the names by which faults and traces call them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "mcu/registers.h"

namespace sim {

/// How a frame must look. The key is 0 where the command takes none.
struct FrameForm {
    FrameCommand command;
    std::string_view name;
    uint8_t start;
    uint8_t key;
    bool changes;  ///< the flash, the page being handed over, the regions or the running program
};

/// A command of either form.
struct CommandCode {
    bool frame;
    uint8_t code;

    bool operator==(const CommandCode&) const = default;
};

/// Null for a code that the MCU does not know.
const FrameForm* find_frame_form(uint8_t code);

/// "powerrail" and the like; "command-XX" for a code that has no name.
std::string register_command_name(uint8_t code);

std::optional<CommandCode> find_command(std::string_view name);

/// The command that a write message starts.
std::optional<CommandCode> command_of(std::span<const uint8_t> bytes);

/// True when the command carries a page number.
bool has_page(CommandCode command);

}  // namespace sim
