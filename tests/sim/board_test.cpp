// SPDX-License-Identifier: MIT
// What the board does and what it refuses, byte by byte. All other tests rely on it.
#include "sim/board.h"

#include <gtest/gtest.h>

#include <tuple>

#include "sim/state_file.h"
#include "tests/sim/wire.h"

namespace {

using sim::Board;

Bytes changed(Bytes bytes, size_t index, uint8_t value) {
    bytes[index] = value;
    return bytes;
}

struct Refused {
    const char* name;
    uint16_t page;     // that is handed over before the frame
    uint8_t segments;  // how many of them
    Bytes frame;
    size_t violations = 1;
};

const Refused kRefused[] = {{"a segment is missing", 257, 15, commit_of(257)},
                            {"segments of another page", 258, 16, commit_of(257)},
                            {"wrong page checksum", 257, 16, commit_of(257, 0x71)},
                            {"page not erased", 256, 16, commit_of(256)},
                            {"commit with the read key", 257, 16, changed(commit_of(257), 6, 0xDA)},
                            {"segment of the running region", 0, 0, segment_of(0, 0)},
                            {"commit in the running region", 0, 0, commit_of(254)},
                            {"segment of the last page", 0, 0, segment_of(511, 0)},
                            {"segment above the regions", 0, 0, segment_of(512, 0)},
                            {"segment 16", 0, 0, segment_of(257, 16)},
                            {"wrong key", 0, 0, {0xA5, 0x43, 0x43}},
                            {"read with the write key", 0, 0, changed(read_of(0, 0), 6, 0x42)},
                            {"read above the flash", 0, 0, read_of(528, 0)},
                            {"read of segment 16", 0, 0, read_of(0, 16)},
                            {"short enable", 0, 0, {0xA0, 0x23, 0x24, 0, 0xC1, 0x1C, 0x42, 0x45}},
                            {"one byte too many", 0, 0, {0xA5, 0x42, 0x43, 0x00}},
                            {"unknown frame command", 0, 0, {0xA6, 0x02}},
                            {"unknown register command", 0, 0, {0x0E, 0x55}},
                            {"reset without its pattern", 0, 0, changed(delayed_reset_of(50), 35, 0)},
                            {"reset without the complement", 0, 0, changed(delayed_reset_of(50), 36, 50)},
                            {"reset with a wrong end", 0, 0, changed(delayed_reset_of(50), 37, 0)},
                            {"disable without an enabled region", 0, 0, kDisable},
                            {"enable with a wrong checksum", 0, 0, enable_of(0x1DC1), 0}};

TEST(Board, ARefusalChangesNothingAndIsAViolationUnlessTheHostCannotKnow) {
    for (const Refused& refused : kRefused) {
        SCOPED_TRACE(refused.name);
        Board board;
        board.flash.install(1, Bytes{0x00, 0x00}, 0x0777);
        board.flash.regions[1].enabled = false;
        write_segments(board, refused.page, refused.segments);
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

TEST(Board, AResetOnTheBoardsClockStartsTheEnabledRegionAfterASilence) {
    using Case = std::tuple<Bytes, bool, uint64_t>;
    for (const auto& [reset, status_is_read, due_us] : {Case{kResetNow, false, 0},
                                                        {delayed_reset_of(0), true, 0},
                                                        {delayed_reset_of(0), false, 10'000},
                                                        {delayed_reset_of(5), true, 500'000},
                                                        {delayed_reset_of(255), true, 25'500'000}}) {
        SCOPED_TRACE(due_us);
        Board board;
        board.scenario.boot_ms = 7;
        write_bytes(board, {0x0F, 0x11});
        run_frame(board, enable_of(0x1CC1));
        run_frame(board, kDisable);
        write_bytes(board, reset);
        EXPECT_TRUE(!status_is_read || read_bytes(board, 0xA6, 1) == kSucceeded);
        board.now_us = due_us == 0 ? 0 : due_us - 1;
        EXPECT_TRUE(due_us == 0 || read_bytes(board, 0x0F, 1) == Bytes{0x11});
        board.now_us = due_us;
        EXPECT_TRUE(status_is_read || read_bytes(board, 0x0F, 1) == std::nullopt);
        board.now_us = due_us + 6'999;  // the silence begins when the reset is due, not when the host next looks
        EXPECT_EQ(read_bytes(board, 0x0F, 1), std::nullopt);
        board.now_us = due_us + 7'000;
        EXPECT_EQ(read_bytes(board, 0x0F, 1), Bytes{0x00});
        EXPECT_EQ(read_bytes(board, 0xA5, 2), (Bytes{0, 0}));
        EXPECT_EQ(board.flash.running(), 1);
        EXPECT_TRUE(board.violations.empty());
    }
}

TEST(Board, ARegionStartsIfItIsEnabledAndItsContentIsRight) {
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
        EXPECT_EQ(board.flash.running(), running);
        EXPECT_EQ(write_bytes(board, {0x0F}), running >= 0);
    }
}

TEST(Board, OnlyTheLiveRegistersOfTheStatusBlockAreWritable) {
    Board board;
    board.scenario.status[10] = 1;
    EXPECT_EQ(read_bytes(board, 0x0A, 1), Bytes{1});
    write_bytes(board, {0x00, 0xFF, 0xFF});
    write_bytes(board, {0x0A, 0x00, 0xFF, 0x34, 0x12});
    const Bytes block{0x8A, 0x02, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x34, 0x12, 0, 0, 12, 63, 15, 63};
    EXPECT_EQ(read_bytes(board, 0x00, 20), block);
}

}  // namespace
