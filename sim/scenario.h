// SPDX-License-Identifier: MIT
// Everything about the simulated board that a test or an operator can set. knobs.cpp holds the names and meanings;
// `sv_board knobs` prints them with the defaults.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace sim {

using Bytes = std::vector<uint8_t>;

/// Diagnostic pages of a line under load.
Bytes healthy_pages();

/// EEPROM content whose two checksums are right.
Bytes sound_eeprom();

struct Scenario {
    // Devices on the bus.
    bool mcu = true;
    bool charger = true;
    bool display = true;
    bool usb = false;
    uint16_t mcu_address = 0x08;

    // Identity.
    uint16_t hwid = 3;
    std::string serial = "202611220000000000000000000000000001";
    uint32_t production_minutes = 29'500'000;
    bool version_crc_good = true;
    std::string version2 = "empty";
    uint32_t reported_region_size = 0x20000;
    uint16_t reported_page_size = 0x200;

    // Behaviour of the MCU.
    uint32_t polls = 1;
    uint32_t boot_ms = 5;
    std::string boot_choice = "latest";

    // Settings that commands change.
    uint16_t teko_enable = 0x0000;
    uint16_t input_mode = 0x0000;
    uint16_t stored = 0xFFFF;
    uint16_t led1 = 0;
    uint16_t led2 = 0;
    bool xlr_off = false;
    uint16_t w1_pio = 0;
    uint16_t test_extsw = 0;
    uint16_t test_10v = 0;
    uint16_t test_msg = 0;

    // Inputs and measurements. Bytes 10 and 12 to 15 of the status block are live registers.
    Bytes status = {0x8A, 0x02, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 12, 63, 15, 63};
    uint16_t powerrail_raw = 1666;
    uint16_t ext_raw = 190;
    uint16_t teko1_voltage_raw = 1660;
    uint16_t teko2_voltage_raw = 190;
    uint16_t teko1_current_raw = 700;
    uint16_t teko2_current_raw = 190;
    uint16_t teko1_imp = 0x0C0C;
    uint16_t teko2_imp = 0x3F3F;
    uint16_t pse_states = 0x0303;
    uint16_t pd_states = 0x0319;
    uint16_t vcc_raw = 850;
    uint16_t temperature_raw = 1274;
    uint16_t temperature_cal = 2560;
    uint16_t vspare1_raw = 190;
    uint16_t vspare2_raw = 190;
    Bytes teko1_pages = healthy_pages();
    Bytes teko2_pages = Bytes(192, 0);
    Bytes nevents = {0x12, 0x34, 0x56, 0x71, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x12, 0x34, 0x56, 0x71};
    Bytes ports = {0x81, 0x81, 0x9F, 0x40, 0x44, 0xF0, 0x0F, 0x0F, 0x0F,
                   0x00, 0x22, 0x80, 0x10, 0x11, 0x3C, 0x05, 0x85, 0x0F};
    Bytes w1_rom = {0x2D, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x97};
    uint16_t w1_rom_status = 0;
    Bytes w1_eeprom = sound_eeprom();
    Bytes w1_pio_data = Bytes(8, 0);
    uint16_t w1_pio_status = 0;
    uint16_t w1_eeprom_status = 0;
    uint16_t w1_eeprom_fails_at = 0;

    // Registers of the charger.
    uint16_t cap_status = 0x0022;
    uint16_t cap_vin = 0x2A80;
    uint16_t cap_iin = 0x0360;
    uint16_t cap_vcap = 0x0BF0;
    uint16_t cap_ichg = 0x0040;

    // Content of the host's files. "none": the file does not exist.
    std::string uptime = "93784.50 180000.00";
    std::string temp_nic = "45.0";
    std::string temp_disp = "40.0";
    std::string poe = "1";
    bool gpio_exported = false;

    bool operator==(const Scenario&) const = default;
};

/// Bits of a byte string, counted from the lowest bit of its first byte.
struct BitField {
    Bytes Scenario::*bytes;
    size_t first_bit;
    size_t bits;  ///< up to 32
};

uint32_t get_bits(const Bytes& bytes, const BitField& field);
void set_bits(Bytes& bytes, const BitField& field, uint32_t value);

struct Knob {
    using Member = std::variant<bool Scenario::*, uint16_t Scenario::*, uint32_t Scenario::*, std::string Scenario::*,
                                Bytes Scenario::*, BitField>;
    std::string_view name;
    Member member;
    bool lasting;  ///< a setting or identity of the board, kept in the state file
    std::string_view meaning;
};

std::span<const Knob> knobs();

/// The value in the form that set_knob takes.
std::string knob_value(const Scenario& scenario, const Knob& knob);

/// Sets a knob by name. Returns an empty text, or what is wrong.
std::string set_knob(Scenario& scenario, std::string_view name, const std::string& value);

}  // namespace sim
