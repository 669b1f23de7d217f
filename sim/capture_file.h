// SPDX-License-Identifier: MIT
// Captures of an I2C bus: pcapng with link type 209 (I2C of Linux), as Wireshark reads it. One packet is one message.
// The flag I2C_M_STOP marks the last message of a transfer, and a comment there a transfer that failed.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "sim/board.h"

namespace sim {

/// The format has seven bits for it.
inline constexpr int kMaxCapturedBus = 127;

struct RecordedMessage {
    uint16_t address;
    bool read;
    size_t size;  ///< on the bus
    Bytes bytes;  ///< the first of them; none of a read in a transfer that failed

    bool operator==(const RecordedMessage&) const = default;
};

struct RecordedTransfer {
    uint8_t bus;
    uint64_t time_us;  ///< since 1970
    bool acknowledged;
    std::vector<RecordedMessage> messages;

    /// All bytes of all messages are known, but for those that a failed read would have had.
    bool complete() const;

    bool operator==(const RecordedTransfer&) const = default;
};

struct Recording {
    std::vector<RecordedTransfer> transfers;
    std::string problem;  ///< why the file has no more than these, or empty
};

/// What a capture begins with.
Bytes capture_header();

/// Whether the format has room for the transfer: 1 to 42 messages of at most 8,192 bytes, 7-bit addresses, bus 0 to
/// 127.
bool can_capture(const RecordedTransfer& transfer);

/// The packets of a transfer. REQUIRES: can_capture(transfer).
Bytes capture_packets(const RecordedTransfer& transfer);

/// A whole capture. REQUIRES: can_capture() each of them.
Bytes capture_of(std::span<const RecordedTransfer> transfers);

/// The messages as the board has them. They share the bytes of the recording.
std::vector<Message> messages_of(RecordedTransfer& transfer);

/// A copy of what was on the bus.
RecordedTransfer record(uint8_t bus, const Transfer& transfer);

/// Reads little-endian captures, also joined, filtered or saved again by other programs. Skips what it does not know;
/// stops at the first damage.
Recording read_capture(std::span<const uint8_t> bytes);

bool is_capture(std::span<const uint8_t> bytes);

/// The transfers of one bus. `bus` below 0 means the only one that there is. If there are none, or several buses,
/// `problem` says so and the result is empty.
std::vector<RecordedTransfer> transfers_of_bus(const Recording& recording, int bus, std::string& problem);

/// Reads a file, or standard input for "-". Returns an empty text, or what went wrong.
std::string load_bytes(const std::string& path, Bytes& bytes);

}  // namespace sim
