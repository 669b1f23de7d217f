// SPDX-License-Identifier: MIT
#include "capture/sigrok_text.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

struct Reader {
    uint64_t samples_per_second;
    uint8_t bus;
    std::vector<sim::RecordedTransfer> transfers = {};
    sim::RecordedTransfer open = {};
    bool started = false;
    bool left_out = false;  // a transfer is

    /// `what` is the annotation, such as "Data write: A6".
    void add(uint64_t sample, const std::string& what) {
        const size_t colon = what.find(": ");
        const auto value =
            static_cast<uint8_t>(colon == std::string::npos ? 0 : std::strtoul(&what[colon + 2], nullptr, 16));
        if (what == "Start") {
            left_out = left_out || started;
            open = {
                bus,
                sample / samples_per_second * 1'000'000 + sample % samples_per_second * 1'000'000 / samples_per_second,
                true,
                {}};
            started = true;
        } else if (!started) {
            return;
        } else if (what.starts_with("Address ")) {
            open.messages.push_back({value, what.starts_with("Address read"), 0, {}});
        } else if (what.starts_with("Data ") && !open.messages.empty()) {
            open.messages.back().bytes.push_back(value);
            open.messages.back().size += 1;
        } else if (what == "NACK" && !open.messages.empty()) {
            // A host ends what it reads with NACK.
            const sim::RecordedMessage& message = open.messages.back();
            open.acknowledged = open.acknowledged && message.read && !message.bytes.empty();
        } else if (what == "Stop") {
            started = false;
            if (sim::can_capture(open)) {
                transfers.push_back(open);
            } else {
                left_out = true;
            }
        }
    }
};

}  // namespace

sim::Recording read_sigrok_text(std::string_view text, uint64_t samples_per_second, uint8_t bus) {
    Reader reader{samples_per_second, bus};
    std::string decoder;
    while (!text.empty()) {
        const std::string line(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        // "FIRST-LAST i2c-1: ANNOTATION"
        const size_t name = line.find(" i2c-");
        const size_t colon = line.find(": ", name);
        if (name == std::string::npos || colon == std::string::npos || line[0] < '0' || line[0] > '9') {
            continue;
        }
        decoder = decoder.empty() ? line.substr(name, colon - name) : decoder;
        if (line.compare(name, colon - name, decoder) != 0) {
            return {{}, "annotations of more than one decoder of I2C"};
        }
        reader.add(std::strtoull(line.c_str(), nullptr, 10), line.substr(colon + 2));
    }
    return {std::move(reader.transfers), reader.left_out || reader.started
                                             ? "some transfers left out: cut off, too long, or without a 7-bit address"
                                             : ""};
}
