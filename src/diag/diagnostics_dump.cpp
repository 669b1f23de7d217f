// SPDX-License-Identifier: MIT
#include "diag/diagnostics_dump.h"

#include <cstdio>

#include "diag/formulas.h"
#include "diag/state_names.h"
#include "diag/teko.h"
#include "diag/w1_status.h"
#include "util/byte_list.h"

namespace {

double scaled(const Calibration& cal, uint16_t code, float gain) {
    return static_cast<double>(volts(cal, code, gain));
}

const char* impedance_suffix(uint8_t ohms) {
    if (ohms >= 64) {
        return " (invalid)";
    }
    return ohms == 63 ? " (open)" : "";
}

void print_ext_and_w1(const Calibration& cal, const DiagRecord& record) {
    std::printf("ext               = %5.2f V (%04x)\n", static_cast<double>(ext_volts(cal, record)), record.ext_raw);
    std::printf("W1_ROM            =");
    print_grouped_bytes(record.w1_rom, sizeof record.w1_rom);
    std::printf(" - %s (%02x)\n", w1_status_name(record.w1_rom_status), record.w1_rom_status);
    std::printf("W1_EEPROM         =");
    print_grouped_bytes(record.w1_eeprom, sizeof record.w1_eeprom);
    std::printf(" - %s (%02x)\n", w1_status_name(record.w1_eeprom_status), record.w1_eeprom_status);
}

void print_teko_measurements(const Calibration& cal, const TekoView& teko) {
    const TekoDiagPage& page = teko.page;
    std::printf("TEKO%d_VOLTAGE     = %5.2f V (%04x)\n", teko.number, scaled(cal, teko.voltage_raw, cal.k_teko_voltage),
                teko.voltage_raw);
    std::printf("TEKO%d_CURRENT     = %5.3f A (%04x)\n", teko.number, scaled(cal, teko.current_raw, cal.k_teko_current),
                teko.current_raw);
    std::printf("TEKO%d_POWER       = %5.1f W\n", teko.number,
                static_cast<double>(line_watts(cal, teko.voltage_raw, teko.current_raw)));
    std::printf("TEKO%d_IMP_0_1     = %2d Ohm%s\n", teko.number, teko.imp_0_1, impedance_suffix(teko.imp_0_1));
    std::printf("TEKO%d_IMP_1_2     = %2d Ohm%s\n", teko.number, teko.imp_1_2, impedance_suffix(teko.imp_1_2));
    std::printf(
        "TEKO%d_IMP_DEBUG   = valid=%04x %4.0f %2d, invalid=%04x %4.0f, high=%3d, low=%3d, cable=%5.2f %05x %2d, "
        "sense=%5.2f V (%04x), hpwr=%d\n",
        teko.number, page.imp_valid_raw, static_cast<double>(impedance(cal, page.imp_valid_raw)), page.imp_valid_count,
        page.imp_invalid_raw, static_cast<double>(impedance(cal, page.imp_invalid_raw)), page.imp_high, page.imp_low,
        static_cast<double>(cable_volts(cal, page)), page.cable_sum, page.cable_count,
        scaled(cal, page.sense_raw, cal.k_teko_voltage), page.sense_raw, page.hpwr);
}

void print_teko_events(const TekoView& teko) {
    const TekoDiagPage& page = teko.page;
    std::printf("TEKO%d_FSM         = PSE=%2d (%s), PSEmax=%2d (%s), PD=%2d (%s), PDmax=%2d (%s)\n", teko.number,
                teko.pse_state, pse_state_name(teko.pse_state), page.pse_state_max, pse_state_name(page.pse_state_max),
                teko.pd_state, pd_state_name(teko.pd_state), page.pd_state_max, pd_state_name(page.pd_state_max));
    std::printf("NEVENT%d_MSG       =", teko.number);
    print_bytes(teko.nevent_msg, sizeof teko.nevent_msg);
    if (teko.nevent_crc_ok) {
        std::printf(" (ok)\n");
    } else {
        std::printf(" (%02x)\n", teko.nevent_crc);
    }
    std::printf("TEKO%d_PD_COM_FAIL = %d times\n", teko.number, page.pd_com_fail);
    std::printf("TEKO%d_PSE_COM_FAIL= %d times\n", teko.number, page.pse_com_fail);
    std::printf("TEKO%d_OC_SHTD     = %d times\n", teko.number, page.oc_shtd);
    std::printf("TEKO%d_OC_ALERT    = %d times\n", teko.number, page.oc_alert);
    std::printf("TEKO%d_UC_SHTD     = %d times\n", teko.number, page.uc_shtd);
    std::printf("TEKO%d_DEBUG       =", teko.number);
    print_grouped_bytes(teko.pages[5], kDiagPageSize);
    std::printf("  ");
    print_grouped_bytes(teko.pages[0], 5);
    std::putchar('\n');
}

void print_board(const Calibration& cal, const DiagRecord& record, const TekoDiagPage& page1,
                 const TekoDiagPage& page2) {
    std::printf("powerrail         = %5.2f V (%04x)\n", static_cast<double>(powerrail_volts(cal, record)),
                record.powerrail_raw);
    std::printf("Vcc               = %5.2f V (%04x)\n", static_cast<double>(vcc_volts(cal, record)), record.vcc_raw);
    std::printf("killpower_count   = %d times\n", killpower_count(record));
    std::printf("undervoltage_count= %d times\n", undervoltage_count(record));
    std::printf("determine_PS_flags= %02x%02x\n", page2.ps_flags, page1.ps_flags);
}

/// One pin: I or i for an input, O or o for an output, upper case when high. An output whose level differs from its
/// latch is "?" when high and "." when low.
char pin_character(const PortState& port, int bit) {
    const bool is_output = (port.dir >> bit & 1) != 0;
    const bool out = (port.out >> bit & 1) != 0;
    const bool in = (port.in >> bit & 1) != 0;
    if (!is_output) {
        return in ? 'I' : 'i';
    }
    if (in == out) {
        return out ? 'O' : 'o';
    }
    return in ? '?' : '.';
}

void print_ports(const DiagRecord& record) {
    // Two lines of pin names, read from top to bottom; the levels stand below.
    std::puts(
        "PORTS_INFO1       = A:LAA-AAAR     B:L1RR-AAA     C:2211IIII     D:2121WW12     E:PS122P12     F:12122112   "
        " ");
    std::puts(
        "PORTS_INFO2       = A:3AA-AAAF     B:PRFP-AAA     C:SLLGCDCD     D:LLGSOIDD     E:GWSSRGDD     F:PPGGSSCC   "
        " ");
    std::printf("PORTS             =");
    char letter = 'A';
    for (const PortState& port : record.ports) {
        std::printf(" %c:", letter++);
        for (int bit = 7; bit >= 0; --bit) {
            std::putchar(pin_character(port, bit));
        }
        std::printf("(%02x)", port.in);
    }
    std::putchar('\n');
}

constexpr const char* kPriorityNames[] = {"normal-priority", "low-priority", "high-priority", "unknown-priority"};

void print_settings(const Calibration& cal, const DiagRecord& record) {
    const uint16_t enable = record.teko_enable;
    std::printf("TEKO_ENABLE       = %x%s%s%s%s (%02x %02x)\n", enable & 0x0F,
                (enable & 0x02) != 0 ? " PSE1=disabled" : "", (enable & 0x08) != 0 ? " PSE2=disabled" : "",
                (enable & 0x01) != 0 ? " PD1=disabled" : "", (enable & 0x04) != 0 ? " PD2=disabled" : "", enable,
                record.input_mode);
    std::printf("Input_mode        = %x%s %s\n", (enable << 4 & 0xF00) | record.input_mode,
                (enable & 0x20) != 0 ? " ignore-wrong-1wire" : "", input_priority_name(record.input_mode));
    std::printf("Temperature       = %4.1f degC (%04x %04x)\n", mcu_temperature(cal, record), record.temperature_raw,
                record.temperature_cal);
    std::printf("Vspare1_A4        = %5.2f V (%04x)\n", scaled(cal, record.vspare1_raw, cal.k_powerrail),
                record.vspare1_raw);
    std::printf("Vspare2_B3        = %5.2f V (%04x)\n", scaled(cal, record.vspare2_raw, cal.k_powerrail),
                record.vspare2_raw);
}

}  // namespace

const char* input_priority_name(uint16_t input_mode) {
    return kPriorityNames[input_mode & 3];
}

void print_separator() {
    std::puts("-----------------");
}

void print_diagnostics_dump(const Calibration& cal, const DiagRecord& record) {
    const TekoView teko1 = teko1_view(record);
    const TekoView teko2 = teko2_view(record);
    print_separator();
    print_ext_and_w1(cal, record);
    print_separator();
    print_teko_measurements(cal, teko1);
    print_teko_events(teko1);
    print_separator();
    print_board(cal, record, teko1.page, teko2.page);
    print_separator();
    print_teko_measurements(cal, teko2);
    print_teko_events(teko2);
    print_separator();
    print_ports(record);
    print_settings(cal, record);
}
