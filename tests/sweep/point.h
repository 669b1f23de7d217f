// SPDX-License-Identifier: MIT
// Single points of the sweep.
#pragma once

#include <functional>

#include "tests/sweep/kinds.h"

namespace sweep {

struct Outcome {
    Window window = Window::kNone;
    std::string failure;  ///< empty: what must hold held, or broke only within the window
};

/// Tries the points `begin` up to, not including, `end`, and tells what came of each.
void run_points(const Kind& kind, const Setup& setup, uint64_t begin, uint64_t end,
                const std::function<void(uint64_t, const Outcome&)>& tell);

/// The faults of a point, for reports.
std::string describe(const Kind& kind, const Setup& setup, uint64_t point);

}  // namespace sweep
