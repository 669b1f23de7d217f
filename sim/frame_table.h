// SPDX-License-Identifier: MIT
// The one table of frames and register commands: what they are called, their bytes, and what can be read after them.
// Traces, faults, captures and the decoders of other programs take their words from here.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "mcu/registers.h"

namespace sim {

/// How a value is written.
enum class Notation {
    kDecimal,
    kHex,     ///< without prefix, two digits for each byte
    kTenths,  ///< of a second: 52 is "5.2s"
    kBytes,   ///< all bytes in hexadecimal
};

/// A value in the MCU's registers.
struct Field {
    std::string_view name;
    uint8_t reg;
    uint8_t width;  ///< bytes; words and 32-bit numbers are little-endian
    Notation notation = Notation::kDecimal;
    uint8_t mask = 0xFF;  ///< the bits of it, in a field of one byte
};

/// The form that a frame of this command must have.
struct FrameForm {
    FrameCommand command;
    std::string_view name;
    uint8_t start;  ///< register of the first byte; the frame ends with the command register
    uint8_t key;    ///< 0: the command takes no key
    bool changes;   ///< changes the flash, the page buffer, the regions or the running program
    std::span<const Field> fields = {};
    uint8_t response = 0;  ///< bytes that can be read from kFrameRegister after success
    std::span<const Field> response_fields = {};
};

struct RegisterForm {
    RegisterCommand command;
    std::string_view name;
};

/// A device on the bus besides the MCU.
struct BusDevice {
    uint8_t address;
    std::string_view name;
};

std::span<const BusDevice> bus_devices();
std::span<const FrameForm> frame_forms();
std::span<const RegisterForm> register_forms();
std::span<const Field> status_block_fields();

/// The value, from the bytes that begin at register `start`. REQUIRES: the bytes cover the field.
std::string field_text(const Field& field, uint8_t start, std::span<const uint8_t> bytes);

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
