// SPDX-License-Identifier: MIT
#include "sim/scenario.h"

#include <gtest/gtest.h>

#include <set>

#include "sim/presets.h"

namespace {

using sim::Scenario;

/// Gives the knob another value than it has.
void spoil(Scenario& scenario, const sim::Knob& knob) {
    const auto change = [&](auto member) {
        if constexpr (requires { member.bytes; }) {
            sim::set_bits(scenario.*member.bytes, member, ~sim::get_bits(scenario.*member.bytes, member));
        } else if constexpr (requires { (scenario.*member).front(); }) {
            (scenario.*member).front() = 'x';
        } else {
            scenario.*member = !(scenario.*member);
        }
    };
    std::visit(change, knob.member);
}

std::string all_values(const Scenario& scenario) {
    std::string values;
    for (const sim::Knob& knob : sim::knobs()) {
        values += sim::knob_value(scenario, knob) + ";";
    }
    return values;
}

TEST(Scenario, EveryPresetMakesASituationOfItsOwn) {
    std::set<std::string> situations;
    for (const sim::Preset& preset : sim::presets()) {
        Scenario scenario;
        EXPECT_EQ(sim::apply_preset(scenario, preset.name), "") << preset.name;
        EXPECT_TRUE(situations.insert(all_values(scenario)).second) << preset.name;
    }
    Scenario scenario;
    EXPECT_EQ(sim::apply_preset(scenario, "sunny"), "no such preset: sunny");
}

TEST(Scenario, EveryKnobTakesTheValueThatItShows) {
    for (const sim::Knob& knob : sim::knobs()) {
        Scenario scenario;
        spoil(scenario, knob);
        EXPECT_NE(sim::knob_value(scenario, knob), sim::knob_value({}, knob)) << knob.name;
        EXPECT_EQ(sim::set_knob(scenario, knob.name, sim::knob_value({}, knob)), "") << knob.name;
        EXPECT_EQ(sim::knob_value(scenario, knob), sim::knob_value({}, knob)) << knob.name;
    }
}

TEST(Scenario, ABadValueIsExplainedAndChangesNothing) {
    constexpr const char* cases[][3] = {{"mcu", "maybe", "neither on nor off"},
                                        {"hwid", "", "not a number from 0 to 65535"},
                                        {"hwid", "-1", "not a number from 0 to 65535"},
                                        {"hwid", "65536", "not a number from 0 to 65535"},
                                        {"polls", "4294967296", "not a number from 0 to 4294967295"},
                                        {"mcu_address", "0x78", "not an address from 0x03 to 0x77"},
                                        {"serial", "123", "not 36 digits"},
                                        {"serial", "g02611220000000000000000000000000001", "not 36 digits"},
                                        {"version2", "ff", "neither empty nor none nor 64 hex digits"},
                                        {"boot_choice", "2", "neither 0 nor 1 nor latest"},
                                        {"w1_rom", "2d0102030405069z", "not 8 bytes in hexadecimal"}};
    Scenario scenario;
    for (const auto& [name, value, problem] : cases) {
        EXPECT_EQ(sim::set_knob(scenario, name, value), std::string(name) + "=" + value + ": " + problem);
    }
    EXPECT_EQ(sim::set_knob(scenario, "colour", "red"), "no such knob: colour");
    EXPECT_EQ(all_values(scenario), all_values({}));
}

}  // namespace
