// SPDX-License-Identifier: MIT
// Injected faults. The text of a fault, as --fault takes it:
//
//   KIND[=VALUE]@WHERE[#N][xCOUNT|+TIMEms]
//
//   nack      the transfer is not acknowledged and has no effect
//   dead      from this transfer on, no device acknowledges anything
//   lost      the device carries out the transfer, but the host sees it fail
//   restart   the MCU restarts before the transfer
//   cut       the MCU loses power after the transfer, and restarts
//   kill      the process that made the transfer is killed
//   flip      all bits of the bytes read are inverted
//   fail      the command is not carried out and finishes with the status VALUE (0x80 if not given)
//   hang      the command is not carried out and never finishes
//   skip      the command is not carried out, but reports success
//   slow      the command is carried out, and reports its end at the VALUEth status read
//   tear      the MCU loses power during the command, and restarts: an erase has cleared VALUE pages, a commit has
//             written VALUE bytes, any other command is carried out (VALUE above 0) or not (0)
//
//   WHERE     the number of a transfer, counted from 1; a register of the MCU ("reg-0f"): transfers that begin there;
//             the name of a command, with a page if it takes one ("erase", "read-ports", "commit/100"); or
//             "any-command", "any-frame", "any-change" (a frame that changes flash, regions or the running program)
//   #N        starts at the Nth such transfer (1 if not given)
//   xCOUNT    strikes COUNT such transfers, x* all of them (1 if not given)
//   +TIMEms   strikes all such transfers for TIME milliseconds
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "sim/frame_table.h"

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

/// What a fault is compared with: one transfer.
struct TransferPlace {
    uint64_t number;
    std::optional<uint8_t> mcu_register;  ///< that a write to the MCU begins at
    std::optional<CommandCode> command;
    std::optional<uint16_t> page;
    uint64_t time_us;
};

inline constexpr uint64_t kUnlimited = UINT64_MAX;

struct Fault {
    std::string text;  ///< as it was given
    FaultKind kind = FaultKind::kNack;
    uint16_t value = 0x80;  ///< VALUE
    std::variant<uint64_t, RegisterPlace, CommandPlace, CommandGroup> where = uint64_t{1};
    uint64_t first = 1;
    uint64_t count = 1;
    std::optional<uint64_t> duration_us;

    /// True when the fault strikes this transfer. Counts the transfer if WHERE matches it.
    bool strikes(const TransferPlace& place);

    /// True once it has struck a transfer.
    bool has_struck() const {
        return has_struck_;
    }

private:
    bool matches(const TransferPlace& place) const;
    uint64_t seen_ = 0;
    bool has_struck_ = false;
    std::optional<uint64_t> began_us_;
};

/// Parses the text above. On failure returns nothing, and `problem` says why.
std::optional<Fault> parse_fault(const std::string& text, std::string& problem);

/// Every KIND, and every group of commands that WHERE may name.
std::vector<std::string_view> fault_kinds();
std::vector<std::string_view> fault_groups();

}  // namespace sim
