// SPDX-License-Identifier: MIT
// The MCU as seen from the bus: 256 registers, frame and register commands, and resets on the board's clock.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "sim/fault.h"
#include "sim/flash_model.h"
#include "sim/frame_table.h"
#include "sim/scenario.h"

namespace sim {

/// The status that a command register shows, and when.
struct Completion {
    uint8_t status = 0;
    uint32_t polls_left = 0;  ///< status reads until it shows; they read 0 before
};

/// What the MCU holds in RAM and registers.
struct McuState {
    std::optional<uint64_t> reset_due_us;  ///< a delayed reset that is pending
    std::array<uint8_t, 256> registers{};
    uint8_t pointer = 0;  ///< the register that the next byte reads
    bool handshake_written = false;
    Completion frame;
    Completion command;
    uint64_t now_us = 0;
    uint64_t silent_until_us = 0;
    uint64_t reset_grace_us = 0;
};

class McuModel {
public:
    /// Calls `on_violation` with one sentence for every rule that the host breaks.
    McuModel(Scenario& scenario, FlashModel& flash, std::function<void(const std::string&)> on_violation);

    /// Moves the clock to `now_us`, never back. Carries out a pending reset that is due.
    void advance(uint64_t now_us);

    bool answers() const;

    /// A write message: the first byte is the register, the others go there and to the registers above it. A byte in a
    /// command register starts that command. `fault`, if not null, strikes this command.
    void write(std::span<const uint8_t> bytes, const Fault* fault);

    /// A read message: reads from the register that was addressed last, and from those above it.
    void read(std::span<uint8_t> bytes);

    /// A reset: the registers are cleared, and the MCU does not answer for boot_ms.
    void restart();

    const McuState& state() const {
        return state_;
    }

    /// Continues from this state. Scenario and flash stay as they are.
    void restore(const McuState& state);

    void set_marker(uint8_t marker);

private:
    void start_frame_command(uint8_t start, std::span<const uint8_t> frame, const Fault* fault);
    void start_register_command(const Fault* fault);
    bool execute_frame(const FrameForm& form, std::span<const uint8_t> frame);
    void tear_frame(const FrameForm& form, std::span<const uint8_t> frame, uint16_t done);
    bool execute_register_command(uint8_t code);
    bool read_version2();
    bool read_segment(std::span<const uint8_t> frame);
    bool delayed_reset(std::span<const uint8_t> frame);
    void respond(uint8_t reg, std::span<const uint8_t> bytes);
    void respond_word(uint16_t value);
    bool accept(const Verdict& verdict);
    void finish(Completion& completion, bool ok);
    Completion completion_of(const Fault& fault) const;
    uint8_t read_register(uint8_t reg);
    uint8_t poll(Completion& completion);

    Scenario& scenario_;
    FlashModel& flash_;
    std::function<void(const std::string&)> on_violation_;
    McuState state_;
};

}  // namespace sim
