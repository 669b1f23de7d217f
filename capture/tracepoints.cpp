// SPDX-License-Identifier: MIT
#include "capture/tracepoints.h"

#include <linux/i2c.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace {

constexpr std::string_view kAnchor = "sv_record clock=";

/// Reads "SECONDS.FRACTION" in microseconds.
uint64_t parse_us(const char* text) {
    return static_cast<uint64_t>(std::llround(std::strtod(text, nullptr) * 1e6));
}

/// Reads "[a6-00]".
sim::Bytes parse_bytes(const char* text) {
    sim::Bytes bytes;
    for (char* end = nullptr; *text == '[' || *text == '-'; text = end) {
        const auto byte = static_cast<uint8_t>(std::strtoul(text + 1, &end, 16));
        if (end == text + 1) {
            break;
        }
        bytes.push_back(byte);
    }
    return bytes;
}

/// How many events a line says to be missing, at least: "CPU:0 [LOST 3 EVENTS]", "CPU:0 [3 EVENTS DROPPED]", both also
/// without a number, and "# entries-in-buffer/entries-written: 31/60".
uint64_t missing_events(const char* line) {
    unsigned long count = 1;
    unsigned long written = 0;
    if (std::sscanf(line, "# entries-in-buffer/entries-written: %lu/%lu", &count, &written) == 2) {
        return written - std::min(count, written);
    }
    char word[8] = "";
    if (std::sscanf(line, "CPU:%*u [LOST %lu", &count) == 1 || std::sscanf(line, "CPU:%*u [%lu EVENTS", &count) == 1) {
        return count;
    }
    return std::sscanf(line, "CPU:%*u [%7[A-Z]", word) == 1 ? 1 : 0;
}

/// A transfer that is under way on a bus.
struct Open {
    sim::RecordedTransfer transfer{};
    size_t unanswered = 0;  // reads
    bool sound = true;      // no event is missing, and a capture can hold it
};

/// An event but i2c_result: "#0 a=008 f=0200 l=2 [a6-00]"
void add_message(Open& open, bool reply, uint64_t time_us, const char* values) {
    unsigned index = 0;
    unsigned address = 0;
    unsigned flags = 0;
    size_t size = 0;
    int end = 0;
    std::vector<sim::RecordedMessage>& messages = open.transfer.messages;
    const int count = std::sscanf(values, " #%u a=%x f=%x l=%zu %n", &index, &address, &flags, &size, &end);
    open.sound = open.sound && count == 4 && (flags & I2C_M_TEN) == 0 &&
                 (reply ? index < messages.size() : index == messages.size());
    if (!open.sound) {
        return;
    }
    const bool read = (flags & I2C_M_RD) != 0;
    if (reply) {
        messages[index].bytes = parse_bytes(values + end);
        --open.unanswered;
    } else {
        open.transfer.time_us = index == 0 ? time_us : open.transfer.time_us;
        open.unanswered += read ? 1 : 0;
        messages.push_back({static_cast<uint16_t>(address), read, size, parse_bytes(values + end)});
    }
}

/// The event i2c_result, "n=2 ret=2": a negative result is an error of the bus. True when the transfer is complete.
bool finish(Open& open, const char* values) {
    size_t count = 0;
    long result = 0;
    const bool read = std::sscanf(values, " n=%zu ret=%ld", &count, &result) == 2;
    open.transfer.acknowledged = static_cast<size_t>(result) == count;
    return read && open.sound && count == open.transfer.messages.size() &&
           (!open.transfer.acknowledged || open.unanswered == 0);
}

}  // namespace

sim::Recording read_tracepoints(std::string_view text) {
    sim::Recording recording;
    std::map<int, Open> buses;
    size_t left_out = 0;
    uint64_t lost = 0;
    uint64_t ahead_us = 0;  // of the time of day
    while (!text.empty()) {
        const std::string line(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        lost += missing_events(line.c_str());
        // "… SECONDS.FRACTION: NAME: i2c-0 VALUES", with the name of the system before that of the event in some.
        const size_t stamp_end = std::min(line.find(": "), line.size());
        const uint64_t time_us = parse_us(&line[line.rfind(' ', stamp_end) + 1]);
        if (const size_t anchor = line.find(kAnchor, stamp_end); anchor != std::string::npos) {
            ahead_us = parse_us(&line[anchor + kAnchor.size()]) - time_us;
        }
        char name[8] = "";
        int bus = 0;
        int end = 0;
        const size_t event = std::min(line.find("i2c_", stamp_end), line.size());
        if (std::sscanf(&line[event], "i2c_%7[a-z]: i2c-%d%n", name, &bus, &end) != 2) {
            continue;
        }
        Open& open = buses[bus];
        const std::string_view kind = name;
        if (kind != "result") {
            add_message(open, kind == "reply", time_us, &line[event + static_cast<size_t>(end)]);
            continue;
        }
        open.transfer.bus = static_cast<uint8_t>(std::clamp(bus, 0, 0xFF));
        if (finish(open, &line[event + static_cast<size_t>(end)]) && sim::can_capture(open.transfer)) {
            recording.transfers.push_back(std::move(open.transfer));
        } else {
            ++left_out;
        }
        open = {};
    }
    for (const auto& [bus, open] : buses) {
        left_out += open.sound && open.transfer.messages.empty() ? 0 : 1;
    }
    for (sim::RecordedTransfer& transfer : recording.transfers) {
        transfer.time_us += ahead_us;
    }
    if (left_out > 0 || lost > 0) {
        recording.problem = std::to_string(left_out) + " transfers left out, " + std::to_string(lost) + " events lost";
    }
    return recording;
}
