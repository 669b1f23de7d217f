// SPDX-License-Identifier: MIT
#include "cli/diagnostic_commands.h"

#include <cstdio>

#include "status/status_line.h"

bool run_status(CommandContext& context) {
    print_status_line(context.device, {});
    std::printf("\n");
    return true;
}

bool run_status_rebooted(CommandContext& context) {
    print_status_line(context.device, {});
    std::printf(" REBOOTED\n");
    return true;
}
