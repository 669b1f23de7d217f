// SPDX-License-Identifier: MIT
#include "sim/scenario.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <type_traits>

namespace sim {

namespace {

constexpr size_t kPage5 = size_t{5} * 32 * 8;  // its first bit

constexpr Knob kKnobs[] = {
    {"mcu", &Scenario::mcu, false, "whether the MCU answers at all"},
    {"charger", &Scenario::charger, false, "whether the charger answers at 0x09"},
    {"display", &Scenario::display, false, "whether the display answers at 0x50"},
    {"usb", &Scenario::usb, false, "whether the USB side answers at 0x10"},
    {"mcu_address", &Scenario::mcu_address, true, "bus address of the MCU"},
    {"hwid", &Scenario::hwid, true, "hardware id; the tool knows 1 to 3"},
    {"serial", &Scenario::serial, true, "serial number, 36 digits; a to f are sent as they are"},
    {"production_minutes", &Scenario::production_minutes, true, "production date in minutes since 1970"},
    {"version_crc_good", &Scenario::version_crc_good, true, "whether the version block carries the right checksum"},
    {"version2", &Scenario::version2, true, "second version block: empty, none (the command fails), or 64 hex digits"},
    {"reported_region_size", &Scenario::reported_region_size, true, "region size in the flash status"},
    {"reported_page_size", &Scenario::reported_page_size, true, "page size in the flash status"},
    {"polls", &Scenario::polls, false, "at which status read a command has finished"},
    {"boot_ms", &Scenario::boot_ms, false, "how long the MCU is silent after a reset"},
    {"boot_choice", &Scenario::boot_choice, false,
     "which region starts when both are enabled: 0, 1, or latest (enabled last)"},
    {"teko_enable", &Scenario::teko_enable, true, "enable settings word; a set bit disables"},
    {"input_mode", &Scenario::input_mode, true, "input mode settings word"},
    {"stored", &Scenario::stored, true, "check word of the last store command"},
    {"led1", &Scenario::led1, true, "code of LED 1: 0 default, 0x80 off, 0x81 green, 0x82 red, 0x83 orange"},
    {"led2", &Scenario::led2, true, "code of LED 2"},
    {"xlr_off", &Scenario::xlr_off, true, "whether the XLR input was switched off"},
    {"w1_pio", &Scenario::w1_pio, true, "last value for the PIO of the 1-Wire device (power-supply LED)"},
    {"test_extsw", &Scenario::test_extsw, true, "last value of the external-switch test"},
    {"test_10v", &Scenario::test_10v, true, "last value of the 10 V test"},
    {"test_msg", &Scenario::test_msg, true, "last test message"},
    {"status", &Scenario::status, false, "status block, 20 bytes; 10 and 12 to 15 are live registers"},
    {"source", BitField{&Scenario::status, 0, 2}, false, "selected source: 0 none, 1 ext, 2 link 1, 3 link 2"},
    {"teko1_connected", BitField{&Scenario::status, 3, 1}, false, "whether TEKO1 is connected"},
    {"teko2_connected", BitField{&Scenario::status, 4, 1}, false, "whether TEKO2 is connected"},
    {"message_pending", BitField{&Scenario::status, 6, 1}, false, "whether a message is pending"},
    {"teko_supported", BitField{&Scenario::status, 7, 1}, false, "whether the MCU supports the line interfaces"},
    {"ext_validated", BitField{&Scenario::status, 9, 1}, false, "whether the ext input is validated"},
    {"input_error", BitField{&Scenario::status, 10, 1}, false, "input status error"},
    {"teko_idx", BitField{&Scenario::status, 16, 4}, false, "index of the input"},
    {"teko1_overcurrent", BitField{&Scenario::status, 20, 1}, false, "TEKO1 over-current"},
    {"teko2_overcurrent", BitField{&Scenario::status, 21, 1}, false, "TEKO2 over-current"},
    {"teko1_overcurrent_alert", BitField{&Scenario::status, 22, 1}, false, "TEKO1 over-current alert"},
    {"teko2_overcurrent_alert", BitField{&Scenario::status, 23, 1}, false, "TEKO2 over-current alert"},
    {"handshake", BitField{&Scenario::status, 80, 8}, false, "register 0x0A: 1 while a message is pending"},
    {"teko1_ohms", BitField{&Scenario::status, 128, 8}, false, "TEKO1 impedance in the status block"},
    {"teko2_ohms", BitField{&Scenario::status, 136, 8}, false, "TEKO2 impedance in the status block"},
    {"teko1_ohms_max", BitField{&Scenario::status, 144, 8}, false, "TEKO1 impedance maximum"},
    {"teko2_ohms_max", BitField{&Scenario::status, 152, 8}, false, "TEKO2 impedance maximum"},
    {"powerrail_raw", &Scenario::powerrail_raw, false, "power rail, ADC code"},
    {"ext_raw", &Scenario::ext_raw, false, "external (XLR) input, ADC code"},
    {"teko1_voltage_raw", &Scenario::teko1_voltage_raw, false, "TEKO1 voltage, ADC code"},
    {"teko2_voltage_raw", &Scenario::teko2_voltage_raw, false, "TEKO2 voltage, ADC code"},
    {"teko1_current_raw", &Scenario::teko1_current_raw, false, "TEKO1 current, ADC code"},
    {"teko2_current_raw", &Scenario::teko2_current_raw, false, "TEKO2 current, ADC code"},
    {"teko1_imp", &Scenario::teko1_imp, false,
     "TEKO1 impedances in ohms, IMP_0_1 in the low byte, IMP_1_2 in the high"},
    {"teko2_imp", &Scenario::teko2_imp, false, "TEKO2 impedances, likewise"},
    {"pse_states", &Scenario::pse_states, false, "PSE states, TEKO1 in the low byte, TEKO2 in the high"},
    {"pd_states", &Scenario::pd_states, false, "PD states, likewise"},
    {"vcc_raw", &Scenario::vcc_raw, false, "Vcc, ADC code"},
    {"temperature_raw", &Scenario::temperature_raw, false, "MCU temperature, ADC code"},
    {"temperature_cal", &Scenario::temperature_cal, false, "MCU temperature sensor's code at 358.15 K"},
    {"vspare1_raw", &Scenario::vspare1_raw, false, "spare input 1, ADC code"},
    {"vspare2_raw", &Scenario::vspare2_raw, false, "spare input 2, ADC code"},
    {"teko1_pages", &Scenario::teko1_pages, false, "diagnostic pages 0 to 5 of TEKO1, 32 bytes each"},
    {"teko2_pages", &Scenario::teko2_pages, false, "diagnostic pages 0 to 5 of TEKO2"},
    {"teko1_imp_invalid_raw", BitField{&Scenario::teko1_pages, kPage5 + 16, 16}, false,
     "TEKO1: invalid impedance measurement, ADC code"},
    {"teko1_imp_valid_raw", BitField{&Scenario::teko1_pages, kPage5 + 32, 16}, false,
     "TEKO1: valid impedance measurement, ADC code"},
    {"teko1_cable_sum", BitField{&Scenario::teko1_pages, kPage5 + 48, 32}, false,
     "TEKO1: sum of the cable measurements"},
    {"teko1_cable_count", BitField{&Scenario::teko1_pages, kPage5 + 80, 8}, false, "TEKO1: how many there are"},
    {"teko1_pd_com_fail", BitField{&Scenario::teko1_pages, kPage5 + 88, 8}, false, "TEKO1: PD communication failures"},
    {"teko1_pse_com_fail", BitField{&Scenario::teko1_pages, kPage5 + 96, 8}, false,
     "TEKO1: PSE communication failures"},
    {"teko1_oc_shtd", BitField{&Scenario::teko1_pages, kPage5 + 104, 8}, false, "TEKO1: over-current shutdowns"},
    {"teko1_oc_alert", BitField{&Scenario::teko1_pages, kPage5 + 112, 8}, false, "TEKO1: over-current alerts"},
    {"teko1_uc_shtd", BitField{&Scenario::teko1_pages, kPage5 + 120, 8}, false, "TEKO1: under-current shutdowns"},
    {"teko1_imp_valid_count", BitField{&Scenario::teko1_pages, kPage5 + 128, 8}, false,
     "TEKO1: valid impedance measurements"},
    {"teko1_imp_low", BitField{&Scenario::teko1_pages, kPage5 + 136, 8}, false, "TEKO1: low impedance measurement"},
    {"teko1_imp_high", BitField{&Scenario::teko1_pages, kPage5 + 144, 8}, false, "TEKO1: high impedance measurement"},
    {"teko1_pse_state_max", BitField{&Scenario::teko1_pages, kPage5 + 152, 8}, false,
     "TEKO1: highest PSE state reached"},
    {"teko1_pd_state_max", BitField{&Scenario::teko1_pages, kPage5 + 160, 8}, false, "TEKO1: highest PD state reached"},
    {"teko1_sense_raw", BitField{&Scenario::teko1_pages, kPage5 + 176, 16}, false, "TEKO1: sense voltage, ADC code"},
    {"teko1_hpwr", BitField{&Scenario::teko1_pages, kPage5 + 192, 8}, false, "TEKO1: high-power flag"},
    {"teko1_cable_aux", BitField{&Scenario::teko1_pages, kPage5 + 200, 8}, false, "TEKO1: auxiliary cable byte"},
    {"teko1_ps_flags", BitField{&Scenario::teko1_pages, kPage5 + 208, 8}, false, "TEKO1: power-supply flags"},
    {"teko2_imp_invalid_raw", BitField{&Scenario::teko2_pages, kPage5 + 16, 16}, false,
     "TEKO2: invalid impedance measurement, ADC code"},
    {"teko2_imp_valid_raw", BitField{&Scenario::teko2_pages, kPage5 + 32, 16}, false,
     "TEKO2: valid impedance measurement, ADC code"},
    {"teko2_cable_sum", BitField{&Scenario::teko2_pages, kPage5 + 48, 32}, false,
     "TEKO2: sum of the cable measurements"},
    {"teko2_cable_count", BitField{&Scenario::teko2_pages, kPage5 + 80, 8}, false, "TEKO2: how many there are"},
    {"teko2_pd_com_fail", BitField{&Scenario::teko2_pages, kPage5 + 88, 8}, false, "TEKO2: PD communication failures"},
    {"teko2_pse_com_fail", BitField{&Scenario::teko2_pages, kPage5 + 96, 8}, false,
     "TEKO2: PSE communication failures"},
    {"teko2_oc_shtd", BitField{&Scenario::teko2_pages, kPage5 + 104, 8}, false, "TEKO2: over-current shutdowns"},
    {"teko2_oc_alert", BitField{&Scenario::teko2_pages, kPage5 + 112, 8}, false, "TEKO2: over-current alerts"},
    {"teko2_uc_shtd", BitField{&Scenario::teko2_pages, kPage5 + 120, 8}, false, "TEKO2: under-current shutdowns"},
    {"teko2_imp_valid_count", BitField{&Scenario::teko2_pages, kPage5 + 128, 8}, false,
     "TEKO2: valid impedance measurements"},
    {"teko2_imp_low", BitField{&Scenario::teko2_pages, kPage5 + 136, 8}, false, "TEKO2: low impedance measurement"},
    {"teko2_imp_high", BitField{&Scenario::teko2_pages, kPage5 + 144, 8}, false, "TEKO2: high impedance measurement"},
    {"teko2_pse_state_max", BitField{&Scenario::teko2_pages, kPage5 + 152, 8}, false,
     "TEKO2: highest PSE state reached"},
    {"teko2_pd_state_max", BitField{&Scenario::teko2_pages, kPage5 + 160, 8}, false, "TEKO2: highest PD state reached"},
    {"teko2_sense_raw", BitField{&Scenario::teko2_pages, kPage5 + 176, 16}, false, "TEKO2: sense voltage, ADC code"},
    {"teko2_hpwr", BitField{&Scenario::teko2_pages, kPage5 + 192, 8}, false, "TEKO2: high-power flag"},
    {"teko2_cable_aux", BitField{&Scenario::teko2_pages, kPage5 + 200, 8}, false, "TEKO2: auxiliary cable byte"},
    {"teko2_ps_flags", BitField{&Scenario::teko2_pages, kPage5 + 208, 8}, false, "TEKO2: power-supply flags"},
    {"killpower_count", BitField{&Scenario::teko1_pages, kPage5 + 168, 8}, false, "power-off commands"},
    {"undervoltage_count", BitField{&Scenario::teko2_pages, kPage5 + 168, 8}, false, "under-voltages"},
    {"nevents", &Scenario::nevents, false, "NEVENT reply, 20 bytes; messages at 0 and 16"},
    {"ports", &Scenario::ports, false, "ports A to F: output, input, direction each"},
    {"w1_rom", &Scenario::w1_rom, false, "ROM code of the 1-Wire device, 8 bytes"},
    {"w1_rom_status", &Scenario::w1_rom_status, false, "1-Wire status after the ROM was read"},
    {"w1_eeprom", &Scenario::w1_eeprom, false, "EEPROM of the 1-Wire device, 32 bytes"},
    {"w1_eeprom_status", &Scenario::w1_eeprom_status, false, "1-Wire status after EEPROM bytes were read"},
    {"w1_pio_data", &Scenario::w1_pio_data, false, "what the 1-Wire device answers to a PIO write, 8 bytes"},
    {"w1_pio_status", &Scenario::w1_pio_status, false, "1-Wire status after a PIO write"},
    {"cap_status", &Scenario::cap_status, false, "charger register 0x1B"},
    {"cap_vin", &Scenario::cap_vin, false, "charger register 0x25, input voltage"},
    {"cap_iin", &Scenario::cap_iin, false, "charger register 0x28, input current, signed"},
    {"cap_vcap", &Scenario::cap_vcap, false, "charger register 0x26, capacitor voltage"},
    {"cap_ichg", &Scenario::cap_ichg, false, "charger register 0x29, charge current, signed"},
    {"uptime", &Scenario::uptime, false, "/proc/uptime, or none"},
    {"temp_nic", &Scenario::temp_nic, false, "/dev/temp_nic, or none"},
    {"temp_disp", &Scenario::temp_disp, false, "/dev/temp_disp, or none"},
    {"poe", &Scenario::poe, false, "level of GPIO 414, 0 with power over Ethernet, or none"},
    {"gpio_exported", &Scenario::gpio_exported, false, "whether GPIO 414 has been exported already"},
};

std::optional<bool> parse_bool(const std::string& text) {
    if (text == "1" || text == "on" || text == "yes" || text == "true") {
        return true;
    }
    if (text == "0" || text == "off" || text == "no" || text == "false") {
        return false;
    }
    return std::nullopt;
}

std::optional<uint64_t> parse_number(const std::string& text, uint64_t max) {
    if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) == 0) {
        return std::nullopt;
    }
    char* end = nullptr;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 0);
    return *end == '\0' && number <= max ? std::optional<uint64_t>(number) : std::nullopt;
}

