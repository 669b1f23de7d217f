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

/// What has become of a region.
struct RegionEvent {
    enum Kind { kErased, kEnabled, kDisabled, kStarted } kind;
    int region;  ///< -1 after kStarted: none could be started

    bool operator==(const RegionEvent&) const = default;
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

    /// The region that would start now: an enabled one whose content is what was enabled; of two, the preferred one
    /// (-1: the one enabled last). -1 when there is none.
    int next_start(int preferred) const;

    /// Starts it. Forgets the segments of an unfinished page.
    void boot(int preferred);

    /// Over the 255 pages that can be programmed.
    uint16_t checksum(int region) const;

    Verdict erase_other();
    Verdict write_segment(uint16_t page, uint8_t segment, std::span<const uint8_t> data);
    Verdict commit(uint16_t page, uint16_t checksum);
    Verdict enable_other(uint16_t swid, uint16_t checksum);
    Verdict disable_running();

    /// An erase that ends after so many pages of the region; the history counts it as one. What the region was enabled
    /// with stays on record.
    void tear_erase(uint32_t pages);

    /// A commit, refused like any other, that ends after so many bytes of the page.
    Verdict tear_commit(uint16_t page, uint16_t checksum, uint32_t bytes);

    std::optional<std::span<const uint8_t>> segment(uint16_t page, uint8_t segment) const;

    const std::vector<uint8_t>& memory() const {
        return memory_;
    }

    /// How often the content of a region has been written or erased.
    uint64_t writes(int region) const {
        return writes_[static_cast<size_t>(region)];
    }

    std::vector<RegionEvent> history;  ///< oldest first

    // For the state file.
    std::array<RegionState, 2> regions;
    int latest = 0;  ///< the region enabled last
    void restore(std::vector<uint8_t> memory, int running);

private:
    Verdict check_page(uint16_t page) const;
    void clear(int region, uint32_t pages);
    void touch(int region);

    std::vector<uint8_t> memory_ = std::vector<uint8_t>(kMemorySize, 0xFF);
    int running_ = 0;
    // The page being handed over.
    uint16_t buffer_page_ = 0;
    uint32_t buffer_segments_ = 0;  // bit s: segment s has arrived
    std::array<uint8_t, kPageSize> buffer_{};
    bool segments_lost_ = false;  // at a restart; the host can't know
    std::array<uint64_t, 2> writes_{};
    mutable std::array<std::optional<uint16_t>, 2> checksums_;
};

}  // namespace sim
