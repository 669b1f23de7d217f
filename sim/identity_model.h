// SPDX-License-Identifier: MIT
// The MCU's identity blocks; docs/protocol.md lists their bytes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "sim/flash_model.h"
#include "sim/scenario.h"

namespace sim {

std::array<uint8_t, 32> version_block(const Scenario& scenario, const FlashModel& flash);

/// Nothing when the command fails.
std::optional<std::array<uint8_t, 32>> version2_block(const Scenario& scenario);

std::array<uint8_t, 10> flash_status(const Scenario& scenario, const FlashModel& flash);

}  // namespace sim