/// Hexadecimal digits, with or without blanks between the bytes.
std::optional<Bytes> parse_bytes(std::string text) {
    std::erase(text, ' ');
    if (text.size() % 2 != 0 ||
        !std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isxdigit(c) != 0; })) {
        return std::nullopt;
    }
    Bytes bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
        bytes.push_back(static_cast<uint8_t>(std::strtoul(text.substr(i, 2).c_str(), nullptr, 16)));
    }
    return bytes;
}

template <typename Number>
std::string assign_number(Number& field, const std::string& text) {
    constexpr uint64_t max = std::numeric_limits<Number>::max();
    const auto number = parse_number(text, max);
    if (!number) {
        return "not a number from 0 to " + std::to_string(max);
    }
    field = static_cast<Number>(*number);
    return "";
}

std::string assign(bool& field, const std::string& text) {
    const auto value = parse_bool(text);
    if (!value) {
        return "neither on nor off";
    }
    field = *value;
    return "";
}

std::string assign(uint16_t& field, const std::string& text) {
    return assign_number(field, text);
}

std::string assign(uint32_t& field, const std::string& text) {
    return assign_number(field, text);
}

std::string assign(std::string& field, const std::string& text) {
    field = text;
    return "";
}

std::string assign(Bytes& field, const std::string& text) {
    const auto bytes = parse_bytes(text);
    if (!bytes || bytes->size() != field.size()) {
        return "not " + std::to_string(field.size()) + " bytes in hexadecimal";
    }
    field = *bytes;
    return "";
}

