// SPDX-License-Identifier: MIT
// A recording in place of the devices: the same requests in the same order get the recorded answers.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "sim/capture_file.h"

namespace sim {

class Cassette {
public:
    /// The words of a mismatch name the device at this address the MCU.
    Cassette(std::vector<RecordedTransfer> transfers, uint16_t mcu_address);

    /// Answers as recorded. From the first transfer on that is another one than was recorded, nothing is acknowledged.
    bool transfer(std::span<const Message> messages);

    /// Empty, or the first transfer that was another one, in several lines.
    const std::string& mismatch() const {
        return mismatch_;
    }

    size_t made() const {
        return made_;
    }

    size_t recorded() const {
        return transfers_.size();
    }

private:
    std::string find_mismatch(std::span<const Message> messages);

    std::vector<RecordedTransfer> transfers_;
    uint16_t mcu_address_;
    size_t made_ = 0;
    std::string mismatch_;
};

}  // namespace sim
