// SPDX-License-Identifier: MIT
// The command line: the words of the tool itself, and what nobody types on purpose.
#include "cli/commands.h"

#include <syslog.h>

#include "tests/support/device_test.h"

namespace {

const std::string kUsage = expected_text("usage.txt");
const char kTooFew[] = "error : too few arguments\n";

std::string missing(const std::string& word) {
    return "ERROR: missing argument(s) to '" + word + "'\n";
}

std::string unknown(const std::string& word) {
    return "error : unknown command " + word + "\n";
}

}  // namespace

TEST(CommandLine, WordsAndTheirOutcome) {
    const std::string bus_error = "error : opening bus failed\n";
    std::vector<Outcome> outcomes = {
        {{}, {}, 255, "", kTooFew + kUsage, 0},
        {{"-h"}, {}, 255, "", kUsage, 0},
        {{"--version", "--help"}, {}, 255, "", kUsage, 0},
        {{"--read", "-?"}, {}, 255, "", kUsage, 0},
        {{"--bom-version", "--bom-version"}, {}, 0, "-todo-\n-todo-\n", "", 0},
        {{"--bom-version", "%s%n", "--bom-version"}, {}, 255, "-todo-\n", unknown("%s%n"), 0},
        {{std::string(600, 'x')}, {}, 255, "", unknown(std::string(511 - 16, 'x')), 0},
        {{"--bus", "7"}, {}, 255, "", bus_error, 0},
        {{"--bus", "-1"}, {}, 255, "", bus_error, 0},
        {{"--bus", "1 "}, {}, 255, "", bus_error, 0},
        {{"--bus", "2147483648"}, {}, 255, "", bus_error, 0},
        {{"--bus", "4294967296", "--probe"}, {}, 255, "", bus_error, 0},
        {{"--bus", "", "--addr", "0x100000008", "--probe", "--bom-version"}, {}, 0, "1\n-todo-\n", "", 1},
        {{"--addr", "300", "--probe", "--bom-version"}, {}, 255, "0\n", "", 1},
        {{"--probe", "--bom-version"}, {"mcu=0"}, 255, "0\n", "", 1},
        {{"--debug-update", "--bom-version"},
         {"mcu=0"},
         0,
         "-todo-\n",
         "info  : status SVMCU=off, OK=0, DATA=00 00 00\n",
         1}};
    for (const char* word :
         {"--bus", "--addr", "--reset-delay", "--read", "--update", "--upd", "--read-update", "--set-mode", "--set"}) {
        outcomes.push_back({{word}, {}, 255, missing(word), "", 0});
    }
    for (const char* word : {"", "-", "-H", "--helpme", "--VERSION", "--versio", "--version ", "--version=1", "\xff",
                             "--update-without-enable"}) {
        outcomes.push_back({{"--bom-version", word, "--reset"}, {}, 255, "-todo-\n", unknown(word), 0});
    }
    expect_outcomes(outcomes);
}

TEST(CommandLine, EachBusIsUsedFromItsWordOn) {
    sim::Board first;
    sim::Board second;
    second.scenario.hwid = 1;
    FakeKernel kernel(first);
    kernel.buses[1] = &second;
    kernel.buses[-1] = &second;  // no number of a bus
    EXPECT_EQ(run_tool_words({"--bus", "-1"}).status, 255);
    EXPECT_EQ(run_tool_words({"--hw-version", "--bus", "0x1", "--hw-version", "--bus", "-0", "--hw-version"}).out,
              "0003\n0001\n0003\n");
    EXPECT_EQ(kernel.openlog_identities,
              Words(2, "sv_updater " + std::to_string(LOG_NDELAY) + " " + std::to_string(LOG_LOCAL0)));
    EXPECT_EQ(kernel.sleeps_us.size(), 0U);
}

TEST(CommandLine, WithoutABusNothingIsSent) {
    sim::Board board;
    FakeKernel kernel(board);
    kernel.buses.clear();
    EXPECT_EQ(run_tool_words({"--probe"}).out, "0\n");
    EXPECT_EQ(run_tool_words({"--reset-now-sync"}).status, 0);
    EXPECT_EQ(kernel.wire, Wire{});
}

TEST(CommandLine, WholeNumbers) {
    // What --addr and --set psuled send; nothing when they refuse the text.
    struct Case {
        const char* text;
        std::string address;
        std::string word;
    };
    std::vector<Case> cases = {{"", "00", "00 00"},
                               {"+8", "08", "08 00"},
                               {"-8", "f8", "f8 ff"},
                               {"010", "08", "08 00"},
                               {"0x2C", "2c", "2c 00"},
                               {"-0x10", "f0", "f0 ff"},
                               {"0X8", "08", "08 00"},
                               {"\t\n 8", "08", "08 00"},
                               {"65544", "08", "08 00"},
                               {"-248", "08", "08 ff"},
                               {"9223372036854775808", "ff", "ff ff"},
                               {"-9223372036854775809", "00", "00 00"}};
    for (const char* text : {"8 ", "8\n", "0x", "0xg", "08", "8.0", "8e0", "nan", "+", "x", "-", "--1", "12z", "0b1",
                             " -0B1", "+-8", " ", "\xd9\xa8", "--probe"}) {
        cases.push_back({text, "", ""});
    }
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const bool good = !c.address.empty();
        BoardRun run = run_on_board({}, {"--addr", c.text, "--probe"});
        EXPECT_EQ(run.status, c.address == "08" ? 0 : 255);
        EXPECT_EQ(run.err, good ? "" : "error : address invalid\n");
        EXPECT_EQ(run.wire, good ? Wire{"R " + c.address + " 0f 1"} : Wire{});
        run = run_on_board({}, {"--set", "psuled", c.text});
        EXPECT_EQ(run.err, good ? "" : "error : invalid parameter to --set-mode psuled\n");
        EXPECT_EQ(run.wire.empty() ? "" : run.wire[0], good ? "W 08 0c: " + c.word : "");
    }
}

TEST(CommandLine, Delays) {
    const std::pair<const char*, std::vector<const char*>> cases[] = {
        // What goes out, in tenths of a second; the texts.
        {"00", {"-1e400", "1e-400", "-infinity", "NaN", "nan(7)", "-1", "-0.95", "-0", "", "0.05"}},
        {"01", {"0.1"}},
        {"05", {".5"}},
        {"06", {"0.7"}},
        {"0a", {"+1", " 1", "1.", "0x.8p1"}},
        {"0f", {"1.5"}},
        {"16", {"2.3"}},
        {"a0", {"0x10"}},
        {"fe", {"25.49"}},
        {"ff", {"25.5", "25.6", "30", "1e400", "INF"}},
        {"", {"abc", "1,5", "--reset", "1 ", "1\n", "1e", "0x", "0xg", "1.5.5", "- 1", "--1", ".", "-", " ", "nano"}}};
    for (const auto& [tenths, texts] : cases) {
        for (const char* text : texts) {
            SCOPED_TRACE(text);
            const BoardRun run = run_on_board({}, {"--reset-delay", text, "--reset"});
            const bool good = *tenths != '\0';
            EXPECT_EQ(run.status, good ? 0 : 255);
            EXPECT_EQ(run.wire.empty() ? "" : run.wire[0].substr(0, 14),
                      good ? "W 08 80: " + std::string(tenths) + " 01" : "");
            EXPECT_EQ(good || run.err == "error : invalid parameter to --reset-delay\n", true) << run.err;
        }
    }
}
