// SPDX-License-Identifier: MIT
// Resets, erase and read-back from the command line.
#include <fstream>
#include <iterator>

#include "tests/cli/update_fixture.h"

TEST(ResetCommands, LogTheirOutcomeAndPauseBeforeTheNextCommand) {
    const std::tuple<Words, std::vector<SyslogLine>, std::vector<uint32_t>> cases[] = {
        {{"--reset-now", "--reset"},
         {{6, "MCU will reset now"}, {6, "MCU will reset now"}},
         {10'000, 1'000'000, 10'000}},
        {{"--reset-now-sync", "--reset-delay", "2", "--reset", "--bom-version"},
         {{6, "MCU has been reset (ff)"}, {6, "MCU will reset in 2.0s"}},
         {10'000, 10'000, 1'000'000, 10'000, 1'000'000}}};
    for (const auto& [words, syslog, sleeps_us] : cases) {
        const BoardRun run = run_on_board({}, words);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.syslog, syslog) << joined(words);
        EXPECT_EQ(run.sleeps_us, sleeps_us) << joined(words);
        EXPECT_EQ(run.violations, Words{});
    }
}

TEST(Erase, ErasesWithoutReadingTheIdentity) {
    sim::Board board;
    board.flash.install(1, Bytes{1, 2, 3}, 0x0200);
    FakeKernel kernel(board);
    EXPECT_EQ(run_tool_words({"--erase"}).out, "erase other region 1\n");
    EXPECT_EQ(kernel.wire, (Wire{"W 08 a5: 42 43", "R 08 a6 1"}));
    EXPECT_EQ(board.flash.checksum(1), 0x1CC1);
    board.flash.install(1, Bytes{1, 2, 3}, 0x0200);
    board.flash.boot(1);
    EXPECT_EQ(run_tool_words({"--sw-version", "--erase"}).out, "0200\nerase other region 0\n");
    expect_outcomes({{{"--erase", "--bom-version"},
                      {"mcu=0"},
                      255,
                      "",
                      "error : could not erase other region (1, I2C write error, start a5, size 02)\n",
                      1}});
}

class Read : public testing::Test {
protected:
    ~Read() override {
        std::remove(path.c_str());
    }

    Bytes content() const {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    sim::Board board;
    FakeKernel kernel{board};
    // Longer than the flash: nothing of it may be left.
    std::string path = write_temporary("memory.bin", Bytes(0x42001, 0xAB));
};

TEST_F(Read, WritesTheWholeFlash) {
    board.add_fault("fail@read-segment/1#3");
    kernel.keep_order = true;
    const ToolRun run = run_tool_words({"--read", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "reading " + path + "\n" + progress(std::string(528, '*')));
    EXPECT_EQ(run.err, "");
    Bytes expected = board.flash.memory();
    std::fill_n(expected.begin() + 512 + 64, 32, uint8_t{0x55});  // could not be read
    EXPECT_EQ(content(), expected);
    EXPECT_EQ(Wire(kernel.wire.begin() + 6, kernel.wire.begin() + 10),
              (Wire{"out reading " + path + "\n* 0.0%", "W 08 a0: 00 00 00 00 00 da 81", "R 08 a6 1", "R 08 80 32"}));
    // Six of the identity, three for each segment, failed or not; a write to the terminal per page, and the end.
    EXPECT_EQ(kernel.wire.size(), 6U + 528U * 16U * 3U + 528U + 1U);
    EXPECT_EQ(kernel.sleeps_us.size(), 0U);
}

TEST_F(Read, AnUnknownHardwareIdStillSuppliesThePageSize) {
    set_up(board, {"hwid=99", "fail@read-segmentx*"});
    EXPECT_EQ(run_tool_words({"--read", path}).status, 0);
    EXPECT_EQ(content(), Bytes(0x42000, 0x55));
}

TEST_F(Read, FailuresLeaveAnEmptyFileAndAReason) {
    expect_outcomes({{{"--read", path, "--bom-version"},
                      {"mcu=0"},
                      255,
                      "reading " + path + "\n",
                      "error : could not read data (version info not available)\n",
                      1},
                     {{"--read", "/"}, {}, 255, "reading /\ncould not open file\n", "", 0},
                     {{"--read", ""}, {}, 255, "reading \ncould not open file\n", "", 0},
                     {{"--read", "/dev/full"},
                      {},
                      255,
                      "reading /dev/full\n" + progress(std::string(528, '*')),
                      "error : could not write /dev/full (No space left on device)\n",
                      25'350}});
    EXPECT_EQ(content(), Bytes{});
}

TEST_F(Read, NoMemoryForTheFlash) {
    kernel.largest_block = 0x41FFF;
    ToolRun run = run_tool_words({"--read", path});
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.out, "reading " + path + "\n");
    EXPECT_EQ(without_times(run.err), "error : out of memory for the read-back\n");
    EXPECT_EQ(content().size(), 0x42001U);
    const std::string good = write_temporary("good.svu", UpdateFileBytes{}.bytes());
    run = run_tool_words({"--update", good});
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(without_times(run.err),
              "info  : update file = error (" + good + ")\nerror : out of memory for the update file\n");
    EXPECT_EQ(kernel.wire, Wire{});
    std::remove(good.c_str());
}
