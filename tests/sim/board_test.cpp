// SPDX-License-Identifier: MIT
// What the board does and refuses, byte by byte: every other test trusts it.
#include "sim/board.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "sim/state_file.h"
#include "tests/sim/wire.h"

namespace {

using sim::Board;

void nothing(Board& /*board*/) {}

template <uint16_t Page, uint8_t Count = 16>
void hand_over(Board& board) {
    write_segments(board, Page, Count);
}

void hand_over_onto_program(Board& board) {
    board.flash.install(1, Bytes{0x00, 0x00}, 0x0777);
    write_segments(board, 256);
}

Bytes changed(Bytes bytes, size_t index, uint8_t value) {
    bytes[index] = value;
    return bytes;
}

struct Refused {
    const char* name;
    void (*prepare)(Board&);
    Bytes frame;
    size_t violations = 1;
};

const Refused kRefused[] = {{"a segment is missing", hand_over<256, 15>, commit_of(256)},
                            {"segments of another page", hand_over<257>, commit_of(256)},
                            {"wrong page checksum", hand_over<256>, commit_of(256, 0x71)},
                            {"segment of the running region", nothing, segment_of(0, 0)},
                            {"commit in the running region", nothing, commit_of(254)},
                            {"last page of region 1", nothing, segment_of(511, 0)},
                            {"above the regions", nothing, segment_of(512, 0)},
                            {"behind the flash", nothing, commit_of(528)},
                            {"behind the page", nothing, segment_of(256, 16)},
                            {"flash not erased", hand_over_onto_program, commit_of(256)},
                            {"wrong key", nothing, {0xA5, 0x43, 0x43}},
                            {"read key for a commit", hand_over<256>, changed(commit_of(256), 6, 0xDA)},
                            {"write key for a read", nothing, {0xA0, 0, 0, 0, 0, 0, 0x42, 0x81}},
                            {"enable from the page register", nothing, {0xA0, 0x23, 0x24, 0, 0xC1, 0x1C, 0x42, 0x45}},
                            {"one byte too many", nothing, {0xA5, 0x42, 0x43, 0x00}},
                            {"unknown command", nothing, {0xA6, 0x02}},
                            {"read behind the flash", nothing, {0xA0, 0x10, 0x02, 0, 0, 0, 0xDA, 0x81}},
                            {"read behind the page", nothing, {0xA0, 0, 0, 16, 0, 0, 0xDA, 0x81}},
                            {"reset without the complement", nothing, changed(delayed_reset_of(50), 36, 50)},
                            {"reset with a wrong end", nothing, changed(delayed_reset_of(50), 37, 0)},
                            {"disable before the other is enabled", nothing, kDisable},
                            {"unknown register command", nothing, {0x0E, 0x55}},
                            {"enable with a checksum that differs", nothing, enable_of(0x1DC1), 0}};

TEST(Board, WhatIsRefusedChangesNothingAndIsCountedWhenTheHostIsToBlame) {
    for (const Refused& refused : kRefused) {
        SCOPED_TRACE(refused.name);
        Board board;
        refused.prepare(board);
        ASSERT_EQ(board.violations.size(), 0U);
        const std::vector<uint8_t> memory = board.flash.memory();
        const std::string state = sim::state_text(board, {});
        write_bytes(board, refused.frame);
        EXPECT_EQ(read_bytes(board, refused.frame[0] == 0x0E ? 0x0E : 0xA6, 1), kFailed);
        EXPECT_EQ(board.violations.size(), refused.violations);
        EXPECT_EQ(board.flash.memory(), memory);
        EXPECT_EQ(sim::state_text(board, {}), state);
    }
}

TEST(Board, EraseClearsTheOtherRegionAndItsId) {
    for (const int running : {0, 1}) {
        Board board;
        std::vector<uint8_t> memory(0x42000, 0x5A);
        board.flash.regions = {{{0x0100, true, 0}, {0x0200, true, 0}}};
        board.flash.restore(memory, running);
        EXPECT_EQ(run_frame(board, kErase), kSucceeded);
        std::fill_n(memory.begin() + (running == 0 ? 0x20000 : 0), 0x20000, uint8_t{0xFF});
        EXPECT_EQ(board.flash.memory(), memory);
        const auto& erased = board.flash.regions[static_cast<size_t>(1 - running)];
        EXPECT_TRUE(erased.swid == 0 && !erased.enabled);
    }
}

TEST(Board, APageIsHandedOverInAnyOrder) {
    Board board;
    std::vector<uint8_t> memory = board.flash.memory();
    std::iota(memory.begin() + 0x20200, memory.begin() + 0x20400, uint8_t{0});
    run_frame(board, segment_of(300, 0));  // an unfinished page is forgotten
    for (int segment = 15; segment >= 0; --segment) {
        EXPECT_EQ(run_frame(board, segment_of(257, static_cast<uint8_t>(segment))), kSucceeded);
    }
    EXPECT_EQ(run_frame(board, commit_of(257)), kSucceeded);
    EXPECT_EQ(board.flash.memory(), memory);
    EXPECT_TRUE(board.violations.empty());
}

TEST(Board, AResetStartsTheEnabledRegionAndLosesTheRegistersAfterASilence) {
    Board board;
    board.scenario.boot_ms = 7;
    write_bytes(board, {0x0F, 0x11});
    choose_region1(board);
    EXPECT_EQ(read_bytes(board, 0x0F, 1), Bytes{0x11});
    write_bytes(board, kResetNow);
    board.now_us = 6'999;
    EXPECT_EQ(read_bytes(board, 0x0F, 1), std::nullopt);
    board.now_us = 7'000;
    EXPECT_EQ(read_bytes(board, 0x0F, 1), Bytes{0x00});
    EXPECT_EQ(read_bytes(board, 0xA5, 2), (Bytes{0, 0}));
    EXPECT_EQ(running_region(board), 1);
    EXPECT_TRUE(board.violations.empty());
}

TEST(Board, ADelayedResetComesDueOnTheBoardsClock) {
    using Case = std::tuple<uint8_t, bool, uint64_t>;
    for (const auto& [delay, status_is_read, due_us] :
         {Case{0, true, 0}, {0, false, 10'000}, {5, true, 500'000}, {255, true, 25'500'000}}) {
        SCOPED_TRACE(due_us);
        Board board;
        choose_region1(board);
        write_bytes(board, delayed_reset_of(delay));
        if (status_is_read) {
            EXPECT_EQ(read_bytes(board, 0xA6, 1), kSucceeded);
        }
        for (uint64_t left_us = due_us; left_us > 0; left_us /= 2) {
            board.now_us = due_us - left_us;
            ASSERT_TRUE(write_bytes(board, {0x0F, 0x11}));
        }
        board.now_us = due_us;
        EXPECT_EQ(running_region(board), std::nullopt);
        board.now_us = due_us + 5'000;
        EXPECT_EQ(running_region(board), 1);
    }
}

TEST(Board, TheBootChoiceIsAmongEnabledRegionsWithTheRightContent) {
    constexpr std::tuple<const char*, bool, bool, uint16_t, int, int> cases[] = {
        {"0", true, true, 0x1CC1, 1, 0},      {"1", true, true, 0x1CC1, 0, 1},   {"latest", true, true, 0x1CC1, 0, 0},
        {"latest", true, true, 0x1CC1, 1, 1}, {"0", false, true, 0x1CC1, 0, 1},  {"1", true, false, 0x1CC1, 1, 0},
        {"1", true, true, 0x1CC0, 1, 0},      {"1", false, true, 0x1CC0, 1, -1}, {"0", false, false, 0x1CC1, 0, -1}};
    for (const auto& [choice, enabled0, enabled1, checksum1, latest, running] : cases) {
        SCOPED_TRACE(testing::Message() << choice << enabled0 << enabled1 << checksum1 << latest);
        Board board;
        board.scenario.boot_choice = choice;
        board.flash.regions[0].enabled = enabled0;
        board.flash.regions[1] = {0x0123, enabled1, checksum1};
        board.flash.latest = latest;
        write_bytes(board, kResetNow);
        board.now_us = 1'000'000;
        EXPECT_EQ(running_region(board), running < 0 ? std::nullopt : std::optional(running));
    }
}

TEST(Board, CommandsFinishAtThePollThatTheScenarioSays) {
    Board board;
    board.scenario.polls = 3;
    for (const uint8_t reg : {uint8_t{0xA6}, uint8_t{0x0E}}) {
        write_bytes(board, {reg, 0x00});
        for (const Bytes& status : {Bytes{0x00}, Bytes{0x00}, kSucceeded, kSucceeded}) {
            EXPECT_EQ(read_bytes(board, reg, 1), status);
        }
    }
}

TEST(Board, TheStatusBlockIsNotWritableButForItsLiveRegisters) {
    Board board;
    board.scenario.status[10] = 1;
    const Bytes block{0x8A, 0x02, 0x01, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 12, 63, 15, 63};
    EXPECT_EQ(read_bytes(board, 0x00, 20), block);
    write_bytes(board, {0x00, 0xFF, 0xFF});
    write_bytes(board, {0x0A, 0x00, 0xFF, 0x34, 0x12});
    const Bytes written{0x8A, 0x02, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x34, 0x12, 0, 0, 12, 63, 15, 63};
    EXPECT_EQ(read_bytes(board, 0x00, 20), written);
}

}  // namespace
