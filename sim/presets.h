// SPDX-License-Identifier: MIT
// Typical situations of a board.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "sim/scenario.h"

namespace sim {

struct Preset {
    std::string_view name;
    std::string_view meaning;
    std::string_view settings;  ///< "KEY=VALUE KEY=VALUE …"
};

std::span<const Preset> presets();

/// Sets the preset's knobs. Returns an empty text, or what is wrong.
std::string apply_preset(Scenario& scenario, std::string_view name);

}  // namespace sim
