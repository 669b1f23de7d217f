// SPDX-License-Identifier: MIT
// The ways in which an update is interrupted: one row of the table per kind.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "tests/sweep/judge.h"

namespace sweep {

enum class Mode {
    kGoesOn,          ///< the tool lives on through the faults, then an undisturbed run follows
    kKilled,          ///< at point n the tool is killed after n transfers, then an undisturbed run follows
    kKilledAtChange,  ///< the same after n changing frames
    kBothCut,     ///< at point n tool and MCU lose their power after n changing frames, then an undisturbed run follows
    kTornAndCut,  ///< the faults tear a command, and the tool loses its power at that moment
};

struct Kind {
    const char* name;
    Mode mode;
    std::string setups;  ///< a pattern (pattern.h) of what parse_setup takes
    /// A pattern: one text per point, each with the faults as `sv_board --fault` takes them. Where the mode does not
    /// inject faults, the texts only describe the points.
    const char* points;
    Limits limits;  ///< of sv_updater
    /// The windows that these points lead through, and how many points lead through each. Any other number is a
    /// failure.
    std::vector<std::pair<Window, uint64_t>> windows = {};
};

std::span<const Kind> kinds();

}  // namespace sweep
