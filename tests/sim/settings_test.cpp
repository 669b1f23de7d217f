// SPDX-License-Identifier: MIT
// Everything that an operator types or keeps in a file: knobs, presets, faults and the state file.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <set>

#include "sim/presets.h"
#include "sim/state_file.h"

namespace {

using sim::Board;
using sim::Scenario;

std::string all_values(const Scenario& scenario) {
    std::string values;
    for (const sim::Knob& knob : sim::knobs()) {
        values += sim::knob_value(scenario, knob) + ";";
    }
    return values;
}

/// Another valid value of the same knob.
std::string other_value(const std::string& value) {
    static const std::map<std::string, std::string> words = {
        {"on", "off"}, {"off", "on"}, {"empty", "none"}, {"latest", "1"}};
    const char last = value.back();
    return words.contains(value) ? words.at(value) : value.substr(0, value.size() - 1) + (last == '0' ? '1' : '0');
}

TEST(Scenario, EveryPresetAndEveryKnobMakesASituationOfItsOwn) {
    std::set<std::string> situations;
    for (const sim::Preset& preset : sim::presets()) {
        Scenario scenario;
        EXPECT_EQ(sim::apply_preset(scenario, preset.name), "") << preset.name;
        EXPECT_TRUE(situations.insert(all_values(scenario)).second) << preset.name;
    }
    situations.clear();
    for (const sim::Knob& knob : sim::knobs()) {
        Scenario scenario;
        scenario.mcu_address = 0x11;
        const std::string value = other_value(sim::knob_value(scenario, knob));
        EXPECT_EQ(sim::set_knob(scenario, knob.name, value), "") << knob.name;
        EXPECT_EQ(sim::knob_value(scenario, knob), value) << knob.name;
        EXPECT_TRUE(situations.insert(all_values(scenario)).second) << knob.name;
    }
}

TEST(StateFile, AMistakeIsExplained) {
    const std::string path = testing::TempDir() + "sv_state_" + std::to_string(getpid());
    Board board;
    sim::SavedClock clock;
    const std::string good = std::string(0x42000, '\0') + sim::state_text(board, clock);
    const auto with = [&](const std::string& line, const std::string& instead) {
        std::string bytes = good;
        return bytes.replace(bytes.find(line), line.size(), instead);
    };
    const std::pair<std::string, std::string> cases[] = {
        {good.substr(0, 0x41FFF), "not the state of a board (too short)"},
        {good + std::string(100, '\0'), "not the state of a board (line without =)"},
        {good + "colour=red\n", "no such knob: colour; 'sv_board knobs' lists them"},
        {with("hwid=0x0003", "hwid=0x1003x"), "hwid=0x1003x: not a number from 0 to 65535"},
        {with("running=0", "running=2"), "running is missing or invalid"},
        {with("marker=0", "marker=0x"), "marker is missing or invalid"},
        {with("reset.due_us=0", "reset.due_us=-1"), "reset.due_us is missing or invalid"},
        {with("region0.checksum=0x", "region0.checksum=0x1"), "region0.checksum is missing or invalid"},
        {good.substr(0, good.find("region1.enabled")), "region1.enabled is missing or invalid"}};
    for (const auto& [bytes, reason] : cases) {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
        EXPECT_EQ(sim::load_state(path, board, clock), path + ": " + reason);
    }
    unlink(path.c_str());
    EXPECT_EQ(sim::load_state(testing::TempDir(), board, clock), testing::TempDir() + ": not a regular file");
}

/// The problem with a fault or, if the text has no "@", with a knob.
std::string problem_of(const std::string& text) {
    const size_t equals = text.find('=');
    std::string problem = "none";
    if (text.find('@') == std::string::npos && equals != std::string::npos) {
        Scenario scenario;
        return sim::set_knob(scenario, text.substr(0, equals), text.substr(equals + 1));
    }
    sim::parse_fault(text, problem);
    return problem;
}

TEST(Operator, AMistakeInAFaultOrAKnobIsExplained) {
    const std::pair<std::vector<const char*>, const char*> cases[] = {
        {{"", "nack", "nack@", "nack@-1", "nack@1 ", "nack@1x", "nack@1x2+5ms", "nack@1+5s", "nack@1+ms", "nack@1#",
          "nack@erase/", "nack@0", "nack@1#0", "NACK@1", "nack@1x0", "nack@1/3", "nack@commit/65792", "fail=@erase",
          "fail=0x100@erase"},
         "not a fault; expected KIND[=VALUE]@WHERE[#N][xCOUNT|+TIMEms]"},
        {{"nak@1"},
         "no such kind of fault: nak; there are nack, dead, lost, restart, cut, kill, flip, fail, hang, skip, slow, "
         "tear"},
        {{"fail@1", "fail@reg-0f"}, "fail needs the name of a command"},
        {{"nack=0x80@1"}, "nack takes no value"},
        {{"fail@erase/5"}, "erase has no page"},
        {{"slow@erase"}, "slow needs a value"},
        {{"tear=513@erase"}, "tear takes a value up to 512"},
        {{"fail=256@erase"}, "fail takes a value up to 255"},
        {{"mcu=maybe"}, "neither on nor off"},
        {{"hwid=", "hwid=-1", "hwid=65536"}, "not a number from 0 to 65535"},
        {{"polls=4294967296"}, "not a number from 0 to 4294967295"},
        {{"source=4"}, "not a number from 0 to 3"},
        {{"mcu_address=2", "mcu_address=0x78"}, "not an address from 0x03 to 0x77"},
        {{"serial=123", "serial=g02611220000000000000000000000000001"}, "not 36 digits"},
        {{"version2=ff"}, "neither empty nor none nor 64 hex digits"},
        {{"boot_choice=2"}, "neither 0 nor 1 nor latest"},
        {{"w1_rom=2d010203040506", "w1_rom=2d0102030405069z"}, "not 8 bytes in hexadecimal"}};
    for (const auto& [texts, reason] : cases) {
        for (const std::string text : texts) {
            EXPECT_EQ(problem_of(text), text + ": " + reason);
        }
    }
    Scenario scenario;
    constexpr std::pair<const char*, const char*> unknown[] = {{"colour", "'sv_board knobs' lists them"},
                                                               {"bootms", "similar: boot_ms"},
                                                               {"serial_number", "similar: serial"},
                                                               {"eeprom_s", "similar: w1_eeprom_status"}};
    for (const auto& [name, answer] : unknown) {
        EXPECT_EQ(sim::set_knob(scenario, name, "1"), std::string("no such knob: ") + name + "; " + answer);
    }
    EXPECT_EQ(sim::apply_preset(scenario, "sunny"),
              "no such preset: sunny; there are healthy, poe-only, xlr, link1-source, overcurrent, no-mcu, "
              "charger-backup, old-firmware");
    for (const std::string place : {"reg-1", "any-frame/3"}) {
        const std::string problem = problem_of("fail@" + place);
        const std::string start = "fail@" + place + ": no such command: " + place.substr(0, place.find('/')) +
                                  "; there are any-command, any-frame, any-change, reg-00 to reg-ff, read-version, ";
        EXPECT_EQ(problem.substr(0, start.size()), start);
        EXPECT_TRUE(problem.ends_with(", read-temperature-cal, read-spare2")) << problem;
    }
}

}  // namespace
