// SPDX-License-Identifier: MIT
// The flash with its two regions, and the MCU's rules for changing them.
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
    uint16_t swid = 0;  ///< 0: the region is erased
    bool enabled = false;
    uint16_t checksum = 0;  ///< the region starts only if its content has this checksum
};

/// A change of a region's state.
struct RegionEvent {
    enum Kind { kErased, kEnabled, kDisabled, kStarted } kind;
    int region;  ///< -1 with kStarted: no region could start

    bool operator==(const RegionEvent&) const = default;
};

/// The result of a request. A refusal with a `violation` means that the host broke a rule; one without is ordinary.
struct Verdict {
    bool ok = true;
    std::string violation;
};

Verdict refuse();
Verdict violation(std::string text);

/// What the MCU knows of its flash; not the content, and no history.
struct FlashState {
    std::array<RegionState, 2> regions;
    int latest = 0;          ///< the region enabled last
    int running_region = 0;  ///< -1 when none could start
    // The page buffer, which a commit writes to the flash.
    uint16_t buffer_page = 0;
    uint32_t buffer_segments = 0;  ///< bit s: segment s has arrived
    std::array<uint8_t, kPageSize> buffer{};
    bool segments_lost = false;  ///< a restart emptied the buffer, which the host cannot know
};

class FlashModel : private FlashState {
public:
    /// Region 0 runs and holds a jump and pseudo-random bytes with software id 0x0100. Region 1 is erased.
    FlashModel();

    /// Erases the region, writes the program and enables it, as production does.
    void install(int region, std::span<const uint8_t> program, uint16_t swid);

    /// The running region; -1 when none could start.
    int running() const {
        return running_region;
    }

    int other() const {
        return running() == 0 ? 1 : 0;
    }

    /// The region that would start now: it is enabled, and its checksum is the enabled one. If both qualify, the
    /// preferred one (-1: the one enabled last). -1 when neither qualifies.
    int next_start(int preferred) const;

    /// Starts that region. Segments of a page that is not committed are lost.
    void boot(int preferred);

    /// CRC-16 over the region's 255 programmable pages.
    uint16_t checksum(int region) const;

    Verdict erase_other();
    Verdict write_segment(uint16_t page, uint8_t segment, std::span<const uint8_t> data);
    Verdict commit(uint16_t page, uint16_t checksum);
    Verdict enable_other(uint16_t swid, uint16_t checksum);
    Verdict disable_running();

    /// An erase that is cut short after `pages` pages. It counts as an erase in the history; the enable record is kept.
    void tear_erase(uint32_t pages);

    /// A commit that is cut short after `bytes` bytes of the page. It is refused for the same reasons as any commit.
    Verdict tear_commit(uint16_t page, uint16_t checksum, uint32_t bytes);

    /// Nothing when page or segment lies outside the flash.
    std::optional<std::span<const uint8_t>> segment(uint16_t page, uint8_t segment) const;

    const std::vector<uint8_t>& memory() const {
        return memory_;
    }

    /// How many times a page of the region was written, or the region erased.
    uint64_t writes(int region) const {
        return writes_[static_cast<size_t>(region)];
    }

    std::vector<RegionEvent> history;  ///< oldest first

    // For the state file, and for other runs on the same board.
    using FlashState::latest;
    using FlashState::regions;
    void restore(std::vector<uint8_t> memory, int running);
    void restore(const FlashState& state);

    const FlashState& state() const {
        return *this;
    }

private:
    Verdict check_page(uint16_t page) const;
    void clear(int region, uint32_t pages);
    void touch(int region);

    std::vector<uint8_t> memory_ = std::vector<uint8_t>(kMemorySize, 0xFF);
    std::array<uint64_t, 2> writes_{};
    mutable std::array<std::optional<uint16_t>, 2> checksums_;
};

}  // namespace sim
