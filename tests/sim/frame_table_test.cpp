// SPDX-License-Identifier: MIT
#include "sim/frame_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "mcu/frames.h"

namespace {

using Bytes = std::vector<uint8_t>;

/// A frame as the tool builds it, and what the table reads in it.
struct Built {
    Bytes bytes;
    std::string words;
};

template <typename Frame>
Built built(const Frame& frame, const std::string& words) {
    return {Bytes(frame.bytes, frame.bytes + Frame::kLength), words};
}

/// The frame in the words of the table: name, fields, and * if it changes what the board runs.
std::string words_of(const Bytes& bytes) {
    const sim::FrameForm* form = sim::find_frame_form(bytes.back());
    if (form == nullptr || form->start + bytes.size() != kFrameCommandRegister + 1U) {
        return "another start";
    }
    if ((bytes.size() == 1 ? 0 : bytes[bytes.size() - 2]) != form->key) {
        return "another key";
    }
    std::string words(form->name);
    for (const sim::Field& field : form->fields) {
        words.append(" ").append(field.name).append("=").append(sim::field_text(field, form->start, bytes));
    }
    return words + (form->changes ? "*" : "");
}

TEST(FrameTable, DescribesTheFramesThatTheToolBuilds) {
    const uint8_t segment[kSegmentSize] = {};
    const Built frames[] = {
        built(BareFrame(FrameCommand::kReadVersion), "read-version"),
        built(BareFrame(FrameCommand::kReadFlashStatus), "read-flash-status"),
        built(BareFrame(FrameCommand::kReadVersion2), "read-version2"),
        built(segment_frame(0x1234, 15, segment), "segment page=4660 segment=15*"),
        built(commit_frame(511, 0x0FD7), "commit page=511 crc=0fd7*"),
        built(erase_frame(), "erase*"),
        built(enable_frame(0x0102, 0xA5B6), "enable swid=0102 crc=a5b6*"),
        built(disable_frame(), "disable*"),
        built(reset_now_frame(), "reset-now*"),
        built(delayed_reset_frame(52), "reset-delayed delay=5.2s*"),
        built(read_segment_frame(0x4321, 7), "read-segment page=17185 segment=7"),
    };
    EXPECT_EQ(std::size(frames), sim::frame_forms().size());
    for (const Built& frame : frames) {
        EXPECT_EQ(words_of(frame.bytes), frame.words);
    }
}

TEST(FrameTable, WritesEveryNotation) {
    const Bytes block{0x9A, 0x06, 0x5A};
    const auto find = [](std::string_view name) {
        const auto fields = sim::status_block_fields();
        return *std::find_if(fields.begin(), fields.end(), [&](const sim::Field& field) { return field.name == name; });
    };
    EXPECT_EQ(sim::field_text(find("source"), 0x00, block), "2");
    EXPECT_EQ(sim::field_text(find("teko2_connected"), 0x00, block), "1");
    EXPECT_EQ(sim::field_text(find("teko_idx"), 0x00, block), "10");
    EXPECT_EQ(sim::field_text({"serial", 0x81, 2, sim::Notation::kBytes}, 0x80, Bytes{0, 0x0A, 0xB0}), "0ab0");
    EXPECT_EQ(sim::field_text({"size", 0x80, 4}, 0x80, Bytes{0, 0, 2, 0}), "131072");
}

}  // namespace
