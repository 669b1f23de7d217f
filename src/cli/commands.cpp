// SPDX-License-Identifier: MIT
#include "cli/commands.h"

#include <syslog.h>
#include <unistd.h>

#include <cstdio>

#include "cli/diagnostic_commands.h"
#include "cli/identity_commands.h"
#include "cli/mode_commands.h"
#include "cli/update_commands.h"
#include "cli/usage.h"
#include "log/log.h"
#include "mcu/i2c_bus.h"
#include "util/parse_number.h"
#include "util/process.h"

namespace {

constexpr int kFailure = 255;
constexpr useconds_t kCommandPauseUs = 1'000'000;

bool run_bus(CommandContext& context) {
    if (!open_bus(context.bus, context.words.take())) {
        log_message(kLogError, "opening bus failed");
        return false;
    }
    return true;
}

bool run_addr(CommandContext& context) {
    int64_t address = 0;
    if (!parse_int(context.words.take(), address)) {
        log_message(kLogError, "address invalid");
        return false;
    }
    context.device.address = static_cast<uint8_t>(address);
    return true;
}

constexpr Command kCommands[] = {
    {"--bus", 1, run_bus},
    {"--addr", 1, run_addr},
    {"--version", 0, run_version},
    {"--hw-version", 0, run_hw_version},
    {"--sw-version", 0, run_sw_version},
    {"--serial", 0, run_serial},
    {"--date", 0, run_date},
    {"--bom-version", 0, run_bom_version},
    {"--probe", 0, run_probe},
    {"--force-update", 0, run_force_update},
    {"--without-force-update", 0, run_without_force_update},
    {"--update-without-reset", 0, run_update_without_reset},
    {"--update-with-reset", 0, run_update_with_reset},
    {"--update-without-disable", 0, run_update_without_disable},
    {"--erase", 0, run_erase},
    {"--reset-delay", 1, run_reset_delay},
    {"--reset", 0, run_reset},
    {"--reset-now-sync", 0, run_reset_now_sync},
    {"--reset-now", 0, run_reset_now},
    {"--read", 1, run_read},
    {"--update", 1, run_update_command},
    {"--upd", 1, run_upd},
    {"--read-update", 1, run_read_update},
    {"--debug-update", 0, run_debug_update},
    {"--set-mode", 1, run_set_mode},
    {"--set", 1, run_set_mode},
    {"--status", 0, run_status},
    {"--status-poetest", 0, run_status},
    {"--status-poetest-rebooted", 0, run_status_rebooted},
    {"--no-dump-reset", 0, run_no_dump_reset},
    {"--dump", 0, run_dump},
    {"--dumps", 0, run_dumps},
    {"--status-poe", 0, run_status_poe},
    {"--status-cable", 0, run_status_cable},
    {"--status-pse-adc", 0, run_status_pse_adc},
};

const Command* find_command(std::string_view keyword) {
    for (const Command& command : kCommands) {
        if (command.keyword == keyword) {
            return &command;
        }
    }
    return nullptr;
}

bool is_help(std::string_view word) {
    return word == "-h" || word == "--help" || word == "-?";
}

bool run_front_command(CommandContext& context) {
    const Command* command = find_command(context.words.front());
    if (command == nullptr) {
        log_message(kLogError, "unknown command %s", context.words.front());
        return false;
    }
    if (!require_args(context.words, command->arguments)) {
        return false;
    }
    context.words.take();
    return command->run(context);
}

}  // namespace

std::span<const Command> command_table() {
    return kCommands;
}

bool require_args(const CommandList& words, size_t count) {
    if (words.size() > count) {
        return true;
    }
    std::printf("ERROR: missing argument(s) to '%s'\n", words.front());
    return false;
}

bool log_last_error(const McuDevice& device) {
    log_message(kLogError, "%s", device.last_error.c_str());
    return false;
}

void pause_before_next_command(const CommandContext& context) {
    if (!context.words.empty()) {
        usleep(kCommandPauseUs);
    }
}

int run_tool(int argc, char* const* argv) {
    if (!reserve_standard_descriptors()) {
        return kFailure;
    }
    ignore_output_signals();
    buffer_output();
    openlog("sv_updater", LOG_NDELAY, LOG_LOCAL0);
    const char* program = argc > 0 ? argv[0] : "sv_updater";
    if (argc <= 1) {
        log_message(kLogError, "too few arguments");
        print_usage(program);
        return kFailure;
    }
    const std::span<char* const> words(argv + 1, static_cast<size_t>(argc - 1));
    for (const char* word : words) {
        if (is_help(word)) {
            print_usage(program);
            return kFailure;
        }
    }
    I2cBus bus;
    // Result ignored: some commands need no bus, and --bus may follow.
    static_cast<void>(open_bus(bus, "0"));
    McuDevice device(&bus);
    CommandContext context{CommandList(words), bus, device};
    while (!context.words.empty()) {
        if (!run_front_command(context)) {
            return kFailure;
        }
    }
    return 0;
}
