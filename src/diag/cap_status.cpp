// SPDX-License-Identifier: MIT
#include "diag/cap_status.h"

#include <cstdio>

#include "diag/formulas.h"
#include "mcu/registers.h"

namespace {

constexpr uint16_t kStateMask = 0x031C;
constexpr uint16_t kManagerMask = 0x00C0;
constexpr uint16_t kManagerShunt = 0x0040;

/// Prints " LABEL=NAME", or the code in hexadecimal, with at least `digits` digits, if it has no name.
void print_part(const char* label, const char* name, int code, int digits) {
    if (name != nullptr) {
        std::printf(" %s=%s", label, name);
    } else {
        std::printf(" %s=%0*x", label, digits, static_cast<unsigned>(code));
    }
}

void print_status(uint16_t status) {
    const bool full = (status & kChargerFull) != 0;
    std::printf("CAP_STATUS        = %s", full ? "full" : "not-full");
    print_part("mode", cap_mode_name(status), status & kChargerModeMask, 1);
    print_part("chg", cap_charge_name(status), status & kStateMask, 3);
    if (!full) {
        std::printf(" Vcap<pwr_gd");
    }
    print_part("mgr", cap_manager_name(status), status & kManagerMask, 2);
    if ((status & kChargerInputLow) != 0) {
        std::printf(" Vin<PFI");
    } else if ((status & kManagerMask) == kManagerShunt) {
        std::printf(" Vin>PFI");
    }
    std::printf(" (%04x)\n", status);
}

}  // namespace

const char* cap_mode_name(uint16_t status) {
    switch (status & kChargerModeMask) {
        case 1: return "chg";
        case kChargerBackupMode: return "bak";
        default: return nullptr;
    }
}

const char* cap_charge_name(uint16_t status) {
    switch (status & kStateMask) {
        case 0x000: return "off";
        case 0x004: return "cv";
        case 0x008: return "uvlo";
        case 0x010: return "inp_cur_lim";
        case 0x100: return "meas";
        case 0x200: return "cc";
        default: return nullptr;
    }
}

const char* cap_manager_name(uint16_t status) {
    switch (status & kManagerMask) {
        case 0x00: return "idle";
        case kManagerShunt: return "shunt";
        case 0x80: return "bal";
        default: return nullptr;
    }
}

void print_cap_status(const CapRegisters& words) {
    print_status(words.cap_status);
    std::printf("CAP_VIN           = %8.3f V (%04x)\n", charger_input_volts(words), words.cap_vin);
    std::printf("CAP_IIN           = %6.1f  mA (%04x)\n", static_cast<double>(charger_input_ma(words)), words.cap_iin);
    std::printf("CAP_PIN           = %7.2f  W (%4.2f W)\n", charger_input_watts(words), charger_supply_watts(words));
    std::printf("CAP_VCAP          = %8.3f V (%04x)\n", capacitor_volts(words), words.cap_vcap);
    std::printf("CAP_ICHG          = %6.1f  mA (%04x)\n", charge_ma(words), words.cap_ichg);
}
