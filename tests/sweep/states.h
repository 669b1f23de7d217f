// SPDX-License-Identifier: MIT
// The states in which interrupted runs of sv_updater, in all its forms, can leave the board.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sim/board.h"

namespace sweep {

struct ReachedState {
    /// Region 0, blank, region 1: content ("three" and "other" for the files, "old", "blank", "part"), software id,
    /// enabled (+), enabled and unable to start (!) or disabled (-); [the running one]; "due": a reset is pending.
    /// Boards with equal texts are alike.
    std::string text;
    std::string way;  ///< a shortest one: the runs that lead here, and where they ended
    std::unique_ptr<sim::Board> board;
};

struct ReachedStates {
    std::vector<ReachedState> states;
    uint64_t runs = 0;  ///< of the tool, to find them
    uint64_t dead = 0;  ///< moments at which a power cut leaves no region that can start
};

/// Finds all of them, for files of three pages, or the first `limit`: starts from both regions, then applies each form
/// again to every state found.
const ReachedStates& find_states(size_t limit);

/// Those that were found, or all.
const ReachedStates& reached_states();

/// What a region holds.
std::string content_text(const sim::Board& board, int region);

/// The text of the state that the board is in.
std::string state_text(const sim::Board& board);

}  // namespace sweep
