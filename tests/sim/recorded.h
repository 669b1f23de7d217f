// SPDX-License-Identifier: MIT
// Recordings in words.
#pragma once

#include <string>
#include <vector>

#include "sim/capture_file.h"
#include "sim/trace.h"
#include "tests/sim/wire.h"

using Words = std::vector<std::string>;

/// Hexadecimal digits, with blanks anywhere between bytes.
inline Bytes bytes_of(const std::string& digits) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += digits[i] == ' ' ? 1 : 2) {
        if (digits[i] != ' ') {
            bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
        }
    }
    return bytes;
}

/// For each transfer: bus, microseconds, and the words of the trace.
inline Words words_of(sim::Recording recording) {
    Words words;
    sim::TraceDecoder decoder(0);
    for (sim::RecordedTransfer& transfer : recording.transfers) {
        const std::vector<sim::Message> messages = sim::messages_of(transfer);
        words.push_back(std::to_string(transfer.bus) + " " + std::to_string(transfer.time_us) + " " +
                        decoder.words({0, 0, messages, transfer.acknowledged}, 0x08));
    }
    return words;
}
