// SPDX-License-Identifier: MIT
#include "capture/rebuilt_board.h"

#include <algorithm>
#include <map>

#include "mcu/flash_geometry.h"
#include "sim/frame_table.h"
#include "sim/text.h"
#include "util/little_endian.h"

namespace {

constexpr size_t kSegments = kMemorySize / kSegmentSize;

struct Seen {
    std::map<FrameCommand, sim::Bytes> responses;  // the newest
    std::vector<uint8_t> memory = std::vector<uint8_t>(kMemorySize);
    std::vector<bool> segments = std::vector<bool>(kSegments);
};

/// The value of a field of a response.
std::string value_of(const Seen& seen, FrameCommand command, std::string_view name) {
    const auto fields = sim::find_frame_form(static_cast<uint8_t>(command))->response_fields;
    const auto field = std::find_if(fields.begin(), fields.end(), [&](const sim::Field& f) { return f.name == name; });
    return sim::field_text(*field, kFrameRegister, seen.responses.at(command));
}

void keep(Seen& seen, FrameCommand command, const sim::Bytes& frame, const sim::Bytes& response) {
    seen.responses[command] = response;
    if (command == FrameCommand::kReadSegment && frame.size() > 3 && frame[3] < kPageSegments) {
        const size_t segment = size_t{get_le16(&frame[1])} * kPageSegments + frame[3];
        if (segment < kSegments) {
            std::copy(response.begin(), response.end(), &seen.memory[segment * kSegmentSize]);
            seen.segments[segment] = true;
        }
    }
}

Seen read_answers(std::span<const sim::RecordedTransfer> transfers, uint16_t mcu_address) {
    Seen seen;
    const sim::FrameForm* form = nullptr;  // of the command that has not failed
    sim::Bytes frame;
    for (const sim::RecordedTransfer& transfer : transfers) {
        const sim::RecordedMessage& first = transfer.messages.front();
        const sim::RecordedMessage& last = transfer.messages.back();
        if (first.address != mcu_address || first.read || first.bytes.empty() || !transfer.acknowledged) {
            continue;
        }
        const uint8_t reg = first.bytes[0];
        if (const auto command = sim::command_of(first.bytes); command) {
            form = command->frame ? sim::find_frame_form(command->code) : nullptr;
            frame = first.bytes;
        } else if (last.read && reg == kFrameCommandRegister && last.bytes.size() == 1) {
            const uint8_t status = last.bytes[0];  // after a failure the host reads a response all the same
            form = is_finished(status) && !is_success(status) ? nullptr : form;
        } else if (last.read && reg == kFrameRegister && form != nullptr && last.bytes.size() == form->response) {
            keep(seen, form->command, frame, last.bytes);
        }
    }
    return seen;
}

}  // namespace

std::string rebuild_board(std::span<const sim::RecordedTransfer> transfers, sim::Board& board) {
    Seen seen = read_answers(transfers, board.scenario.mcu_address);
    if (!seen.responses.contains(FrameCommand::kReadVersion) ||
        !seen.responses.contains(FrameCommand::kReadFlashStatus)) {
        return "no --version in it";
    }
    if (const auto gap = std::find(seen.segments.begin(), seen.segments.end(), false); gap != seen.segments.end()) {
        return "no complete --read in it: " + std::to_string(std::count(gap, seen.segments.end(), false)) +
               " segments are missing, the first in page " +
               std::to_string((gap - seen.segments.begin()) / kPageSegments);
    }
    const auto version = [&](std::string_view name) { return value_of(seen, FrameCommand::kReadVersion, name); };
    const int running = version("active") == "1" ? 1 : 0;
    sim::Scenario& scenario = board.scenario;
    std::string problem = sim::set_knob(scenario, "hwid", "0x" + version("hwid"));
    problem += sim::set_knob(scenario, "serial", version("serial"));
    problem += sim::set_knob(scenario, "production_minutes", version("production_minutes"));
    const sim::Field whole{"version2", kFrameRegister, 32, sim::Notation::kBytes};
    if (const auto second = seen.responses.find(FrameCommand::kReadVersion2); second != seen.responses.end()) {
        scenario.version2 = sim::field_text(whole, kFrameRegister, second->second);
    }
    board.flash.restore(std::move(seen.memory), running);
    board.flash.latest = running;
    for (int i = 0; i < 2 && problem.empty(); ++i) {
        const std::string computed = sim::text("%04x", board.flash.checksum(i));
        const std::string reported = value_of(seen, FrameCommand::kReadFlashStatus, i == 0 ? "crc0" : "crc1");
        const std::string swid = version(i == running ? "swid" : "other_swid");
        board.flash.regions[static_cast<size_t>(i)] = {static_cast<uint16_t>(std::stoul(swid, nullptr, 16)),
                                                       i == running, board.flash.checksum(i)};
        if (reported != computed) {
            problem = "region " + std::to_string(i) + " as read has the checksum " + computed + ", the MCU reported " +
                      reported;
        }
    }
    return problem;
}
