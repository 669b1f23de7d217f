// SPDX-License-Identifier: MIT
// The identity: what the MCU answers, and what --version and its relatives print of it.
#include "tests/support/device_test.h"

TEST(Identity, VersionListing) {
    const BoardRun run = run_on_board({"serial=12345678901234567890123456789012345a", "production_minutes=30000000",
                                       "version2=000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d0000"},
                                      {"--version"});
    // The checksum of the first version block is CRC-16/MODBUS of its bytes 8 to 29.
    EXPECT_EQ(run.out,
              "swid   = 0100\n"
              "hwid   = 0003\n"
              "active = 0\n"
              "serial = 12345678901234567890123456789012345?\n"
              "prod   = 2027-01-15 08:00:00 (1c9c380)\n"
              "swcrc  = 4de3\n"
              "----\n"
              "swid0  = 0100\n"
              "swid1  = 0000\n"
              "memory = 42000\n"
              "region = 20000\n"
              "page   = 200\n"
              "segment = 20\n"
              "crc0   = 4de3\n"
              "crc1   = 1cc1 empty?\n"
              "----\n"
              "version1 = 03 00 00 01  00 00 00 00  12 34 56 78  90 12 34 56  78 90 12 34  56 78 90 12  34 5a 80 c3  "
              "c9 01 87 5c  ok\n"
              "version2 = 00 01 02 03  04 05 06 07  08 09 0a 0b  0c 0d 0e 0f  10 11 12 13  14 15 16 17  18 19 1a 1b  "
              "1c 1d 00 00  crc-error\n");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.wire, (Wire{"W 08 a6: 00", "R 08 a6 1", "R 08 80 32", "W 08 a6: 05", "R 08 a6 1", "R 08 80 32",
                              "W 08 a6: 01", "R 08 a6 1", "R 08 80 10"}));
}

TEST(Identity, LinesOfTheVersionListing) {
    const std::string zeros_30(60, '0');  // whose CRC-16/MODBUS is 0x4FFE
    const std::pair<Words, const char*> cases[] = {
        {{"version_crc_good=0"}, "  crc-error\nversion2 = ff ff ff ff "},
        {{"version2=empty"}, "  ok\nversion2 = ff ff ff ff "},
        {{"version2=" + std::string(60, 'f') + "1234"}, " ff ff 12 34  empty\n"},
        {{"version2=none"}, "version2 = 11 11 11 11 "},
        {{"version2=none"}, "  11 11 11 11  empty\n"},
        {{"version2=" + zeros_30 + "fe4f"}, " fe 4f  ok\n"},
        {{"version2=" + zeros_30 + "fe5f"}, " fe 5f  crc-error\n"},
        {{"version2=" + zeros_30 + "ff4f"}, " ff 4f  crc-error\n"},
        {{"version2=" + std::string(58, 'f') + "00ffff"}, " 00 ff ff  crc-error\n"},
        // 0 minutes: --version shows the time of the run.
        {{"production_minutes=0"}, "prod   = 2025-11-16 21:53:20 (0)\n"}};
    for (const auto& [situation, lines] : cases) {
        const std::string out = run_on_board(situation, {"--version"}).out;
        EXPECT_NE(out.find(lines), std::string::npos) << joined(situation) << out;
    }
}

TEST(Identity, FollowsTheRunningRegion) {
    sim::Board board;
    board.flash.install(0, Bytes{0x18}, 0x0100);
    board.flash.install(1, Bytes{0x07}, 0x0A0B);
    FakeKernel kernel(board);
    std::string out = run_tool_words({"--version"}).out;
    EXPECT_NE(out.find("swid0  = 0100\nswid1  = 0a0b\n"), std::string::npos);
    EXPECT_NE(out.find("crc0   = 059a\ncrc1   = 06d9\n"), std::string::npos) << out;
    board.mcu.restart();  // the region enabled last starts
    kernel.now_us += 1'000'000;
    out = run_tool_words({"--version"}).out;
    EXPECT_EQ(out.substr(0, out.find("serial")), "swid   = 0a0b\nhwid   = 0003\nactive = 1\n");
    EXPECT_NE(out.find("swcrc  = 06d9\n----\nswid0  = 0100\nswid1  = 0a0b\n"), std::string::npos) << out;
    EXPECT_EQ(run_tool_words({"--sw-version"}).out, "0A0B\n");
}

TEST(Identity, PlainFieldsAndFailures) {
    const std::string unanswered = "could not read version (I2C write error, start a6, size 01)";
    const std::string refused = "read poll error, cmd start a6, size 01, data 00, read size 20, error 80";
    const std::string no_size =
        "error : could not read status (invalid region size (hwid vs. read, 0003 20000 10000))\n";
    const std::string no_page = "error : could not read status (invalid page size (hwid vs. read, 0003 00200 00100))\n";
    const std::string no_status =
        "error : could not read status (could not read status (I2C write error, start a6, size 01))\n";
    expect_outcomes({
        {{"--hw-version"}, {"hwid=2"}, 0, "0002\n", "", 6},
        {{"--sw-version"}, {}, 0, "0100\n", "", 6},
        {{"--serial"}, {}, 0, "202611220000000000000000000000000001\n", "", 6},
        {{"--date"}, {"production_minutes=30000000"}, 0, "2027-01-15 08:00:00\n", "", 6},
        {{"--date"}, {"production_minutes=0"}, 0, "1970-01-01 00:00:00\n", "", 6},
        // The seconds wrap at 32 bits and lose their rest.
        {{"--date"}, {"production_minutes=0xffffffff"}, 0, "2106-02-07 06:27:00\n", "", 6},
        {{"--probe"}, {}, 0, "1\n", "", 1},
        {{"--version", "--bom-version"},
         {"nack@1"},
         255,
         "",
         "error : could not read version (" + unanswered + ")\n",
         1},
        {{"--version"}, {"nack@7"}, 255, "", no_status, 7},
        {{"--version"}, {"reported_region_size=0x10000"}, 255, "", no_size, 9},
        {{"--version"}, {"reported_page_size=0x100"}, 255, "", no_page, 9},
        {{"--version"}, {"hwid=4"}, 255, "", "error : could not read version (unknown HWID)\n", 6},
        {{"--hw-version", "--bom-version"}, {"nack@1"}, 255, "", "error : " + unanswered + "\n", 1},
        {{"--sw-version"}, {"nack@1"}, 255, "", "error : " + unanswered + "\n", 1},
        {{"--date"}, {"fail@read-version"}, 255, "", "error : could not read version (" + refused + ")\n", 3},
        {{"--serial"}, {"hwid=0"}, 255, "", "error : unknown HWID\n", 6},
        {{"--serial"}, {"hwid=0x0103"}, 255, "", "error : unknown HWID\n", 6},
    });
}
