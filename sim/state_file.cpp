// SPDX-License-Identifier: MIT
#include "sim/state_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace sim {

namespace {

/// The lines after the flash. A number that is taken is checked; the first problem is kept.
struct Lines {
    std::map<std::string, std::string> values;
    std::string problem;

    template <typename Number>
    void take(const std::string& name, int64_t min, int64_t max, Number& number) {
        const auto node = values.extract(name);
        const std::string text = node.empty() ? "" : node.mapped();
        char* end = nullptr;
        const long long value = std::strtoll(text.c_str(), &end, 0);
        if (text.empty() || *end != '\0' || value < min || value > max) {
            problem = problem.empty() ? name + " is missing or invalid" : problem;
            return;
        }
        number = static_cast<Number>(value);
    }
};

std::string restore_lines(Lines lines, std::vector<uint8_t> memory, Board& board, SavedClock& clock) {
    int running = 0;
    uint64_t due_us = 0;
    McuState mcu = board.mcu.state();
    lines.take("running", -1, 1, running);
    lines.take("latest", 0, 1, board.flash.latest);
    lines.take("marker", 0, 0xFF, mcu.registers[kMarkerRegister]);
    lines.take("clock.offset_us", 0, INT64_MAX, clock.offset_us);
    lines.take("reset.due_us", 0, INT64_MAX, due_us);
    for (size_t i = 0; i < board.flash.regions.size(); ++i) {
        const std::string region = "region" + std::to_string(i);
        lines.take(region + ".swid", 0, 0xFFFF, board.flash.regions[i].swid);
        lines.take(region + ".enabled", 0, 1, board.flash.regions[i].enabled);
        lines.take(region + ".checksum", 0, 0xFFFF, board.flash.regions[i].checksum);
    }
    for (const auto& [name, value] : lines.values) {
        if (lines.problem.empty()) {
            lines.problem = set_knob(board.scenario, name, value);
        }
    }
    if (due_us != 0) {
        mcu.reset_due_us = due_us;
    }
    board.mcu.restore(mcu);
    board.flash.restore(std::move(memory), running);
    return lines.problem;
}

}  // namespace

uint64_t board_time_us(const SavedClock& clock) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000 + static_cast<uint64_t>(now.tv_nsec) / 1000 + clock.offset_us;
}

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
    return out.str() + lasting_knobs(board.scenario);
}

std::string lasting_knobs(const Scenario& scenario) {
    std::string lines;
    for (const Knob& knob : knobs()) {
        if (knob.lasting) {
            lines += std::string(knob.name) + "=" + knob_value(scenario, knob) + "\n";
        }
    }
    return lines;
}

void set_lasting_knobs(Scenario& scenario, const std::string& lines) {
    std::istringstream in(lines);
    for (std::string name, value; std::getline(in, name, '=') && std::getline(in, value);) {
        set_knob(scenario, name, value);
    }
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
        lines.values[line.substr(0, equals)] = line.substr(equals + 1);
    }
    const std::string problem = restore_lines(std::move(lines), std::move(memory), board, clock);
    return problem.empty() ? "" : path + ": " + problem;
}

}  // namespace sim
