// SPDX-License-Identifier: MIT
// The simulated board: one bus with the MCU, the charger and two presence devices, injected faults, a clock, and a list
// of the rules that the host broke.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "sim/fault.h"
#include "sim/flash_model.h"
#include "sim/mcu_model.h"
#include "sim/scenario.h"

namespace sim {

/// The kernel's limits of one I2C_RDWR call.
inline constexpr size_t kMaxMessages = 42;
inline constexpr size_t kMaxMessageSize = 8192;

struct Message {
    uint16_t address;
    bool read;
    std::span<uint8_t> bytes;
};

/// A completed transfer, for traces and tests.
struct Transfer {
    uint64_t number;
    uint64_t time_us;
    std::span<const Message> messages;
    bool acknowledged;
};

class Board {
public:
    Board();
    Board& operator=(const Board&) = delete;

    /// The same board at the same moment, with no faults, no hooks, and no transfers or violations counted.
    Board clone() const;

    Scenario scenario;
    FlashModel flash;
    McuModel mcu;
    std::vector<Fault> faults;
    std::vector<std::string> violations;  ///< one sentence for each rule that the host broke
    std::function<void(const Transfer&)> on_transfer;
    std::function<bool(std::span<const Message>)> replay;  ///< if set, answers in place of all devices
    std::function<void()> on_kill;                         ///< called by the fault "kill": ends who made the transfer

    /// The board's clock, in microseconds; the owner moves it.
    uint64_t now_us = 0;

    /// One I2C_RDWR transfer. False when a device did not acknowledge.
    bool transfer(std::span<const Message> messages);

    uint64_t transfers() const {
        return transfers_;
    }

    /// Removes all faults, and ends the effect of "dead".
    void clear_faults();

    /// Parses and adds a fault. Aborts if the text is wrong. For tests.
    void add_fault(const std::string& text);

private:
    Board(const Board& other);

    /// The faults that strike one transfer.
    struct Strikes {
        uint32_t kinds = 0;
        const Fault* command_fault = nullptr;  ///< the last one that strikes a command

        bool has(FaultKind kind) const {
            return (kinds >> static_cast<uint32_t>(kind) & 1) != 0;
        }
    };

    Strikes strike(std::span<const Message> messages);
    bool carry_out(const Message& message, const Fault* command_fault);
    bool answers(uint16_t address) const;
    TransferPlace place_of(std::span<const Message> messages) const;

    uint64_t transfers_ = 0;
    bool dead_ = false;
    uint8_t charger_pointer_ = 0;
};

}  // namespace sim
