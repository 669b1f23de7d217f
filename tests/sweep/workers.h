// SPDX-License-Identifier: MIT
// Spreads the points over processes, shows how far they are, and counts what came of them.
#pragma once

#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "tests/sweep/point.h"

namespace sweep {

inline constexpr size_t kWindows = std::size(kWindowNames);

struct Row {
    std::string name;
    uint64_t points = 0;
    uint64_t held = 0;
    uint64_t windows[kWindows] = {};
    uint64_t failed = 0;
    const Kind* kind = nullptr;  ///< null for rows of another sort
};

/// A piece of work: some points of one row.
struct Task {
    size_t row;
    uint64_t points;
    std::function<void(const std::function<void(const Outcome&, const std::string&)>& tell)> run;
};

/// Runs the tasks in so many processes and fills the rows. Returns the first failures in words, and one more when a
/// worker has died or its memory has grown.
std::vector<std::string> run_tasks(const std::vector<Task>& tasks, unsigned jobs, std::vector<Row>& rows);

}  // namespace sweep
