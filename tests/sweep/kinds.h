// SPDX-License-Identifier: MIT
// The ways in which an update is cut: one row of the table per kind.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "tests/sweep/judge.h"
#include "tests/sweep/setup.h"

namespace sweep {

enum class Mode {
    kGoesOn,      ///< the tool lives on through the fault, then an undisturbed run follows
    kKilled,      ///< point n: the tool ends after n transfers; only the board knows what was
    kBothCut,     ///< point n: tool and MCU lose their power after n changing frames
    kTornAndCut,  ///< the tool ends at the torn command, too
};

struct Kind {
    const char* name;
    Mode mode;
    /// How many points there are when an undisturbed update has these counts.
    uint64_t (*points)(const Counts& counts);
    /// The faults of one point, as sv_board's --fault takes them; null where the mode says it all.
    std::vector<std::string> (*faults)(uint64_t point, const Counts& counts);
    Bounds (*bounds)(const Counts& counts);
    std::vector<Setup> setups;
    /// The windows that lie on the way, and how many of all points lead through each. Any other number is a failure.
    std::vector<std::pair<Window, uint64_t>> windows = {};
    /// Whether the run through the fault went as it must, where the rules that always hold say too little.
    bool (*went_well)(uint64_t point, const Counts& counts, const Run& run) = nullptr;
};

std::span<const Kind> kinds();

}  // namespace sweep
