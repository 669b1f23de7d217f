// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/support/tool_run.h"

using Wire = std::vector<std::string>;

namespace {

Wire read_word(const std::string& code) {
    return {"W 08 0e: " + code, "R 08 0e 1", "R 08 0c 2"};
}

Wire send(const std::string& param, const std::string& code) {
    return {"W 08 0c: " + param, "W 08 0e: " + code, "R 08 0e 1"};
}

Wire operator+(Wire a, const Wire& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

}  // namespace

TEST(SetMode, EveryParameterAndAliasOnTheWire) {
    // The words before: enable 0x1200 or 0x122f, input mode 0x3400 or 0x3403.
    const struct {
        std::vector<const char*> parameters;
        std::vector<const char*> values;
        bool bits_set;  // before
        Wire wire;
    } cases[] = {
        {{"priority", "extpriority", "prio"},
         {"normal", "norm", "default", "def"},
         true,
         read_word("02") + send("00 34", "03")},
        {{"priority", "extpriority", "prio"}, {"battery-save", "low"}, true, read_word("02") + send("01 34", "03")},
        {{"priority"}, {"low"}, false, read_word("02") + send("01 34", "03")},
        {{"priority"}, {"high"}, true, read_word("02") + send("02 34", "03")},
        {{"w1validity"}, {"normal"}, true, read_word("00") + send("0f 12", "01")},
        {{"w1validity"}, {"ignore"}, false, read_word("00") + send("20 12", "01")},
        {{"teko1-pd", "pd1"}, {"enabled", "enable", "on", "1"}, true, read_word("00") + send("2e 12", "01")},
        {{"teko1-pd", "pd1"}, {"disabled", "disable", "off", "0"}, false, read_word("00") + send("01 12", "01")},
        {{"teko1-pse", "teko1", "pse1"}, {"on"}, true, read_word("00") + send("2d 12", "01")},
        {{"teko1-pse", "teko1", "pse1"}, {"off"}, false, read_word("00") + send("02 12", "01")},
        {{"teko2-pd", "pd2"}, {"1"}, true, read_word("00") + send("2b 12", "01")},
        {{"teko2-pd", "pd2"}, {"0"}, false, read_word("00") + send("04 12", "01")},
        {{"teko2-pse", "teko2", "pse2"}, {"enable"}, true, read_word("00") + send("27 12", "01")},
        {{"teko2-pse", "teko2", "pse2"}, {"disable"}, false, read_word("00") + send("08 12", "01")},
        {{"led1"}, {"default", "def", "normal", "norm"}, false, send("00 00", "06")},
        {{"led1"}, {"gn"}, false, send("81 00", "06")},
        {{"led2"}, {"rd"}, false, send("82 00", "07")},
        {{"led2"}, {"or"}, false, send("83 00", "07")},
        {{"led2"}, {"off"}, false, send("80 00", "07")},
        {{"psuled"}, {"0x12345"}, false, send("45 23", "82") + Wire{"R 08 60 8", "R 08 0c 1"}},
        {{"test-extsw"}, {"0x1ff", "255", "-1"}, false, send("ff 00", "8f")},
        {{"test-10V"}, {"0x1FF"}, false, send("ff 00", "98")},
        {{"test-msg"}, {"0x0011"}, false, send("11 00", "99")}};
    for (const auto& c : cases) {
        for (const char* parameter : c.parameters) {
            for (const char* value : c.values) {
                sim::Board board;
                board.scenario.teko_enable = c.bits_set ? 0x122F : 0x1200;
                board.scenario.input_mode = c.bits_set ? 0x3403 : 0x3400;
                FakeKernel kernel(board);
                const ToolRun run = run_tool_words({"--set-mode", parameter, value});
                EXPECT_EQ(run.status, 0) << parameter << " " << value;
                EXPECT_EQ(run.err, "") << parameter << " " << value;
                EXPECT_EQ(kernel.wire, c.wire) << parameter << " " << value;
            }
        }
    }
}

TEST(SetMode, ParametersWithoutAValue) {
    sim::Board board;
    board.scenario.teko_enable = 0x0005;
    board.scenario.input_mode = 0x0001;
    board.scenario.status[0] |= 0x40;
    FakeKernel kernel(board);
    EXPECT_EQ(run_tool_words({"--set", "store", "--set-mode", "test-msg-ack"}).status, 0);
    EXPECT_EQ(kernel.wire, read_word("00") + read_word("02") + send("04 00", "08") + Wire{"W 08 0a: 00"});
    EXPECT_EQ(board.scenario.stored, 4);
    EXPECT_EQ(board.scenario.status[0] & 0x40, 0);
    for (const char* word : {"xlr-off", "off"}) {
        kernel.wire.clear();
        const ToolRun run = run_tool_words({"--set", word});
        EXPECT_EQ(run.err, log_line("info", "disabled XLR input (turn off power, but not PoE)"));
        EXPECT_EQ(kernel.wire, send("47 00", "0d"));
    }
    kernel.wire.clear();
    EXPECT_EQ(run_tool_words({"--set", "test-i2c-bug1"}).status, 0);
    EXPECT_EQ(kernel.wire, Wire(400, "W 08 60: 03"));
    kernel.wire.clear();
    board.scenario.mcu = false;
    EXPECT_EQ(run_tool_words({"--set", "test-i2c-bug1"}).status, 0);
    EXPECT_EQ(kernel.wire.size(), 1U);
}

TEST(SetMode, WrongWordsEndTheRunAndChangeNothing) {
    const struct {
        std::vector<std::string> words;
        std::string out;
        std::string err;
        size_t transfers;
    } cases[] = {
        {{"--set-mode"}, "ERROR: missing argument(s) to '--set-mode'\n", "", 0},
        {{"--set"}, "ERROR: missing argument(s) to '--set'\n", "", 0},
        {{"--set-mode", "led1"}, "ERROR: missing argument(s) to 'led1'\n", "", 0},
        {{"--set-mode", "bogus"}, "ERROR: missing argument(s) to 'bogus'\n", "", 0},
        {{"--set-mode", "bogus", "1"}, "", log_line("error", "unknown parameter to --set-mode"), 0},
        {{"--set-mode", "", "1"}, "", log_line("error", "unknown parameter to --set-mode"), 0},
        {{"--set-mode", "prio", "LOW"}, "", log_line("error", "invalid parameter to --set-mode priority"), 3},
        {{"--set-mode", "w1validity", "x"}, "", log_line("error", "invalid parameter to --set-mode w1validity"), 3},
        {{"--set-mode", "pd1", "yes"}, "", log_line("error", "invalid parameter to --set-mode teko1-pd"), 3},
        {{"--set-mode", "teko1", ""}, "", log_line("error", "invalid parameter to --set-mode teko1-pse"), 3},
        {{"--set-mode", "pd2", "2"}, "", log_line("error", "invalid parameter to --set-mode teko2-pd"), 3},
        {{"--set-mode", "pse2", "x"}, "", log_line("error", "invalid parameter to --set-mode teko2-pse"), 3},
        {{"--set-mode", "led1", "red"}, "", log_line("error", "invalid parameter to --set-mode led1"), 0},
        {{"--set-mode", "led2", "0x81"}, "", log_line("error", "invalid parameter to --set-mode led2"), 0},
        {{"--set-mode", "psuled", "x"}, "", log_line("error", "invalid parameter to --set-mode psuled"), 0},
        {{"--set-mode", "test-extsw", "1x"}, "", log_line("error", "invalid parameter to --set-mode test-extsw"), 0},
        {{"--set-mode", "test-10V", "08"}, "", log_line("error", "invalid parameter to --set-mode test-10V"), 0},
        {{"--set-mode", "test-msg", "-"}, "", log_line("error", "invalid parameter to --set-mode test-msg"), 0},
        {{"--set-mode", "led1", "gn", "led2", "rd"}, "", log_line("error", "unknown command led2"), 3}};
    for (const auto& c : cases) {
        sim::Board board;
        FakeKernel kernel(board);
        const ToolRun run = run_tool_words(c.words);
        EXPECT_EQ(run.status, 255) << testing::PrintToString(c.words);
        EXPECT_EQ(run.out, c.out) << testing::PrintToString(c.words);
        EXPECT_EQ(run.err, c.err) << testing::PrintToString(c.words);
        EXPECT_EQ(kernel.wire.size(), c.transfers) << testing::PrintToString(c.words);
        EXPECT_EQ(board.scenario.teko_enable, 0);
    }
}

TEST(SetMode, FailedTransactionsEndTheRunWithTheirText) {
    const struct {
        std::vector<std::string> words;
        const char* fault;
        const char* text;
        size_t transfers;
    } cases[] = {{{"--set", "prio", "nonsense"}, "nack@1", "I2C write error, start 0e, size 01, cmd 02", 1},
                 {{"--set", "pd1", "off"}, "fail@write-enable-word", "read cmd error, cmd 01, start 0e, result 80", 6},
                 {{"--set", "store"}, "nack@1", "I2C write error, start 0e, size 01, cmd 00", 1},
                 {{"--set", "store"}, "nack@4", "I2C write error, start 0e, size 01, cmd 02", 4},
                 {{"--set", "led1", "gn"}, "nack@1", "I2C write error, start 0c, size 02", 1},
                 {{"--set", "off"}, "fail@switch-off", "read cmd error, cmd 0d, start 0e, result 80", 3},
                 {{"--set", "test-msg-ack"}, "nack@1", "I2C write error, start 0a, size 01, value 00", 1},
                 {{"--set", "psuled", "1"}, "nack@4", "", 4},
                 {{"--set", "psuled", "1"}, "nack@5", "", 5}};
    for (const auto& c : cases) {
        sim::Board board;
        board.add_fault(c.fault);
        FakeKernel kernel(board);
        const ToolRun run = run_tool_words(c.words);
        EXPECT_EQ(run.status, 255) << c.fault;
        EXPECT_EQ(run.err, log_line("error", c.text));
        EXPECT_EQ(kernel.wire.size(), c.transfers);
    }
}

TEST(SetMode, PsuledPrintsTheAnswerAlsoOfAFailedCommand) {
    sim::Board board;
    ASSERT_EQ(sim::set_knob(board.scenario, "w1_pio_data", "0102030405060708"), "");
    FakeKernel kernel(board);
    EXPECT_EQ(run_tool_words({"--set", "psuled", "1"}).out, "W1_PIO            = 01 02 03 04  05 06 07 08 - ok (00)\n");
    board.scenario.w1_pio_status = 13;
    const ToolRun run = run_tool_words({"--set", "psuled", "1"});
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.out, "W1_PIO            = 01 02 03 04  05 06 07 08 - PIO_WRITE (0d)\n");
    EXPECT_EQ(run.err, log_line("error", "read cmd error, cmd 82, start 0e, result 80"));
}

TEST(SetMode, TestMessageWarnings) {
    const std::string reserved = "WARNING: using reserved bits with --set-mode test-msg ";
    const std::string missing = "WARNING: missing destination (not 1 or 2) with --set-mode test-msg ";
    const std::string invalid = "WARNING: invalid destination (not 1 or 2) with --set-mode test-msg ";
    const std::string atypical = "WARNING: atypical destination index (not 0 or 1) with --set-mode test-msg ";
    const struct {
        const char* value;
        std::string err;
        const char* sent;
    } cases[] = {{"0x0D", reserved + "(000d)\n", "0d 00"},
                 {"0x20", missing + "(0020)\n" + atypical + "(0020)\n", "20 00"},
                 {"3", invalid + "(0003)\n", "03 00"},
                 {"0xabcd12", "", "12 cd"},
                 {"-1", reserved + "(ffffffff)\n" + invalid + "(ffffffff)\n" + atypical + "(ffffffff)\n", "ff ff"}};
    for (const auto& c : cases) {
        sim::Board board;
        FakeKernel kernel(board);
        const ToolRun run = run_tool_words({"--set-mode", "test-msg", c.value});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, c.err);
        EXPECT_EQ(kernel.wire, send(c.sent, "99"));
    }
}
