// SPDX-License-Identifier: MIT
// One line per transfer, in the words of the protocol.
#pragma once

#include <string>

#include "sim/board.h"

namespace sim {

/// Number, milliseconds since `start_us`, device, what it means, and the bytes behind a bar. A read is told what was
/// asked before it, so the decoder keeps the last command.
class TraceDecoder {
public:
    explicit TraceDecoder(uint64_t start_us) : start_us_(start_us) {}

    std::string line(const Transfer& transfer, uint16_t mcu_address);

private:
    std::string describe_write(std::span<const uint8_t> bytes);
    std::string describe_read(uint8_t reg, std::span<const uint8_t> bytes) const;

    uint64_t start_us_;
    std::string last_command_ = "nothing";
};

}  // namespace sim
