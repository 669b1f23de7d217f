// SPDX-License-Identifier: MIT
#include "sim/scenario.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using sim::Scenario;

std::string value_of(const Scenario& scenario, std::string_view name) {
    const auto is_it = [&](const sim::Knob& knob) { return knob.name == name; };
    return sim::knob_value(scenario, *std::find_if(sim::knobs().begin(), sim::knobs().end(), is_it));
}

TEST(Scenario, EveryKnobTakesTheValueThatItShows) {
    for (const sim::Knob& knob : sim::knobs()) {
        Scenario scenario;
        EXPECT_EQ(sim::set_knob(scenario, knob.name, sim::knob_value({}, knob)), "") << knob.name;
        EXPECT_EQ(sim::knob_value(scenario, knob), sim::knob_value({}, knob)) << knob.name;
    }
}

TEST(Scenario, AKnobShowsTheValueThatItTook) {
    constexpr const char* cases[][3] = {{"mcu", "no", "off"},
                                        {"usb", "true", "on"},
                                        {"hwid", "4", "0x0004"},
                                        {"polls", "0xffffffff", "4294967295"},
                                        {"boot_choice", "0", "0"},
                                        {"version2", "none", "none"},
                                        {"w1_rom", "2D 01 02 03 04 05 06 9F", "2d0102030405069f"}};
    for (const auto& [name, value, shown] : cases) {
        Scenario scenario;
        EXPECT_EQ(sim::set_knob(scenario, name, value), "");
        EXPECT_EQ(value_of(scenario, name), shown);
    }
}

TEST(Scenario, ABadValueIsExplainedAndChangesNothing) {
    constexpr const char* cases[][3] = {{"mcu", "maybe", "neither on nor off"},
                                        {"hwid", "", "not a number from 0 to 65535"},
                                        {"hwid", "-1", "not a number from 0 to 65535"},
                                        {"hwid", "3x", "not a number from 0 to 65535"},
                                        {"hwid", "65536", "not a number from 0 to 65535"},
                                        {"polls", "4294967296", "not a number from 0 to 4294967295"},
                                        {"polls", "99999999999999999999", "not a number from 0 to 4294967295"},
                                        {"mcu_address", "0x78", "not an address from 0x03 to 0x77"},
                                        {"serial", "123", "not 36 digits"},
                                        {"serial", "g02611220000000000000000000000000001", "not 36 digits"},
                                        {"version2", "ff", "neither empty nor none nor 64 hex digits"},
                                        {"boot_choice", "2", "neither 0 nor 1 nor latest"},
                                        {"w1_rom", "2d", "not 8 bytes in hexadecimal"},
                                        {"w1_rom", "2d0102030405069z", "not 8 bytes in hexadecimal"}};
    for (const auto& [name, value, problem] : cases) {
        Scenario scenario;
        EXPECT_EQ(sim::set_knob(scenario, name, value), std::string(name) + "=" + value + ": " + problem);
        EXPECT_EQ(value_of(scenario, name), value_of({}, name));
    }
    Scenario scenario;
    EXPECT_EQ(sim::set_knob(scenario, "colour", "red"), "no such knob: colour");
}

}  // namespace
