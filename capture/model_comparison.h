// SPDX-License-Identifier: MIT
// Where a recorded MCU and the simulated one differ.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "sim/board.h"
#include "sim/capture_file.h"

/// Answers that differ in the same way.
struct Difference {
    size_t count;
    size_t first;  ///< number of the transfer on the bus, from 1
    std::string recorded;
    std::string simulated;
};

struct ModelComparison {
    size_t transfers = 0;  ///< of the MCU
    size_t skipped = 0;    ///< failed, or not recorded with all bytes: they did not reach the simulated MCU
    std::vector<Difference> differences;
};

/// Sends what the host sent to the recorded MCU, at the recorded times, to this board, whose rules keep its violations.
ModelComparison compare_with_model(std::span<const sim::RecordedTransfer> transfers, sim::Board& board);