std::string to_text(bool value) {
    return value ? "on" : "off";
}

std::string to_text(uint32_t value) {
    return std::to_string(value);
}

std::string to_text(uint16_t value) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%04x", value);
    return text;
}

std::string to_text(const std::string& value) {
    return value;
}

std::string to_text(const Bytes& value) {
    std::string text;
    for (const uint8_t byte : value) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

/// What the value must be beyond its type; empty when it is fine.
std::string check(const Scenario& scenario) {
    const auto is_hex = [](unsigned char c) { return std::isxdigit(c) != 0; };
    if (scenario.serial.size() != 36 || !std::all_of(scenario.serial.begin(), scenario.serial.end(), is_hex)) {
        return "not 36 digits";
    }
    const std::string& version2 = scenario.version2;
    if (version2 != "empty" && version2 != "none" &&
        (version2.size() != 64 || !std::all_of(version2.begin(), version2.end(), is_hex))) {
        return "neither empty nor none nor 64 hex digits";
    }
    if (scenario.mcu_address < 0x03 || scenario.mcu_address > 0x77) {
        return "not an address from 0x03 to 0x77";
    }
    if (scenario.boot_choice != "0" && scenario.boot_choice != "1" && scenario.boot_choice != "latest") {
        return "neither 0 nor 1 nor latest";
    }
    return "";
}

std::string set_member(Scenario& scenario, const Knob::Member& member, const std::string& value) {
    if (const auto* field = std::get_if<BitField>(&member)) {
        const uint64_t max = (uint64_t{1} << field->bits) - 1;
        const auto number = parse_number(value, max);
        if (!number) {
            return "not a number from 0 to " + std::to_string(max);
        }
        set_bits(scenario.*field->bytes, *field, static_cast<uint32_t>(*number));
        return "";
    }
    return std::visit(
        [&](auto pointer) -> std::string {
            if constexpr (std::is_same_v<decltype(pointer), BitField>) {
                return "";
            } else {
                return assign(scenario.*pointer, value);
            }
        },
        member);
}

}  // namespace

