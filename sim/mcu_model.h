// SPDX-License-Identifier: MIT
// The MCU as the bus sees it: 256 registers, two forms of commands, and a reset on its own clock.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "sim/command_names.h"
#include "sim/flash_model.h"
#include "sim/scenario.h"

namespace sim {

/// How the next command ends. Only kSlow, and a part of kTorn, is carried out.
struct ForcedEnd {
    enum Kind { kFails, kHangs, kPretends, kSlow, kTorn } kind;
    uint16_t value;  ///< status, status reads, or how much of a torn command is done
};

/// What the MCU has in its memory.
struct McuState {
    struct Completion {
        uint8_t status = 0;
        uint32_t polls_left = 0;
    };

    std::optional<uint64_t> reset_due_us;
    std::array<uint8_t, 256> registers_{};
    uint8_t pointer_ = 0;
    bool handshake_written_ = false;
    Completion frame_;
    Completion command_;
    uint64_t now_us_ = 0;
    uint64_t silent_until_us_ = 0;
    uint64_t reset_grace_us_ = 0;
};

class McuModel : private McuState {
public:
    /// A rule that the host has broken is told to `on_violation`.
    McuModel(Scenario& scenario, FlashModel& flash, std::function<void(const std::string&)> on_violation);

    /// Lets time pass: a pending reset comes due. Time never goes back.
    void advance(uint64_t now_us);

    bool answers() const;

    /// A write message: the first byte is the register, the others go there and behind it. A byte on a command register
    /// starts that command.
    void write(std::span<const uint8_t> bytes, std::optional<ForcedEnd> forced);

    /// A read message: from the register that was written last.
    void read(std::span<uint8_t> bytes);

    /// A reset: the registers are lost, and the MCU is silent for boot_ms.
    void restart();

    uint8_t register_value(uint8_t reg) const {
        return registers_[reg];
    }

    // For the state file.
    uint64_t now_us() const {
        return now_us_;
    }

    using McuState::reset_due_us;
    void set_marker(uint8_t marker);

    /// Becomes what the other one is; scenario and flash stay its own.
    void assume(const McuModel& other);

private:
    void start_frame_command(uint8_t start, std::span<const uint8_t> frame, std::optional<ForcedEnd> forced);
    void start_register_command(std::optional<ForcedEnd> forced);
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
    Completion forced_completion(const ForcedEnd& end) const;
    uint8_t read_register(uint8_t reg);
    uint8_t poll(Completion& completion);

    Scenario& scenario_;
    FlashModel& flash_;
    std::function<void(const std::string&)> on_violation_;
};

}  // namespace sim
