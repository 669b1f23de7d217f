// SPDX-License-Identifier: MIT
#include "tests/support/device_test.h"

namespace {

Wire read_word(const std::string& code) {
    return {"W 08 0e: " + code, "R 08 0e 1", "R 08 0c 2"};
}

Wire send(const std::string& param, const std::string& code) {
    return {"W 08 0c: " + param, "W 08 0e: " + code, "R 08 0e 1"};
}

}  // namespace

TEST(SetMode, EveryParameterAndAliasOnTheWire) {
    const Wire enable = read_word("00");
    const Wire input = read_word("02");
    // The words before: enable 0x1200, or 0x122f with each bit set; input mode 0x3400 or 0x3403.
    const struct {
        bool bits_set;
        Words parameters;
        Words values;
        Wire wire;
    } cases[] = {
        {true, {"priority", "extpriority", "prio"}, {"normal", "norm", "default", "def"}, input + send("00 34", "03")},
        {true, {"priority"}, {"battery-save", "low"}, input + send("01 34", "03")},
        {false, {"priority"}, {"low"}, input + send("01 34", "03")},
        {true, {"priority"}, {"high"}, input + send("02 34", "03")},
        {true, {"w1validity"}, {"normal"}, enable + send("0f 12", "01")},
        {false, {"w1validity"}, {"ignore"}, enable + send("20 12", "01")},
        {true, {"teko1-pd", "pd1"}, {"enabled", "enable", "on", "1"}, enable + send("2e 12", "01")},
        {false, {"pd1"}, {"disabled", "disable", "off", "0"}, enable + send("01 12", "01")},
        {true, {"teko1-pse", "teko1", "pse1"}, {"on"}, enable + send("2d 12", "01")},
        {false, {"pse1"}, {"off"}, enable + send("02 12", "01")},
        {true, {"teko2-pd", "pd2"}, {"1"}, enable + send("2b 12", "01")},
        {false, {"pd2"}, {"0"}, enable + send("04 12", "01")},
        {true, {"teko2-pse", "teko2", "pse2"}, {"enable"}, enable + send("27 12", "01")},
        {false, {"pse2"}, {"disable"}, enable + send("08 12", "01")},
        {false, {"led1"}, {"default", "def", "normal", "norm"}, send("00 00", "06")},
        {false, {"led1"}, {"gn"}, send("81 00", "06")},
        {false, {"led2"}, {"rd"}, send("82 00", "07")},
        {false, {"led2"}, {"or"}, send("83 00", "07")},
        {false, {"led2"}, {"off"}, send("80 00", "07")},
        {false, {"psuled"}, {"0x12345"}, send("45 23", "82") + Wire{"R 08 60 8", "R 08 0c 1"}},
        {false, {"test-extsw"}, {"0x1ff", "255", "-1"}, send("ff 00", "8f")},
        {false, {"test-10V"}, {"0x1FF"}, send("ff 00", "98")},
        {false, {"test-msg"}, {"0x0011"}, send("11 00", "99")},
        {false, {"xlr-off", "off"}, {""}, send("47 00", "0d")},
        {false, {"test-msg-ack"}, {""}, {"W 08 0a: 00"}},
        {false, {"test-i2c-bug1"}, {""}, Wire(400, "W 08 60: 03")},
        // The check word: 0x122f xor 0x3403.
        {true, {"store"}, {""}, enable + input + send("2c 26", "08")}};
    for (const auto& c : cases) {
        for (const std::string& parameter : c.parameters) {
            for (const std::string& value : c.values) {
                SCOPED_TRACE(parameter + " " + value);
                const Words words = value.empty() ? Words{"--set", parameter} : Words{"--set-mode", parameter, value};
                const BoardRun run = run_on_board(c.bits_set ? Words{"teko_enable=0x122f", "input_mode=0x3403"}
                                                             : Words{"teko_enable=0x1200", "input_mode=0x3400"},
                                                  words);
                EXPECT_EQ(run.status, 0);
                EXPECT_EQ(run.err, parameter.find("off") == std::string::npos
                                       ? ""
                                       : "info  : disabled XLR input (turn off power, but not PoE)\n");
                EXPECT_EQ(run.wire, c.wire);
                EXPECT_EQ(run.violations, Words{});
            }
        }
    }
}

