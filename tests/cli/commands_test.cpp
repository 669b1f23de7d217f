// SPDX-License-Identifier: MIT
#include "cli/commands.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <set>

#include "tests/support/tool_run.h"

namespace {

const char kUsage[] = R"(
Sorvan updater usage:
sv_updater <commands>+

the following commands are defined:
 --version               read SW and HW version and crc
 --hw-version            get hardware-id in plain format (4-digit HEX)
 --sw-version            get software-id in plain format (4-digit HEX)
 --serial                get serial number in plain format
 --date                  get production date as string
 --probe                 writes '1' to stdout if sorvan MCU is available/live/present, '0' otherwise
 --bom-version           get the BOM version in plain format (3-chars)
 --status                show single-line power status
 --dump                  dump power status

 --update <file>         update main program
 --upd    <file>         update main program with immediate reset and without force-update mode
 --reset                 reset MCU (after some preset delay)

 --force-update          set force-update mode
 --without-force-update  set force-update mode
 --update-without-enable set update mode
 --update-without-reset  set update mode
 --update-with-reset     set update mode
 --read <file>           read back whole memory to file
 --reset-delay <delay>   set reset delay in seconds (e.g. 1.5)
 --reset-now             reset MCU now (resets preset delay first)
 --erase                 erase inactive region
 --read-update <file>    print info on update file

 --set-mode <param>+     set sorvan mode
    extpriority normal|low|high
    w1validity normal|ignore
    teko[12]-pd enabled|disabled
    teko[12]-pse enabled|disabled
    led[12] default|gn|rd|or|off
    xlr-off
    store

 --bus <i2cbus>          set I2C bus number (default 0)
 --addr <i2caddr>        set I2C address (default 0x08)
)";

}  // namespace

TEST(CommandLine, WholeRuns) {
    const std::string version_error =
        "could not read version (could not read version (I2C write error, start a6, size 01))";
    const struct {
        std::vector<std::string> words;
        int status;
        std::string out;
        std::string err;
        size_t transfers;
    } cases[] = {
        {{}, 255, "", log_line("error", "too few arguments") + kUsage, 0},
        {{"-h"}, 255, "", kUsage, 0},
        {{"--version", "--help"}, 255, "", kUsage, 0},
        {{"--read", "-?"}, 255, "", kUsage, 0},
        {{"--bom-version"}, 0, "-todo-\n", "", 0},
        {{"--bom-version", "--bom-version"}, 0, "-todo-\n-todo-\n", "", 0},
        {{"--bogus"}, 255, "", log_line("error", "unknown command --bogus"), 0},
        {{"--bom-version", "%s%n", "--bom-version"}, 255, "-todo-\n", log_line("error", "unknown command %s%n"), 0},
        {{""}, 255, "", log_line("error", "unknown command "), 0},
        {{"--VERSION"}, 255, "", log_line("error", "unknown command --VERSION"), 0},
        {{"--update-without-enable"}, 255, "", log_line("error", "unknown command --update-without-enable"), 0},
        {{"--bus"}, 255, "ERROR: missing argument(s) to '--bus'\n", "", 0},
        {{"--addr"}, 255, "ERROR: missing argument(s) to '--addr'\n", "", 0},
        {{"--reset-delay"}, 255, "ERROR: missing argument(s) to '--reset-delay'\n", "", 0},
        {{"--read"}, 255, "ERROR: missing argument(s) to '--read'\n", "", 0},
        {{"--update"}, 255, "ERROR: missing argument(s) to '--update'\n", "", 0},
        {{"--upd"}, 255, "ERROR: missing argument(s) to '--upd'\n", "", 0},
        {{"--read-update"}, 255, "ERROR: missing argument(s) to '--read-update'\n", "", 0},
        {{"--bus", "x"}, 255, "", log_line("error", "opening bus failed"), 0},
        {{"--bus", "-1"}, 255, "", log_line("error", "opening bus failed"), 0},
        {{"--bus", "4294967296", "--probe"}, 255, "", log_line("error", "opening bus failed"), 0},
        {{"--bus", "99999999999999999999"}, 255, "", log_line("error", "opening bus failed"), 0},
        {{"--addr", "0x100000008", "--probe"}, 0, "1\n", "", 1},
        {{"--addr", "99999999999999999999", "--probe"}, 255, "0\n", "", 1},
        {{"--bus", "7"}, 255, "", log_line("error", "opening bus failed"), 0},
        {{"--bus", "1", "--addr", "0x09"}, 0, "", "", 0},
        {{"--addr", "12z"}, 255, "", log_line("error", "address invalid"), 0},
        {{"--addr", "300", "--probe"}, 255, "0\n", "", 1},
        {{"--addr", "264", "--probe"}, 0, "1\n", "", 1},  // its low 8 bits are 8
        {{"--probe", "--bom-version"}, 0, "1\n-todo-\n", "", 1},
        {{"--bus", "1", "--probe", "--bus", "0", "--probe"}, 255, "0\n", "", 1},
        {{"--bus", "1", "--version"}, 255, "", log_line("error", version_error), 1}};
    for (const auto& c : cases) {
        sim::Board board;
        sim::Board silent;
        silent.scenario.mcu = false;
        FakeKernel kernel(board);
        kernel.buses[1] = &silent;
        const ToolRun run = run_tool_words(c.words);
        const std::string what = c.words.empty() ? "nothing" : testing::PrintToString(c.words);
        EXPECT_EQ(run.status, c.status) << what;
        EXPECT_EQ(run.out, c.out) << what;
        EXPECT_EQ(run.err, c.err) << what;
        EXPECT_EQ(kernel.wire.size(), c.transfers) << what;
        EXPECT_EQ(kernel.sleeps_us.size(), 0U) << what;
        EXPECT_EQ(kernel.openlog_identities, std::vector<std::string>{"sv_updater " + std::to_string(LOG_NDELAY) + " " +
                                                                      std::to_string(LOG_LOCAL0)});
    }
}

