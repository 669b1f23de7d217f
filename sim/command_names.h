// SPDX-License-Identifier: MIT
// The names of the MCU's commands in faults and traces.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "mcu/registers.h"

namespace sim {

/// The form that a frame of this command must have.
struct FrameForm {
    FrameCommand command;
    std::string_view name;
    uint8_t start;  ///< register of the first byte; the frame ends with the command register
    uint8_t key;    ///< 0: the command takes no key
    bool changes;   ///< changes the flash, the page buffer, the regions or the running program
};

/// A command of either form: in a frame, or with a parameter register.
struct CommandCode {
    bool frame;  ///< false: a register command
    uint8_t code;

    bool operator==(const CommandCode&) const = default;
};

/// Null when no frame command has this code.
const FrameForm* find_frame_form(uint8_t code);

/// For example "read-powerrail"; "command-XX" for an unknown code XX.
std::string register_command_name(uint8_t code);

/// Nothing when no command has this name.
std::optional<CommandCode> find_command(std::string_view name);

/// The command that a write message starts, if any. REQUIRES: the message is not empty.
std::optional<CommandCode> command_of(std::span<const uint8_t> bytes);

/// True when the command carries a page number.
bool has_page(CommandCode command);

}  // namespace sim
