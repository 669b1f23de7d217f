// SPDX-License-Identifier: MIT
#include "cli/usage.h"

#include <cstdio>

#include "mcu/registers.h"

void print_usage(const char* program) {
    std::fprintf(
        stderr,
        "\n"
        "Sorvan updater usage:\n"
        "%s <commands>+\n"
        "\n"
        "the following commands are defined:\n"
        " --version               read SW and HW version and crc\n"
        " --hw-version            get hardware-id in plain format (4-digit HEX)\n"
        " --sw-version            get software-id in plain format (4-digit HEX)\n"
        " --serial                get serial number in plain format\n"
        " --date                  get production date as string\n"
        " --probe                 writes '1' to stdout if sorvan MCU is available/live/present, '0' otherwise\n"
        " --bom-version           get the BOM version in plain format (3-chars)\n"
        " --status                show single-line power status\n"
        " --dump                  dump power status\n"
        "\n"
        " --update <file>         update main program\n"
        " --upd    <file>         update main program with immediate reset and without force-update mode\n"
        " --reset                 reset MCU (after some preset delay)\n"
        "\n"
        " --force-update          set force-update mode\n"
        " --without-force-update  set force-update mode\n"
        " --update-without-enable set update mode\n"
        " --update-without-reset  set update mode\n"
        " --update-with-reset     set update mode\n"
        " --read <file>           read back whole memory to file\n"
        " --reset-delay <delay>   set reset delay in seconds (e.g. 1.5)\n"
        " --reset-now             reset MCU now (resets preset delay first)\n"
        " --erase                 erase inactive region\n"
        " --read-update <file>    print info on update file\n"
        "\n"
        " --set-mode <param>+     set sorvan mode\n"
        "    extpriority normal|low|high\n"
        "    w1validity normal|ignore\n"
        "    teko[12]-pd enabled|disabled\n"
        "    teko[12]-pse enabled|disabled\n"
        "    led[12] default|gn|rd|or|off\n"
        "    xlr-off\n"
        "    store\n"
        "\n"
        " --bus <i2cbus>          set I2C bus number (default 0)\n"
        " --addr <i2caddr>        set I2C address (default 0x%02X)\n",
        program, kMcuAddress);
}
