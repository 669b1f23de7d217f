// SPDX-License-Identifier: MIT
#include "sim/diagnostics_model.h"

#include <algorithm>

#include "mcu/registers.h"

namespace sim {

namespace {

/// A command and the scenario's word that it reads or writes.
struct CommandWord {
    RegisterCommand command;
    uint16_t Scenario::*member;
};

constexpr CommandWord kWords[] = {
    {RegisterCommand::kReadPowerrail, &Scenario::powerrail_raw},
    {RegisterCommand::kReadExt, &Scenario::ext_raw},
    {RegisterCommand::kReadTeko1Voltage, &Scenario::teko1_voltage_raw},
    {RegisterCommand::kReadTeko2Voltage, &Scenario::teko2_voltage_raw},
    {RegisterCommand::kReadTeko1Current, &Scenario::teko1_current_raw},
    {RegisterCommand::kReadTeko2Current, &Scenario::teko2_current_raw},
    {RegisterCommand::kReadTeko1Impedances, &Scenario::teko1_imp},
    {RegisterCommand::kReadTeko2Impedances, &Scenario::teko2_imp},
    {RegisterCommand::kReadPseStates, &Scenario::pse_states},
    {RegisterCommand::kReadPdStates, &Scenario::pd_states},
    {RegisterCommand::kReadVcc, &Scenario::vcc_raw},
    {RegisterCommand::kReadTemperature, &Scenario::temperature_raw},
    {RegisterCommand::kReadTemperatureCal, &Scenario::temperature_cal},
    {RegisterCommand::kReadSpare1, &Scenario::vspare1_raw},
    {RegisterCommand::kReadSpare2, &Scenario::vspare2_raw},
    {RegisterCommand::kReadEnableWord, &Scenario::teko_enable},
    {RegisterCommand::kReadInputMode, &Scenario::input_mode},
};

Bytes part(const Bytes& bytes, size_t offset, size_t count) {
    Bytes result(count, 0);
    for (size_t i = 0; i < count && offset + i < bytes.size(); ++i) {
        result[i] = bytes[offset + i];
    }
    return result;
}

constexpr CommandWord kSettings[] = {
    {RegisterCommand::kWriteEnableWord, &Scenario::teko_enable},
    {RegisterCommand::kWriteInputMode, &Scenario::input_mode},
    {RegisterCommand::kSetLed1, &Scenario::led1},
    {RegisterCommand::kSetLed2, &Scenario::led2},
    {RegisterCommand::kTestExtSwitch, &Scenario::test_extsw},
    {RegisterCommand::kTest10V, &Scenario::test_10v},
    {RegisterCommand::kTestMessage, &Scenario::test_msg},
};

DiagnosticsReply read_eeprom(const Scenario& scenario, uint16_t offset) {
    const auto status = static_cast<uint16_t>(offset >= scenario.w1_eeprom_fails_at ? scenario.w1_eeprom_status : 0);
    return {.ok = status == 0, .word = status, .data = part(scenario.w1_eeprom, offset, 8)};
}

/// Clears sums, counts and maxima of both lines. The last measurements stay.
void reset_diagnostics(Scenario& scenario) {
    constexpr size_t page5 = size_t{5} * 32;
    for (Bytes* pages : {&scenario.teko1_pages, &scenario.teko2_pages}) {
        std::fill_n(pages->begin() + page5 + 6, 11, uint8_t{0});  // cable_sum to imp_valid_count
        std::fill_n(pages->begin() + page5 + 19, 3,
                    uint8_t{0});  // pse_state_max, pd_state_max and the power-off or under-voltage count
    }
}

/// Switches the XLR input off. Other sources stay.
bool switch_off(Scenario& scenario, uint16_t param) {
    if (param != kSwitchOffXlr) {
        return false;
    }
    scenario.xlr_off = true;
    if ((scenario.status[0] & 3) == 1) {
        scenario.status[0] = static_cast<uint8_t>(scenario.status[0] & ~3);
    }
    scenario.status[1] = static_cast<uint8_t>(scenario.status[1] & ~2);
    return true;
}

/// Fails unless the check word shows that the host has read both settings words.
bool store(Scenario& scenario, uint16_t param) {
    if (param != (scenario.teko_enable ^ scenario.input_mode)) {
        return false;
    }
    scenario.stored = param;
    return true;
}

}  // namespace

DiagnosticsReply diagnostics_reply(Scenario& scenario, uint8_t code, uint16_t param) {
    for (const CommandWord& setting : kSettings) {
        if (static_cast<uint8_t>(setting.command) == code) {
            scenario.*setting.member = param;
            return {.word = {}, .data = {}};
        }
    }
    for (const CommandWord& source : kWords) {
        if (static_cast<uint8_t>(source.command) == code) {
            return {.word = scenario.*source.member, .data = {}};
        }
    }
    switch (static_cast<RegisterCommand>(code)) {
        case RegisterCommand::kReadTeko1Page: return {.word = {}, .data = part(scenario.teko1_pages, param * 32U, 32)};
        case RegisterCommand::kReadTeko2Page: return {.word = {}, .data = part(scenario.teko2_pages, param * 32U, 32)};
        case RegisterCommand::kReadNevents: return {.word = {}, .data = scenario.nevents};
        case RegisterCommand::kReadPorts: return {.word = {}, .data = scenario.ports};
        case RegisterCommand::kReadRom:
            return {.ok = scenario.w1_rom_status == 0, .word = scenario.w1_rom_status, .data = scenario.w1_rom};
        case RegisterCommand::kReadEeprom: return read_eeprom(scenario, param);
        case RegisterCommand::kResetDiagnostics: reset_diagnostics(scenario); return {.word = {}, .data = {}};
        case RegisterCommand::kStoreSettings: return {.ok = store(scenario, param), .word = {}, .data = {}};
        case RegisterCommand::kSwitchOff: return {.ok = switch_off(scenario, param), .word = {}, .data = {}};
        case RegisterCommand::kWriteW1Pio:
            scenario.w1_pio = param;
            return {.ok = scenario.w1_pio_status == 0, .word = scenario.w1_pio_status, .data = scenario.w1_pio_data};
        default: return {.known = false, .word = {}, .data = {}};
    }
}

}  // namespace sim
