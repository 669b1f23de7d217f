// SPDX-License-Identifier: MIT
// The command line: a list of words, a table of commands, one loop.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "mcu/mcu_device.h"

/// The rest of the command line.
class CommandList {
public:
    explicit CommandList(std::span<char* const> words) : words_(words) {}

    bool empty() const {
        return words_.empty();
    }

    size_t size() const {
        return words_.size();
    }

    const char* front() const {
        return words_.front();
    }

    /// Removes the front word and returns it.
    const char* take() {
        const char* word = words_.front();
        words_ = words_.subspan(1);
        return word;
    }

private:
    std::span<char* const> words_;
};

/// Passed to every command. The list begins with the command's arguments; later commands follow. Settings last until
/// the end of the run.
struct CommandContext {
    CommandList words;
    I2cBus& bus;
    McuDevice& device;
    bool reset_after_dump = true;  ///< --dump, --dumps and --status-pse-adc clear the MCU's counters
};

struct Command {
    std::string_view keyword;
    size_t arguments;  ///< words that must follow the keyword
    /// Takes its arguments from the list. False ends the run with status 255; the reason has then been shown.
    bool (*run)(CommandContext& context);
};

/// All commands, in the order of the usage text and the manual.
std::span<const Command> command_table();

/// Checks that at least `count` words follow the front word. If not, prints "ERROR: missing argument(s) to '…'" with
/// the front word on standard output and returns false.
bool require_args(const CommandList& words, size_t count);

/// Logs last_error as an error and returns false.
bool log_last_error(const McuDevice& device);

/// Waits one second for the MCU to restart, unless this was the last command.
void pause_before_next_command(const CommandContext& context);

/// Runs all commands of the command line. Returns the exit status: 0, or 255 at the first failure.
int run_tool(int argc, char* const* argv);
