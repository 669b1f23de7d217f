// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/support/tool_run.h"

TEST(IdentityCommands, VersionListing) {
    sim::Board board;
    board.scenario.serial = "12345678901234567890123456789012345a";
    board.scenario.production_minutes = 30'000'000;
    board.scenario.version2 = "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d0000";
    board.flash.install(0, std::vector<uint8_t>{}, 0x0100);
    FakeKernel kernel(board);
    const ToolRun run = run_tool_words({"--version"});
    // The checksum of the version block is CRC-16/MODBUS of its bytes 8 to 29.
    EXPECT_EQ(run.out,
              "swid   = 0100\n"
              "hwid   = 0003\n"
              "active = 0\n"
              "serial = 12345678901234567890123456789012345?\n"
              "prod   = 2027-01-15 08:00:00 (1c9c380)\n"
              "swcrc  = 1cc1\n"
              "----\n"
              "swid0  = 0100\n"
              "swid1  = 0000\n"
              "memory = 42000\n"
              "region = 20000\n"
              "page   = 200\n"
              "segment = 20\n"
              "crc0   = 1cc1 empty?\n"
              "crc1   = 1cc1 empty?\n"
              "----\n"
              "version1 = 03 00 00 01  00 00 00 00  12 34 56 78  90 12 34 56  78 90 12 34  56 78 90 12  34 5a 80 c3  "
              "c9 01 87 5c  ok\n"
              "version2 = 00 01 02 03  04 05 06 07  08 09 0a 0b  0c 0d 0e 0f  10 11 12 13  14 15 16 17  18 19 1a 1b  "
              "1c 1d 00 00  crc-error\n");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(kernel.wire.size(), 9U);
}

TEST(IdentityCommands, VersionShowsTheRunningRegionAndBadChecksums) {
    sim::Board board;
    board.flash.install(1, std::vector<uint8_t>{0x12, 0x34}, 0x0A0B);
    board.scenario.version_crc_good = false;
    board.mcu.restart();
    FakeKernel kernel(board);
    board.scenario.version2 = "none";
    const std::string out = run_tool_words({"--version"}).out;
    char expected[32];
    std::snprintf(expected, sizeof expected, "swcrc  = %04x\n----\n", board.flash.checksum(1));
    EXPECT_NE(out.find("swid   = 0a0b\nhwid   = 0003\nactive = 1\n"), std::string::npos) << out;
    EXPECT_NE(out.find(expected), std::string::npos) << out;
    EXPECT_NE(out.find("  crc-error\nversion2 = 11 11 11 11  11"), std::string::npos) << out;
    EXPECT_NE(out.find("  11 11 11 11  empty\n"), std::string::npos) << out;
}

TEST(IdentityCommands, PlainFields) {
    const struct {
        const char* word;
        uint32_t minutes;
        const char* out;
    } cases[] = {{"--hw-version", 0, "0002\n"},
                 {"--sw-version", 0, "ABCD\n"},
                 {"--serial", 0, "202611220000000000000000000000000001\n"},
                 {"--date", 30'000'000, "2027-01-15 08:00:00\n"},
                 {"--date", 0, "1970-01-01 00:00:00\n"},
                 {"--date", 0xFFFFFFFF, "2106-02-07 06:27:00\n"},  // the seconds wrap at 32 bits and lose their rest
                 {"--bom-version", 0, "-todo-\n"},
                 {"--probe", 0, "1\n"}};
    for (const auto& c : cases) {
        sim::Board board;
        board.flash.install(0, std::vector<uint8_t>{1}, 0xABCD);
        board.scenario.hwid = 2;
        board.scenario.production_minutes = c.minutes;
        FakeKernel kernel(board);
        const ToolRun run = run_tool_words({c.word});
        EXPECT_EQ(run.out, c.out);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.status, 0);
    }
}

TEST(IdentityCommands, ProductionTimeZeroShowsTheTimeOfTheRun) {
    sim::Board board;
    board.scenario.production_minutes = 0;
    FakeKernel kernel(board);
    EXPECT_NE(run_tool_words({"--version"}).out.find("prod   = 2025-11-16 21:53:20 (0)\n"), std::string::npos);
}

TEST(IdentityCommands, FailuresEndTheRun) {
    const std::string write_error = "could not read version (I2C write error, start a6, size 01)";
    const struct {
        std::vector<std::string> words;
        const char* fault;
        std::string out;
        std::string text;  // of the log line, if there is one
    } cases[] = {{{"--version", "--bom-version"}, "nack@1", "", "could not read version (" + write_error + ")"},
                 {{"--version"},
                  "nack@7",
                  "",
                  "could not read status (could not read status (I2C write error, start a6, size 01))"},
                 {{"--hw-version", "--bom-version"}, "nack@1", "", write_error},
                 {{"--sw-version"}, "nack@1", "", write_error},
                 {{"--serial"}, "nack@1", "", write_error},
                 {{"--date"}, "nack@1", "", write_error},
                 {{"--probe", "--bom-version"}, "nack@1", "0\n", ""}};
    for (const auto& c : cases) {
        sim::Board board;
        board.add_fault(c.fault);
        FakeKernel kernel(board);
        const ToolRun run = run_tool_words(c.words);
        EXPECT_EQ(run.status, 255) << c.words[0];
        EXPECT_EQ(run.out, c.out) << c.words[0];
        EXPECT_EQ(run.err, c.text.empty() ? "" : log_line("error", c.text)) << c.words[0];
        EXPECT_EQ(kernel.syslog.size(), c.text.empty() ? 0U : 1U) << c.words[0];
    }
    sim::Board board;
    board.scenario.hwid = 4;
    FakeKernel kernel(board);
    EXPECT_EQ(run_tool_words({"--serial"}).err, log_line("error", "unknown HWID"));
    EXPECT_EQ(run_tool_words({"--version"}).err, log_line("error", "could not read version (unknown HWID)"));
}
