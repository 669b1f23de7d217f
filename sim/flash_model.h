// SPDX-License-Identifier: MIT
// The flash, its two regions, and what the MCU allows to be done to them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "mcu/flash_geometry.h"

namespace sim {

struct RegionState {
    uint16_t swid = 0;  ///< 0: the region holds nothing
    bool enabled = false;
    uint16_t checksum = 0;  ///< what the region's content must have to be started
};

/// What became of a request. A refusal can be ordinary, or the host has broken a rule.
struct Verdict {
    bool ok = true;
    std::string violation;
};

Verdict refuse();
Verdict violation(std::string text);

class FlashModel {
public:
    /// Region 0 holds a made-up program with software id 0x0100 and runs; region 1 is erased.
    FlashModel();

    /// Puts a program into a region as production does: erased, written, enabled.
    void install(int region, std::span<const uint8_t> program, uint16_t swid);

    /// The region that runs; -1 when none could be started.
    int running() const {
        return running_;
    }

    int other() const {
        return running_ == 0 ? 1 : 0;
    }

    /// Starts an enabled region whose content is what was enabled; of two, the preferred one (-1: the one enabled
    /// last). Forgets the segments of an unfinished page.
    void boot(int preferred);

    /// Over the 255 pages that can be programmed.
    uint16_t checksum(int region) const;

    Verdict erase_other();
    Verdict write_segment(uint16_t page, uint8_t segment, std::span<const uint8_t> data);
    Verdict commit(uint16_t page, uint16_t checksum);
    Verdict enable_other(uint16_t swid, uint16_t checksum);
    Verdict disable_running();
    std::optional<std::span<const uint8_t>> segment(uint16_t page, uint8_t segment) const;

    const std::vector<uint8_t>& memory() const {
        return memory_;
    }

    // For the state file.
    std::array<RegionState, 2> regions;
    int latest = 0;  ///< the region enabled last
    void restore(std::vector<uint8_t> memory, int running);

private:
    Verdict check_page(uint16_t page) const;

    std::vector<uint8_t> memory_ = std::vector<uint8_t>(kMemorySize, 0xFF);
    int running_ = 0;
    // The page being handed over.
    uint16_t buffer_page_ = 0;
    uint32_t buffer_segments_ = 0;  // bit s: segment s has arrived
    std::array<uint8_t, kPageSize> buffer_{};
    mutable std::array<std::optional<uint16_t>, 2> checksums_;
};

}  // namespace sim