TEST(SetMode, WrongWordsAndFailedTransactions) {
    const std::string pio = "W1_PIO            = 01 02 03 04  05 06 07 08 - ";
    std::vector<Outcome> outcomes = {
        {{"--set-mode", ""}, {}, 255, "ERROR: missing argument(s) to ''\n", "", 0},
        {{"--set-mode", "bogus"}, {}, 255, "ERROR: missing argument(s) to 'bogus'\n", "", 0},
        {{"--set-mode", "led1", "gn", "led2", "rd"}, {}, 255, "", "error : unknown command led2\n", 3},
        {{"--set", "prio", "nonsense"}, {"nack@1"}, 255, "", "error : I2C write error, start 0e, size 01, cmd 02\n", 1},
        {{"--set", "pd1", "off"},
         {"fail@write-enable-word"},
         255,
         "",
         "error : read cmd error, cmd 01, start 0e, result 80\n",
         6},
        {{"--set", "store"}, {"nack@1"}, 255, "", "error : I2C write error, start 0e, size 01, cmd 00\n", 1},
        {{"--set", "store"}, {"nack@4"}, 255, "", "error : I2C write error, start 0e, size 01, cmd 02\n", 4},
        {{"--set", "led1", "gn"}, {"nack@1"}, 255, "", "error : I2C write error, start 0c, size 02\n", 1},
        {{"--set", "off"}, {"fail@switch-off"}, 255, "", "error : read cmd error, cmd 0d, start 0e, result 80\n", 3},
        {{"--set", "test-msg-ack"}, {"nack@1"}, 255, "", "error : I2C write error, start 0a, size 01, value 00\n", 1},
        {{"--set", "test-i2c-bug1"}, {"nack@3"}, 0, "", "", 3},
        {{"--set", "psuled", "1"}, {"nack@4"}, 255, "", "error : \n", 4},
        {{"--set", "psuled", "1"}, {"nack@5"}, 255, "", "error : \n", 5},
        {{"--set", "psuled", "1"}, {"w1_pio_data=0102030405060708"}, 0, pio + "ok (00)\n", "", 5},
        {{"--set", "psuled", "1"},
         {"w1_pio_data=0102030405060708", "w1_pio_status=13"},
         255,
         pio + "PIO_WRITE (0d)\n",
         "error : read cmd error, cmd 82, start 0e, result 80\n",
         5}};
    for (const Words& words : {Words{"bogus", "1"}, {"", "1"}, {"led3", "off"}, {"store ", "1"}}) {
        outcomes.push_back(
            {{"--set", words[0], words[1]}, {}, 255, "", "error : unknown parameter to --set-mode\n", 0});
    }
    // The parameter, a value that it does not know, its name in the message, transfers.
    const std::tuple<const char*, const char*, const char*, size_t> values[] = {
        {"prio", "LOW", "priority", 3},    {"w1validity", "x", "w1validity", 3},
        {"pd1", "yes", "teko1-pd", 3},     {"teko1", "", "teko1-pse", 3},
        {"pd2", "2", "teko2-pd", 3},       {"pse2", "x", "teko2-pse", 3},
        {"led1", "red", "led1", 0},        {"led2", "0x81", "led2", 0},
        {"psuled", "x", "psuled", 0},      {"test-extsw", "1x", "test-extsw", 0},
        {"test-10V", "08", "test-10V", 0}, {"test-msg", "-", "test-msg", 0}};
    for (const auto& [parameter, value, name, transfers] : values) {
        outcomes.push_back({{"--set", parameter, value},
                            {},
                            255,
                            "",
                            std::string("error : invalid parameter to --set-mode ") + name + "\n",
                            transfers});
    }
    expect_outcomes(outcomes);
}

TEST(SetMode, TestMessageWarnings) {
    const std::string reserved = "WARNING: using reserved bits with --set-mode test-msg ";
    const std::string missing = "WARNING: missing destination (not 1 or 2) with --set-mode test-msg ";
    const std::string invalid = "WARNING: invalid destination (not 1 or 2) with --set-mode test-msg ";
    const std::string atypical = "WARNING: atypical destination index (not 0 or 1) with --set-mode test-msg ";
    const std::tuple<const char*, std::string, const char*> cases[] = {
        {"0x05", reserved + "(0005)\n", "05 00"},
        {"0x0A", reserved + "(000a)\n", "0a 00"},
        {"0x20", missing + "(0020)\n" + atypical + "(0020)\n", "20 00"},
        {"0x41", atypical + "(0041)\n", "41 00"},
        {"0x82", atypical + "(0082)\n", "82 00"},
        {"3", invalid + "(0003)\n", "03 00"},
        {"0xabcd12", "", "12 cd"},
        {"-1", reserved + "(ffffffff)\n" + invalid + "(ffffffff)\n" + atypical + "(ffffffff)\n", "ff ff"}};
    for (const auto& [value, err, sent] : cases) {
        const BoardRun run = run_on_board({}, {"--set-mode", "test-msg", value});
        EXPECT_EQ(run.status, 0) << value;
        EXPECT_EQ(run.err, err) << value;
        EXPECT_EQ(run.wire, send(sent, "99")) << value;
    }
}
