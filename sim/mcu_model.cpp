// SPDX-License-Identifier: MIT
#include "sim/mcu_model.h"

#include <algorithm>
#include <cstdio>

#include "sim/diagnostics_model.h"
#include "sim/identity_model.h"
#include "util/little_endian.h"

namespace sim {

namespace {

constexpr uint8_t kSuccess = kStatusFinished | kStatusSucceeded;
constexpr uint64_t kUnreadResetUs = 10'000;  // time to read the status of a delayed reset
constexpr uint32_t kNever = UINT32_MAX;

bool is_live_register(uint8_t reg) {
    return reg >= kParameterRegister && reg <= kMarkerRegister;
}

}  // namespace

McuModel::McuModel(Scenario& scenario, FlashModel& flash, std::function<void(const std::string&)> on_violation)
    : scenario_(scenario), flash_(flash), on_violation_(std::move(on_violation)) {}

void McuModel::advance(uint64_t now_us) {
    state_.now_us = std::max(state_.now_us, now_us);
    const uint64_t due = state_.reset_due_us.value_or(0) + state_.reset_grace_us;
    if (state_.reset_due_us && state_.now_us >= due) {
        restart();
        state_.silent_until_us = due + uint64_t{scenario_.boot_ms} * 1000;
    }
}

bool McuModel::answers() const {
    return scenario_.mcu && flash_.running() >= 0 && state_.now_us >= state_.silent_until_us;
}

void McuModel::restart() {
    state_.reset_due_us.reset();
    state_.registers = {};
    state_.handshake_written = false;
    state_.reset_grace_us = 0;
    state_.pointer = 0;
    state_.frame = {};
    state_.command = {};
    flash_.boot(scenario_.boot_choice == "latest" ? -1 : scenario_.boot_choice[0] - '0');
    state_.silent_until_us = state_.now_us + uint64_t{scenario_.boot_ms} * 1000;
}

void McuModel::restore(const McuState& state) {
    state_ = state;
}

void McuModel::set_marker(uint8_t marker) {
    state_.registers[kMarkerRegister] = marker;
}

void McuModel::write(std::span<const uint8_t> bytes, const Fault* fault) {
    if (bytes.empty()) {
        return;
    }
    const uint8_t start = bytes[0];
    const std::span<const uint8_t> data = bytes.subspan(1);
    state_.pointer = start;
    for (const uint8_t byte : data) {
        state_.registers[state_.pointer++] = byte;
    }
    const auto covers = [&](uint8_t reg) { return reg >= start && reg < start + data.size(); };
    if (covers(kHandshakeRegister)) {
        state_.handshake_written = true;
        if (state_.registers[kHandshakeRegister] == 0) {
            scenario_.status[0] = static_cast<uint8_t>(scenario_.status[0] & ~0x40);  // the host has taken the message
        }
    }
    if (covers(kCommandRegister)) {
        start_register_command(fault);
    }
    if (covers(kFrameCommandRegister)) {
        start_frame_command(start, data, fault);
    }
}

void McuModel::read(std::span<uint8_t> bytes) {
    for (uint8_t& byte : bytes) {
        byte = read_register(state_.pointer++);
    }
}

uint8_t McuModel::read_register(uint8_t reg) {
    if (reg == kFrameCommandRegister) {
        state_.reset_grace_us = 0;
        return poll(state_.frame);
    }
    if (reg == kCommandRegister) {
        return poll(state_.command);
    }
    if (reg < kStatusBlockSize && !is_live_register(reg) && !(reg == kHandshakeRegister && state_.handshake_written)) {
        return scenario_.status[reg];
    }
    return state_.registers[reg];
}

uint8_t McuModel::poll(Completion& completion) {
    if (completion.polls_left > 1) {
        if (completion.polls_left != kNever) {
            --completion.polls_left;
        }
        return 0;
    }
    return completion.status;
}

void McuModel::finish(Completion& completion, bool ok) {
    completion = {ok ? kSuccess : kStatusFinished, scenario_.polls};
}

/// The end of a command that the fault keeps from being carried out.
Completion McuModel::completion_of(const Fault& fault) const {
    switch (fault.kind) {
        case FaultKind::kFail: return {static_cast<uint8_t>(fault.value), scenario_.polls};
        case FaultKind::kSkip: return {kSuccess, scenario_.polls};
        default: return {0, kNever};
    }
}

void McuModel::start_register_command(const Fault* fault) {
    if (fault != nullptr && fault->kind == FaultKind::kTear) {
        if (fault->value != 0) {
            execute_register_command(state_.registers[kCommandRegister]);
        }
        restart();
    } else if (fault != nullptr && fault->kind != FaultKind::kSlow) {
        state_.command = completion_of(*fault);
    } else {
        finish(state_.command, execute_register_command(state_.registers[kCommandRegister]));
        state_.command.polls_left = fault != nullptr ? fault->value : state_.command.polls_left;
    }
}

void McuModel::tear_frame(const FrameForm& form, std::span<const uint8_t> frame, uint16_t done) {
    if (form.command == FrameCommand::kEraseOther) {
        flash_.tear_erase(std::min<uint32_t>(done, kRegionPages));
    } else if (form.command == FrameCommand::kCommitPage) {
        accept(flash_.tear_commit(get_le16(&frame[0]), get_le16(&frame[3]), done));
    } else if (done != 0) {
        execute_frame(form, frame);
    }
    restart();
}

void McuModel::start_frame_command(uint8_t start, std::span<const uint8_t> frame, const Fault* fault) {
    const uint8_t code = state_.registers[kFrameCommandRegister];
    const FrameForm* form = find_frame_form(code);
    const bool right_place =
        form != nullptr && start == form->start && start + frame.size() == kFrameCommandRegister + 1;
    if (!right_place || (form->key != 0 && state_.registers[kFrameKeyRegister] != form->key)) {
        char text[96];
        std::snprintf(text, sizeof text, "frame command %02x with a wrong form (%zu bytes at %02x, key %02x)", code,
                      frame.size(), start, state_.registers[kFrameKeyRegister]);
        on_violation_(text);
        finish(state_.frame, false);
    } else if (fault != nullptr && fault->kind == FaultKind::kTear) {
        tear_frame(*form, frame, fault->value);
    } else if (fault != nullptr && fault->kind != FaultKind::kSlow) {
        state_.frame = completion_of(*fault);
    } else if (form->command == FrameCommand::kResetNow) {
        restart();  // so there is no status to read
    } else {
        finish(state_.frame, execute_frame(*form, frame));
        state_.frame.polls_left = fault != nullptr ? fault->value : state_.frame.polls_left;
    }
}

bool McuModel::execute_frame(const FrameForm& form, std::span<const uint8_t> frame) {
    switch (form.command) {
        case FrameCommand::kReadVersion: respond(kFrameRegister, version_block(scenario_, flash_)); return true;
        case FrameCommand::kReadVersion2: return read_version2();
        case FrameCommand::kReadFlashStatus: respond(kFrameRegister, flash_status(scenario_, flash_)); return true;
        case FrameCommand::kReadSegment: return read_segment(frame);
        case FrameCommand::kEraseOther: return accept(flash_.erase_other());
        case FrameCommand::kWriteSegment:
            return accept(flash_.write_segment(get_le16(&frame[32]), frame[34], frame.first(kSegmentSize)));
        case FrameCommand::kCommitPage: return accept(flash_.commit(get_le16(&frame[0]), get_le16(&frame[3])));
        case FrameCommand::kEnableOther: return accept(flash_.enable_other(get_le16(&frame[0]), get_le16(&frame[35])));
        case FrameCommand::kDisableCurrent: return accept(flash_.disable_running());
        case FrameCommand::kResetDelayed: return delayed_reset(frame);
        case FrameCommand::kResetNow: break;
    }
    return false;
}

bool McuModel::read_version2() {
    const auto block = version2_block(scenario_);
    if (!block) {
        return false;
    }
    respond(kFrameRegister, *block);
    return true;
}

bool McuModel::read_segment(std::span<const uint8_t> frame) {
    const auto data = flash_.segment(get_le16(&frame[0]), frame[2]);
    if (!data) {
        on_violation_("a segment outside the flash is read");
        return false;
    }
    respond(kFrameRegister, *data);
    return true;
}

bool McuModel::delayed_reset(std::span<const uint8_t> frame) {
    bool good = frame[35] == (frame[0] ^ 0xFF) && frame[36] == 0xFF;
    for (size_t i = 1; i <= 34; ++i) {
        good = good && frame[i] == i;
    }
    if (!good) {
        on_violation_("a delayed reset without its pattern");
        return false;
    }
    state_.reset_due_us = state_.now_us + uint64_t{frame[0]} * 100'000;
    // With a delay of 0 the host can still read the status: the reset waits for that read, up to this time.
    state_.reset_grace_us = kUnreadResetUs;
    return true;
}

bool McuModel::execute_register_command(uint8_t code) {
    const DiagnosticsReply reply = diagnostics_reply(scenario_, code, get_le16(&state_.registers[kParameterRegister]));
    if (!reply.known) {
        on_violation_("unknown register command " + register_command_name(code));
        return false;
    }
    if (reply.word) {
        respond_word(*reply.word);
    }
    respond(kDataRegister, reply.data);
    return reply.ok;
}

void McuModel::respond(uint8_t reg, std::span<const uint8_t> bytes) {
    std::copy(bytes.begin(), bytes.end(), state_.registers.begin() + reg);
}

void McuModel::respond_word(uint16_t value) {
    put_le16(&state_.registers[kParameterRegister], value);
}

bool McuModel::accept(const Verdict& verdict) {
    if (!verdict.violation.empty()) {
        on_violation_(verdict.violation);
    }
    return verdict.ok;
}

}  // namespace sim
