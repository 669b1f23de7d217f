// SPDX-License-Identifier: MIT
#include "sim/state_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace sim {

namespace {

using Lines = std::map<std::string, std::string>;

/// Takes a number out of the lines; false when it is missing, malformed or above the limit.
bool take_number(Lines& lines, const std::string& name, int64_t min, int64_t max, int64_t& value) {
    const auto node = lines.extract(name);
    if (node.empty() || node.mapped().empty()) {
        return false;
    }
    char* end = nullptr;
    value = std::strtoll(node.mapped().c_str(), &end, 0);
    return *end == '\0' && value >= min && value <= max;
}

std::string restore_regions(Lines& lines, Board& board) {
    for (int i = 0; i < 2; ++i) {
        const std::string name = "region" + std::to_string(i) + ".";
        int64_t swid = 0;
        int64_t enabled = 0;
        int64_t checksum = 0;
        if (!take_number(lines, name + "swid", 0, 0xFFFF, swid) ||
            !take_number(lines, name + "enabled", 0, 1, enabled) ||
            !take_number(lines, name + "checksum", 0, 0xFFFF, checksum)) {
            return "no valid " + name + "*";
        }
        board.flash.regions[static_cast<size_t>(i)] = {static_cast<uint16_t>(swid), enabled != 0,
                                                       static_cast<uint16_t>(checksum)};
    }
    return "";
}

std::string restore_lines(Lines lines, std::vector<uint8_t> memory, Board& board, SavedClock& clock) {
    int64_t running = 0;
    int64_t latest = 0;
    int64_t marker = 0;
    int64_t offset_us = 0;
    int64_t due_us = 0;
    if (!take_number(lines, "running", -1, 1, running) || !take_number(lines, "latest", 0, 1, latest) ||
        !take_number(lines, "marker", 0, 0xFF, marker) ||
        !take_number(lines, "clock.offset_us", 0, INT64_MAX, offset_us) ||
        !take_number(lines, "reset.due_us", 0, INT64_MAX, due_us)) {
        return "no valid running, latest, marker, clock.offset_us or reset.due_us";
    }
    if (std::string problem = restore_regions(lines, board); !problem.empty()) {
        return problem;
    }
    for (const auto& [name, value] : lines) {
        if (std::string problem = set_knob(board.scenario, name, value); !problem.empty()) {
            return problem;
        }
    }
    board.flash.restore(std::move(memory), static_cast<int>(running));
    board.flash.latest = static_cast<int>(latest);
    board.mcu.set_marker(static_cast<uint8_t>(marker));
    clock.offset_us = static_cast<uint64_t>(offset_us);
    if (due_us != 0) {
        McuState state = board.mcu.state();
        state.reset_due_us = static_cast<uint64_t>(due_us);
        board.mcu.restore(state);
    }
    return "";
}

}  // namespace

std::string state_text(const Board& board, const SavedClock& clock) {
    std::ostringstream out;
    const McuState& mcu = board.mcu.state();
    out << "running=" << board.flash.running() << "\nlatest=" << board.flash.latest
        << "\nmarker=" << static_cast<int>(mcu.registers[kMarkerRegister]) << "\nclock.offset_us=" << clock.offset_us
        << "\nreset.due_us=" << mcu.reset_due_us.value_or(0) << "\n";
    for (size_t i = 0; i < board.flash.regions.size(); ++i) {
        const RegionState& region = board.flash.regions[i];
        char line[192];
        std::snprintf(line, sizeof line, "region%zu.swid=0x%04x\nregion%zu.enabled=%d\nregion%zu.checksum=0x%04x\n", i,
                      region.swid, i, region.enabled ? 1 : 0, i, region.checksum);
        out << line;
    }
    for (const Knob& knob : knobs()) {
        if (knob.lasting) {
            out << knob.name << "=" << knob_value(board.scenario, knob) << "\n";
        }
    }
    return out.str();
}

std::string save_state(const std::string& path, const Board& board, const SavedClock& clock) {
    const std::string temporary = path + ".new";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        const std::vector<uint8_t>& memory = board.flash.memory();
        out.write(reinterpret_cast<const char*>(memory.data()), static_cast<std::streamsize>(memory.size()));
        out << state_text(board, clock);
        out.close();
        if (!out) {
            const std::string reason = std::strerror(errno);
            std::remove(temporary.c_str());
            return temporary + ": " + reason;
        }
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        const std::string reason = std::strerror(errno);
        std::remove(temporary.c_str());
        return path + ": " + reason;
    }
    return "";
}

std::string load_state(const std::string& path, Board& board, SavedClock& clock) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return path + ": not a regular file";
    }
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> memory(kMemorySize);
    in.read(reinterpret_cast<char*>(memory.data()), static_cast<std::streamsize>(memory.size()));
    if (!in) {
        return path + ": not the state of a board (too short)";
    }
    Lines lines;
    for (std::string line; std::getline(in, line);) {
        const size_t equals = line.find('=');
        if (equals == std::string::npos) {
            return path + ": not the state of a board (line without =)";
        }
        lines[line.substr(0, equals)] = line.substr(equals + 1);
    }
    const std::string problem = restore_lines(std::move(lines), std::move(memory), board, clock);
    return problem.empty() ? "" : path + ": " + problem;
}

}  // namespace sim
