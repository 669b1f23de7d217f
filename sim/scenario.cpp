// SPDX-License-Identifier: MIT
#include "sim/scenario.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <optional>
#include <type_traits>
#include <utility>

namespace sim {

namespace {

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

/// Hexadecimal digits; blanks between the bytes are allowed.
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

/// Checks what the types cannot. Returns an empty text, or what is wrong.
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

/// How many characters must be inserted, deleted or replaced to make one text of the other.
size_t distance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

/// The knobs that are spelled nearly like this, or contain it, or are contained in it; else where to find all.
std::string suggestion(std::string_view name) {
    std::string names;
    for (const Knob& knob : knobs()) {
        const bool contains = name.size() >= 3 && knob.name.find(name) != std::string_view::npos;
        if (contains || name.find(knob.name) != std::string_view::npos || distance(name, knob.name) <= 2) {
            names += (names.empty() ? "" : ", ") + std::string(knob.name);
        }
    }
    return names.empty() ? "'sv_board knobs' lists them" : "similar: " + names;
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
    // Bytes 7 and 31 are the 1-Wire CRCs of the two parts, started at 0xFF.
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
    const auto knob = std::find_if(knobs().begin(), knobs().end(), [&](const Knob& k) { return k.name == name; });
    if (knob == knobs().end()) {
        return "no such knob: " + std::string(name) + "; " + suggestion(name);
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
