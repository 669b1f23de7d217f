// SPDX-License-Identifier: MIT
// The MCU's replies to register commands.
#pragma once

#include <cstdint>
#include <optional>

#include "sim/scenario.h"

namespace sim {

struct DiagnosticsReply {
    bool known = true;             ///< false: the MCU has no such command
    bool ok = true;                ///< whether the command succeeds
    std::optional<uint16_t> word;  ///< goes to the parameter register
    Bytes data;                    ///< goes to the data register
};

/// Carries out the command `code` with `param` from the parameter register. Commands that change settings or reset the
/// diagnostics change the scenario.
DiagnosticsReply diagnostics_reply(Scenario& scenario, uint8_t code, uint16_t param);

}  // namespace sim
