// SPDX-License-Identifier: MIT
#include "ctl/command_line.h"

int main(int argc, char** argv) {
    return run_ctl(argc, argv);
}
