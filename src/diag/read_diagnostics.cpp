// SPDX-License-Identifier: MIT
#include "diag/read_diagnostics.h"

#include <algorithm>
#include <cstring>

#include "mcu/transactions.h"
#include "util/crc.h"
#include "util/little_endian.h"

namespace {

constexpr uint8_t kCrc8Start = 0xFF;
constexpr uint8_t kEepromUnread = 0x11;
constexpr uint8_t kEepromCrcError = 0x80;
constexpr uint8_t kEepromChunk = 8;
constexpr uint8_t kLastPage = kDiagPages - 1;
constexpr uint8_t kFirstPageBytes = 5;  // of page 0; the rest is not read

/// A command with a 16-bit result, which is stored as a word or as a low and a high byte.
struct HeadWord {
    RegisterCommand command;
    uint16_t DiagRecord::*word;
    uint8_t DiagRecord::*low = nullptr;
    uint8_t DiagRecord::*high = nullptr;
};

constexpr HeadWord kHeadWords[] = {
    {RegisterCommand::kReadPowerrail, &DiagRecord::powerrail_raw},
    {RegisterCommand::kReadExt, &DiagRecord::ext_raw},
    {RegisterCommand::kReadTeko1Voltage, &DiagRecord::teko1_voltage_raw},
    {RegisterCommand::kReadTeko2Voltage, &DiagRecord::teko2_voltage_raw},
    {RegisterCommand::kReadTeko1Current, &DiagRecord::teko1_current_raw},
    {RegisterCommand::kReadTeko2Current, &DiagRecord::teko2_current_raw},
    {RegisterCommand::kReadTeko1Impedances, nullptr, &DiagRecord::teko1_imp_0_1, &DiagRecord::teko1_imp_1_2},
    {RegisterCommand::kReadTeko2Impedances, nullptr, &DiagRecord::teko2_imp_0_1, &DiagRecord::teko2_imp_1_2},
    {RegisterCommand::kReadPseStates, nullptr, &DiagRecord::teko1_pse_state, &DiagRecord::teko2_pse_state},
    {RegisterCommand::kReadPdStates, nullptr, &DiagRecord::teko1_pd_state, &DiagRecord::teko2_pd_state},
    {RegisterCommand::kReadVcc, &DiagRecord::vcc_raw},
    {RegisterCommand::kReadTemperature, &DiagRecord::temperature_raw},
    {RegisterCommand::kReadTemperatureCal, &DiagRecord::temperature_cal},
    {RegisterCommand::kReadSpare1, &DiagRecord::vspare1_raw},
    {RegisterCommand::kReadSpare2, &DiagRecord::vspare2_raw},
    {RegisterCommand::kReadEnableWord, &DiagRecord::teko_enable},
    {RegisterCommand::kReadInputMode, &DiagRecord::input_mode},
};

uint16_t load(const DiagRecord& record, const HeadWord& head) {
    return head.word != nullptr ? record.*head.word : static_cast<uint16_t>(record.*head.low | record.*head.high << 8);
}

void store(DiagRecord& record, const HeadWord& head, uint16_t value) {
    if (head.word != nullptr) {
        record.*head.word = value;
    } else {
        record.*head.low = static_cast<uint8_t>(value);
        record.*head.high = static_cast<uint8_t>(value >> 8);
    }
}

bool read_head_words(McuDevice& device, DiagRecord& record) {
    for (const HeadWord& head : kHeadWords) {
        // A command that is sent and fails clears its field; one that cannot be sent leaves it unchanged.
        uint16_t value = load(record, head);
        const bool ok = run_register_command(device, head.command, &value);
        store(record, head, value);
        if (!ok) {
            return false;
        }
    }
    record.teko_enable &= 0xFF;
    record.input_mode &= 0xFF;
    return true;
}

bool read_pages(McuDevice& device, DiagRecord& record) {
    return read_diag_page(device, RegisterCommand::kReadTeko1Page, kLastPage, record.teko1_pages[kLastPage],
                          kDiagPageSize) &&
           read_diag_page(device, RegisterCommand::kReadTeko2Page, kLastPage, record.teko2_pages[kLastPage],
                          kDiagPageSize) &&
           read_diag_page(device, RegisterCommand::kReadTeko1Page, 0, record.teko1_pages[0], kFirstPageBytes) &&
           read_diag_page(device, RegisterCommand::kReadTeko2Page, 0, record.teko2_pages[0], kFirstPageBytes);
}

/// The low nibble of the last byte is the check value, computed with that nibble set to 0.
void check_nevent(const uint8_t* message, uint8_t& crc, uint8_t& crc_ok) {
    uint8_t cleared[4];
    std::memcpy(cleared, message, sizeof cleared);
    cleared[3] &= 0xF0;
    crc = crc8_1wire(kCrc8Start, cleared, sizeof cleared) & 0x0F;
    crc_ok = (message[3] & 0x0F) == crc ? 1 : 0;
}

bool read_nevents(McuDevice& device, DiagRecord& record) {
    uint8_t reply[20];
    if (!run_register_command(device, RegisterCommand::kReadNevents, nullptr) ||
        !read_registers(device, kDataRegister, sizeof reply, reply)) {
        return false;
    }
    std::memcpy(record.nevent1_msg, reply, sizeof record.nevent1_msg);
    std::memcpy(record.nevent2_msg, reply + 16, sizeof record.nevent2_msg);
    check_nevent(record.nevent1_msg, record.nevent1_crc, record.nevent1_crc_ok);
    check_nevent(record.nevent2_msg, record.nevent2_crc, record.nevent2_crc_ok);
    return true;
}

bool read_ports(McuDevice& device, DiagRecord& record) {
    uint8_t reply[18];
    static_assert(sizeof reply == 3 * std::size(decltype(record.ports){}));
    if (!run_register_command(device, RegisterCommand::kReadPorts, nullptr) ||
        !read_registers(device, kDataRegister, sizeof reply, reply)) {
        return false;
    }
    const uint8_t* byte = reply;
    for (PortState& port : record.ports) {
        port = {byte[0], byte[1], byte[2]};
        byte += 3;
    }
    return true;
}

bool read_w1_rom(McuDevice& device, DiagRecord& record) {
    // Result ignored: the 1-Wire status reports a failure.
    run_register_command(device, RegisterCommand::kReadRom, nullptr);
    return read_registers(device, kDataRegister, sizeof record.w1_rom, record.w1_rom) &&
           read_registers(device, kParameterRegister, 1, &record.w1_rom_status);
}

/// Bytes 0 to 7 and bytes 8 to 31 each end with their CRC.
bool eeprom_crc_ok(const uint8_t* eeprom) {
    return crc8_1wire(kCrc8Start, eeprom, 7) == eeprom[7] && crc8_1wire(kCrc8Start, eeprom + 8, 23) == eeprom[31];
}

bool read_w1_eeprom(McuDevice& device, DiagRecord& record) {
    record.w1_eeprom_status = 0;
    for (size_t offset = 0; offset < sizeof record.w1_eeprom; offset += kEepromChunk) {
        uint8_t chunk[kEepromChunk];
        run_register_command_with_param(device, static_cast<uint16_t>(offset), RegisterCommand::kReadEeprom, nullptr);
        if (!read_registers(device, kDataRegister, sizeof chunk, chunk) ||
            !read_registers(device, kParameterRegister, 1, &record.w1_eeprom_status)) {
            return false;
        }
        if (record.w1_eeprom_status != 0) {
            return true;
        }
        std::memcpy(record.w1_eeprom + offset, chunk, sizeof chunk);
    }
    if (!eeprom_crc_ok(record.w1_eeprom)) {
        record.w1_eeprom_status = kEepromCrcError;
    }
    return true;
}

}  // namespace

bool read_diag_page(McuDevice& device, RegisterCommand command, uint8_t page, uint8_t* data, uint8_t length) {
    return run_register_command_with_param(device, page, command, nullptr) &&
           read_registers(device, kDataRegister, length, data);
}

bool read_diagnostics(McuDevice& device, DiagRecord& record) {
    record.valid = 0;
    std::fill(std::begin(record.w1_rom), std::end(record.w1_rom), uint8_t{0});
    std::fill(std::begin(record.w1_eeprom), std::end(record.w1_eeprom), kEepromUnread);
    if (!read_head_words(device, record) || !read_pages(device, record) || !read_nevents(device, record) ||
        !read_ports(device, record) || !read_w1_rom(device, record) || !read_w1_eeprom(device, record)) {
        return false;
    }
    record.valid = 1;
    return true;
}
