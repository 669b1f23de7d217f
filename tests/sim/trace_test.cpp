// SPDX-License-Identifier: MIT
#include "sim/trace.h"

#include <gtest/gtest.h>

#include "tests/sim/wire.h"

namespace {

struct Step {
    Bytes written;      // a register alone when something is read
    size_t count;       // bytes to read
    std::string words;  // after number and time: the line, or the start of a long one
    uint16_t address = 0x08;
};

TEST(TraceDecoder, EachTransferIsOneLineInTheProtocolsWords) {
    const Step steps[] = {
        {{0x0F, 0x11}, 0, "mcu reset marker := 11 | 0f 11\n"},
        {{0x0C, 0x34, 0x12}, 0, "mcu parameter 1234 | 0c 34 12\n"},
        {{0x0E, 0x8B}, 0, "mcu command read-vcc | 0e 8b\n"},
        {{0x0E}, 1, "mcu status of read-vcc: finished, succeeded | 0e -> c0\n"},
        {{0x0C}, 2, "mcu result of read-vcc | 0c -> 52 03\n"},
        {read_of(272, 15), 0, "mcu frame read-segment page=272 segment=15 | a0 10 01 0f 00 00 da 81\n"},
        {{0x09}, 2, "mcu read 2 bytes at 09 | 09 -> 00 00\n"},
        {{0x80}, 2, "mcu response of read-segment | 80 -> ff ff\n"},
        {commit_of(300), 0, "mcu frame commit page=300 crc=fd70 | a0 2c 01 00 70 fd 42 41\n"},
        {{0xA6}, 1, "mcu status of commit: finished, failed | a6 -> 80\n"},
        {kErase, 0, "mcu frame erase - not acknowledged | a5 42 43\n"},
        {{0x0F}, 1, "mcu reset marker | 0f -> 11\n"},
        {{0x25}, 2, "charger register 25 | 25 -> 80 2a\n", 0x09},
        {{}, 0, "display address only |\n", 0x50},
        {{0x00}, 1, "33 read - not acknowledged | 00\n", 0x33},
        {{0xA5, 0x42}, 0, "mcu write 1 bytes at a5 | a5 42\n"},
        {{0x0F}, 0, "mcu select register 0f | 0f\n"},
        {segment_of(300, 5), 0, "mcu frame segment page=300 segment=5 | 80 a0 a1 "},
        {enable_of(0x1CC1), 0, "mcu frame enable swid=2423 crc=1cc1 | 80 23 24 "},
        {delayed_reset_of(52), 0, "mcu frame reset-delayed delay=5.2s | 80 34 "},
        {{0xA4, 0x00, 0x42, 0x43}, 0, "mcu write 3 bytes at a4 | a4 00 42 43\n"},
        {{0xA6, 0x00}, 0, "mcu frame read-version | a6 00\n"},
        {{0xA6, 0x01}, 0, "mcu frame read-flash-status | a6 01\n"},
        {{0xA6, 0x05}, 0, "mcu frame read-version2 | a6 05\n"},
        {kDisable, 0, "mcu frame disable | a5 42 46\n"},
        {kResetNow, 0, "mcu frame reset-now | a5 42 47\n"}};
    sim::Board board;
    std::string line;
    sim::TraceDecoder decoder(1'000'000);
    board.on_transfer = [&](const sim::Transfer& transfer) { line = decoder.line(transfer, 0x08); };
    board.now_us = 2'234'567;
    board.add_fault("fail@commit");
    board.add_fault("nack@11");
    for (const auto& [written, count, words, address] : steps) {
        if (count == 0) {
            write_bytes(board, written, address);
        } else {
            read_bytes(board, written[0], count, address);
        }
        EXPECT_EQ(line.substr(19, words.size()), words) << line;
    }
    EXPECT_EQ(line.substr(0, 19), "    26    1234.567 ");
    EXPECT_EQ(decoder.line({1, 999'000, {}, true}, 0x08), "     1      -1.000 nothing\n");  // a clock that was set
}

}  // namespace
