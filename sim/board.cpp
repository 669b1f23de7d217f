// SPDX-License-Identifier: MIT
#include "sim/board.h"

#include <cstdio>
#include <cstdlib>

#include "util/little_endian.h"

namespace sim {

namespace {

uint16_t charger_word(const Scenario& scenario, uint8_t reg) {
    switch (reg) {
        case kChargerStatusRegister: return scenario.cap_status;
        case kChargerVinRegister: return scenario.cap_vin;
        case kChargerVcapRegister: return scenario.cap_vcap;
        case kChargerIinRegister: return scenario.cap_iin;
        case kChargerIchgRegister: return scenario.cap_ichg;
        default: return 0;
    }
}

std::optional<uint16_t> page_of(std::span<const uint8_t> bytes) {
    const size_t offset = 1U + kFramePageRegister - bytes[0];
    const bool has_page = bytes[0] <= kFramePageRegister && offset + 2 < bytes.size();
    return has_page ? std::optional(get_le16(&bytes[offset])) : std::nullopt;
}

void flip(std::span<const Message> messages) {
    for (const Message& message : messages) {
        if (message.read) {
            for (uint8_t& byte : message.bytes) {
                byte ^= 0xFF;
            }
        }
    }
}

}  // namespace

Board::Board() : mcu(scenario, flash, [this](const std::string& text) { violations.push_back(text); }) {}

Board::Board(const Board& other)
    : scenario(other.scenario),
      flash(other.flash),
      mcu(scenario, flash, [this](const std::string& text) { violations.push_back(text); }),
      now_us(other.now_us),
      charger_pointer_(other.charger_pointer_) {
    mcu.restore(other.mcu.state());
}

Board Board::clone() const {
    return Board(*this);
}

void Board::add_fault(const std::string& text) {
    std::string problem;
    const auto fault = parse_fault(text, problem);
    if (!fault) {
        std::fprintf(stderr, "%s\n", problem.c_str());
        std::abort();
    }
    faults.push_back(*fault);
}

void Board::clear_faults() {
    faults.clear();
    dead_ = false;
}

TransferPlace Board::place_of(std::span<const Message> messages) const {
    TransferPlace place{transfers_, std::nullopt, std::nullopt, std::nullopt, now_us};
    if (messages.empty()) {
        return place;
    }
    const Message& first = messages.front();
    if (first.address == scenario.mcu_address && !first.read && !first.bytes.empty()) {
        place.mcu_register = first.bytes[0];
        place.command = command_of(first.bytes);
        place.page = page_of(first.bytes);
    }
    return place;
}

bool Board::answers(uint16_t address) const {
    if (address == scenario.mcu_address) {
        return mcu.answers();
    }
    switch (address) {
        case kChargerAddress: return scenario.charger;
        case kDisplayAddress: return scenario.display;
        case kUsbAddress: return scenario.usb;
        default: return false;
    }
}

bool Board::carry_out(const Message& message, const Fault* command_fault) {
    if (!answers(message.address)) {
        return false;
    }
    if (message.address == scenario.mcu_address) {
        if (message.read) {
            mcu.read(message.bytes);
        } else {
            mcu.write(message.bytes, command_fault);
        }
    } else if (message.address == kChargerAddress && !message.read && !message.bytes.empty()) {
        charger_pointer_ = message.bytes[0];
    } else if (message.read) {
        const uint16_t word = message.address == kChargerAddress ? charger_word(scenario, charger_pointer_) : 0;
        for (size_t i = 0; i < message.bytes.size(); ++i) {
            message.bytes[i] = static_cast<uint8_t>(i == 0 ? word : i == 1 ? word >> 8 : 0);
        }
    }
    return true;
}

Board::Strikes Board::strike(std::span<const Message> messages) {
    Strikes strikes;
    if (faults.empty()) {
        return strikes;
    }
    const TransferPlace place = place_of(messages);
    for (Fault& fault : faults) {
        if (fault.strikes(place)) {
            strikes.kinds |= 1U << static_cast<uint32_t>(fault.kind);
            if (strikes_command(fault.kind)) {
                strikes.command_fault = &fault;
            }
        }
    }
    dead_ = dead_ || strikes.has(FaultKind::kDead);
    return strikes;
}

bool Board::transfer(std::span<const Message> messages) {
    ++transfers_;
    mcu.advance(now_us);
    const Strikes strikes = strike(messages);
    if (strikes.has(FaultKind::kRestart)) {
        mcu.restart();
    }
    bool acknowledged = !dead_ && !strikes.has(FaultKind::kNack);
    if (replay) {
        acknowledged = acknowledged && replay(messages);
    } else {
        for (const Message& message : messages) {
            acknowledged = acknowledged && carry_out(message, strikes.command_fault);
        }
    }
    if (strikes.has(FaultKind::kFlip)) {
        flip(messages);
    }
    if (strikes.has(FaultKind::kCut)) {
        mcu.restart();
    }
    acknowledged = acknowledged && !strikes.has(FaultKind::kLost);
    if (on_transfer) {
        on_transfer({transfers_, now_us, messages, acknowledged});
    }
    if (strikes.has(FaultKind::kKill) && on_kill) {
        on_kill();
    }
    return acknowledged;
}

}  // namespace sim
