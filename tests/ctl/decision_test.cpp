// SPDX-License-Identifier: MIT
#include "ctl/decision.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    bool running_is_file;
    bool other_is_file;
    uint16_t other_swid;
    const char* row;
    Step first;          ///< nothing is known of the running region
    Step after_a_start;  ///< the running region was seen to start
    Step first_when_sure;
};

constexpr Case kCases[] = {
    {true, false, 0x0100, "runs", Step::kNone, Step::kNone, Step::kReset},
    {true, false, 0, "runs-alone", Step::kNone, Step::kNone, Step::kProgram},
    {true, true, 0x0101, "runs", Step::kNone, Step::kNone, Step::kReset},
    {false, true, 0x0101, "held", Step::kReset, Step::kStart, Step::kReset},
    {false, true, 0, "never-enabled", Step::kStart, Step::kStart, Step::kStart},
    {false, false, 0, "blank", Step::kProgram, Step::kProgram, Step::kProgram},
    {false, false, 0x0100, "former", Step::kReset, Step::kProgram, Step::kReset},
    {false, false, 0x0101, "former", Step::kReset, Step::kProgram, Step::kReset},
};

TEST(Decision, EachStateHasARowAndEachRowItsSteps) {
    for (const int running : {0, 1}) {
        for (const Case& c : kCases) {
            BoardState state;
            state.info.active_region = static_cast<uint8_t>(running);
            (running == 0 ? state.info.swid1 : state.info.swid0) = c.other_swid;
            state.running_is_file = c.running_is_file;
            state.other_is_file = c.other_is_file;
            const Row row = find_row(state);
            EXPECT_STREQ(row_name(row), c.row);
            EXPECT_EQ(next_step(row, false, false), c.first) << c.row;
            EXPECT_EQ(next_step(row, true, false), c.after_a_start) << c.row;
            EXPECT_EQ(next_step(row, false, true), c.first_when_sure) << c.row;
        }
    }
}

}  // namespace
