// SPDX-License-Identifier: MIT
// What the register commands answer.
#pragma once

#include <cstdint>
#include <optional>

#include "sim/scenario.h"

namespace sim {

struct DiagnosticsReply {
    bool known = true;
    bool ok = true;
    std::optional<uint16_t> word;  ///< for the parameter register
    Bytes data;                    ///< for the data register
};

/// Settings go into the scenario, and the reset of the diagnostics clears its counters and sums.
DiagnosticsReply diagnostics_reply(Scenario& scenario, uint8_t code, uint16_t param);

}  // namespace sim
