// SPDX-License-Identifier: MIT
#include "ctl/decision.h"

const char* row_name(Row row) {
    switch (row) {
        case Row::kRuns: return "runs";
        case Row::kRunsAlone: return "runs-alone";
        case Row::kHeld: return "held";
        case Row::kNeverEnabled: return "never-enabled";
        case Row::kBlank: return "blank";
        case Row::kFormer: return "former";
    }
    return "";
}

Row find_row(const BoardState& state) {
    const uint16_t other_swid = region_swid(state.info, state.other());
    if (state.running_is_file) {
        return other_swid == 0 ? Row::kRunsAlone : Row::kRuns;
    }
    if (other_swid == 0) {
        return state.other_is_file ? Row::kNeverEnabled : Row::kBlank;
    }
    return state.other_is_file ? Row::kHeld : Row::kFormer;
}

Step next_step(Row row, bool started, bool sure) {
    const bool prove = sure && !started;
    switch (row) {
        case Row::kRuns: return prove ? Step::kReset : Step::kNone;
        // Should the running region be disabled, nothing can start: the other region is made to hold the file, too.
        case Row::kRunsAlone: return prove ? Step::kProgram : Step::kNone;
        // An id other than 0 says that a region was enabled and not erased since. Either it is enabled still, or it was
        // disabled while it ran, and then the region that runs now has started since: one of them can start. Before
        // anything is erased or disabled, a reset shows which.
        case Row::kHeld: return started ? Step::kStart : Step::kReset;
        case Row::kFormer: return started ? Step::kProgram : Step::kReset;
        // An erased region cannot start. If the running one is disabled, a reset now would be the board's last.
        case Row::kNeverEnabled: return Step::kStart;
        case Row::kBlank: return Step::kProgram;
    }
    return Step::kNone;
}
