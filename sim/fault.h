// SPDX-License-Identifier: MIT
// Things that go wrong on purpose. One fault in words, as --fault takes it:
//
//   KIND[=STATUS]@WHERE[#N][xCOUNT]
//
//   nack      the transfer is not acknowledged, and nothing happens
//   dead      from this transfer on nothing at all is acknowledged
//   lost      the device takes the transfer, but the host is told that it failed
//   restart   the MCU restarts just before the transfer
//   flip      every bit of the bytes read is wrong
//   fail      the command is not carried out and finishes with STATUS (0x80 if not given)
//   hang      the command is not carried out and never finishes
//   skip      the command is not carried out, but reports success
//
//   WHERE     a number: that transfer, counting from 1; a register of the MCU ("reg-0f"): transfers that begin there;
//   or
//             the name of a command, a page behind it if it has one ("commit/100", "erase", "read-ports")
//   #N        from the Nth such transfer on (the first if not given)
//   xCOUNT    so many such transfers; x* for all of them (one if not given)
//   +TIMEms   or so long, from the first one on
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace sim {

enum class FaultKind { kNack, kDead, kLost, kRestart, kFlip, kFail, kHang, kSkip };

struct CommandPlace {
    std::string name;
    std::optional<uint16_t> page;
};

struct RegisterPlace {
    uint8_t reg;
};

/// What a fault can see of a transfer. The command is empty for transfers that carry none.
struct TransferPlace {
    uint64_t number;
    std::optional<uint8_t> mcu_register;
    std::string command;
    std::optional<uint16_t> page;
    uint64_t time_us;
};

inline constexpr uint64_t kUnlimited = UINT64_MAX;

struct Fault {
    FaultKind kind = FaultKind::kNack;
    uint8_t status = 0x80;
    std::variant<uint64_t, RegisterPlace, CommandPlace> where = uint64_t{1};
    uint64_t first = 1;
    uint64_t count = 1;
    std::optional<uint64_t> duration_us;

    /// Counts the transfer if it is one of those meant, and tells whether the fault strikes.
    bool strikes(const TransferPlace& place);

private:
    bool matches(const TransferPlace& place) const;
    uint64_t seen_ = 0;
    std::optional<uint64_t> began_us_;
};

/// Reads the words above. On failure nothing is returned and `problem` says why.
std::optional<Fault> parse_fault(const std::string& text, std::string& problem);

}  // namespace sim
