// SPDX-License-Identifier: MIT
#include "capture/rebuilt_board.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>

#include "mcu/flash_geometry.h"
#include "sim/frame_table.h"
#include "util/little_endian.h"

namespace {

/// The newest response of each frame command, and the flash.
struct Seen {
    std::map<FrameCommand, sim::Bytes> responses;
    std::vector<uint8_t> memory = std::vector<uint8_t>(kMemorySize, 0xFF);
    std::vector<bool> segments = std::vector<bool>(kMemorySize / kSegmentSize);
};

/// The value of a field of the response.
std::string value_of(const Seen& seen, FrameCommand command, std::string_view name) {
    for (const sim::Field& field : sim::find_frame_form(static_cast<uint8_t>(command))->response_fields) {
        if (field.name == name) {
            return sim::field_text(field, kFrameRegister, seen.responses.at(command));
        }
    }
    return "";
}

void keep_segment(Seen& seen, std::span<const uint8_t> frame, const sim::Bytes& data) {
    const size_t page = get_le16(&frame[1]);
    const size_t offset = page * kPageSize + size_t{frame[3]} * kSegmentSize;
    if (frame[3] < kPageSize / kSegmentSize && offset + kSegmentSize <= kMemorySize) {
        std::copy(data.begin(), data.end(), seen.memory.begin() + static_cast<std::ptrdiff_t>(offset));
        seen.segments[offset / kSegmentSize] = true;
    }
}

Seen read_answers(std::span<const sim::RecordedTransfer> transfers, uint16_t mcu_address) {
    Seen seen;
    const sim::FrameForm* form = nullptr;
    sim::Bytes frame;
    for (const sim::RecordedTransfer& transfer : transfers) {
        const sim::RecordedMessage& first = transfer.messages.front();
        const sim::RecordedMessage& last = transfer.messages.back();
        if (first.address != mcu_address || first.read || first.bytes.empty()) {
            continue;
        }
        if (const auto command = sim::command_of(first.bytes); command) {
            form = command->frame && transfer.acknowledged ? sim::find_frame_form(command->code) : nullptr;
            frame = first.bytes;
        } else if (last.read && transfer.acknowledged && first.bytes[0] == kFrameCommandRegister) {
            // A response counts only after a command that succeeded.
            form = last.bytes.size() == 1 && is_finished(last.bytes[0]) && !is_success(last.bytes[0]) ? nullptr : form;
        } else if (last.read && transfer.acknowledged && first.bytes[0] == kFrameRegister && form != nullptr &&
                   last.bytes.size() == form->response) {
            seen.responses[form->command] = last.bytes;
            if (form->command == FrameCommand::kReadSegment && form->start == frame[0]) {
                keep_segment(seen, frame, last.bytes);
            }
        }
    }
    return seen;
}

std::string missing(const Seen& seen) {
    if (!seen.responses.contains(FrameCommand::kReadVersion) ||
        !seen.responses.contains(FrameCommand::kReadFlashStatus)) {
        return "no --version in it";
    }
    const auto unread = static_cast<size_t>(std::count(seen.segments.begin(), seen.segments.end(), false));
    if (unread == 0) {
        return "";
    }
    const auto first =
        static_cast<size_t>(std::find(seen.segments.begin(), seen.segments.end(), false) - seen.segments.begin()) *
        kSegmentSize;
    return "no complete --read in it: " + std::to_string(unread) + " of " + std::to_string(seen.segments.size()) +
           " segments are missing, the first in page " + std::to_string(first / kPageSize);
}

}  // namespace

std::string rebuild_board(std::span<const sim::RecordedTransfer> transfers, sim::Board& board) {
    Seen seen = read_answers(transfers, board.scenario.mcu_address);
    if (std::string problem = missing(seen); !problem.empty()) {
        return problem;
    }
    const auto version = [&](std::string_view name) { return value_of(seen, FrameCommand::kReadVersion, name); };
    const int running = version("active") == "1" ? 1 : 0;
    for (const auto& [knob, value] : {std::pair<std::string, std::string>{"hwid", "0x" + version("hwid")},
                                      {"serial", version("serial")},
                                      {"production_minutes", version("production_minutes")}}) {
        if (std::string problem = sim::set_knob(board.scenario, knob, value); !problem.empty()) {
            return problem;
        }
    }
    if (const auto second = seen.responses.find(FrameCommand::kReadVersion2); second != seen.responses.end()) {
        const bool empty = std::count(second->second.begin(), second->second.end(), 0xFF) == 32;
        const sim::Field whole{"version2", kFrameRegister, 32, sim::Notation::kBytes};
        board.scenario.version2 = empty ? "empty" : sim::field_text(whole, kFrameRegister, second->second);
    }
    sim::FlashModel& flash = board.flash;
    flash.restore(std::move(seen.memory), running);
    flash.latest = running;
    for (int i = 0; i < 2; ++i) {
        const std::string reported = value_of(seen, FrameCommand::kReadFlashStatus, i == 0 ? "crc0" : "crc1");
        char computed[8];
        std::snprintf(computed, sizeof computed, "%04x", flash.checksum(i));
        if (reported != computed) {
            return "region " + std::to_string(i) + " as read has the checksum " + computed + ", the MCU reported " +
                   reported;
        }
        const std::string swid = version(i == running ? "swid" : "other_swid");
        flash.regions[static_cast<size_t>(i)] = {static_cast<uint16_t>(std::stoul(swid, nullptr, 16)), i == running,
                                                 flash.checksum(i)};
    }
    return "";
}
