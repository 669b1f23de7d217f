// SPDX-License-Identifier: MIT
// One reading of all measurements and counters of the MCU, as raw codes.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t kDiagPages = 6;
inline constexpr size_t kDiagPageSize = 32;

struct PortState {
    uint8_t out;  ///< output latch
    uint8_t in;   ///< level
    uint8_t dir;  ///< bit set: output
};

/// ADC codes unless a comment says otherwise; diag/formulas.h converts them.
struct DiagRecord {
    uint16_t powerrail_raw;
    uint16_t ext_raw;
    uint16_t teko1_voltage_raw;
    uint16_t teko2_voltage_raw;
    uint16_t teko1_current_raw;
    uint16_t teko2_current_raw;
    uint8_t teko1_imp_0_1;  ///< ohms: 0..62, 63 open, above invalid
    uint8_t teko1_imp_1_2;
    uint8_t teko2_imp_0_1;
    uint8_t teko2_imp_1_2;
    uint8_t teko1_pse_state;
    uint8_t teko2_pse_state;
    uint8_t teko1_pd_state;
    uint8_t teko2_pd_state;
    uint16_t vcc_raw;
    uint16_t temperature_raw;
    uint16_t temperature_cal;  ///< the sensor's code at 358.15 K
    uint16_t vspare1_raw;
    uint16_t vspare2_raw;
    uint16_t teko_enable;                            ///< low 8 bits of the enable settings word
    uint16_t input_mode;                             ///< low 8 bits of the input mode word
    uint8_t teko1_pages[kDiagPages][kDiagPageSize];  ///< read_diagnostics fills page 5 and 5 bytes of page 0
    uint8_t teko2_pages[kDiagPages][kDiagPageSize];
    PortState ports[6];  ///< A to F
    uint8_t w1_rom[8];
    uint8_t w1_rom_status;     ///< 1-Wire status code of the MCU
    uint8_t w1_eeprom[32];     ///< 0x11 for bytes not read
    uint8_t w1_eeprom_status;  ///< 1-Wire status code of the MCU, or 0x80 for a wrong CRC
    uint8_t nevent1_msg[4];    ///< as received
    uint8_t nevent2_msg[4];
    uint8_t nevent1_crc;  ///< 4 bits, computed over the message
    uint8_t nevent2_crc;
    uint8_t nevent1_crc_ok;  ///< 1 when the message carries this check value
    uint8_t nevent2_crc_ok;
    uint8_t valid;  ///< 1 when every part was read
};

static_assert(offsetof(DiagRecord, teko1_pages) == 34 && offsetof(DiagRecord, ports) == 418);
static_assert(offsetof(DiagRecord, valid) == 490 && sizeof(DiagRecord) == 492);
