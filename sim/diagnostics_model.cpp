// SPDX-License-Identifier: MIT
#include "sim/diagnostics_model.h"

#include "mcu/registers.h"

namespace sim {

namespace {

struct WordSource {
    RegisterCommand command;
    uint16_t Scenario::*member;
};

constexpr WordSource kWords[] = {
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

}  // namespace

DiagnosticsReply diagnostics_reply(const Scenario& scenario, uint8_t code, uint16_t param) {
    for (const WordSource& source : kWords) {
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
        case RegisterCommand::kReadEeprom:
            return {.ok = scenario.w1_eeprom_status == 0,
                    .word = scenario.w1_eeprom_status,
                    .data = part(scenario.w1_eeprom, param, 8)};
        case RegisterCommand::kResetDiagnostics: return {.word = {}, .data = {}};
        default: return {.known = false, .word = {}, .data = {}};
    }
}

}  // namespace sim
