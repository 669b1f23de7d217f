// SPDX-License-Identifier: MIT
#include "capture/tracepoints.h"

#include <linux/i2c.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace {

constexpr uint64_t kUsPerSecond = 1'000'000;
constexpr size_t kMaxMessages = 42;
constexpr size_t kMaxMessageSize = 8192;
constexpr char kAnchor[] = "sv_record clock=";

/// Reads "SECONDS.FRACTION" in microseconds.
uint64_t parse_us(const char* text) {
    char* end = nullptr;
    uint64_t us = std::strtoull(text, &end, 10) * kUsPerSecond;
    uint64_t unit = kUsPerSecond / 10;
    for (const char* digit = end + 1; *end == '.' && *digit >= '0' && *digit <= '9'; ++digit, unit /= 10) {
        us += unit * static_cast<uint64_t>(*digit - '0');
    }
    return us;
}

/// An event of a line. Every source writes "… SECONDS.FRACTION: NAME: VALUES", some with the system's name in between.
struct Event {
    uint64_t time_us;
    std::string name;
    std::string values;
};

std::optional<Event> parse_event(const std::string& line) {
    const size_t stamp_end = line.find(": ");
    const size_t name = stamp_end == std::string::npos ? stamp_end : line.find("i2c_", stamp_end);
    const size_t colon = name == std::string::npos ? name : line.find(": ", name);
    if (colon == std::string::npos) {
        return std::nullopt;
    }
    const size_t space = line.rfind(' ', stamp_end);
    return Event{parse_us(&line[space == std::string::npos ? 0 : space + 1]), line.substr(name, colon - name),
                 line.substr(colon + 2)};
}

/// The bytes between brackets, whatever separates them.
sim::Bytes parse_bytes(const std::string& values) {
    sim::Bytes bytes;
    const size_t open = values.find('[');
    for (const char* p = values.c_str() + (open == std::string::npos ? values.size() : open + 1); *p != '\0';) {
        char* end = nullptr;
        const auto byte = std::strtoul(p, &end, 16);
        if (end == p || byte > 0xFF) {
            break;
        }
        bytes.push_back(static_cast<uint8_t>(byte));
        p = *end == ']' || *end == '\0' ? "" : end + 1;
    }
    return bytes;
}

/// The transfers of one bus, of which at most one is under way.
class Bus {
public:
    explicit Bus(int number) : number_(number) {}

    /// False when the transfer that it ends is left out.
    bool add(const Event& event, std::vector<sim::RecordedTransfer>& transfers) {
        unsigned index = 0;
        unsigned address = 0;
        unsigned flags = 0;
        size_t size = 0;
        if (event.name == "i2c_result") {
            return finish(event, transfers);
        }
        if (std::sscanf(event.values.c_str(), " i2c-%*d #%u a=%x f=%x l=%zu", &index, &address, &flags, &size) != 4 ||
            index >= kMaxMessages || size > kMaxMessageSize || (flags & I2C_M_TEN) != 0) {
            sound_ = false;
            return true;
        }
        if (event.name == "i2c_reply") {
            sound_ = sound_ && index < open_.messages.size();
            if (sound_) {
                open_.messages[index].bytes = parse_bytes(event.values);
                replies_ += 1;
            }
            return true;
        }
        const bool read = (flags & I2C_M_RD) != 0;
        if (index == 0) {
            start(event.time_us);
        }
        sound_ = sound_ && index == open_.messages.size();
        reads_ += read ? 1 : 0;
        open_.messages.push_back({static_cast<uint16_t>(address & 0x7FU), read, size, parse_bytes(event.values)});
        return true;
    }

private:
    void start(uint64_t time_us) {
        open_ = {static_cast<uint8_t>(number_), time_us, false, {}};
        reads_ = replies_ = 0;
        sound_ = true;
    }

    bool finish(const Event& event, std::vector<sim::RecordedTransfer>& transfers) {
        size_t count = 0;
        long result = 0;
        const int fields = std::sscanf(event.values.c_str(), " i2c-%*d n=%zu ret=%ld", &count, &result);
        open_.acknowledged = result >= 0 && static_cast<size_t>(result) == count;
        const bool good = sound_ && fields == 2 && count == open_.messages.size() && count > 0 &&
                          number_ <= sim::kMaxCapturedBus && (!open_.acknowledged || replies_ == reads_);
        if (good) {
            transfers.push_back(open_);
        }
        start(0);
        return good;
    }

    int number_;
    sim::RecordedTransfer open_{};
    size_t reads_ = 0;
    size_t replies_ = 0;
    bool sound_ = true;
};

}  // namespace

sim::Recording read_tracepoints(std::string_view text) {
    sim::Recording recording;
    std::map<int, Bus> buses;
    size_t left_out = 0;
    uint64_t lost = 0;
    uint64_t ahead_us = 0;  // of the time of day
    while (!text.empty()) {
        const std::string line(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (const size_t anchor = line.find(kAnchor); anchor != std::string::npos && line.find(": ") < anchor) {
            const size_t stamp = line.rfind(' ', line.find(": "));
            ahead_us = parse_us(&line[anchor + sizeof kAnchor - 1]) - parse_us(&line[stamp + 1]);
        } else if (const size_t gap = line.find("[LOST "); gap != std::string::npos) {
            lost += std::strtoull(&line[gap + 6], nullptr, 10);
        } else if (const auto event = parse_event(line); event) {
            int number = 0;
            if (std::sscanf(event->values.c_str(), " i2c-%d", &number) != 1) {
                continue;
            }
            Bus& bus = buses.try_emplace(number, number).first->second;
            left_out += bus.add(*event, recording.transfers) ? 0 : 1;
        }
    }
    for (sim::RecordedTransfer& transfer : recording.transfers) {
        transfer.time_us += ahead_us;
    }
    if (left_out > 0 || lost > 0) {
        recording.problem = std::to_string(left_out) + " transfers left out, " + std::to_string(lost) + " events lost";
    }
    return recording;
}
