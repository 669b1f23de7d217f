// SPDX-License-Identifier: MIT
// The decision table of an update.
#pragma once

#include "ctl/board_state.h"

enum class Step {
    kNone,     ///< the file runs
    kReset,    ///< a reset that is seen: what runs after it is enabled, and no reset is pending any more
    kStart,    ///< the other region holds the file: enable it, disable the running one, reset
    kProgram,  ///< erase the other region, write, read back; then as kStart
};

/// A row of the table, as --check and the manual name it.
enum class Row {
    kRuns,       ///< "runs": the file runs already; the other region may start in its place
    kRunsAlone,  ///< "runs-alone": it runs already, and the other region has id 0
    kHeld,       ///< "held": the other region holds the file with its id; it may be enabled, and a reset may be pending
    kNeverEnabled,  ///< "never-enabled": it holds the file's bytes with id 0
    kBlank,         ///< "blank": its id is 0, so it cannot start, and the running region may be disabled
    kFormer,        ///< "former": it was enabled once, so that the running region or it can start
};

const char* row_name(Row row);

Row find_row(const BoardState& state);

/// What comes next. `started`: the running region was seen to start, and has not been disabled since. `sure`: it is not
/// enough that the file runs.
Step next_step(Row row, bool started, bool sure);
