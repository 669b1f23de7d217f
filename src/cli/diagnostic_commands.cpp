// SPDX-License-Identifier: MIT
#include "cli/diagnostic_commands.h"

#include <cstdio>

#include "diag/cap_status.h"
#include "diag/diagnostics_dump.h"
#include "diag/input_status.h"
#include "diag/read_diagnostics.h"
#include "status/host_probes.h"
#include "status/reports.h"
#include "status/status_line.h"
#include "util/process.h"

namespace {

/// The readings of a dump; 0 where a read failed.
struct DumpData {
    uint8_t status_block[kStatusBlockBufferSize] = {};
    DiagRecord record{};
    CapRegisters charger;
};

const char* on_off(bool value) {
    return value ? "on" : "off";
}

void reset_diagnostics_if_wanted(CommandContext& context) {
    if (context.reset_after_dump && !reset_diagnostics(context.device)) {
        std::fprintf(stderr, "SVMCU ERROR: failed to reset diagnostics: %s\n", context.device.last_error.c_str());
    }
}

void dump_mcu(CommandContext& context, DumpData& data) {
    McuDevice& device = context.device;
    if (!read_status_block(device, data.status_block)) {
        std::fprintf(stderr, "SVMCU ERROR: %s\n", device.last_error.c_str());
        return;
    }
    print_input_status(device, data.status_block);
    rearm_reset_marker(device, data.status_block);
    if (read_diagnostics(device, data.record)) {
        print_diagnostics_dump(device.calibration(), data.record);
    } else {
        std::fprintf(stderr, "SVMCU ERROR: while getting diagnostics: %s\n", device.last_error.c_str());
    }
    reset_diagnostics_if_wanted(context);
}

void dump_poe(McuDevice& device) {
    bool present = false;
    if (read_poe_gpio(device, present)) {
        std::printf("POE               = %s\n", on_off(present));
    } else {
        std::fprintf(stderr, "POE ERROR: %s\n", device.last_error.c_str());
    }
}

void dump_charger(const McuDevice& device, CapRegisters& words) {
    if (read_charger_registers(*device.bus, words)) {
        print_cap_status(words);
    } else {
        // The text belongs to an earlier failure, if any: reading the charger sets none.
        std::fprintf(stderr, "CAP ERROR: %s\n", device.last_error.c_str());
    }
}

void dump(CommandContext& context, DumpData& data) {
    dump_mcu(context, data);
    print_separator();
    dump_poe(context.device);
    print_separator();
    dump_charger(context.device, data.charger);
}

}  // namespace

bool run_status(CommandContext& context) {
    const BrokenPipeScope broken_pipe;
    print_status_line(context.device, {});
    std::printf("\n");
    return true;
}

bool run_status_rebooted(CommandContext& context) {
    const BrokenPipeScope broken_pipe;
    print_status_line(context.device, {});
    std::printf(" REBOOTED\n");
    return true;
}

bool run_no_dump_reset(CommandContext& context) {
    context.reset_after_dump = false;
    return true;
}

bool run_dump(CommandContext& context) {
    DumpData data;
    dump(context, data);
    return true;
}

bool run_dumps(CommandContext& context) {
    DumpData data;
    dump(context, data);
    print_status_line(context.device, {data.status_block, &data.record, &data.charger});
    std::printf("\n");
    return true;
}

bool run_status_poe(CommandContext& context) {
    const BrokenPipeScope broken_pipe;
    bool present = false;
    if (!read_poe_gpio(context.device, present)) {
        std::fprintf(stderr, "ERROR: %s", context.device.last_error.c_str());
        return false;
    }
    std::printf("POE: %s\n", on_off(present));
    return true;
}

bool run_status_cable(CommandContext& context) {
    const BrokenPipeScope broken_pipe;
    print_cable_report(context.device);
    return true;
}

bool run_status_pse_adc(CommandContext& context) {
    const BrokenPipeScope broken_pipe;
    if (!print_pse_adc_report(context.device)) {
        std::fprintf(stderr, "SVMCU ERROR: %s\n", context.device.last_error.c_str());
    }
    reset_diagnostics_if_wanted(context);
    return true;
}
