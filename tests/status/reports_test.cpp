// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/support/tool_run.h"

namespace {

const std::string kTime = "2025-11-16 21:53:20  up 1d 02:03:04  ";

void set(sim::Board& board, const std::vector<std::pair<const char*, std::string>>& knobs) {
    for (const auto& [name, value] : knobs) {
        ASSERT_EQ(sim::set_knob(board.scenario, name, value), "");
    }
}

}  // namespace

TEST(CableReport, ShowsTheLinesThatHaveSomethingToShow) {
    const std::string teko1 =
        kTime + "TEKO1 = valid=0400 6662  0, cable=10.55 01000  4, hpwr=0, temp= 45.0  40.0 -41.1\n";
    const struct {
        const char* what;
        std::vector<std::pair<const char*, std::string>> knobs;
        std::vector<std::string> lines;  // the beginning of each
    } cases[] = {
        {"one sum", {{"teko1_cable_sum", "4096"}, {"teko1_cable_count", "4"}}, {teko1}},
        {"nothing",
         {},
         {kTime + "TEKO1 = valid=0400 6662  0, cable=-2.40 00000  0", kTime + "TEKO2 = valid=0000 6326"}},
        {"ten is nothing",
         {{"teko1_cable_sum", "10"}, {"teko2_imp_valid_count", "10"}},
         {kTime + "TEKO1", kTime + "TEKO2"}},
        {"a count alone", {{"teko2_imp_valid_count", "11"}}, {kTime + "TEKO2"}},
        {"count that ran full", {{"teko1_imp_valid_count", "100"}}, {}},
        {"one full, one good", {{"teko1_imp_valid_count", "100"}, {"teko2_imp_valid_count", "99"}}, {kTime + "TEKO2"}},
        {"high power",
         {{"teko1_cable_sum", "4096"}, {"teko1_cable_count", "4"}, {"teko1_hpwr", "2"}},
         {kTime + "TEKO1 = valid=0400 6662  0, cable= 8.80 01000  4, hpwr=2, temp="}},
        // With the gain 25.3 the code 5327 is 64.9989 V and 5328 is 65.0115 V.
        {"voltage of 65 V", {{"teko1_cable_sum", "5327"}}, {kTime + "TEKO1 = valid=0400 6662  0, cable=65.00 014cf"}},
        {"voltage above 65.0 V", {{"teko1_cable_sum", "5328"}}, {}}};
    for (const auto& c : cases) {
        sim::Board board;
        board.scenario.teko1_pages = sim::Bytes(192, 0);
        set(board, {{"teko1_imp_valid_raw", "0x0400"}, {"temperature_raw", "1000"}});
        set(board, c.knobs);
        FakeKernel kernel(board);
        const ToolRun run = run_tool_words({"--status-cable"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        std::string rest = run.out;
        for (const std::string& line : c.lines) {
            EXPECT_EQ(rest.substr(0, line.size()), line) << c.what;
            rest = rest.substr(rest.find('\n') + 1);
        }
        EXPECT_EQ(rest, "") << c.what;
        EXPECT_EQ(kernel.wire.size(), 1U + 97U + 2U);
    }
}

TEST(CableReport, SeriesOfTenShowsWhatCameSinceTheLast) {
    sim::Board board;
    board.scenario.teko1_pages = sim::Bytes(192, 0);
    FakeKernel kernel(board);
    for (unsigned i = 1; i <= 10; ++i) {
        set(board, {{"teko1_cable_sum", std::to_string(1000 * i)}, {"teko1_cable_count", std::to_string(i)}});
        char figures[40];
        std::snprintf(figures, sizeof figures, "cable=10.25 %05x %2u, hpwr=0", 1000 * i, i);
        const std::string out = run_tool_words({"--status-cable"}).out;
        EXPECT_NE(out.find(figures), std::string::npos) << out;
        EXPECT_EQ(sim::knob_value(board.scenario, *std::find_if(sim::knobs().begin(), sim::knobs().end(),
                                                                [](auto& k) { return k.name == "teko1_cable_sum"; })),
                  "0");
    }
}

TEST(CableReport, FailedReadsLeaveZerosAndAreFollowedByTheReset) {
    const std::string zeros = "valid=0000 6326  0, cable=-2.40 00000  0, hpwr=0, temp= 45.0  40.0 ";
    const struct {
        const char* fault;
        const char* err;
        size_t transfers;
    } cases[] = {{"nack@1", "SVMCU ERROR: I2C read error, start 00, size 14\n", 3},
                 {"fail@read-powerrail",
                  "SVMCU ERROR: while getting diagnostics: read cmd error, cmd 80, start 0e, result 80\n", 5}};
    for (const auto& c : cases) {
        sim::Board board;
        board.add_fault(c.fault);
        FakeKernel kernel(board);
        const ToolRun run = run_tool_words({"--status-cable"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, c.err);
        EXPECT_NE(run.out.find(kTime + "TEKO1 = " + zeros), std::string::npos) << run.out;
        EXPECT_NE(run.out.find(kTime + "TEKO2 = " + zeros), std::string::npos) << run.out;
        EXPECT_EQ(kernel.wire.size(), c.transfers);
        EXPECT_EQ(kernel.wire[c.transfers - 2], "W 08 0e: 8d");
    }
}

TEST(PseAdcReport, OneLineOfRawWordsAndThenTheReset) {
    sim::Board board;
    for (size_t i = 0; i < 192; ++i) {
        board.scenario.teko1_pages[i] = static_cast<uint8_t>(i);
        board.scenario.teko2_pages[i] = 0;
    }
    set(board, {{"teko1_cable_sum", "4096"},
                {"teko1_cable_count", "4"},
                {"teko1_hpwr", "0x1f"},
                {"teko1_cable_aux", "0xee"},
                {"temperature_raw", "1000"}});
    FakeKernel kernel(board);
    const ToolRun run = run_tool_words({"--status-pse-adc"});
    std::string expected = "2025-11-16 21:53:20 ";
    for (unsigned byte = 32; byte < 152; byte += 2) {
        char word[8];
        std::snprintf(word, sizeof word, "%02x%02x ", byte + 1, byte);
        expected += word;
    }
    expected += "ee  8.80 01000/  4 h1f ";
    for (int i = 0; i < 60; ++i) {
        expected += "0000 ";
    }
    expected += "00 -2.40 00000/  0 h0   45.0  40.0 -41.1\n";
    EXPECT_EQ(run.out, expected);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(kernel.wire.size(), 97U + 12U * 4U + 2U);
    run_tool_words({"--no-dump-reset", "--status-pse-adc"});
    EXPECT_EQ(kernel.wire.size(), 2U * (97U + 12U * 4U) + 2U);
}

TEST(PseAdcReport, PrintsNothingWhenAPageCannotBeRead) {
    sim::Board board;
    board.add_fault("fail@read-teko2-page#3x*");  // the first two belong to the record
    FakeKernel kernel(board);
    const ToolRun run = run_tool_words({"--status-pse-adc"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "SVMCU ERROR: read cmd error, cmd 92, start 0e, result 80\n");
    EXPECT_EQ(kernel.wire.back(), "R 08 0e 1");
    EXPECT_EQ(kernel.wire[kernel.wire.size() - 2], "W 08 0e: 8d");

    // A record that fails half-way is no failure: the pages decide, and 0x11 stands for what is missing.
    sim::Board half;
    half.add_fault("fail@read-temperature-cal");
    FakeKernel own(half);
    EXPECT_NE(run_tool_words({"--status-pse-adc"}).out.find(" h0   45.0  40.0 "), std::string::npos);
}
