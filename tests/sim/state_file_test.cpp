// SPDX-License-Identifier: MIT
#include "sim/state_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/sim/wire.h"

namespace {

using sim::Board;

/// A path of its own for each process, gone with the test.
class StateFile : public testing::Test {
protected:
    const std::string path_ = testing::TempDir() + "sv_state_" + std::to_string(getpid());

    ~StateFile() override {
        std::filesystem::remove_all(path_);
        std::filesystem::remove_all(path_ + ".new");
    }

    std::string content() const {
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::string load(const std::string& bytes) const {
        std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
        Board board;
        sim::SavedClock clock;
        return sim::load_state(path_, board, clock);
    }
};

TEST_F(StateFile, TheBoardComesBackAsItWas) {
    Board board;
    board.scenario.hwid = 2;
    board.scenario.polls = 9;  // of the situation, not of the board
    write_segments(board, 256);
    run_frame(board, commit_of(256));
    run_frame(board, enable_of(0xBE2E));
    run_frame(board, kDisable);
    write_bytes(board, {0x0F, 0x11});
    run_frame(board, delayed_reset_of(50));
    ASSERT_EQ(sim::save_state(path_, board, {77}), "");

    Board again;
    sim::SavedClock clock;
    ASSERT_EQ(sim::load_state(path_, again, clock), "");
    EXPECT_EQ(clock.offset_us, 77U);
    EXPECT_EQ(again.flash.memory(), board.flash.memory());
    EXPECT_EQ(again.scenario.hwid, 2);
    EXPECT_EQ(again.scenario.polls, 1U);
    EXPECT_EQ(sim::state_text(again, clock), content().substr(0x42000));
    again.now_us = 4'999'999;
    EXPECT_EQ(read_bytes(again, 0x0F, 1), Bytes{0x11});
    again.now_us = 5'005'000;
    EXPECT_EQ(read_bytes(again, 0x0F, 1), Bytes{0x00});
    EXPECT_EQ(running_region(again), 1);
}

TEST_F(StateFile, WhatIsNotAStateIsRefusedWithAReason) {
    const std::string numbers = "no valid running, latest, marker, clock.offset_us or reset.due_us";
    ASSERT_EQ(sim::save_state(path_, Board(), {}), "");
    const std::string good = content();
    const auto without = [&](const std::string& line, const std::string& instead) {
        std::string bytes = good;
        return bytes.replace(bytes.find(line), line.size(), instead);
    };
    const std::pair<std::string, std::string> cases[] = {
        {good.substr(0, 0x41FFF), "not the state of a board (too short)"},
        {good.substr(0, good.find("region1.swid")), "no valid region1.*"},
        {good + std::string(100, '\0'), "not the state of a board (line without =)"},
        {good + "colour=red\n", "no such knob: colour"},
        {without("hwid=0x0003", "hwid=0x1003x"), "hwid=0x1003x: not a number from 0 to 65535"},
        {without("running=0", "running=2"), numbers},
        {without("region0.checksum=0x", "region0.checksum=0x1"), "no valid region0.*"},
        {without("reset.due_us=0", "reset.due_us=-1"), numbers}};
    ASSERT_EQ(load(good), "");
    for (const auto& [bytes, reason] : cases) {
        EXPECT_EQ(load(bytes), path_ + ": " + reason);
    }
    Board board;
    sim::SavedClock clock;
    EXPECT_EQ(sim::load_state(testing::TempDir(), board, clock), testing::TempDir() + ": not a regular file");
}

TEST_F(StateFile, AFailedSaveSaysSoAndLeavesTheOldFile) {
    ASSERT_EQ(sim::save_state(path_, Board(), {}), "");
    const std::string before = content();
    Board board;
    board.scenario.hwid = 1;
    std::filesystem::create_directories(path_ + ".new/occupied");
    EXPECT_EQ(sim::save_state(path_, board, {}), path_ + ".new: Is a directory");
    EXPECT_EQ(content(), before);
}

}  // namespace
