// SPDX-License-Identifier: MIT
#include "cli/commands.h"

int main(int argc, char** argv) {
    return run_tool(argc, argv);
}
