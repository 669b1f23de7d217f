// SPDX-License-Identifier: MIT
// The command line: a list of words, a table of commands, one loop.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "mcu/mcu_device.h"

/// The words of the command line that have not been taken yet.
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

/// What every command gets: its arguments are at the front of the list, and only later commands behind them. Settings
/// stay for the rest of the run.
struct CommandContext {
    CommandList words;
    I2cBus& bus;
    McuDevice& device;
    bool reset_after_dump = true;  ///< dumps and the PSE-ADC report end with a reset of the diagnostics
};

/// A keyword and what it runs. The handler takes its arguments from the list and returns false to end the run with
/// status 255, having said why.
struct Command {
    std::string_view keyword;
    size_t arguments;
    bool (*run)(CommandContext& context);
};

/// All commands, in the order in which they are documented.
std::span<const Command> command_table();

/// True when the list holds its front word and `count` more. Otherwise prints "ERROR: missing argument(s) to '…'",
/// naming the front word, on standard output.
bool require_args(const CommandList& words, size_t count);

/// Logs the reason that the last operation left, and returns false.
bool log_last_error(const McuDevice& device);

/// After a reset or an update: gives the MCU a second before the next command, if there is one.
void pause_before_next_command(const CommandContext& context);

/// The whole tool. Returns the exit status: 0, or 255 after the first command that failed.
int run_tool(int argc, char* const* argv);
