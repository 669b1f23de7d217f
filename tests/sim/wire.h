// SPDX-License-Identifier: MIT
// The host's end of the simulated bus, with frames written by hand.
#pragma once

#include <numeric>
#include <optional>

#include "sim/board.h"

using sim::Bytes;

inline const Bytes kSucceeded{0xC0};
inline const Bytes kFailed{0x80};
inline const Bytes kErase{0xA5, 0x42, 0x43};
inline const Bytes kDisable{0xA5, 0x42, 0x46};
inline const Bytes kResetNow{0xA5, 0x42, 0x47};

inline bool write_bytes(sim::Board& board, Bytes bytes, uint16_t address = 0x08) {
    const sim::Message message{address, false, bytes};
    return board.transfer({&message, 1});
}

/// Nothing when the device does not acknowledge.
inline std::optional<Bytes> read_bytes(sim::Board& board, uint8_t reg, size_t count, uint16_t address = 0x08) {
    Bytes start{reg};
    Bytes bytes(count, 0xEE);
    const sim::Message messages[] = {{address, false, start}, {address, true, bytes}};
    return board.transfer(messages) ? std::optional(bytes) : std::nullopt;
}

/// Writes a frame and returns the status that the first poll reads.
inline std::optional<Bytes> run_frame(sim::Board& board, const Bytes& frame) {
    return write_bytes(board, frame) ? read_bytes(board, 0xA6, 1) : std::nullopt;
}

/// A frame over the registers 0x80 to 0xA6: the bytes first, first + 1, …, then the tail.
inline Bytes long_frame(uint8_t first, const Bytes& tail) {
    Bytes frame(40);
    frame[0] = 0x80;
    std::iota(frame.begin() + 1, frame.end(), first);
    std::copy(tail.rbegin(), tail.rend(), frame.rbegin());
    return frame;
}

/// A segment of a page with the bytes 00 01 … FF 00 01 … FF.
inline Bytes segment_of(uint16_t page, uint8_t segment) {
    return long_frame(static_cast<uint8_t>(segment * 32),
                      {static_cast<uint8_t>(page), static_cast<uint8_t>(page >> 8), segment, 0, 0, 0x42, 0x40});
}

/// Commits that page, whose checksum is 0xFD70.
inline Bytes commit_of(uint16_t page, uint8_t crc_low = 0x70) {
    return {0xA0, static_cast<uint8_t>(page), static_cast<uint8_t>(page >> 8), 0, crc_low, 0xFD, 0x42, 0x41};
}

inline Bytes read_of(uint16_t page, uint8_t segment) {
    return {0xA0, static_cast<uint8_t>(page), static_cast<uint8_t>(page >> 8), segment, 0, 0, 0xDA, 0x81};
}

/// Enables the other region with software id 0x2423; an erased region has the checksum 0x1CC1.
inline Bytes enable_of(uint16_t checksum) {
    return long_frame(0x23, {static_cast<uint8_t>(checksum), static_cast<uint8_t>(checksum >> 8), 0x42, 0x45});
}

inline Bytes delayed_reset_of(uint8_t delay) {
    Bytes frame = long_frame(0, {static_cast<uint8_t>(0xFF - delay), 0xFF, 0x42, 0x48});
    frame[1] = delay;
    return frame;
}

inline void write_segments(sim::Board& board, uint16_t page, uint8_t count = 16) {
    for (uint8_t segment = 0; segment < count; ++segment) {
        run_frame(board, segment_of(page, segment));
    }
}
