// SPDX-License-Identifier: MIT
// Single points of the sweep.
#pragma once

#include <functional>

#include "tests/sweep/kinds.h"

namespace sweep {

struct Outcome {
    Window window = Window::kNone;
    std::string failure;       ///< empty: every rule held, or was broken only as the window explains
    bool unconfirmed = false;  ///< sv_ctl ended with status 6
};

struct Point {
    uint64_t number;   ///< from 0
    std::string text;  ///< from the kind's pattern
};

/// Tries the points, in ascending order, and reports the outcome of each.
void run_points(const Kind& kind, const Setup& setup, const std::vector<Point>& points,
                const std::function<void(const Point&, const Outcome&)>& report);

}  // namespace sweep