TEST(CommandLine, HelpWordsCountOnlyAsWholeWords) {
    sim::Board board;
    FakeKernel kernel(board);
    EXPECT_EQ(run_tool_words({"--helpme"}).err, log_line("error", "unknown command --helpme"));
}

TEST(CommandLine, ReopenedBusIsUsedFromThereOn) {
    sim::Board first;
    sim::Board second;
    second.scenario.hwid = 1;
    FakeKernel kernel(first);
    kernel.buses[1] = &second;
    EXPECT_EQ(run_tool_words({"--hw-version", "--bus", "1", "--hw-version"}).out, "0003\n0001\n");
}

TEST(CommandTable, HasEveryWordOnceWithItsArguments) {
    std::set<std::string_view> words;
    for (const Command& command : command_table()) {
        EXPECT_TRUE(words.insert(command.keyword).second) << command.keyword;
        EXPECT_EQ(command.keyword.substr(0, 2), "--");
        EXPECT_NE(command.run, nullptr);
    }
    EXPECT_EQ(words.size(), 35U);
}

TEST(CommandTable, AgreesWithTheUsageTextButForOneWord) {
    // Commands that the usage text leaves out, and the word of it that is no command.
    const std::set<std::string> hidden = {"--reset-now-sync",
                                          "--update-without-disable",
                                          "--debug-update",
                                          "--status-poetest",
                                          "--status-poetest-rebooted",
                                          "--set",
                                          "--no-dump-reset",
                                          "--dumps",
                                          "--status-poe",
                                          "--status-cable",
                                          "--status-pse-adc"};
    const std::set<std::string> others = {"--update-without-enable"};
    std::set<std::string> listed;
    const std::string usage = kUsage;
    for (size_t at = usage.find("\n --"); at != std::string::npos; at = usage.find("\n --", at + 1)) {
        const size_t end = usage.find(' ', at + 2);
        listed.insert(usage.substr(at + 2, end - at - 2));
    }
    for (const Command& command : command_table()) {
        const std::string word(command.keyword);
        EXPECT_NE(listed.erase(word) != 0, hidden.count(word) != 0) << word;
    }
    EXPECT_EQ(listed, others);
}
