// SPDX-License-Identifier: MIT
// The file that keeps a board between runs: the flash as 0x42000 raw bytes, then lines "name=value".
#pragma once

#include <cstdint>
#include <string>

#include "sim/board.h"

namespace sim {

struct SavedClock {
    uint64_t offset_us = 0;  ///< how far the board's clock is ahead of the host's, because sleeps were skipped
};

/// The board's time now, in microseconds.
uint64_t board_time_us(const SavedClock& clock);

/// The lines that follow the flash.
std::string state_text(const Board& board, const SavedClock& clock);

/// The lines for the knobs that are kept.
std::string lasting_knobs(const Scenario& scenario);

/// Sets the knobs of these lines, which lasting_knobs() made.
void set_lasting_knobs(Scenario& scenario, const std::string& lines);

/// Replaces the file in one step. Returns an empty text, or what went wrong; the old file is then unchanged.
std::string save_state(const std::string& path, const Board& board, const SavedClock& clock);

/// Returns an empty text, or what is wrong with the file; the board is then half restored and must not be used.
std::string load_state(const std::string& path, Board& board, SavedClock& clock);

}  // namespace sim
