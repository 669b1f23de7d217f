// SPDX-License-Identifier: MIT
// The board between two runs. The file begins with the flash, 0x42000 bytes as they are, so that any tool can look at
// it; lines of "name=value" follow.
#pragma once

#include <cstdint>
#include <string>

#include "sim/board.h"

namespace sim {

struct SavedClock {
    uint64_t offset_us = 0;  ///< how far the board's clock is ahead of the host's: the waiting that was skipped
};

/// The lines behind the flash.
std::string state_text(const Board& board, const SavedClock& clock);

/// Returns an empty text, or what went wrong. The old file is replaced in one step, or left as it was.
std::string save_state(const std::string& path, const Board& board, const SavedClock& clock);

/// Returns an empty text, or what is wrong with the file; the board is then not to be used.
std::string load_state(const std::string& path, Board& board, SavedClock& clock);

}  // namespace sim
