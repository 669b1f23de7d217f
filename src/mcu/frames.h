// SPDX-License-Identifier: MIT
// The bytes of every frame. A frame is filled by register number, and its last byte belongs to the command register.
#pragma once

#include <cstdint>
#include <cstring>

#include "mcu/flash_geometry.h"
#include "mcu/registers.h"
#include "util/little_endian.h"

/// The registers from Start to the command register. A byte that the command does not use is 0.
template <uint8_t Start>
struct Frame {
    static constexpr uint8_t kStart = Start;
    static constexpr uint16_t kLength = kFrameCommandRegister - Start + 1;

    uint8_t bytes[kLength] = {};

    explicit Frame(FrameCommand command) {
        put8(kFrameCommandRegister, static_cast<uint8_t>(command));
    }

    Frame(uint8_t key, FrameCommand command) : Frame(command) {
        put8(kFrameKeyRegister, key);
    }

    void put8(uint8_t reg, uint8_t value) {
        bytes[reg - Start] = value;
    }

    void put16(uint8_t reg, uint16_t value) {
        put_le16(bytes + (reg - Start), value);
    }
};

using BareFrame = Frame<kFrameCommandRegister>;  ///< the code alone
using KeyFrame = Frame<kFrameKeyRegister>;       ///< key and code
using PageFrame = Frame<kFramePageRegister>;     ///< page, segment, checksum, key and code
using DataFrame = Frame<kFrameRegister>;         ///< the whole area

static_assert(BareFrame::kLength == 1 && KeyFrame::kLength == 2);
static_assert(PageFrame::kLength == 7 && DataFrame::kLength == 39);

/// `data` holds the 32 bytes of the segment.
inline DataFrame segment_frame(uint16_t page, uint8_t segment, const uint8_t* data) {
    DataFrame frame(kWriteKey, FrameCommand::kWriteSegment);
    std::memcpy(frame.bytes, data, kSegmentSize);
    frame.put16(kFramePageRegister, page);
    frame.put8(kFrameSegmentRegister, segment);
    return frame;
}

inline PageFrame commit_frame(uint16_t page, uint16_t checksum) {
    PageFrame frame(kWriteKey, FrameCommand::kCommitPage);
    frame.put16(kFramePageRegister, page);
    frame.put16(kFrameChecksumRegister, checksum);
    return frame;
}

inline PageFrame read_segment_frame(uint16_t page, uint8_t segment) {
    PageFrame frame(kReadKey, FrameCommand::kReadSegment);
    frame.put16(kFramePageRegister, page);
    frame.put8(kFrameSegmentRegister, segment);
    return frame;
}

inline KeyFrame erase_frame() {
    return {kWriteKey, FrameCommand::kEraseOther};
}

inline DataFrame enable_frame(uint16_t swid, uint16_t checksum) {
    DataFrame frame(kWriteKey, FrameCommand::kEnableOther);
    frame.put16(kFrameRegister, swid);
    frame.put16(kFrameChecksumRegister, checksum);
    return frame;
}

inline KeyFrame disable_frame() {
    return {kWriteKey, FrameCommand::kDisableCurrent};
}

inline KeyFrame reset_now_frame() {
    return {kWriteKey, FrameCommand::kResetNow};
}

/// The delay, in tenths of a second, with a fixed pattern and its complement as protection against corrupted frames.
inline DataFrame delayed_reset_frame(uint8_t delay) {
    DataFrame frame(kWriteKey, FrameCommand::kResetDelayed);
    frame.bytes[0] = delay;
    for (uint8_t i = 1; i <= 34; ++i) {
        frame.bytes[i] = i;
    }
    frame.bytes[35] = static_cast<uint8_t>(~delay);
    frame.bytes[36] = 0xFF;
    return frame;
}
