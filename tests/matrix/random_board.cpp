// SPDX-License-Identifier: MIT
#include "tests/matrix/random_board.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>

namespace {

/// Knobs that are not for any value: other words, or numbers that would only make the run long or end it at once.
struct Choices {
    std::string_view knob;
    std::vector<std::string> values;
};

const std::vector<Choices>& choices() {
    static const std::vector<Choices> all = {
        {"mcu", {"1", "1", "1", "1", "1", "1", "1", "0"}},
        {"mcu_address", {"8"}},
        {"hwid", {"1", "2", "3", "3", "3", "0", "4", "0xffff"}},
        {"serial", {"202611220000000000000000000000000001", "0a1b2c3d4e5f000000000000000000000000"}},
        {"version2", {"empty", "none", "00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff"}},
        {"reported_region_size", {"0x20000", "0x20000", "0x20000", "0xffffffff"}},
        {"reported_page_size", {"0x200", "0x200", "0x200", "0x100"}},
        {"polls", {"1", "1", "2", "5"}},
        {"boot_ms", {"5"}},
        {"boot_choice", {"latest", "0", "1"}},
        {"w1_rom_status", {"0", "0", "1", "6", "0x80", "255"}},
        {"w1_eeprom_status", {"0", "0", "1", "6", "0x80", "255"}},
        {"w1_pio_status", {"0", "0", "1", "6", "0x80", "255"}},
        {"uptime", {"none", "93784.50 180000.00", "0.99 1.0", "4294967295.9 1", "8640000000 0", "-5.0 1", "soon"}},
        {"temp_nic", {"none", "45.0", "-12.34", "0.05", "1e9", "inf", "1e-45", "hot"}},
        {"temp_disp", {"none", "40.0", "127.96", "99.95", "-0.04", "3.4028236e38", "0x1p3", ""}},
        {"poe", {"none", "0", "1", "x"}},
    };
    return all;
}

std::string random_value(Dice& dice, sim::Scenario& scenario, const sim::Knob& knob) {
    for (const Choices& choice : choices()) {
        if (choice.knob == knob.name) {
            return dice.pick(std::span<const std::string>(choice.values));
        }
    }
    return std::visit(
        [&](auto member) -> std::string {
            using Member = decltype(member);
            if constexpr (std::is_same_v<Member, sim::BitField>) {
                return std::to_string(dice.roll(uint64_t{1} << member.bits));
            } else {
                using Value = std::remove_reference_t<decltype(scenario.*member)>;
                if constexpr (std::is_same_v<Value, sim::Bytes>) {
                    std::string digits;
                    for (size_t i = 0; i < 2 * (scenario.*member).size(); ++i) {
                        digits += "0123456789abcdef"[dice.roll(16)];
                    }
                    return digits;
                } else if constexpr (std::is_same_v<Value, std::string>) {
                    return scenario.*member;
                } else if constexpr (std::is_same_v<Value, bool>) {
                    return std::to_string(dice.roll(2));
                } else {
                    // Small codes, codes of the ADC, and whatever fits.
                    const uint64_t sizes[] = {uint64_t{4}, uint64_t{4096}, uint64_t{1} << (8 * sizeof(Value))};
                    return std::to_string(dice.roll(sizes[dice.roll(3)]));
                }
            }
        },
        knob.member);
}

}  // namespace

sim::Scenario random_scenario(Dice& dice) {
    sim::Scenario scenario;
    for (const sim::Knob& knob : sim::knobs()) {
        if (dice.roll(2) == 0) {
            continue;
        }
        const std::string problem = set_knob(scenario, knob.name, random_value(dice, scenario, knob));
        if (!problem.empty()) {
            std::fprintf(stderr, "%s: %s\n", std::string(knob.name).c_str(), problem.c_str());
            std::abort();
        }
    }
    // 0 / 0 is not a number, and its sign is the processor's own.
    if (scenario.temperature_cal == 0 && scenario.temperature_raw == 190) {
        scenario.temperature_raw = 191;
    }
    return scenario;
}
