// SPDX-License-Identifier: MIT
#include "tests/support/device_test.h"

namespace {

const std::string kTeko = "2025-11-16 21:53:20  up 1d 02:03:04  TEKO";

}  // namespace

TEST(CableReport, ShowsTheLinesThatHaveSomethingToShow) {
    const std::string teko1 = kTeko + "1 = valid=0400 6662  0, cable=";
    const std::pair<Words, Words> cases[] = {
        // The situation; how its lines begin.
        {{"teko1_cable_sum=4096", "teko1_cable_count=4"}, {teko1 + "10.55 01000  4, hpwr=0, temp= 45.1  40.1 -41.1\n"}},
        {{}, {teko1 + "-2.40 00000  0, hpwr=0", kTeko + "2 = valid=0000 6326  0"}},
        // 10 is nothing.
        {{"teko1_cable_sum=10", "teko2_imp_valid_count=10"}, {kTeko + "1", kTeko + "2"}},
        {{"teko1_cable_sum=11"}, {kTeko + "1"}},
        {{"teko2_imp_valid_count=11"}, {kTeko + "2 = valid=0000 6326 11"}},
        // A count that ran full.
        {{"teko1_imp_valid_count=100"}, {}},
        {{"teko1_imp_valid_count=100", "teko2_imp_valid_count=99"}, {kTeko + "2"}},
        {{"teko1_cable_sum=4099", "teko1_cable_count=4", "teko1_hpwr=2"}, {teko1 + " 8.80 01003  4, hpwr=2"}},
        // With the gain 25.3 the code 5327 is 64.9989 V and 5328 is 65.0115 V.
        {{"teko1_cable_sum=5327"}, {teko1 + "65.00 014cf  0, "}},
        {{"teko1_cable_sum=5328"}, {}},
        // The tenth of a series.
        {{"teko1_cable_sum=10000", "teko1_cable_count=10"}, {teko1 + "10.25 02710 10, hpwr=0"}}};
    for (const auto& [situation, lines] : cases) {
        SCOPED_TRACE(joined(situation));
        Words words = {"teko1_pages=" + std::string(384, '0'), "teko1_imp_valid_raw=0x0400", "temperature_raw=1000",
                       "temp_nic=45.02", "temp_disp=40.03"};
        words.insert(words.end(), situation.begin(), situation.end());
        const BoardRun run = run_on_board(words, {"--status-cable"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        std::string rest = run.out;
        for (const std::string& line : lines) {
            EXPECT_EQ(rest.substr(0, line.size()), line);
            rest = rest.substr(rest.find('\n') + 1);
        }
        EXPECT_EQ(rest, "");
        EXPECT_EQ(run.wire.size(), 1U + 97U + 2U);
        EXPECT_EQ(run.wire[98], "W 08 0e: 8d");
    }
}

TEST(CableReport, FailedReadsLeaveZerosAndAreFollowedByTheReset) {
    const std::string zeros = " = valid=0000 6326  0, cable=-2.40 00000  0, hpwr=0, temp= 45.0  40.0 ";
    const std::tuple<const char*, const char*, size_t> cases[] = {
        {"nack@1", "SVMCU ERROR: I2C read error, start 00, size 14\n", 3},
        {"fail@read-powerrail", "SVMCU ERROR: while getting diagnostics: read cmd error, cmd 80, start 0e, result 80\n",
         5}};
    for (const auto& [fault, err, transfers] : cases) {
        const BoardRun run = run_on_board({fault}, {"--status-cable"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, err);
        EXPECT_NE(run.out.find(kTeko + "1" + zeros), std::string::npos) << run.out;
        EXPECT_NE(run.out.find(kTeko + "2" + zeros), std::string::npos) << run.out;
        EXPECT_EQ(run.wire.size(), transfers);
        EXPECT_EQ(run.wire[transfers - 2], "W 08 0e: 8d");
    }
}

TEST(PseAdcReport, OneLineOfRawWordsAndThenTheReset) {
    std::string counting;
    for (unsigned i = 0; i < 192; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", i);
        counting += digits;
    }
    const Words situation = {"teko1_pages=" + counting, "teko1_cable_sum=4099", "teko1_cable_count=4",
                             "teko1_hpwr=0x1f",         "teko1_cable_aux=0xee", "temperature_raw=1000",
                             "temp_nic=45.02",          "temp_disp=40.03"};
    BoardRun run = run_on_board(situation, {"--status-pse-adc"});
    std::string expected = "2025-11-16 21:53:20 ";
    for (unsigned byte = 32; byte < 152; byte += 2) {
        char word[8];
        std::snprintf(word, sizeof word, "%02x%02x ", byte + 1, byte);
        expected += word;
    }
    expected += "ee  8.80 01003/  4 h1f ";
    for (int i = 0; i < 60; ++i) {
        expected += "0000 ";
    }
    expected += "00 -2.40 00000/  0 h0   45.1  40.1 -41.1\n";
    EXPECT_EQ(run.out, expected);
    EXPECT_EQ(run.err, "");
    Wire pages;
    for (const char* page : {"00", "01", "02", "03", "04", "05"}) {
        for (const char* teko : {"91", "92"}) {
            pages.insert(pages.end(), {std::string("W 08 0c: ") + page + " 00", std::string("W 08 0e: ") + teko,
                                       "R 08 0e 1", "R 08 60 32"});
        }
    }
    pages.insert(pages.end(), {"W 08 0e: 8d", "R 08 0e 1"});
    EXPECT_EQ(Wire(run.wire.begin() + 97, run.wire.end()), pages);
    run = run_on_board(situation, {"--no-dump-reset", "--status-pse-adc"});
    EXPECT_EQ(run.wire.size(), 97U + 12U * 4U);
}

TEST(PseAdcReport, NeedsThePagesOnly) {
    // The first two reads of a page belong to the record.
    const BoardRun run = run_on_board({"fail@read-teko2-page#3x*"}, {"--status-pse-adc"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "SVMCU ERROR: read cmd error, cmd 92, start 0e, result 80\n");
    EXPECT_EQ(run.wire[run.wire.size() - 2], "W 08 0e: 8d");
    // 0x11 stands for what the record lacks: (0x1111 - 190) * 358.15 / (0x1111 / 2.048) - 273.15.
    const std::string out = run_on_board({"nack@34"}, {"--status-pse-adc"}).out;
    EXPECT_NE(out.find(" 45.0  40.0 428.4\n"), std::string::npos) << out;
}