Bytes healthy_pages() {
    Bytes pages(192, 0);
    const Bytes page5 = {0x00, 0x00, 0x00, 0x00, 0x2C, 0x01, 0x00, 0x10, 0x00, 0x00, 0x04, 0, 0, 0, 0, 0,
                         0x08, 0x0B, 0x0D, 0x1D, 0x19, 0,    0x7C, 0x06, 0,    0,    0,    0, 0, 0, 0, 0};
    std::copy(page5.begin(), page5.end(), pages.begin() + 160);
    return pages;
}

Bytes sound_eeprom() {
    // Both parts end with their 1-Wire CRC, started at 0xFF.
    return {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x09, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F,
            0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D, 0x1E, 0xEA};
}

uint32_t get_bits(const Bytes& bytes, const BitField& field) {
    uint32_t value = 0;
    for (size_t i = 0; i < field.bits; ++i) {
        const size_t bit = field.first_bit + i;
        value |= static_cast<uint32_t>(bytes[bit / 8] >> (bit % 8) & 1) << i;
    }
    return value;
}

void set_bits(Bytes& bytes, const BitField& field, uint32_t value) {
    for (size_t i = 0; i < field.bits; ++i) {
        const size_t bit = field.first_bit + i;
        const auto mask = static_cast<uint8_t>(1U << (bit % 8));
        uint8_t& byte = bytes[bit / 8];
        byte = static_cast<uint8_t>((value >> i & 1) != 0 ? byte | mask : byte & ~mask);
    }
}

std::span<const Knob> knobs() {
    return kKnobs;
}

std::string knob_value(const Scenario& scenario, const Knob& knob) {
    return std::visit(
        [&](auto member) {
            if constexpr (std::is_same_v<decltype(member), BitField>) {
                return to_text(get_bits(scenario.*member.bytes, member));
            } else {
                return to_text(scenario.*member);
            }
        },
        knob.member);
}

std::string set_knob(Scenario& scenario, std::string_view name, const std::string& value) {
    const auto* knob =
        std::find_if(std::begin(kKnobs), std::end(kKnobs), [&](const Knob& k) { return k.name == name; });
    if (knob == std::end(kKnobs)) {
        return "no such knob: " + std::string(name);
    }
    Scenario changed = scenario;
    std::string problem = set_member(changed, knob->member, value);
    if (problem.empty()) {
        problem = check(changed);
    }
    if (!problem.empty()) {
        return std::string(name) + "=" + value + ": " + problem;
    }
    scenario = changed;
    return "";
}

}  // namespace sim
