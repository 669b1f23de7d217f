// SPDX-License-Identifier: MIT
#include "sim/scenario.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using sim::Scenario;

std::string all_values(const Scenario& scenario) {
    std::string text;
    for (const sim::Knob& knob : sim::knobs()) {
        text += std::string(knob.name) + "=" + sim::knob_value(scenario, knob) + "\n";
    }
    return text;
}

TEST(Scenario, EveryKnobTakesTheValueThatItShows) {
    Scenario scenario;
    for (const sim::Knob& knob : sim::knobs()) {
        EXPECT_EQ(sim::set_knob(scenario, knob.name, sim::knob_value({}, knob)), "") << knob.name;
    }
    EXPECT_EQ(all_values(scenario), all_values({}));
}

TEST(Scenario, ASetKnobAloneChanges) {
    constexpr const char* cases[][3] = {
        {"mcu=on", "no", "mcu=off"},
        {"usb=off", "true", "usb=on"},
        {"hwid=0x0003", "4", "hwid=0x0004"},
        {"polls=1", "0xffffffff", "polls=4294967295"},
        {"boot_choice=latest", "0", "boot_choice=0"},
        {"version2=empty", "none", "version2=none"},
        {"w1_rom=2d01020304050697", "2D 01 02 03 04 05 06 9F", "w1_rom=2d0102030405069f"},
    };
    for (const auto& [before, value, after] : cases) {
        Scenario scenario;
        const std::string name(before, std::strchr(before, '='));
        EXPECT_EQ(sim::set_knob(scenario, name, value), "");
        std::string expected = all_values({});
        expected.replace(expected.find(before), std::strlen(before), after);
        EXPECT_EQ(all_values(scenario), expected);
    }
}

TEST(Scenario, ABadValueIsExplainedAndChangesNothing) {
    constexpr const char* cases[][3] = {
        {"mcu", "maybe", "neither on nor off"},
        {"mcu", "", "neither on nor off"},
        {"hwid", "", "not a number from 0 to 65535"},
        {"hwid", "-1", "not a number from 0 to 65535"},
        {"hwid", "3x", "not a number from 0 to 65535"},
        {"hwid", "65536", "not a number from 0 to 65535"},
        {"polls", "4294967296", "not a number from 0 to 4294967295"},
        {"polls", "99999999999999999999", "not a number from 0 to 4294967295"},
        {"serial", "123", "not 36 digits"},
        {"serial", "g02611220000000000000000000000000001", "not 36 digits"},
        {"version2", "ff", "neither empty nor none nor 64 hex digits"},
        {"boot_choice", "2", "neither 0 nor 1 nor latest"},
        {"w1_rom", "2d", "not 8 bytes in hexadecimal"},
        {"w1_rom", "2d0102030405069", "not 8 bytes in hexadecimal"},
        {"w1_rom", "2d0102030405069z", "not 8 bytes in hexadecimal"},
    };
    Scenario scenario;
    for (const auto& [name, value, problem] : cases) {
        EXPECT_EQ(sim::set_knob(scenario, name, value), std::string(name) + "=" + value + ": " + problem);
    }
    EXPECT_EQ(sim::set_knob(scenario, "colour", "red"), "no such knob: colour");
    EXPECT_EQ(all_values(scenario), all_values({}));
}

}  // namespace
