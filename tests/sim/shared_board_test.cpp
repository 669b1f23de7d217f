// SPDX-License-Identifier: MIT
// Runs that share the board of one state file.
#include "sim/shared_board.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/sim/wire.h"

namespace {

namespace fs = std::filesystem;

struct Sharer {
    sim::Board board;
    sim::SavedClock clock;
    sim::SharedBoard shared{board, clock};
    bool known = false;

    explicit Sharer(const std::string& path) {
        EXPECT_EQ(shared.join(path, known), "");
        shared.unlock();
    }

    template <typename Action>
    auto at_the_bus(Action action) {
        const std::lock_guard<sim::SharedBoard> lock(shared);
        return action(board);
    }
};

class SharedBoard : public testing::Test {
protected:
    const std::string path_ = testing::TempDir() + "sv_shared_" + std::to_string(getpid());
    const std::string area_ = path_ + ".shared";

    ~SharedBoard() override {
        fs::remove(path_);
        fs::remove(area_);
    }
};

TEST_F(SharedBoard, ARunThatDiesInATransferChangesNothing) {
    std::ofstream(area_) << "what a killed run has left";
    Sharer run(path_);
    EXPECT_FALSE(run.known);
    const std::string before = sim::state_text(run.board, run.clock);
    const pid_t child = fork();
    if (child == 0) {
        Sharer dying(path_);
        dying.shared.lock();
        write_segments(dying.board, 300, 16);
        run_frame(dying.board, commit_of(300));
        dying.board.scenario.led1 = 1;
        _exit(dying.known ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(run.at_the_bus([](sim::Board& board) { return run_frame(board, commit_of(300)); }), kFailed);
    EXPECT_EQ(sim::state_text(run.board, run.clock), before);
    EXPECT_EQ(run.board.flash.memory(), sim::Board().flash.memory());
}

}  // namespace
