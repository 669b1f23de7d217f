// SPDX-License-Identifier: MIT
// Resets, settings, erase and read-back from the command line.
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "tests/support/tool_run.h"

namespace {

std::string temporary_path() {
    return testing::TempDir() + "sv_" + std::to_string(getpid()) + "_memory.bin";
}

std::vector<uint8_t> read_bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace

TEST(ResetCommands, LogTheirOutcomeAndPauseBeforeTheNextCommand) {
    const struct {
        std::vector<std::string> words;
        std::vector<std::string> reports;
        std::vector<uint32_t> sleeps_us;
    } cases[] = {
        {{"--reset"}, {"MCU will reset in 5.0s"}, {10'000}},
        {{"--reset-now"}, {"MCU will reset now"}, {10'000}},
        {{"--reset-now-sync"}, {"MCU has been reset (ff)"}, {10'000, 10'000}},
        {{"--reset-now", "--reset"}, {"MCU will reset now", "MCU will reset now"}, {10'000, 1'000'000, 10'000}},
        {{"--reset-now-sync", "--reset-delay", "2", "--reset"},
         {"MCU has been reset (ff)", "MCU will reset in 2.0s"},
         {10'000, 10'000, 1'000'000, 10'000}},
        {{"--reset-now-sync", "--reset-now", "--bom-version"},
         {"MCU has been reset (ff)", "MCU will reset now"},
         {10'000, 10'000, 1'000'000, 10'000, 1'000'000}}};
    for (const auto& c : cases) {
        sim::Board board;
        FakeKernel kernel(board);
        EXPECT_EQ(run_tool_words(c.words).status, 0);
        std::vector<SyslogLine> lines;
        for (const std::string& report : c.reports) {
            lines.push_back({6, report});
        }
        EXPECT_EQ(kernel.syslog, lines) << c.words[0];
        EXPECT_EQ(kernel.sleeps_us, c.sleeps_us) << c.words[0];
        EXPECT_EQ(board.violations, std::vector<std::string>{});
    }
}

TEST(Erase, ErasesWithoutReadingTheIdentity) {
    sim::Board board;
    board.flash.install(1, std::vector<uint8_t>{1, 2, 3}, 0x0200);
    FakeKernel kernel(board);
    EXPECT_EQ(run_tool_words({"--erase"}).out, "erase other region 1\n");
    EXPECT_EQ(kernel.wire, (std::vector<std::string>{"W 08 a5: 42 43", "R 08 a6 1"}));
    EXPECT_EQ(board.flash.checksum(1), 0x1CC1);

    board.scenario.mcu = false;
    const ToolRun run = run_tool_words({"--erase", "--bom-version"});
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, log_line("error", "could not erase other region (1, I2C write error, start a5, size 02)"));
}

TEST(Read, WritesTheWholeFlash) {
    sim::Board board;
    FakeKernel kernel(board);
    const std::string path = temporary_path();
    const ToolRun run = run_tool_words({"--read", path});
    EXPECT_EQ(run.status, 0);
    const std::string head = "reading " + path + "\n* 0.0%\b\b\b\b\b* 0.2%\b\b\b\b\b* 0.4%";
    EXPECT_EQ(run.out.substr(0, head.size()), head);
    EXPECT_EQ(run.out.substr(run.out.size() - 20), "* 99.8%\b\b\b\b\b\b done \n");
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '*'), 528);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(read_bytes(path), board.flash.memory());
    EXPECT_EQ(kernel.wire.size(), 25'350U);
    EXPECT_EQ(kernel.sleeps_us.size(), 0U);
    std::remove(path.c_str());
}

TEST(Read, AnUnknownHardwareIdStillSuppliesThePageSize) {
    sim::Board board;
    board.scenario.hwid = 99;
    board.add_fault("fail@read-segmentx*");
    FakeKernel kernel(board);
    const std::string path = temporary_path();
    EXPECT_EQ(run_tool_words({"--read", path}).status, 0);
    EXPECT_EQ(read_bytes(path), std::vector<uint8_t>(0x42000, 0x55));
    std::remove(path.c_str());
}

TEST(Read, FailuresLeaveAnEmptyFileAndAReason) {
    sim::Board board;
    board.scenario.mcu = false;
    FakeKernel kernel(board);
    const std::string path = temporary_path();
    ToolRun run = run_tool_words({"--read", path, "--bom-version"});
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.out, "reading " + path + "\n");
    EXPECT_EQ(run.err, log_line("error", "could not read data (version info not available)"));
    EXPECT_EQ(access(path.c_str(), F_OK), 0);
    EXPECT_EQ(read_bytes(path).size(), 0U);
    std::remove(path.c_str());

    kernel.wire.clear();
    for (const char* place : {"/does/not/exist", "/"}) {
        run = run_tool_words({"--read", place});
        EXPECT_EQ(run.status, 255);
        EXPECT_EQ(run.out, std::string("reading ") + place + "\ncould not open file\n");
        EXPECT_EQ(run.err, "");
    }
    EXPECT_EQ(kernel.wire.size(), 0U);

    board.scenario.mcu = true;
    run = run_tool_words({"--read", "/dev/full"});
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.err, log_line("error", "could not write /dev/full (No space left on device)"));
}

TEST(StatusCommands, EndTheirLine) {
    sim::Board board;
    board.scenario.mcu = false;
    board.scenario.charger = false;
    FakeKernel kernel(board);
    const std::string line =
        "2025-11-16 21:53:20 up 1d 02:03:04  DISP=on  POE=off SVMCU=off RST=--- SW=----/-/---- PWR=----V IN=----- "
        "OUT=--- CAP=----/----V/---W USB=off TEMP=45.0degC,40.0degC";
    const ToolRun run = run_tool_words({"--status", "--status-poetest", "--status-poetest-rebooted"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, line + "\n" + line + "\n" + line + " REBOOTED\n");
    EXPECT_EQ(run.err, "");
}

TEST(DebugUpdate, LogsThePowerStateAndGoesOn) {
    sim::Board board;
    board.scenario.mcu = false;
    FakeKernel kernel(board);
    const ToolRun run = run_tool_words({"--debug-update", "--bom-version"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "-todo-\n");
    EXPECT_EQ(run.err, log_line("info", "status SVMCU=off, OK=0, DATA=00 00 00"));
}
