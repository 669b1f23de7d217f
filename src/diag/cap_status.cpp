// SPDX-License-Identifier: MIT
#include "diag/cap_status.h"

#include <cstdio>

#include "diag/formulas.h"
#include "mcu/registers.h"

namespace {

constexpr uint16_t kModeMask = 0x0003;
constexpr uint16_t kStateMask = 0x031C;
constexpr uint16_t kManagerMask = 0x00C0;
constexpr uint16_t kManagerShunt = 0x0040;
constexpr uint16_t kInputBelowPfi = 0x0800;

void print_mode(uint16_t mode) {
    switch (mode) {
        case 1: std::printf(" mode=chg"); break;
        case 2: std::printf(" mode=bak"); break;
        default: std::printf(" mode=%x", mode); break;
    }
}

void print_state(uint16_t state) {
    switch (state) {
        case 0x000: std::printf(" chg=off"); break;
        case 0x004: std::printf(" chg=cv"); break;
        case 0x008: std::printf(" chg=uvlo"); break;
        case 0x010: std::printf(" chg=inp_cur_lim"); break;
        case 0x100: std::printf(" chg=meas"); break;
        case 0x200: std::printf(" chg=cc"); break;
        default: std::printf(" chg=%03x", state); break;
    }
}

void print_manager(uint16_t manager) {
    switch (manager) {
        case 0x00: std::printf(" mgr=idle"); break;
        case kManagerShunt: std::printf(" mgr=shunt"); break;
        case 0x80: std::printf(" mgr=bal"); break;
        default: std::printf(" mgr=%02x", manager); break;
    }
}

void print_status(uint16_t status) {
    const bool full = (status & kChargerFull) != 0;
    std::printf("CAP_STATUS        = %s", full ? "full" : "not-full");
    print_mode(status & kModeMask);
    print_state(status & kStateMask);
    if (!full) {
        std::printf(" Vcap<pwr_gd");
    }
    print_manager(status & kManagerMask);
    if ((status & kInputBelowPfi) != 0) {
        std::printf(" Vin<PFI");
    } else if ((status & kManagerMask) == kManagerShunt) {
        std::printf(" Vin>PFI");
    }
    std::printf(" (%04x)\n", status);
}

}  // namespace

void print_cap_status(const CapRegisters& words) {
    print_status(words.cap_status);
    std::printf("CAP_VIN           = %8.3f V (%04x)\n", charger_input_volts(words), words.cap_vin);
    std::printf("CAP_IIN           = %6.1f  mA (%04x)\n", static_cast<double>(charger_input_ma(words)), words.cap_iin);
    std::printf("CAP_PIN           = %7.2f  W (%4.2f W)\n", charger_input_watts(words), charger_supply_watts(words));
    std::printf("CAP_VCAP          = %8.3f V (%04x)\n", capacitor_volts(words), words.cap_vcap);
    std::printf("CAP_ICHG          = %6.1f  mA (%04x)\n", charge_ma(words), words.cap_ichg);
}
