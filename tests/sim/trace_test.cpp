// SPDX-License-Identifier: MIT
#include "sim/trace.h"

#include <gtest/gtest.h>

#include "tests/sim/wire.h"

namespace {

TEST(TraceDecoder, EachTransferIsOneLineInTheProtocolsWords) {
    sim::Board board;
    std::string trace;
    sim::TraceDecoder decoder(1'000'000);
    board.on_transfer = [&](const sim::Transfer& transfer) { trace += decoder.line(transfer, 0x08); };
    board.now_us = 1'000'000;
    board.add_fault("fail@commit");
    board.add_fault("nack@11x2");

    write_bytes(board, {0x0F, 0x11});
    board.now_us += 1'234'567;
    write_bytes(board, {0x0C, 0x34, 0x12});
    write_bytes(board, {0x0E, 0x8B});
    read_bytes(board, 0x0E, 1);
    read_bytes(board, 0x0C, 2);
    run_frame(board, {0xA0, 0x10, 0x01, 0x0F, 0, 0, 0xDA, 0x81});
    read_bytes(board, 0x80, 2);
    run_frame(board, commit_of(300));
    write_bytes(board, kErase);
    read_bytes(board, 0xA6, 1);
    read_bytes(board, 0x0F, 1);
    read_bytes(board, 0x25, 2, 0x09);
    write_bytes(board, {}, 0x50);
    read_bytes(board, 0, 1, 0x33);
    write_bytes(board, {0xA5, 0x42});
    write_bytes(board, {0xA6, 0x77});
    write_bytes(board, {0x0F});

    EXPECT_EQ(trace,
              "     1       0.000 mcu reset marker := 11 | 0f 11\n"
              "     2    1234.567 mcu parameter 1234 | 0c 34 12\n"
              "     3    1234.567 mcu command read-vcc | 0e 8b\n"
              "     4    1234.567 mcu status of read-vcc: finished, succeeded | 0e -> c0\n"
              "     5    1234.567 mcu result of read-vcc | 0c -> 52 03\n"
              "     6    1234.567 mcu frame read-segment page=272 segment=15 | a0 10 01 0f 00 00 da 81\n"
              "     7    1234.567 mcu status of read-segment: finished, succeeded | a6 -> c0\n"
              "     8    1234.567 mcu response of read-segment | 80 -> ff ff\n"
              "     9    1234.567 mcu frame commit page=300 crc=fd70 | a0 2c 01 00 70 fd 42 41\n"
              "    10    1234.567 mcu status of commit: finished, failed | a6 -> 80\n"
              "    11    1234.567 mcu frame erase - not acknowledged | a5 42 43\n"
              "    12    1234.567 mcu read - not acknowledged | a6\n"
              "    13    1234.567 mcu reset marker | 0f -> 11\n"
              "    14    1234.567 charger register 25 | 25 -> 80 2a\n"
              "    15    1234.567 display address only |\n"
              "    16    1234.567 33 read - not acknowledged | 00\n"
              "    17    1234.567 mcu write 1 bytes at a5 | a5 42\n"
              "    18    1234.567 mcu write 1 bytes at a6 | a6 77\n"
              "    19    1234.567 mcu select register 0f | 0f\n");
}

TEST(TraceDecoder, FramesShowTheirFields) {
    const std::pair<Bytes, const char*> cases[] = {{segment_of(300, 5), "mcu frame segment page=300 segment=5 |"},
                                                   {enable_of(0x1CC1), "mcu frame enable swid=2423 crc=1cc1 |"},
                                                   {delayed_reset_of(52), "mcu frame reset-delayed delay=5.2s |"},
                                                   {{0xA6, 0x00}, "mcu frame read-version |"}};
    for (const auto& [bytes, words] : cases) {
        sim::Board board;
        std::string line;
        board.on_transfer = [&](const sim::Transfer& transfer) { line = sim::TraceDecoder(0).line(transfer, 0x08); };
        write_bytes(board, bytes);
        EXPECT_NE(line.find(words), std::string::npos) << line;
    }
}

}  // namespace
