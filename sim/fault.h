// SPDX-License-Identifier: MIT
// Things that go wrong on purpose. One fault in words, as --fault takes it:
//
//   KIND[=VALUE]@WHERE[#N][xCOUNT|+TIMEms]
//
//   nack      the transfer is not acknowledged, and nothing happens
//   dead      from this transfer on nothing at all is acknowledged
//   lost      the device takes the transfer, but the host is told that it failed
//   restart   the MCU restarts just before the transfer
//   cut       the MCU loses its power right after it took the transfer, and starts again
//   kill      the program under test is killed right after the transfer
//   flip      every bit of the bytes read is wrong
//   fail      the command is not carried out and finishes with the status VALUE (0x80 if not given)
//   hang      the command is not carried out and never finishes
//   skip      the command is not carried out, but reports success
//   slow      the command is carried out, and reports so at the VALUEth status read
//   tear      the MCU loses its power inside the command and starts again: an erase has cleared VALUE pages by then, a
//             commit has written VALUE bytes, anything else is done (VALUE above 0) or not (0)
//
//   WHERE     a number: that transfer, counting from 1; a register of the MCU ("reg-0f"): transfers that begin there;
//             the name of a command, a page behind it if it has one ("commit/100", "erase", "read-ports"); or
//             "any-command", "any-frame", "any-change" (a frame that changes flash, regions or the running program)
//   #N        from the Nth such transfer on (the first if not given)
//   xCOUNT    so many such transfers; x* for all of them (one if not given)
//   +TIMEms   or so long, from the first one on
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "sim/command_names.h"

namespace sim {

/// The kinds up to kFlip strike a transfer, the others a command.
enum class FaultKind { kNack, kDead, kLost, kRestart, kCut, kKill, kFlip, kFail, kHang, kSkip, kSlow, kTear };

constexpr bool strikes_command(FaultKind kind) {
    return kind >= FaultKind::kFail;
}

struct CommandPlace {
    CommandCode command;
    std::optional<uint16_t> page;
};

enum class CommandGroup { kCommands, kFrames, kChanges };

struct RegisterPlace {
    uint8_t reg;
};

/// What a fault can see of a transfer.
struct TransferPlace {
    uint64_t number;
    std::optional<uint8_t> mcu_register;
    std::optional<CommandCode> command;
    std::optional<uint16_t> page;
    uint64_t time_us;
};

inline constexpr uint64_t kUnlimited = UINT64_MAX;

struct Fault {
    FaultKind kind = FaultKind::kNack;
    uint16_t value = 0x80;
    std::variant<uint64_t, RegisterPlace, CommandPlace, CommandGroup> where = uint64_t{1};
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
