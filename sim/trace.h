// SPDX-License-Identifier: MIT
// The trace: one line per transfer, in the terms of the protocol.
#pragma once

#include <string>

#include "sim/board.h"

namespace sim {

/// A line holds number, milliseconds since `start_us`, device, meaning and bytes. The meaning of a read depends on the
/// command before it, so the decoder remembers the last command.
class TraceDecoder {
public:
    explicit TraceDecoder(uint64_t start_us) : start_us_(start_us) {}

    std::string line(const Transfer& transfer, uint16_t mcu_address);

    /// The line without number, time and end: what a capture, too, can say.
    std::string words(const Transfer& transfer, uint16_t mcu_address);

    /// The same without what the device answers.
    std::string request(std::span<const Message> messages, uint16_t mcu_address);

private:
    std::string describe_write(std::span<const uint8_t> bytes);
    std::string describe_read(uint8_t reg, std::span<const uint8_t> bytes) const;

    uint64_t start_us_;
    std::string last_command_ = "nothing";
};

}  // namespace sim
